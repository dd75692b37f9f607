/// `gnx replay`: files in, solutions out.

#include "run/replay.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <sstream>

#include "commands/commands.h"
#include "commands/option_text.h"
#include "commands/run_console.h"
#include "gnx/error.h"
#include "run/named_solutions.h"

namespace gnx {

namespace {

constexpr const char* kFooter = R"(examples:
  gnx replay --obs site.crx.gz --nav brdc.rnx.gz --sp3 orbits.sp3.gz --clk clocks.clk.gz --antex antennas.atx --report
  gnx replay --obs drive.rnx --nav brdc.rnx --broadcast --mode kinematic --interval 1 --track gpx,kml
  gnx replay --obs site.rnx --nav brdc.rnx --ssr stream.ssr --deployment site --out out/site
  gnx replay --config options.json --out out/again
docs/formats.md lists inputs and results.)";

/// Values of the command line that need work before they are options.
struct ReplayArguments {
  ReplayOptions options;
  std::vector<double> position, reference, antennaDelta;
  std::vector<std::string> referenceSinex;  ///< file and station
  std::string from, to, signals, refpoint, solutionName;
  std::vector<std::string> without, set, tracks;
};

/// "G:1W,2W E:1C,5Q"
std::map<char, std::vector<std::string>> parseSignals(const std::string& text) {
  std::map<char, std::vector<std::string>> signals;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (word.size() < 4 || word[1] != ':') {
      throw UsageError("--signals takes words such as G:1W,2W for each system, not '" + word + "'");
    }
    std::istringstream codes(word.substr(2));
    for (std::string code; std::getline(codes, code, ',');) {
      if (code.size() != 2) throw UsageError("--signals: '" + code + "' is no signal such as 1W");
      signals[word[0]].push_back(code);
    }
  }
  return signals;
}

void addFileOptions(CLI::App& cmd, ReplayArguments& a) {
  RunPlan& plan = a.options.plan;
  cmd.add_option("--obs", plan.obs,
                 "RINEX 2, 3 or 4 observation files, also compact (Hatanaka), in any order, plain or packed "
                 "(.gz, .Z, .bz2, .xz, .zst); - is standard input")
      ->required();
  cmd.add_option("--nav", plan.nav,
                 "RINEX navigation files; without, broadcast messages are fitted to the orbits of --sp3");
  cmd.add_option("--sp3", plan.sp3, "precise orbits (SP3 a, c, d); give the neighbouring days too");
  cmd.add_option("--clk", plan.clk, "RINEX clock files; without them the clocks of the SP3 files");
  cmd.add_option("--bia", plan.bia, "bias SINEX files");
  cmd.add_option(
      "--orbex", plan.orbex,
      "attitudes of satellites (ORBEX) of the centre of orbits and clocks, for wind-up and antenna "
      "offsets");
  cmd.add_option(
      "--ionex", plan.ionex,
      "maps of the ionosphere (IONEX), which come off the observations; the engine estimates the rest");
  cmd.add_flag("--wl-biases", plan.wideLaneBiases,
               "phase biases from the wide-lanes in the clock file's header");
  cmd.add_flag(
      "--mixed-products", plan.mixedProducts,
      "resolve integers even when orbits, clocks and phase biases are named after different centres or "
      "campaigns; without, such a run stays float");
  cmd.add_option(
         "--fix-clocks", plan.sparseClocks_s,
         "largest spacing of clocks, s, that serves integers at every epoch; with clocks further apart "
         "they are resolved at the clocks' own epochs alone")
      ->check(CLI::Range(1.0, 900.0))
      ->capture_default_str();
  cmd.add_option("--ssr", plan.ssr, "SSR text files, instead of products");
  cmd.add_option("--availability", plan.availability,
                 "delivery times of the SSR blocks (CSV); without: at once");
  cmd.add_flag("--broadcast", plan.broadcastOnly, "no corrections: broadcast orbits and clocks");
}

