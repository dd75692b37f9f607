// What happens to an engine in the field: odd intervals and tags, a host that changes its directory, a board
// whose clock is not set, a configuration whose fault would show in the first epoch only.

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>

#include "engine/replay_clock.h"
#include "support/faulty_run.h"

namespace gnx::test {
namespace {

using ::testing::HasSubstr;

/// Three minutes of a receiver at 5 Hz.
const SimulatedSky& fiveHertzSky() {
  static const SimulatedSky sky({.hours = 0.05, .fastFrom = 0.0, .fastTo = 1e9, .fastStep = 0.2});
  return sky;
}

TEST(Intervals, FractionsOfASecondGiveALineEachTick) {
  for (const double interval : {0.2, 0.6}) {
    const FaultyRun run(fiveHertzSky(), {}, {.mode = "kinematic", .interval = interval, .resolution = false});
    const auto expected = static_cast<std::size_t>(std::lround(180.0 / interval));
    ASSERT_NEAR(static_cast<double>(run.epochs.size()), static_cast<double>(expected), 1.0) << interval;
    for (std::size_t k = 1; k < run.epochs.size(); ++k)
      ASSERT_NEAR(run.epochs[k].time - run.epochs[k - 1].time, interval, 0.051) << "epoch " << k;
    EXPECT_EQ(run.slips() + run.treated(), 0) << interval;
    EXPECT_LT(run.error(fiveHertzSky().site, 60.0), 3.0) << interval;
  }
}

TEST(Intervals, TagsBesideTheMultiplesCountWithinAMillisecond) {
  const auto lines = [](double shift_s) {
    Faults faults;
    faults.observations = [shift_s](ObsEpoch& epoch, double t) {
      epoch.time = epoch.time + shift_s;
      return t < 300.0;
    };
    return FaultyRun(twoHourSky(), faults, {.resolution = false}).epochs.size();
  };
  EXPECT_EQ(lines(-4e-4), 10U);
  EXPECT_EQ(lines(1e-7), 10U);
  EXPECT_EQ(lines(5e-3), 0U);
}

TEST(Intervals, ThoseThatAreNoneTakeEveryEpochAndSaySo) {
  Faults faults;
  faults.observations = [](ObsEpoch&, double t) { return t < 150.0; };
  for (const double interval : {0.0, -30.0, std::numeric_limits<double>::quiet_NaN()}) {
    const FaultyRun run(twoHourSky(), faults, {.interval = interval, .resolution = false});
    EXPECT_EQ(run.epochs.size(), 5U) << interval;
    EXPECT_EQ(std::ranges::count_if(run.log,
                                    [](const std::string& line) {
                                      return line.find("every epoch is processed") != std::string::npos;
                                    }),
              1)
        << interval;
  }
}

}  // namespace
}  // namespace gnx::test
