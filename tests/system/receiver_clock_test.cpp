// Receiver clocks of every kind. The position must not know which one it was.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "support/faulty_run.h"

namespace {

using support::Faults;
using support::FaultyRun;
using support::RunSetup;
using support::SimulatedSky;

SimulatedSky skyOf(const std::string& kind, double offset, double drift) {
  support::SkyPlan plan;
  plan.hours = 1.5;
  plan.clock.kind = kind;
  plan.clock.offset = offset;
  plan.clock.drift = plan.clock.jumpingDrift = drift;
  return SimulatedSky(plan);
}

int jumps(const SimulatedSky& sky) {
  int n = 0;
  for (std::size_t k = 1; k < sky.clock.size(); ++k) n += std::fabs(sky.clock[k] - sky.clock[k - 1]) > 0.9e-3;
  return n;
}

class ReceiverClocks : public ::testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(, ReceiverClocks, ::testing::Values("static", "kinematic"),
                         [](const auto& info) { return info.param; });

// The millisecond that a receiver takes out of its tags, ranges and phases alike is 300 km of clock, and
// the satellites are elsewhere by up to a metre along the line of sight.
TEST_P(ReceiverClocks, GiveTheSamePositions) {
  RunSetup setup;
  setup.mode = GetParam();
  const SimulatedSky steady = skyOf("steered", 0.0, 0.0);
  const FaultyRun reference(steady, {}, setup);
  ASSERT_EQ(reference.epochs.size(), 180U);
  const struct {
    const char* kind;
    double offset, drift;
    int leastJumps;
  } clocks[] = {{"jumping", 3e-6, 3e-7, 1},
                {"jumping", 3e-6, -3e-6, 15},
                {"free", 5e-3, 1e-6, 0},
                {"free", -2e-2, 1e-5, 0}};
  for (const auto& c : clocks) {
    SCOPED_TRACE(std::string(c.kind) + ", drift " + std::to_string(c.drift * 1e6) + " us/s");
    const SimulatedSky sky = skyOf(c.kind, c.offset, c.drift);
    EXPECT_GE(jumps(sky), c.leastJumps);
    const FaultyRun run(sky, {}, setup);
    EXPECT_EQ(run.newAmbiguities(), reference.newAmbiguities()) << "no arc ends";
    EXPECT_EQ(run.count({"DIA batch detecting slip"}), reference.count({"DIA batch detecting slip"}));
    for (std::size_t k = 0; k < steady.epochs.size(); ++k) {
      ASSERT_EQ(run.epochs.at(k).rows, reference.epochs[k].rows) << "no satellite is lost, epoch " << k;
    }
    EXPECT_LT(run.change(reference, 0.0), 0.01) << "from the first epoch";
    EXPECT_LT(run.change(reference, 1800.0), 0.002) << "as the difference of noise in the tags allows";
  }
}

// Receivers that put the ranges back by a millisecond and let the phases run on: every wide-lane leaps,
// and every arc starts anew.
TEST(ReceiverClockJumps, InRangesAloneRestartAllArcs) {
  const SimulatedSky sky = skyOf("jumping", 3e-6, 3e-7);
  ASSERT_EQ(jumps(sky), 2);
  std::vector<double> sum(sky.clock.size(), 0.0);  // s taken out of the ranges so far
  std::vector<double> times;
  for (std::size_t k = 1; k < sum.size(); ++k) {
    const double step = sky.clock[k] - sky.clock[k - 1];
    sum[k] = sum[k - 1] + (std::fabs(step) > 0.9e-3 ? std::copysign(1e-3, step) : 0.0);
    if (std::fabs(step) > 0.9e-3) times.push_back(sky.epochs[k].time - sky.start());
  }
  Faults faults;
  std::size_t epochNumber = 0;
  faults.observations = [&](gnx::ObsEpoch& epoch, double) {
    for (gnx::SatObs& sat : epoch.sats) {
      for (gnx::SignalObs& s : sat.signals) {
        const double frequency = gnx::carrierFrequency(sat.sat[0], s.code.data());
        s.phase -= sum[epochNumber] * frequency;
      }
    }
    ++epochNumber;
    return true;
  };
  const FaultyRun clean(sky, {}), run(sky, faults);
  for (const double t : times) {
    EXPECT_GE(run.count({"[SLIP]", "] new ambiguity: "}, t, t), clean.satellitesAt(t));
    EXPECT_GE(run.newAmbiguities("", t, t), 2 * clean.satellitesAt(t));
    EXPECT_EQ(run.satellitesAt(t), clean.satellitesAt(t));
    EXPECT_LT(run.error(sky.site, t, t + 600.0), 0.05);
  }
  EXPECT_LT(run.error(sky.site, 5340.0), 0.03);
}

}  // namespace