void addDeploymentOptions(CLI::App& cmd, ReplayArguments& a) {
  DeploymentOptions& d = a.options.deploy;
  cmd.add_option("--deployment", a.options.deployment,
                 "directory made by 'gnx init'; without: written into the run");
  cmd.add_option("--antex", d.antex, "antenna file for the deployment");
  cmd.add_option("--grid", d.grid, "troposphere grid for the deployment");
  cmd.add_option("--blq", d.blq, "ocean loading file for the deployment");
  cmd.add_option("--erp", d.erp, "Earth rotation for the deployment: IGS .erp or finals2000A");
  cmd.add_option("--systems", d.systems, "systems of the deployment, letters of G R E C B J")
      ->capture_default_str();
  cmd.add_option("--freqobs", d.freqobs, "observed frequencies, e.g. \"GPS:L1_L2 GAL:E1_E5a\"");
  cmd.add_option("--freqused", d.freqused, "used frequencies");
  d.resolution = false;
  cmd.add_flag("--fix", d.resolution,
               "resolve ambiguities to integers; needs phase biases in the corrections");
  cmd.add_option("--code-noise", d.codeNoise_m,
                 "sigma of codes at high elevation to begin with, m; the data overrule it")
      ->check(CLI::Range(0.01, 30.0));
  cmd.add_option("--ionosphere-sigma", d.ionosphereSigma_m,
                 "sigma of a new slant delay, m; without: unknown, with --ionex 2 m")
      ->check(CLI::Range(0.01, 1000.0));
  cmd.add_option("--set", a.set, "any other value of the deployment: key=value, as for 'gnx init'");
  cmd.add_option("--combination", d.combination, "RAW, IF, AFIF or SF")->capture_default_str();
  cmd.add_option(
      "--refpoint", a.refpoint,
      "what the orbits refer to: CoM_ITRF (products) or APC_ITRF (most streams); default by source");
}

void addRunOptions(CLI::App& cmd, ReplayArguments& a) {
  RunPlan& plan = a.options.plan;
  cmd.add_option("--mode", plan.mode, "static, kinematic or dynamic")
      ->check(CLI::IsMember({"static", "kinematic", "dynamic"}))
      ->capture_default_str();
  cmd.add_option("--interval", plan.interval, "processing interval, s; 1 takes every epoch")
      ->check(CLI::Range(0.01, 3600.0))
      ->capture_default_str();
  cmd.add_option("--cutoff", plan.cutoffDeg, "elevation mask, degrees")
      ->check(CLI::Range(0.0, 60.0))
      ->capture_default_str();
  cmd.add_option("--position", a.position, "a-priori position X Y Z, m; without: single-point position")
      ->expected(3);
  cmd.add_flag("--header-position", plan.headerPosition, "a-priori position of the observation header");
  cmd.add_option("--reference", a.reference, "true position X Y Z of the marker, m, for the errors")
      ->expected(3);
  cmd.add_option("--reference-sinex", a.referenceSinex,
                 "true position from a SINEX file: FILE STATION; moved to the date by its velocity")
      ->expected(2)
      ->excludes("--reference");
  cmd.add_option("--reference-path", plan.referenceFile,
                 "true path of a moving receiver, a truth.csv of 'gnx simulate'");
  cmd.add_option("--antenna", plan.antenna, "antenna type, 20 characters with radome; without: the header's");
  cmd.add_option("--antenna-delta", a.antennaDelta, "reference point above the marker: E N U, m")
      ->expected(3);
  cmd.add_flag("!--no-patterns", plan.patterns, "do not take antenna patterns off the observations");
  cmd.add_option("--signals", a.signals, "signals to use, e.g. \"G:1W,2W E:1C,5Q\"");
  cmd.add_option("--exclude", plan.excluded, "satellites to leave out, e.g. G18 or G18,E11");
  cmd.add_option("--from", a.from, "first epoch, GPS time");
  cmd.add_option("--to", a.to, "last epoch, GPS time");
  cmd.add_option("--diagnostics", plan.diagnostics,
                 "output options of the engine, e.g. \"-outres -outobsstat\"");
  cmd.add_option(
         "--without", a.without,
         "development: leave a term out of the engine's model (windup, tides, relativity, troposphere, "
         "satoffset, recoffset), to see what it is worth")
      ->check(CLI::IsMember(
          {"windup", "tides", "relativity", "troposphere", "satoffset", "recoffset", "patterns"}));
  cmd.add_option(
         "--resume-from", a.options.resumeFrom,
         "state that --keep-state of an earlier run has left: the run goes on with it where it begins "
         "within five minutes of the other's end")
      ->check(CLI::ExistingFile);
}

