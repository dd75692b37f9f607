// A phase bias that its provider declares discontinuous: the arc of that satellite begins anew, no other.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "support/real_data.h"

namespace gnx::test {
namespace {

std::string textOf(const std::filesystem::path& file) {
  std::ifstream in(file);
  return {std::istreambuf_iterator<char>(in), {}};
}

int newArcs(const std::filesystem::path& run, const std::string& sat) {
  std::ifstream log(run / "engine.log");
  int n = 0;
  for (std::string line; std::getline(log, line);)
    n += line.find("add ambiguity!") != std::string::npos && line.find(sat) != std::string::npos ? 1 : 0;
  return n;
}

/// The stream with the first signal of `sat` 7 cm off behind half an hour, and its counter raised.
std::string discontinuous(const std::string& stream, const std::string& sat) {
  std::istringstream in(stream);
  std::string out;
  bool phase = false, late = false;
  for (std::string line; std::getline(in, line); out += line + "\n") {
    if (line.starts_with("> ")) {
      phase = line.starts_with("> PHASE_BIAS");
      late = line.find(" 00 30 ") != std::string::npos || late;
    } else if (phase && late && line.starts_with(sat)) {
      std::istringstream words(line);
      std::string name, yaw, rate, count, signal, integer, wide, counter, rest;
      double value = 0.0;
      words >> name >> yaw >> rate >> count >> signal >> value >> integer >> wide >> counter;
      std::getline(words, rest);
      line = name + " " + yaw + " " + rate + " " + count + " " + signal + " " + std::to_string(value + 0.07) +
             " " + integer + " " + wide + " 1" + rest;
    }
  }
  return out;
}

TEST(PhaseBiasDiscontinuity, RestartsTheArcOfItsSatelliteAlone) {
  const RunDirectory dir;
  const std::string command = std::string(GNX_PROGRAM) + " simulate " + dir.path().string() +
                              " --date 2026-11-21T00:00:00 --hours 1 --systems GE --signals \"G:1C,2W "
                              "E:1C,5Q\" --quiet";
  ASSERT_EQ(std::system(command.c_str()), 0);
  const std::string stream = textOf(dir.path() / "corrections.ssr");
  const std::string sat = "G01";  // in sight for the whole hour
  std::ofstream(dir.path() / "broken.ssr") << discontinuous(stream, sat);

  const auto runWith = [&](const char* corrections, const char* out) {
    ReplayOptions o;
    o.program = GNX_PROGRAM;
    o.quiet = true;
    o.outDir = dir.path() / out;
    o.plan.obs = {(dir.path() / "observations.rnx").string()};
    o.plan.nav = {(dir.path() / "navigation.rnx").string()};
    o.plan.ssr = {(dir.path() / corrections).string()};
    o.plan.mode = o.deploy.run.mode = "kinematic";
    o.deploy.refpoint = "APC_ITRF";
    o.deploy.codeNoise_m = 0.3;
    return runReplay(o);
  };
  const ReplayResult whole = runWith("corrections.ssr", "whole"), broken = runWith("broken.ssr", "broken");
  EXPECT_EQ(newArcs(dir.path() / "broken", sat), newArcs(dir.path() / "whole", sat) + 2)
      << "both frequencies";
  EXPECT_EQ(newArcs(dir.path() / "broken", "freq"), newArcs(dir.path() / "whole", "freq") + 2)
      << "all satellites";
  ASSERT_EQ(whole.epochs.size(), broken.epochs.size());
  std::size_t fixed = 0;
  for (const SolutionEpoch& e : broken.epochs) fixed += e.status == 5 ? 1 : 0;
  EXPECT_GT(fixed, broken.epochs.size() - 25) << "the others stay fixed";
}

}  // namespace
}  // namespace gnx::test
