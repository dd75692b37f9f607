// Three frequencies through the boundary, uncombined: extra-wide-lanes, wide-lanes and narrow-lanes.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "support/faulty_run.h"

namespace {

using support::FaultyRun;
using support::SimulatedSky;

const SimulatedSky& sky() {
  static const SimulatedSky made({.hours = 1.0, .systems = "GE", .clock = {}});
  return made;
}

FaultyRun run(const std::map<std::string, std::string>& overrides) {
  support::RunSetup setup;
  setup.mode = "kinematic";
  setup.frequencies = "GPS:L1_L2_L5 GAL:E1_E5a_E5b";
  setup.overrides = overrides;
  return FaultyRun(sky(), {}, setup);
}

int epochsWith(const FaultyRun& run, int status) {
  return static_cast<int>(std::ranges::count(run.epochs, status, &gnx::SolutionEpoch::status));
}

TEST(ThreeFrequencies, FixLevelByLevel) {
  // The status of an epoch is that of the last level that fixed something.
  const FaultyRun extra = run({{"amb.wl.resolution", "off"}, {"amb.n1.resolution", "off"}});
  const FaultyRun wide = run({{"amb.n1.resolution", "off"}});
  const FaultyRun all = run({});
  ASSERT_EQ(all.epochs.size(), 120u);
  EXPECT_GT(epochsWith(extra, 3), 105);
  EXPECT_GT(epochsWith(wide, 4), 105);
  EXPECT_GT(epochsWith(all, 5), 100);
  const auto first = std::ranges::find(all.epochs, 5, &gnx::SolutionEpoch::status);
  ASSERT_NE(first, all.epochs.end());
  EXPECT_LE(all.secondsOf(*first), 480.0);
  for (const gnx::SolutionEpoch& e : all.epochs) {
    if (e.status != 5) continue;
    EXPECT_LT(FaultyRun::distance(e.xyz, sky().site), 0.15) << all.secondsOf(e) << ": a wrong fix";
    EXPECT_GE(e.fixed, 10) << all.secondsOf(e);
  }
}

}  // namespace
