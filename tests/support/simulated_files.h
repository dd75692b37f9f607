#pragma once
// Simulated skies in files and how to run them.

#include <string>

#include "engine/replay.h"
#include "simulate/simulation.h"

namespace gnx::test {

inline SimulationOptions shortSky(const std::string& systems, double hours) {
  SimulationOptions o;
  o.sky.start = toGpsTime({2026, 11, 21, 6, 0, 0.0});
  o.sky.systems = systems;
  o.sky.hours = hours;
  o.observer.site = {4075580.0, 931854.0, 4801568.0};
  return o;
}

inline ReplayOptions replayOf(const SimulationFiles& files, const std::string& systems,
                              const std::filesystem::path& out) {
  ReplayOptions o;
  o.outDir = out;
  o.program = GNX_PROGRAM;
  o.quiet = true;
  o.plan.obs = {files.observations.string()};
  o.plan.nav = {files.navigation.string()};
  o.plan.ssr = {files.corrections.string()};
  o.deploy.systems = systems;
  o.deploy.refpoint = "APC_ITRF";
  return o;
}

}  // namespace gnx::test