void addResultOptions(CLI::App& cmd, ReplayArguments& a) {
  RunPlan& plan = a.options.plan;
  cmd.add_option("--out", a.options.outDir, "run directory and results")->capture_default_str();
  cmd.add_option("--details", plan.details, "seconds between epochs with residuals for the report; 0: none")
      ->check(CLI::Range(0.0, 86400.0))
      ->capture_default_str();
  cmd.add_flag("--report", a.options.report, "write report.html at once, with residuals every 30 s");
  cmd.add_flag("--nmea", a.options.nmea, "also write NMEA sentences");
  cmd.add_option("--track", a.tracks, "also write the positions for maps: gpx, kml, geojson")
      ->check(CLI::IsMember({"gpx", "kml", "geojson"}))
      ->delimiter(',');
  cmd.add_flag("--troposphere", a.options.troposphere,
               "also write the zenith delays every 300 s as SINEX TRO, solution.tro");
  cmd.add_option(
      "--solution-name", a.solutionName,
      "further solution files, cut and named by the time, e.g. \"[SITE]_[YYYY][DDD][HH].pos\" (.pos, "
      ".csv, .nmea); @KEYWORD: that pattern of the deployment");
  cmd.add_option("--keep-state", a.options.keepState, "file for what the engine knows at the end");
  cmd.add_flag("--store-files", plan.storeFiles,
               "write the messages and corrections that the engine holds at the end");
  cmd.add_flag("--quiet", a.options.quiet, "no progress, no summary");
}

/// What "gnx.json" of a deployment says and the command line does not.
void takeRunSettings(const CLI::App& cmd, ReplayArguments& a) {
  const auto& deployment = a.options.deployment;
  if (deployment.empty() || !std::filesystem::exists(deployment / "gnx.json")) return;
  const RunSettings settings = readRunSettings(deployment);
  const auto given = [&](const char* option) { return cmd.count(option) > 0; };
  RunPlan& plan = a.options.plan;
  if (!given("--mode")) plan.mode = nameOf(settings.mode);
  if (!given("--interval")) plan.interval = settings.interval_s;
  if (!given("--cutoff")) plan.cutoffDeg = settings.cutoff_deg;
  if (!given("--antenna")) plan.antenna = settings.antenna;
  if (!given("--position") && !given("--header-position")) plan.position = settings.position_m;
  if (!given("--antenna-delta") && settings.antennaDelta_m) plan.antennaDelta = settings.antennaDelta_m;
}

/// What was given and would change nothing is a mistake about what the run does.
void refuseIdleOptions(const CLI::App& cmd, const RunPlan& plan, const std::string& combination) {
  const auto refuse = [&](std::initializer_list<const char*> options, const std::string& why) {
    for (const char* option : options)
      if (cmd.count(option) > 0) throw UsageError(std::string(option) + " has no effect " + why);
  };
  if (cmd.count("--deployment") > 0)
    refuse({"--antex", "--grid", "--blq", "--erp", "--systems", "--freqobs", "--freqused", "--fix",
            "--code-noise", "--ionosphere-sigma", "--set", "--combination", "--refpoint"},
           "with --deployment, whose files hold that choice; leave it out, or make the deployment anew with "
           "'gnx init'");
  if (cmd.count("--deployment") + cmd.count("--fix") == 0)
    refuse({"--fix-clocks", "--mixed-products"}, "without --fix; give it too, or leave this out");
  if (plan.sp3.empty())
    refuse({"--clk", "--bia"}, "without orbits; give --sp3, corrections of --ssr bring their own");
  if (plan.clk.empty()) refuse({"--wl-biases"}, "without a clock file; give --clk");
  if (combination.ends_with("IF"))
    refuse({"--ionex", "--ionosphere-sigma"},
           "with --combination IF or AFIF, which has no ionosphere; take RAW");
  if (plan.ssr.empty()) refuse({"--availability"}, "without corrections as text; give --ssr");
  if (cmd.count("--position") > 0) refuse({"--header-position"}, "with --position; leave one of them out");
  if (cmd.count("--reference-path") > 0)
    refuse({"--reference", "--reference-sinex"}, "with --reference-path; leave one of them out");
}

