// Twenty epochs a second through the boundary: every tick is an epoch, nothing starts anew that goes on, and
// what slips is found in its epoch.

#include <algorithm>

#include "support/faulty_run.h"

namespace gnx::test {
namespace {

constexpr double kStep = 0.05;

const SimulatedSky& twentyHertzSky() {
  static const SimulatedSky sky({.hours = 150.0 / 3600.0, .fastFrom = 0.0, .fastTo = 1e9, .fastStep = kStep});
  return sky;
}

TEST(TwentyHertz, AGapIsBridgedAndASlipIsFound) {
  constexpr double kFrom = 100.0, kTo = 108.0, kSlip = 130.0;
  const SatName sat = twentyHertzSky().highest('G', 0.0, 150.0);
  Faults faults;
  faults.list = {slip(sat, "1C", kSlip, 5.0)};
  faults.observations = [](ObsEpoch&, double t) { return t < kFrom - 0.01 || t >= kTo - 0.01; };
  const FaultyRun run(twentyHertzSky(), faults,
                      {.mode = "kinematic", .interval = kStep, .resolution = false});
  EXPECT_NEAR(static_cast<double>(run.epochs.size()), (150.0 - (kTo - kFrom)) / kStep, 2.0);
  EXPECT_EQ(run.slips(), run.slips(sat)) << "only one has slipped";
  EXPECT_EQ(run.slips(sat, kSlip - 0.06, kSlip + 0.06), 1);
  EXPECT_EQ(run.newAmbiguities("", 1.0, kSlip - 1.0), 0) << "all arcs outlive the gap";
  EXPECT_EQ(run.newAmbiguities(sat, kSlip - 0.06, kSlip + 0.06), 2);
  EXPECT_EQ(run.treated(), 0);
  EXPECT_LT(run.error(twentyHertzSky().site, 60.0), 3.0);
}

// Slow errors of phases, believed twenty times a second, moved the ambiguities: what one epoch a second fixes
// after four minutes was not fixed at all.
TEST(TwentyHertz, IntegersAreFoundWithinMinutes) {
  const SimulatedSky sky({.hours = 345.0 / 3600.0, .fastFrom = 0.0, .fastTo = 1e9, .fastStep = kStep});
  const FaultyRun run(sky, Faults(), {.interval = kStep});
  EXPECT_GT(std::ranges::count(run.epochs, 5, &SolutionEpoch::status), 400);
  EXPECT_LT(run.error(sky.site, 344.0), 0.05);
}

}  // namespace
}  // namespace gnx::test
