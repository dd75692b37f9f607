// A phase bias that its provider declares discontinuous: the arc of that satellite begins anew, no other.

#include <algorithm>

#include "gnx/write.h"
#include "support/simulated_files.h"

namespace gnx::test {
namespace {

/// The corrections with the first signal of `sat` 7 cm off behind half an hour, and its counter raised.
void writeDiscontinuous(const std::filesystem::path& file, const SimulationOptions& options,
                        const SatName& sat) {
  SsrWriter stream(file);
  forEachCorrection(options, Constellation(options.sky), [&](SsrBlock block) {
    for (SsrSatBias& biases : block.biases) {
      if (block.kind != SsrKind::phaseBias || biases.sat != sat) continue;
      if (block.time - options.sky.start < 1800.0) continue;
      biases.biases.front().value += 0.07;
      ++biases.biases.front().discontinuity;
    }
    stream.write(block);
  });
}

TEST(PhaseBiasDiscontinuity, RestartsTheArcOfItsSatelliteAlone) {
  const RunDirectory dir;
  const SimulationOptions options = shortSky("GE", 1.0);
  const SatName sat = "G02";  // in sight for the whole hour
  SimulationFiles files = simulate(options, dir.path());
  const auto run = [&](const char* name) {
    ReplayOptions o = replayOf(files, "GE", dir.path() / name, "kinematic");
    o.deploy.codeNoise_m = 0.3;
    return runReplay(o);
  };
  const ReplayResult whole = run("whole");
  files.corrections = dir.path() / "broken.ssr";
  writeDiscontinuous(files.corrections, options, sat);
  const ReplayResult broken = run("broken");
  for (const SatName& some : {sat, SatName()})  // both frequencies of it, and no other
    EXPECT_EQ(newAmbiguities(dir.path() / "broken", some), newAmbiguities(dir.path() / "whole", some) + 2);
  ASSERT_EQ(whole.epochs.size(), broken.epochs.size());
  const auto fixed = [](const ReplayResult& of) {
    return std::ranges::count(of.epochs, 5, &SolutionEpoch::status);
  };
  // The bias behind the discontinuity is wrong by a third of a cycle: the satellite stays out.
  EXPECT_GT(fixed(whole), 90);
  EXPECT_GT(fixed(broken), 85) << "the others are fixed again";
}

}  // namespace
}  // namespace gnx::test
