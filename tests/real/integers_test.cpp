// Integer ambiguities of a real day, with the antenna offsets behind its products.

#include <cmath>

#include "calibrate/narrow_lanes.h"
#include "report/integer_check.h"
#include "run/run_files.h"
#include "support/real_data.h"

namespace gnx::test {
namespace {

struct EsbcIntegers : ::testing::Test {
  void SetUp() override { GNX_REQUIRE_DATA("esbc_2020177"); }

  ReplayOptions run(const char* name, const char* mode, bool fix) const {
    ReplayOptions o = esbc(directory.path() / name, mode);
    useProducts(o);
    o.plan.wideLaneBiases = true;
    o.deploy.resolution = fix;
    return o;
  }
  const RunDirectory directory;
};

// The second half of the day, as a receiver that may move.
TEST_F(EsbcIntegers, BeatFloat) {
  ReplayOptions fixed = run("fixed", "kinematic", true), floating = run("float", "kinematic", false);
  fixed.plan.from = floating.plan.from = toGpsTime({2020, 6, 25, 11, 0, 0.0});
  const ReplayResult a = runReplay(fixed), b = runReplay(floating);
  ASSERT_TRUE(a.summary.afterHour && b.summary.afterHour);
  EXPECT_LT(a.summary.afterHour->east.rms, 0.015);
  EXPECT_LT(a.summary.afterHour->north.rms, 0.015);
  EXPECT_LT(a.summary.afterHour->up.rms, 0.04);
  EXPECT_LT(a.summary.afterHour->east.rms, 0.8 * b.summary.afterHour->east.rms);
}

// Antenna offsets other than those of the products leave narrow-lane fractions that differ by satellite: 0.18
// cycle in the mean with nominal ones.
TEST_F(EsbcIntegers, LanesOfTheDayAreNearIntegers) {
  const ReplayOptions day = run("day", "static", true);
  runReplay(day);
  const IntegerCheck check = checkIntegers(readRunFiles(day.outDir).integers, std::nullopt);
  for (const char* level : {"wl", "n1"}) {
    const LevelCheck& lanes = check.levels.at(level);
    EXPECT_GT(lanes.arcs.size(), 200U) << level;
    EXPECT_GT(static_cast<double>(arcsNearInteger(lanes)), 0.9 * static_cast<double>(lanes.arcs.size()))
        << level;
  }
  const PhaseOffsets offsets = narrowLaneOffsets(readNarrowLanes(day.outDir, {}, {}));
  EXPECT_GT(offsets.size(), 35U);
  for (const auto& [sat, offset] : offsets) EXPECT_LT(std::fabs(offset.cycles), 0.1) << sat;
}

}  // namespace
}  // namespace gnx::test
