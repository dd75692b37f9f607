// Two runs held against each other: which epochs belong together, and what is told of them.

#include "report/comparison.h"

#include <gmock/gmock.h>

#include <cmath>

#include "gnx/error.h"
#include "support/files.h"

namespace gnx {
namespace {

const std::array<double, 3> kPlace{6378137.0, 0.0, 0.0};  // up is x, east y, north z

RunFiles runOf(double step, int count, double offset) {
  RunFiles run;
  for (int i = 0; i < count; ++i) {
    SolutionEpoch& e = run.epochs.emplace_back();
    e.time = GpsTime{1277000000, 0.0} + (step * i + offset);
    e.xyz = kPlace;
    e.status = i < 2 ? 2 : kFixedStatus;
    e.rows = 20;
  }
  return run;
}

TEST(Comparison, EpochsOfOneTimeBelongTogetherAndEachIsCountedOnce) {
  RunFiles first = runOf(1.0, 10, 0.0), second = runOf(0.5, 19, 0.001);
  second.epochs[6].xyz[1] += 0.25;  // east, at 3 s
  second.epochs[4].status = 2;
  first.epochs[5].status = 0, first.epochs[5].rows = 0;
  first.settings = {{"common.ionmodel", "ION_EST"}, {"threshold.dia", "4"}};
  second.settings = {{"common.ionmodel", "ION_NONE"}, {"threshold.dia", "4"}};
  const Comparison c = compareRuns(first, second);
  EXPECT_EQ(c.common, 10U);
  EXPECT_EQ(c.onlySecond, 1U);
  ASSERT_EQ(c.differences.size(), 9U);
  EXPECT_EQ(c.fixedByFirst, 7U);
  EXPECT_EQ(c.fixedByBoth, 6U);
  ASSERT_TRUE(c.largest);
  EXPECT_NEAR(c.largest->enu[0], 0.25, 1e-9);
  EXPECT_NEAR(c.largest->time - first.epochs[3].time, 0.0, 1e-9);
  ASSERT_TRUE(c.bothFixed);
  EXPECT_NEAR(c.bothFixed->spatialRms, 0.25 / std::sqrt(6.0), 1e-9);
  ASSERT_EQ(c.settings.size(), 1U);
  EXPECT_THAT(comparisonText(first, second, c), testing::HasSubstr("common.ionmodel: ION_EST | ION_NONE"));
}

TEST(Comparison, RunsOfOtherTimesAreRefused) {
  EXPECT_THROW(compareRuns(runOf(30.0, 5, 0.0), runOf(30.0, 5, 7.0)), InputError);
}

}  // namespace
}  // namespace gnx
