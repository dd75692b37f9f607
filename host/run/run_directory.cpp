// Preparation of a run: deployment, plan, results of the last run.

#include "run/run_directory.h"

#include <algorithm>
#include <cstddef>
#include <fstream>

#include "gnx/error.h"
#include "gnx/read.h"
#include "run/input_checks.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr double kReportDetails_s = 30.0;  ///< pace of the residuals of a report

constexpr const char* kResults[] = {
    "account.csv",    "diagnostics.log",  "engine.log",   "events.csv",   "exit.txt",      "ppp_pos",
    "report.html",    "run.json",         "signals.txt",  "solution.csv", "solution.nmea", "solution.gpx",
    "solution.kml",   "solution.geojson", "solution.pos", "summary.txt",  "summary.json",  "integers.json",
    "deployment.txt", "inputs.txt",       "station.csv",  "solution.tro"};

/// What an earlier run left in the directory must not be taken for results of this one: it stays beside them
/// as "NAME.1".
void setResultsAside(const fs::path& dir) {
  for (const char* name : kResults) {
    const fs::path last = dir / (std::string(name) + ".1");
    fs::remove(last);  // what stays beside is of one run
    if (fs::exists(dir / name)) fs::rename(dir / name, last);
  }
}

void makeAbsolute(std::vector<std::string>& files) {
  for (std::string& file : files) {
    if (file == "-") continue;  // standard input
    if (!fs::exists(file)) throw InputError(file, 0, "does not exist; check the name and the folder");
    file = fs::absolute(file).string();
  }
}

void makeAbsolute(std::string& file) {
  if (!file.empty()) file = fs::absolute(file).string();
}

void checkSources(const RunPlan& plan) {
  std::ptrdiff_t piped = 0;
  for (const auto* files : {&plan.obs, &plan.nav, &plan.sp3, &plan.clk, &plan.bia, &plan.ssr})
    piped += std::ranges::count(*files, "-");
  if (piped > 1) throw UsageError("standard input (-) can be one file alone; name the others");
  if (plan.obs.empty()) throw UsageError("no observation file; give one with --obs");
  if (plan.nav.empty() && plan.sp3.empty())
    throw UsageError("no navigation file; the engine corrects broadcast orbits: give one with --nav");
  if (plan.ssr.empty() && plan.sp3.empty() && !plan.broadcastOnly) {
    throw UsageError(
        "no corrections; give --sp3 (and --clk), or --ssr, or --broadcast to run on broadcast orbits");
  }
}

/// Whatever the choices leave open comes from the observation file: date, antenna.
void completeFromObservations(ReplayOptions& options) {
  ObservationReader reader(options.plan.obs.front());
  const ObsHeader& header = reader.header();
  ObsEpoch first;
  if (!reader.next(first)) throw InputError(options.plan.obs.front(), 0, "holds no epoch");
  options.deploy.date = first.time;
  if (options.plan.antenna.empty()) options.plan.antenna = header.antenna;
  options.deploy.run.antenna = options.plan.antenna;
  if (options.plan.receiver.empty()) options.plan.receiver = header.receiver;
}

/// What of the observations and of the station the run takes, for the reader of the table.
std::string stationLines(const PreparedRun& run, const fs::path& blq) {
  const RunPlan& plan = run.plan;
  const auto time = [](const std::optional<GpsTime>& t, const char* open) {
    return t ? formatTime(*t) : open;
  };
  std::string text = "run    " + time(plan.from, "from the first epoch") + " to " +
                     time(plan.to, "the last") +
                     printed(", every %g s, %s\n", plan.interval, plan.mode.c_str());
  const Vector3 header = run.files.empty() ? Vector3{} : run.files.front().header.antennaDelta;
  const Vector3 enu =
      plan.antennaDelta ? Vector3(*plan.antennaDelta) : Vector3{header[1], header[2], header[0]};
  text += printed("site   antenna '%s', reference point %.4f m east, %.4f m north, %.4f m above the marker\n",
                  plan.antenna.c_str(), enu[0], enu[1], enu[2]);
  const LoadingSite site = blq.empty() ? LoadingSite{} : nearestSite(blq, knownPlace(run.files, plan));
  if (site.apart_km <= kLoadingServes_km)
    text += printed("ocean  loading of %s, %.1f km away\n", site.name.c_str(), site.apart_km);
  if (!plan.broadcastOnly)
    text += std::string("orbits are taken as those of the satellites' ") +
            (plan.massCentre ? "centres of mass" : "antennas") + "\n";
  return text;
}

/// \return the deployment in the directory
Deployment fillDirectory(const fs::path& dir, const ReplayOptions& options) {
  if (options.deployment.empty()) {
    makeDirectory(dir, "--out");
    setResultsAside(dir);
    const Deployment made = Deployment::make(dir, options.deploy);
    std::ofstream notes(dir / "deployment.txt");
    for (const std::string& note : made.notes()) notes << note << '\n';
    return made;
  }
  const Deployment given = Deployment::open(options.deployment);
  given.bands();  // damage is told of the user's file, not of its copy
  given.checkTables(options.deploy.date);
  makeDirectory(dir, "--out");
  setResultsAside(dir);
  given.lend(dir);
  return Deployment::open(dir);
}

}  // namespace

PreparedRun prepareRun(const ReplayOptions& given) {
  ReplayOptions options = given;
  RunPlan& plan = options.plan;
  for (auto* files :
       {&plan.obs, &plan.nav, &plan.sp3, &plan.clk, &plan.bia, &plan.ssr, &plan.orbex, &plan.ionex})
    makeAbsolute(*files);
  for (auto* file : {&plan.availability, &plan.referenceFile}) makeAbsolute(*file);
  checkSources(plan);
  requireKinds(options.deploy);
  plan.obs = inOrderOfTime(std::move(plan.obs));
  PreparedRun run;
  run.files = surveyInputs(plan);
  completeFromObservations(options);

  run.dir = fs::absolute(options.outDir);
  const Deployment deployment = fillDirectory(run.dir, options);
  plan.bands = deployment.bands();
  plan.massCentre = deployment.toMassCentre();
  plan.resolution = deployment.resolvesIntegers();
  if (options.reference) plan.reference = options.reference;
  if (!options.referenceSinex.empty())
    plan.reference = readSinexStation(options.referenceSinex, options.referenceStation, options.deploy.date)
                         .at(options.deploy.date);
  if (!plan.referenceFile.empty()) run.path = readReferencePath(plan.referenceFile);
  if (options.report) plan.details = kReportDetails_s;
  writeRunPlan(run.dir / "run.json", plan);
  run.plan = plan;
  run.warnings = checkInputs(run.files, options, deployment);
  writeTextFile(run.dir / "inputs.txt", inputTable(run.files) + stationLines(run, options.deploy.blq));
  return run;
}

}  // namespace gnx
