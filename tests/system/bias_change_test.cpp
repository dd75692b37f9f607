// Streams whose satellite clocks lack what their biases make up for: clock and biases together tell the
// truth.

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "gnx/write.h"
#include "support/simulated_files.h"

namespace gnx::test {
namespace {

/// The same corrections, with a part of each satellite's clock, up to 0.7 m in an hour, moved to its biases.
void writeShared(const std::filesystem::path& file, const SimulationOptions& options) {
  SsrWriter stream(file);
  forEachCorrection(options, Constellation(options.sky), [&](SsrBlock block) {
    const auto moved_m = [&](const SatName& sat) {
      return 1e-4 * (std::atoi(sat.c_str() + 1) % 5 - 2) * (block.time - options.sky.start);
    };
    for (SsrClock& clock : block.clocks) clock.c[0] += moved_m(clock.sat);
    for (SsrSatBias& biases : block.biases)
      for (SsrBias& bias : biases.biases) bias.value -= moved_m(biases.sat);
    stream.write(block);
  });
}

TEST(PhaseBiasChange, DoesNotReachFloatPositions) {
  const RunDirectory dir;
  const SimulationOptions options = shortSky("GE", 1.0);
  SimulationFiles files = simulate(options, dir.path());
  const auto run = [&](const char* name) {
    ReplayOptions o = replayOf(files, "GE", dir.path() / name, "kinematic");
    o.deploy.resolution = false;
    return runReplay(o).epochs;
  };
  const auto plain = run("plain");
  files.corrections = dir.path() / "shared.ssr";
  writeShared(files.corrections, options);
  const auto shared = run("shared");
  ASSERT_EQ(plain.size(), shared.size());
  double largest_m = 0.0;
  for (std::size_t k = 20; k < plain.size(); ++k)  // behind ten minutes
    for (std::size_t axis = 0; axis < 3; ++axis)
      largest_m = std::max(largest_m, std::fabs(plain[k].xyz[axis] - shared[k].xyz[axis]));
  EXPECT_LT(largest_m, 0.01);
  EXPECT_EQ(newAmbiguities(dir.path() / "shared"), newAmbiguities(dir.path() / "plain"));
}

}  // namespace
}  // namespace gnx::test
