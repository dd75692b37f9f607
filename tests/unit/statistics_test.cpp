// Figures of a run: small series whose values follow by hand.

#include "run/statistics.h"

#include <gmock/gmock.h>

#include <cmath>

#include "geometry/vector3.h"
#include "gnx/geodesy.h"

namespace gnx {
namespace {

const Vector3 kReference{3582104.7625, 532590.18, 5232755.1407};
const GpsTime kStart = toGpsTime({2026, 11, 21, 0, 0, 0.0});

SolutionEpoch epochAt(double seconds, const Vector3& enu, int status = 2) {
  return {.time = kStart + seconds,
          .xyz = plus(kReference, fromEastNorthUp(enu, toGeodetic(kReference))),
          .satellites = {10, 0, 6, 0, 0, 0},
          .sigma0 = 1.0,
          .status = status};
}

// A solution that leaves the limit again has not converged before it comes back.
TEST(Summary, ConvergenceIsForGood) {
  std::vector<SolutionEpoch> run;
  for (int k = 0; k <= 100; ++k) {
    const double east = k < 10 ? 0.5 : k == 40 ? 0.11 : 0.05;
    const double up = k < 20 ? 0.3 : 0.1;
    run.push_back(epochAt(30.0 * k, {east, 0.0, up}));
  }
  RunSummary s = summariseRun(run, kReference);
  ASSERT_TRUE(s.horizontalConvergence && s.verticalConvergence);
  EXPECT_DOUBLE_EQ(*s.horizontalConvergence, 41 * 30.0);
  EXPECT_DOUBLE_EQ(*s.verticalConvergence, 20 * 30.0);
  run.push_back(epochAt(3030.0, {0.2, 0.0, 0.0}));
  s = summariseRun(run, kReference);
  EXPECT_FALSE(s.horizontalConvergence);
  EXPECT_THAT(formatSummary(s), testing::HasSubstr("horizontal 10 cm never"));
}

TEST(Summary, ErrorsInThePartsOfALongRun) {
  std::vector<SolutionEpoch> run;
  for (int k = 0; k <= 24 * 12; ++k) {
    const double hours = k / 12.0;
    const double east = hours < 1.0 ? 1.0 : hours < 11.0 ? 0.04 : 0.01;
    run.push_back(epochAt(300.0 * k, {east, -0.02, k % 2 ? 0.03 : -0.03}));
  }
  const RunSummary s = summariseRun(run, kReference);
  EXPECT_TRUE(s.againstReference);
  EXPECT_DOUBLE_EQ(s.interval, 300.0);
  ASSERT_TRUE(s.afterHour && s.tail);
  EXPECT_NEAR(s.afterHour->east.largest, 0.04, 1e-8);
  EXPECT_DOUBLE_EQ(s.tailSeconds, 43200.0);
  EXPECT_NEAR(s.tail->east.mean, 0.01, 1e-8);
  EXPECT_NEAR(s.tail->north.mean, -0.02, 1e-8);
  EXPECT_NEAR(s.tail->up.rms, 0.03, 1e-8);
  EXPECT_NEAR(s.tail->horizontalRms, std::sqrt(5e-4), 1e-8);
  EXPECT_NEAR(s.tail->spatialRms, std::sqrt(14e-4), 1e-8);
}

TEST(Summary, AvailabilityFixingAndTime) {
  std::vector<SolutionEpoch> run;
  for (int k = 0; k < 8; ++k) {
    run.push_back(epochAt(10.0 * k, {}, k == 0 ? 0 : k < 4 ? 2 : 5));
    run.back().milliseconds = k == 0 ? 80.0 : k;
  }
  run[5].satellites = {8, 0, 0, 0, 0, 0};
  const RunSummary s = summariseRun(run, kReference);
  EXPECT_TRUE(s.epochs == 8 && s.solved == 7);
  EXPECT_TRUE(s.satellitesMin == 8 && s.satellitesMax == 16);
  EXPECT_DOUBLE_EQ(s.fixedShare, 4.0 / 7.0);
  ASSERT_TRUE(s.firstFix);
  EXPECT_DOUBLE_EQ(*s.firstFix, 40.0);
  EXPECT_DOUBLE_EQ(s.firstMilliseconds, 80.0) << "the first epoch reads tables and stands apart";
  EXPECT_DOUBLE_EQ(s.medianMilliseconds, 4.0);
  EXPECT_DOUBLE_EQ(s.maxMilliseconds, 7.0);
}

TEST(Summary, WithoutReferenceItTellsRepeatability) {
  std::vector<SolutionEpoch> run;
  for (int k = 0; k < 100; ++k) run.push_back(epochAt(30.0 * k, {5.0, 5.0, k % 2 ? 5.01 : 4.99}));
  const RunSummary s = summariseRun(run);
  EXPECT_FALSE(s.againstReference);
  ASSERT_TRUE(s.tail);
  EXPECT_NEAR(s.tail->east.rms, 0.0, 1e-5);
  EXPECT_NEAR(s.tail->up.rms, 0.01, 1e-5);
  EXPECT_THAT(formatSummary(s), testing::HasSubstr("repeatability"));
}

TEST(Summary, MovingReferenceAndEmptyRuns) {
  std::vector<SolutionEpoch> run;
  for (int k = 0; k < 10; ++k) run.push_back(epochAt(k, {10.0 * k + 0.02, 0.0, 0.0}));
  const RunSummary s = summariseRun(run, ReferencePath([](const GpsTime& t) -> std::optional<Vector3> {
                                      if (t - kStart > 7.5) return std::nullopt;
                                      return epochAt(0.0, {10.0 * (t - kStart), 0.0, 0.0}).xyz;
                                    }));
  EXPECT_EQ(s.whole.east.count, 8u);
  EXPECT_NEAR(s.whole.east.mean, 0.02, 1e-6);
  EXPECT_EQ(formatSummary(summariseRun({})), "no epochs\n");
  const RunSummary unsolved = summariseRun({epochAt(0.0, {}, 0)}, kReference);
  EXPECT_EQ(unsolved.solved, 0u);
  EXPECT_THAT(formatSummary(unsolved), testing::HasSubstr("solved 0 (0.0 %)"));
}

}  // namespace
}  // namespace gnx
