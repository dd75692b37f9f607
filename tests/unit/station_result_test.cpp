// The final coordinate of a station and its zenith delays, as users and other programs get them.

#include "run/station_result.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

#include "run/troposphere_file.h"
#include "support/files.h"

namespace gnx {
namespace {

using testing::HasSubstr;

const GpsTime kTime = toGpsTime({2020, 6, 25, 23, 55, 0.0});
const Vector3 kPlace{3582104.7625, 532590.1800, 5232755.1407};

/// 4 mm towards an azimuth, 2 mm across, 6 mm up; as xx, yy, zz, xy, yz, zx.
std::array<double, 6> covarianceTowards(double azimuth) {
  const Geodetic place = toGeodetic(kPlace);
  const double s = std::sin(azimuth), c = std::cos(azimuth);
  std::array<Vector3, 3> full{};
  for (const auto& [enu, sigma] :
       {std::pair(Vector3{s, c, 0.0}, 0.004), std::pair(Vector3{c, -s, 0.0}, 0.002),
        std::pair(Vector3{0.0, 0.0, 1.0}, 0.006)}) {
    const Vector3 axis = fromEastNorthUp(enu, place);
    for (std::size_t i = 0; i < 3; ++i)
      for (std::size_t k = 0; k < 3; ++k) full[i][k] += sigma * sigma * axis[i] * axis[k];
  }
  return {full[0][0], full[1][1], full[2][2], full[0][1], full[1][2], full[0][2]};
}

std::vector<SolutionEpoch> epochs(double azimuth) {
  SolutionEpoch solved, lost;
  solved.time = kTime;
  solved.xyz = kPlace;
  solved.status = 2;
  solved.covariance = covarianceTowards(azimuth);
  lost.time = kTime + 30.0;  // holds no position of its own
  return {solved, lost};
}

TEST(StationResults, TurnTheCovarianceIntoAnEllipseInTheFrameOfTheOrbits) {
  const support::TemporaryDirectory dir;
  RunPlan plan;
  plan.sp3 = {dir.write("orbits.sp3", "#cP2020  6 25  0  0  0.00000000      96 TRACK IGb14 FIT GRGS\n")};
  plan.obs = {dir.write("observations.rnx",
                        "     3.04           O                   M                   RINEX VERSION / TYPE\n"
                        "AJAC                                                        MARKER NAME\n"
                        "G    1 C1C                                                  SYS / # / OBS TYPES\n"
                        "                                                            END OF HEADER\n")};
  for (const double azimuth : {0.1, 1.0, 2.9}) {
    const auto result = stationResult(plan, epochs(azimuth));
    ASSERT_TRUE(result && result->hasSigmas);
    EXPECT_NEAR(result->major_m, 2.4477 * 0.004, 1e-6);
    EXPECT_NEAR(result->minor_m, 2.4477 * 0.002, 1e-6);
    EXPECT_NEAR(result->azimuth_deg, azimuth * 57.29578, 1e-3);
    EXPECT_NEAR(result->height95_m, 1.96 * 0.006, 1e-6);
    EXPECT_EQ(result->time, kTime) << "the last epoch with a solution";
    EXPECT_THAT(formatStation(*result), HasSubstr("marker of AJAC, frame IGb14, epoch 2020.4836"));
  }
  plan.mode = "kinematic";
  EXPECT_FALSE(stationResult(plan, epochs(0.0)));
}

TEST(TroposphereFiles, HoldTotalDelaysInColumns) {
  ZenithDelays delays;
  Solution solution;
  solution.state = SolutionState::floating;
  std::ranges::copy(kPlace, solution.position.begin());
  solution.zenith = {2.3000, 0.1000, 0.00126, 0.0012};
  for (const double since : {0.0, 30.0, 300.0}) {
    solution.time = kTime + since;
    delays.take(solution);
  }
  ASSERT_EQ(delays.all().size(), 2U) << "every five minutes";
  const std::string text = troposphereText({"ESBC00DNK", "ANTENNA", "RECEIVER", "IGb14", 7.0}, delays, kTime);
  EXPECT_THAT(text, testing::StartsWith(
                        "%=TRO 2.00 GNX 2020:177:86100 GNX 2020:177:86100 2020:178:00000 P ESBC00DNK\n"));
  EXPECT_THAT(text,
              HasSubstr("\n ESBC00DNK 2020:177:86100 2401.3    1.2\n ESBC00DNK 2020:178:00000 2401.3 "));
  EXPECT_THAT(text, HasSubstr("  3582104.763   532590.180  5232755.141 IGb14  GNX\n"));
  EXPECT_THAT(text, testing::EndsWith("-TROP/SOLUTION\n%=ENDTRO\n"));
}

}  // namespace
}  // namespace gnx