void checkSpan(const RunPlan& plan) {
  if (plan.from && plan.to && *plan.to < *plan.from)
    throw UsageError("--from " + formatTime(*plan.from) + " is later than --to " + formatTime(*plan.to) +
                     "; exchange them");
}

void replay(const CLI::App& cmd, ReplayArguments& a) {
  ReplayOptions& o = a.options;
  takeRunSettings(cmd, a);
  if (!a.position.empty()) o.plan.position = parsePlace(a.position, "--position");
  if (!a.reference.empty()) o.reference = parsePlace(a.reference, "--reference");
  o.plan.excluded = parseSatellites(o.plan.excluded, "--exclude");
  if (!a.referenceSinex.empty()) {
    o.referenceSinex = a.referenceSinex[0];
    o.referenceStation = a.referenceSinex[1];
  }
  if (!a.antennaDelta.empty()) o.plan.antennaDelta = parseDelta(a.antennaDelta, "--antenna-delta");
  static const std::map<std::string, TrackFormat> kTracks = {
      {"gpx", TrackFormat::gpx}, {"kml", TrackFormat::kml}, {"geojson", TrackFormat::geoJson}};
  for (const std::string& format : a.tracks) o.tracks.push_back(kTracks.at(format));
  for (const std::string& term : a.without) o.plan.diagnostics += " -without-" + term;
  if (!o.plan.patterns) o.plan.diagnostics += " -without-patterns";
  if (!a.from.empty()) o.plan.from = parseTime(a.from, "--from");
  if (!a.to.empty()) o.plan.to = parseTime(a.to, "--to");
  checkSpan(o.plan);
  if (!a.solutionName.empty()) o.solutionName = solutionPattern(a.solutionName, o.deployment);
  if (!a.signals.empty()) o.plan.signals = parseSignals(a.signals);
  o.deploy.overrides = parseOverrides(a.set);
  o.deploy.refpoint = !a.refpoint.empty() ? a.refpoint : o.plan.sp3.empty() ? "APC_ITRF" : "CoM_ITRF";
  o.deploy.run.mode = parseMode(o.plan.mode);
  o.deploy.run.interval_s = o.plan.interval;
  o.deploy.run.cutoff_deg = o.plan.cutoffDeg;
  if (static_cast<int>(!o.plan.sp3.empty()) + static_cast<int>(!o.plan.ssr.empty()) +
          static_cast<int>(o.plan.broadcastOnly) >
      1) {
    throw UsageError("choose one source of corrections: --sp3 with --clk, or --ssr, or --broadcast");
  }
  refuseIdleOptions(cmd, o.plan, o.deploy.combination);
  constexpr double kOfMaps_m = 2.0;
  if (!o.plan.ionex.empty() && !o.deploy.ionosphereSigma_m) o.deploy.ionosphereSigma_m = kOfMaps_m;
  runOnConsole(o);
}

}  // namespace

void addReplay(CLI::App& app) {
  auto* cmd = app.add_subcommand("replay", "run the engine on files");
  auto a = std::make_shared<ReplayArguments>();
  cmd->option_defaults()->group("Files");
  addFileOptions(*cmd, *a);
  cmd->option_defaults()->group("Deployment");
  addDeploymentOptions(*cmd, *a);
  cmd->option_defaults()->group("Run");
  addRunOptions(*cmd, *a);
  cmd->option_defaults()->group("Results");
  addResultOptions(*cmd, *a);
  cmd->footer(kFooter);
  cmd->callback([cmd, a] { replay(*cmd, *a); });
}

}  // namespace gnx
