// Receiver clocks of every kind. The position must not know which one it was.

#include <cmath>

#include "support/faulty_run.h"

namespace gnx::test {
namespace {

SimulatedSky skyOf(const std::string& kind, double offset, double drift) {
  return SimulatedSky(
      {.hours = 1.5, .clock = {.kind = kind, .offset = offset, .drift = drift, .jumpingDrift = drift}});
}

class ReceiverClocks : public ::testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(, ReceiverClocks, ::testing::Values("static", "kinematic"),
                         [](const auto& info) { return info.param; });

// The millisecond that a receiver takes out of its tags, ranges and phases alike is 300 km of clock, and
// the satellites are elsewhere by up to a metre along the line of sight.
TEST_P(ReceiverClocks, GiveTheSamePositions) {
  const RunSetup setup{.mode = GetParam()};
  const SimulatedSky steady = skyOf("steered", 0.0, 0.0);
  const FaultyRun reference(steady, {}, setup);
  ASSERT_EQ(reference.epochs.size(), 180U);
  const struct {
    const char* kind;
    double offset, drift;
  } clocks[] = {
      {"jumping", 3e-6, 3e-7}, {"jumping", 3e-6, -3e-6}, {"free", 5e-3, 1e-6}, {"free", -2e-2, 1e-5}};
  for (const auto& c : clocks) {
    SCOPED_TRACE(std::string(c.kind) + ", drift " + std::to_string(c.drift * 1e6) + " us/s");
    const SimulatedSky sky = skyOf(c.kind, c.offset, c.drift);
    const FaultyRun run(sky, {}, setup);
    EXPECT_EQ(run.newAmbiguities(), reference.newAmbiguities()) << "no arc ends";
    EXPECT_EQ(run.treated(), reference.treated());
    for (std::size_t k = 0; k < steady.epochs.size(); ++k)
      ASSERT_EQ(run.epochs.at(k).rows, reference.epochs[k].rows) << "no satellite is lost, epoch " << k;
    EXPECT_LT(run.change(reference, 0.0), 0.01) << "from the first epoch";
    EXPECT_LT(run.change(reference, 1800.0), 0.002) << "as the difference of noise in the tags allows";
  }
}

// Receivers that put the ranges back by a millisecond and let the phases run on: every wide-lane leaps,
// and every arc starts anew.
TEST(ReceiverClockJumps, InRangesAloneRestartAllArcs) {
  const SimulatedSky sky = skyOf("jumping", 3e-6, 3e-7);
  std::size_t k = 0;
  double taken = 0.0;  // s out of the ranges so far
  const auto keepPhases = [&](ObsEpoch& epoch, double) {
    const double step = k > 0 ? sky.clock[k] - sky.clock[k - 1] : 0.0;
    if (std::fabs(step) > 0.9e-3) taken += std::copysign(1e-3, step);
    for (SatObs& sat : epoch.sats)
      for (SignalObs& s : sat.signals) s.phase -= taken * carrierFrequency(sat.sat[0], s.code.data());
    ++k;
    return true;
  };
  const FaultyRun clean(sky, {}), run(sky, {.observations = keepPhases});
  for (const double t : {1680.0, 5010.0}) {
    EXPECT_GE(run.slips("", t, t), clean.satellitesAt(t));
    EXPECT_GE(run.newAmbiguities("", t, t), 2 * clean.satellitesAt(t));
    EXPECT_EQ(run.satellitesAt(t), clean.satellitesAt(t));
    EXPECT_LT(run.error(sky.site, t, t + 600.0), 0.05);
  }
  EXPECT_LT(run.error(sky.site, 5340.0), 0.03);
}

}  // namespace
}  // namespace gnx::test
