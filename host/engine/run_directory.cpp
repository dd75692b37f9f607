// Preparation of a run: deployment, plan, results of the last run.

#include "engine/run_directory.h"

#include <algorithm>
#include <fstream>

#include "deployment/deployed.h"
#include "deployment/deployed_integers.h"
#include "formats/rinex_obs.h"
#include "gnx/error.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr double kReportDetails_s = 30.0;  ///< pace of the residuals of a report

constexpr const char* kResults[] = {"account.csv", "diagnostics.log", "engine.log",    "events.csv",
                                    "exit.txt",    "ppp_pos",         "report.html",   "run.json",
                                    "signals.txt", "solution.csv",    "solution.nmea", "solution.pos",
                                    "summary.txt", "summary.json",    "integers.json", "deployment.txt"};

/// Whether a file is what some run has left, and no part of a deployment.
bool isResult(const fs::path& file) {
  return file.extension() == ".1" || std::ranges::count(kResults, file.filename().string()) > 0;
}

void checkDeployment(const fs::path& directory) {
  if (fs::exists(directory / "ppp.json")) return;
  throw UsageError(directory.string() + " holds no ppp.json; make a deployment with 'gnx init " +
                   directory.string() + "'");
}

/// Places the files of a deployment into the run directory: the configuration as a copy, data files as links.
/// Runs may have been made in the deployment itself; a link to one of their results would be written through.
void borrowDeployment(const fs::path& from, const fs::path& to) {
  if (fs::equivalent(from, to)) return;
  for (const auto& entry : fs::directory_iterator(from)) {
    const fs::path target = to / entry.path().filename();
    if (!entry.is_regular_file() || isResult(entry.path())) continue;
    fs::remove(target);
    if (entry.path().extension() == ".json") {
      fs::copy_file(entry.path(), target);
    } else {
      fs::create_symlink(fs::absolute(entry.path()), target);
    }
  }
  for (const auto& entry : fs::directory_iterator(from)) {
    if (entry.is_directory()) fs::create_directories(to / entry.path().filename());
  }
}

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
    if (!fs::exists(file)) throw InputError(file, 0, "does not exist");
    file = fs::absolute(file).string();
  }
}

void makeAbsolute(std::string& file) {
  if (!file.empty()) file = fs::absolute(file).string();
}

void checkSources(const RunPlan& plan) {
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
  RinexObsReader reader(options.plan.obs.front());
  const ObsHeader& header = reader.header();
  ObsEpoch first;
  if (!reader.next(first)) throw InputError(options.plan.obs.front(), 0, "holds no epoch");
  options.deploy.date = first.time;
  if (options.plan.antenna.empty()) options.plan.antenna = header.antenna;
  options.deploy.run.antenna = options.plan.antenna;
  if (options.plan.receiver.empty()) options.plan.receiver = header.receiver;
}

void fillDirectory(const fs::path& dir, const ReplayOptions& options) {
  if (!options.deployment.empty()) checkDeployment(options.deployment);
  fs::create_directories(dir);
  setResultsAside(dir);
  if (!options.deployment.empty()) return borrowDeployment(options.deployment, dir);
  std::ofstream notes(dir / "deployment.txt");
  writeDeployment(dir, options.deploy, notes);
}

}  // namespace

PreparedRun prepareRun(const ReplayOptions& given) {
  ReplayOptions options = given;
  RunPlan& plan = options.plan;
  for (auto* files : {&plan.obs, &plan.nav, &plan.sp3, &plan.clk, &plan.bia, &plan.ssr}) makeAbsolute(*files);
  for (auto* file : {&plan.availability, &plan.referenceFile}) makeAbsolute(*file);
  checkSources(plan);
  completeFromObservations(options);

  PreparedRun run;
  run.dir = fs::absolute(options.outDir);
  fillDirectory(run.dir, options);
  checkDeployedIntegers(run.dir);
  plan.bands = deployedBands(run.dir);
  plan.massCentre = deployedToMassCentre(run.dir);
  plan.resolution = deployedResolution(run.dir);
  if (options.reference) plan.reference = options.reference;
  if (!plan.referenceFile.empty()) run.path = readReferencePath(plan.referenceFile);
  if (options.report) plan.details = kReportDetails_s;
  writeRunPlan(run.dir / "run.json", plan);
  run.plan = plan;
  return run;
}

}  // namespace gnx
