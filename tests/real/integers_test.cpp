// Integer ambiguities of a real day. The antenna file's offsets of many satellites are not those behind the
// clocks: their narrow-lane offsets are taken from one half of the day and used in the other.

#include <fstream>

#include "calibrate/narrow_lanes.h"
#include "report/integer_check.h"
#include "report/run_files.h"
#include "support/real_data.h"

namespace gnx::test {
namespace {

class EsbcIntegers : public ::testing::Test {
 protected:
  void SetUp() override { GNX_REQUIRE_DATA("esbc_2020177"); }

  ReplayOptions run(const char* name, const char* mode, bool fix) const {
    ReplayOptions o = esbc(directory.path() / name, mode);
    useProducts(o);
    o.plan.wideLaneBiases = true;
    o.deploy.resolution = fix;
    return o;
  }
  const RunDirectory directory;
  const GpsTime eleven = toGpsTime({2020, 6, 25, 11, 0, 0.0}), noon = toGpsTime({2020, 6, 25, 12, 0, 0.0});
};

TEST_F(EsbcIntegers, BeatFloatWithOffsetsOfTheOtherHalfOfTheDay) {
  ReplayOptions morning = run("morning", "static", true);
  morning.plan.to = noon;
  runReplay(morning);
  const auto file = directory.path() / "offsets.csv";
  std::ofstream(file) << phaseOffsetsText(narrowLaneOffsets(readNarrowLanes(morning.outDir, {}, {})));

  ReplayOptions fixed = run("fixed", "kinematic", true), floating = run("float", "kinematic", false);
  fixed.plan.from = floating.plan.from = eleven;
  fixed.plan.phaseOffsets = file;
  const ReplayResult a = runReplay(fixed), b = runReplay(floating);
  ASSERT_TRUE(a.summary.afterHour && b.summary.afterHour);
  EXPECT_LT(a.summary.afterHour->east.rms, 0.015);
  EXPECT_LT(a.summary.afterHour->north.rms, 0.015);
  EXPECT_LT(a.summary.afterHour->up.rms, 0.04);
  EXPECT_LT(a.summary.afterHour->east.rms, 0.8 * b.summary.afterHour->east.rms);
}

// G18 is left out: its antenna offsets of that time are not in the file at hand.
TEST_F(EsbcIntegers, WideLanesOfTheDayAreNearIntegers) {
  ReplayOptions day = run("day", "static", true);
  day.plan.excluded = {"G18"};
  runReplay(day);
  const IntegerCheck check = checkIntegers(readRunFiles(day.outDir).integers, std::nullopt);
  const LevelCheck& wide = check.levels.at("wl");
  EXPECT_GT(wide.arcs.size(), 200U);
  EXPECT_GT(static_cast<double>(arcsNearInteger(wide)), 0.9 * static_cast<double>(wide.arcs.size()));
}

}  // namespace
}  // namespace gnx::test
