#pragma once
// Runs of the program's engine over files, what they leave, and simulated skies in files.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "run/replay.h"
#include "simulate/simulation.h"
#include "support/files.h"
#include "support/places.h"

namespace gnx::test {

using RunDirectory = support::TemporaryDirectory;

inline ReplayOptions replayInto(const std::filesystem::path& out, const std::string& mode = "static") {
  ReplayOptions o;
  o.outDir = out;
  o.quiet = true;
  o.plan.mode = mode;
  o.deploy.run.mode = parseMode(mode);
  return o;
}

/// Ambiguities that the log of a run tells of, on lines with a text.
inline int newAmbiguities(const std::filesystem::path& run, const std::string& text = "") {
  std::istringstream log(support::readFile(run / "engine.log"));
  int n = 0;
  for (std::string line; std::getline(log, line);)
    n += line.find("add ambiguity!") != std::string::npos && line.find(text) != std::string::npos ? 1 : 0;
  return n;
}

/// Nothing of any system is unexplained.
inline void expectExact(const RunAccount& account, const std::string& systems) {
  for (const char system : systems) {
    ASSERT_TRUE(account.contains(system)) << system;
    EXPECT_GT(account.at(system).in, 0) << system;
    EXPECT_EQ(account.at(system).unexplained(), 0) << system << "\n" << formatAccount(account);
    for (const auto& [reason, count] : account.at(system).reasons) {
      EXPECT_GE(count, 0) << reason;
      EXPECT_NE(describeReason(reason), reason) << "a reason without words";
    }
  }
}

inline SimulationOptions shortSky(const std::string& systems, double hours) {
  SimulationOptions o;
  o.sky.start = toGpsTime({2026, 11, 21, 6, 0, 0.0});
  o.sky.systems = systems;
  o.sky.hours = hours;
  o.observer.site = {4075580.0, 931854.0, 4801568.0};
  return o;
}

inline ReplayOptions replayOf(const SimulationFiles& files, const std::string& systems,
                              const std::filesystem::path& out, const std::string& mode = "static") {
  ReplayOptions o = replayInto(out, mode);
  o.plan.obs = {files.observations.string()};
  o.plan.nav = {files.navigation.string()};
  o.plan.ssr = {files.corrections.string()};
  o.deploy.systems = systems;
  o.deploy.refpoint = "APC_ITRF";
  return o;
}

}  // namespace gnx::test
