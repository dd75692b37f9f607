/// `gnx demo`: two simulated hours through the engine, with nothing but the program.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "commands/commands.h"
#include "commands/run_console.h"
#include "report/gnuplot.h"
#include "run/replay.h"
#include "simulate/simulation.h"

namespace gnx {

namespace {

struct DemoArguments {
  std::filesystem::path directory = "gnx-demo";
  std::string systems = "GEC", mode = "static";
  double hours = 2.0, interval = 30.0;
  std::uint64_t seed = 1;
};

SimulationOptions demoSky(const DemoArguments& a) {
  SimulationOptions o;
  o.sky.start = toGpsTime({2026, 11, 21, 6, 0, 0.0});
  o.sky.systems = a.systems;
  o.sky.hours = a.hours;
  o.sky.seed = a.seed;
  o.interval = a.interval;
  constexpr Geodetic kSite{0.829, 0.148, 450.0};
  o.observer.site = toEarthFixed(kSite);
  if (a.mode != "static") {
    o.observer.path.kind = "figure8";
    o.clockInterval = o.orbitInterval = 10;
  }
  return o;
}

ReplayOptions demoRun(const DemoArguments& a, const SimulationOptions& sky, const SimulationFiles& files) {
  ReplayOptions o;
  o.outDir = a.directory / "run";
  o.plan.obs = {files.observations.string()};
  o.plan.nav = {files.navigation.string()};
  o.plan.ssr = {files.corrections.string()};
  o.plan.mode = a.mode;
  o.plan.interval = a.interval;
  o.deploy.systems = a.systems;
  o.deploy.refpoint = "APC_ITRF";
  o.deploy.codeNoise_m = sky.observer.codeSigma;
  o.deploy.run.mode = parseMode(a.mode);
  o.deploy.run.interval_s = a.interval;
  o.deploy.run.cutoff_deg = o.plan.cutoffDeg;
  o.report = Gnuplot::installed();
  if (a.mode == "static") o.reference = sky.observer.site;
  else o.plan.referenceFile = files.truth.string();
  return o;
}

void runDemo(const DemoArguments& a) {
  const SimulationOptions sky = demoSky(a);
  std::printf("simulating %g h of systems %s ...\n", a.hours, a.systems.c_str());
  const SimulationFiles files = simulate(sky, a.directory / "data");
  std::printf("running the engine ...\n\n");
  std::fflush(stdout);
  runOnConsole(demoRun(a, sky, files));
}

}  // namespace

void addDemo(CLI::App& app) {
  auto* cmd = app.add_subcommand("demo", "simulate a sky, run the engine on it, print what it achieved");
  auto a = std::make_shared<DemoArguments>();
  cmd->add_option("--out", a->directory, "folder of the data and the run")->capture_default_str();
  cmd->add_option("--systems", a->systems, "letters of G E C")->capture_default_str();
  cmd->add_option("--mode", a->mode, "static, or dynamic: a vehicle on a figure of eight")
      ->check(CLI::IsMember({"static", "dynamic"}))
      ->capture_default_str();
  cmd->add_option("--hours", a->hours, "length")->check(CLI::Range(0.1, 24.0))->capture_default_str();
  cmd->add_option("--interval", a->interval, "s")->check(CLI::Range(1.0, 300.0))->capture_default_str();
  cmd->add_option("--seed", a->seed, "another seed is another simulation")->capture_default_str();
  cmd->footer("example: gnx demo --out out/demo");
  cmd->callback([a] { runDemo(*a); });
}

}  // namespace gnx
