// More satellites than the array was ever sized for, and arrays that are full: the engine goes on, leaves out
// what does not fit, and says so once.

#include "Core/Filter/SrifFilter.h"
#include "Interface/Controller.h"
#include "support/faulty_run.h"

namespace gnx::test {
namespace {

/// No mask, where every system is in sight: up to 43 satellites at once.
const SimulatedSky& crowdedSky() {
  static const SimulatedSky sky(
      {.hours = 1.6, .systems = "GECJ", .place = {0.1745, 2.356, 100.0}, .maskDegrees = 0.0});
  return sky;
}

// One frequency with estimated ionosphere has three columns a satellite in the epoch in which all slip.
TEST(FullArray, OneFrequencyAndFortySatellitesOutliveOutageAndSlips) {
  constexpr double kFrom = 2400.0, kTo = 3630.0, kSlip = 4740.0;
  Faults faults;
  faults.observations = [](ObsEpoch& epoch, double t) {
    if (t >= kFrom && t < kTo) return false;
    for (SatObs& sat : epoch.sats)
      for (SignalObs& s : sat.signals)
        s.phase += (t >= kTo ? 1000.0 + 17.0 * sat.sat[2] : 0.0) + (t >= kSlip ? 5000.0 : 0.0);
    return true;
  };
  const FaultyRun run(crowdedSky(), faults,
                      {.resolution = false, .combination = "SF", .systems = "GECJ", .cutoffDegrees = 0.0});
  EXPECT_EQ(run.epochs.size(), 192U - 41U);
  EXPECT_GE(run.satellitesAt(kTo), 40);
  EXPECT_GE(run.satellitesAt(kSlip), 42);
  for (const double t : {kTo, kSlip}) EXPECT_EQ(run.newAmbiguities("", t, t), run.satellitesAt(t)) << t;
  EXPECT_EQ(run.count({"array"}), 0) << "everything has room";
  EXPECT_LT(run.error(crowdedSky().site, kTo), 3.0);
}

/// Closes the array at a time: nothing new fits until something ends.
std::function<void(double)> closeArrayAt(double at) {
  return [at](double t) {
    tarvio::SrifFilter& filter = *tarvio::Controller::s_getInstance()->m_filter;
    if (t == at) filter.ntmx = filter.imtx + 1;
  };
}

TEST(FullArray, ASlippedSatelliteWaitsOneEpochAndTheLogTellsOnce) {
  constexpr double kAt = 3000.0;
  const SatName sat = twoHourSky().highest('G', kAt - 600.0, kAt + 600.0);
  Faults slipped;
  slipped.list = {slip(sat, "1C", kAt, 400.0), slip(sat, "2W", kAt, 700.0)};
  slipped.observations = [](ObsEpoch&, double t) { return t <= kAt + 300.0; };
  const FaultyRun clean(twoHourSky(), slipped, {.resolution = false});
  Faults full = slipped;
  full.before = closeArrayAt(kAt);
  const FaultyRun run(twoHourSky(), full, {.resolution = false});
  EXPECT_EQ(clean.newAmbiguities(sat, kAt, kAt), 2);
  EXPECT_EQ(run.newAmbiguities(sat, kAt, kAt), 0);
  EXPECT_EQ(run.newAmbiguities(sat, kAt + 30.0, kAt + 30.0), 2);
  EXPECT_EQ(run.count({"the array of", "is full"}), 1);
  EXPECT_EQ(run.count({"is full", sat}, kAt, kAt), 1);
  EXPECT_EQ(run.count({"has room for all rows again"}), 1);
  EXPECT_LT(run.change(clean, kAt), 0.02);
}

}  // namespace
}  // namespace gnx::test
