// Corrections that stop, come late, are thinned out, name the wrong message or are wrong.
//
// The batch nearest in time counts, up to 120 s away. A satellite without a usable correction is absent;
// its ambiguities wait for it for 15 minutes.

#include <cmath>

#include "support/faulty_run.h"

namespace gnx::test {
namespace {

constexpr double kAt = 3600.0;

struct Corrections : ::testing::Test {
  FaultyRun with(std::function<bool(CorrectionBatch&, double)> change) const {
    return FaultyRun(twoHourSky(), {.corrections = std::move(change)});
  }
  int added(const FaultyRun& run, double to) const {
    return run.newAmbiguities("", kAt, to) - clean.newAmbiguities("", kAt, to);
  }
  const FaultyRun clean{twoHourSky(), {}};
};

TEST_F(Corrections, ThatStopAreUsedForTwoMinutes) {
  for (const double minutes : {1.0, 2.0, 5.0, 20.0}) {
    SCOPED_TRACE(std::to_string(minutes) + " minutes without");
    const double end = kAt + 60.0 * minutes;
    const FaultyRun run = with([&](CorrectionBatch&, double t) { return t < kAt || t >= end; });
    EXPECT_EQ(run.epochs.size(), clean.epochs.size());
    for (const SolutionEpoch& e : run.epochs) {
      const double t = run.secondsOf(e), age = t < kAt || t >= end ? 0.0 : t - (kAt - 30.0);
      EXPECT_EQ(e.rows / 2, age < 120.0 ? clean.satellitesAt(t) : 0) << t;
      EXPECT_EQ(e.status == 0, age >= 120.0) << t;
    }
    // Ambiguities outlive 15 minutes of it. The slip detector works on raw observations, which go on.
    if (minutes < 15.0) EXPECT_EQ(added(run, end + 60.0), 0);
    else EXPECT_GE(added(run, end + 60.0), 2 * clean.satellitesAt(end) - 6);
    EXPECT_LT(run.change(clean, end + 600.0), minutes < 15.0 ? 0.01 : 0.03);
    EXPECT_LT(run.change(clean, 6600.0), 0.01) << "lasting";
  }
}

TEST_F(Corrections, ThatComeLateAreUsedUpToTwoMinutes) {
  for (const double late : {5.0, 30.0, 80.0, 130.0}) {
    SCOPED_TRACE(std::to_string(late) + " s late");
    const FaultyRun run = with([&](CorrectionBatch& b, double t) {
      if (t >= kAt) b.delivery = b.delivery + late;
      return true;
    });
    const double age = 30.0 * std::ceil(late / 30.0);
    for (double t = kAt + 120.0; t < 7200.0; t += 30.0)
      ASSERT_EQ(run.satellitesAt(t), age < 120.0 ? clean.satellitesAt(t) : 0) << t;
    if (age >= 120.0) continue;
    EXPECT_EQ(added(run, 7200.0), 0);
    EXPECT_LT(run.change(clean, kAt), 0.01) << "satellite clocks wander by 1 to 3 mm meanwhile";
  }
}

TEST_F(Corrections, ThatSkipOrLackSatellitesAndBiases) {
  const SatName sat = twoHourSky().highest('E', 0.0, 7200.0);
  const auto struck = [](double t) { return t >= kAt && t < kAt + 600.0; };
  const FaultyRun thinned =
      with([](CorrectionBatch&, double t) { return t < kAt || std::fmod(t, 90.0) == 0.0; });
  EXPECT_EQ(added(thinned, 7200.0), 0);
  EXPECT_LT(thinned.change(clean, kAt), 0.01);

  const FaultyRun lacking = with([&](CorrectionBatch& b, double t) {
    if (struck(t)) std::erase_if(b.orbitClock, [&](const auto& c) { return c.sat == sat; });
    return true;
  });
  const FaultyRun wrongIssue = with([&](CorrectionBatch& b, double t) {
    for (auto& c : b.orbitClock) c.iod += struck(t) && c.sat == sat ? 77 : 0;
    return true;
  });
  for (const FaultyRun* run : {&lacking, &wrongIssue}) {
    for (double t = kAt - 60.0; t < kAt + 700.0; t += 30.0)
      ASSERT_EQ(run->satellitesAt(t), clean.satellitesAt(t) - (struck(t) ? 1 : 0)) << t;
    EXPECT_EQ(added(*run, kAt + 700.0), 0) << "its ambiguities have waited";
    EXPECT_LT(run->change(clean, kAt), 0.01);
  }
  EXPECT_EQ(wrongIssue.change(lacking, 0.0), 0.0) << "one is as good as the other";

  const auto unbiased = [&](double until) {
    return with([=](CorrectionBatch& b, double t) {
      if (t >= kAt && t < until) b.newBiases = false;
      return true;
    });
  };
  EXPECT_EQ(unbiased(kAt + 90.0).change(clean, 0.0), 0.0) << "biases stay valid";
  const FaultyRun ceased = unbiased(kAt + 900.0);
  EXPECT_LT(ceased.at(kAt + 300.0)->status, 5) << "but not for ever";
  EXPECT_EQ(ceased.count({"phase biases are", "s old"}), 1);
}

TEST_F(Corrections, WithAWrongClockHurtThatSatelliteAlone) {
  const SatName sat = twoHourSky().highest('G', 0.0, 7200.0);
  for (const double metres : {0.8, 8.0, 80.0, 8000.0}) {
    SCOPED_TRACE(std::to_string(metres) + " m");
    const double end = kAt + 600.0;
    const FaultyRun run = with([&](CorrectionBatch& b, double t) {
      for (auto& c : b.orbitClock) c.dclk[0] += t >= kAt && t < end && c.sat == sat ? metres : 0.0;
      return true;
    });
    const bool screened = metres > 50.0;
    EXPECT_EQ(run.satellitesAt(kAt), clean.satellitesAt(kAt) - (screened ? 1 : 0));
    EXPECT_EQ(run.satellitesAt(end), clean.satellitesAt(end));
    EXPECT_EQ(run.countPrinted({"Remove observation for Station", sat}, kAt, kAt) > 0, screened);
    EXPECT_EQ(run.treated(sat, kAt, kAt) > 0, !screened);
    EXPECT_EQ(run.newAmbiguities("", kAt, end + 60.0) - run.newAmbiguities(sat, kAt, end + 60.0),
              clean.newAmbiguities("", kAt, end + 60.0));
    EXPECT_LT(run.change(clean, end + 600.0), 0.02);
    EXPECT_LT(run.change(clean, 6600.0), 0.01) << "lasting";
  }
}

// New messages every two hours (every ten minutes from Galileo), corrections that follow them.
TEST(Ephemerides, FollowOneAnotherWithoutASatelliteLost) {
  const SimulatedSky longSky({.hours = 6.0});
  const FaultyRun run(longSky, {});
  ASSERT_EQ(run.epochs.size(), longSky.epochs.size());
  for (std::size_t k = 0; k < longSky.epochs.size(); ++k) {
    int above = 0, near = 0;
    for (const auto& [sat, elevation] : longSky.elevations[k]) {
      above += elevation > 7.01 * M_PI / 180.0;
      near += elevation > 6.99 * M_PI / 180.0;
    }
    ASSERT_GE(run.epochs[k].rows / 2, above) << k;
    ASSERT_LE(run.epochs[k].rows / 2, near) << k;
  }
  // an arc a frequency and pass, nothing in between
  EXPECT_EQ(run.slips() + run.treated(), 0);
  EXPECT_LT(run.error(longSky.site, 3600.0), 0.01);
}

}  // namespace
}  // namespace gnx::test
