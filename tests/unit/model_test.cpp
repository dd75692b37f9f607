// The precise observation model against observations that are synthesised another way (model_world.h).

#include <gmock/gmock.h>

#include <span>

#include "support/model_world.h"

namespace tarvio {
namespace {

/// The range formula is of first order in the rotation during the travel time: half a millimetre.
constexpr double kModel_m = 8.0e-4;

/// Observations of eighteen satellites, known to the station by their true values.
struct PreciseModel : testing::Test {
  PreciseModel() {
    world.knowTruth();
    world.observe();
  }
  void model() { GnssModelItrs(world.filter(), &sta).gnssModel(true); }
  double worst() const {
    double out = 0.0;
    for (int i = 0; i < 18; ++i)
      for (const double xx : sta.m_sat[i].m_xx) out = std::fmax(out, std::fabs(xx));
    return out;
  }
  test::ModelWorld world;
  Station& sta = world.sta;
};

TEST_F(PreciseModel, TruthLeavesNothing) {
  model();
  ASSERT_EQ(sta.m_nobs, 2 * 2 * 18);
  EXPECT_LT(worst(), kModel_m);
  // The design row is the derivative of observed minus computed with a positive clock column.
  for (int i = 0; i < 18; ++i) {
    const Ssat_t& sat = sta.m_sat[i];
    EXPECT_NEAR(dot(3, sat.m_los, sat.m_los), 1.0, 1e-5);
    EXPECT_GT(sat.m_elev, 14.9 * kDegToRad);
    EXPECT_EQ(sat.m_flag[0], 0);
  }
}

TEST_F(PreciseModel, RejectsWithAReason) {
  for (const int f : {4, 5}) sta.m_sat[3].m_obs[f] += 1000.0;  // a code outlier on both frequencies
  world.orbits.m_orbit.erase("G05");                           // row 4: no orbit
  world.satellite(5).m_clk = 0.0;                              // no clock
  world.orbits.m_orbit.erase("G07");
  sta.m_sat[6].m_flag[1] = kFlagCodes;  // an older reason stays
  model();
  EXPECT_THAT(sta.m_sat[3].m_flag, testing::Each(4));
  EXPECT_THAT(sta.m_sat[4].m_flag, testing::Each(8));
  EXPECT_THAT(sta.m_sat[5].m_flag, testing::Each(0));
  EXPECT_THAT(sta.m_sat[6].m_flag, testing::ElementsAre(8, 5, 8, 8));
  for (int i : {3, 4, 5, 6}) EXPECT_THAT(sta.m_sat[i].m_xx, testing::Each(0.0)) << i;
  EXPECT_THAT(sta.m_sat[4].m_obs, testing::Each(0.0));
  EXPECT_NE(sta.m_sat[3].m_obs[4], 0.0);  // out of this epoch's rows only
  EXPECT_EQ(sta.m_nobs, 14 * 4);
  EXPECT_LT(worst(), kModel_m);
}

// Phase without code brings rows too; the lists must have room for them.
TEST_F(PreciseModel, PhaseOnlySlotsFillTheLists) {
  s_copyText(world.deploy().m_obsused, "PHASE");
  for (int i = 0; i < 18; ++i) sta.m_sat[i].m_obs[4] = sta.m_sat[i].m_obs[5] = 0.0;
  model();
  ASSERT_EQ(sta.m_nobs, 36);
  for (int i = 0; i < 36; ++i)
    EXPECT_THAT(std::span(sta.m_idxList + 4 * i, 4), testing::ElementsAre(i / 2, i % 2, 2, -1));
}

TEST_F(PreciseModel, WeightsFollowElevationFrequencyAndSignal) {
  world.deploy().m_noiseByFreq["EL5"] = 2.0;
  model();
  double lowest = 1.0;
  for (int i = 0; i < 18; ++i) {
    const Ssat_t& sat = sta.m_sat[i];
    const double g = sat.m_elev < 30.0 * kDegToRad ? 2.0 * std::sin(sat.m_elev) : 1.0;
    lowest = std::fmin(lowest, g);
    EXPECT_NEAR(sat.m_wgt[0], g / 0.003, 1e-9);
    EXPECT_NEAR(sat.m_wgt[5], i < 10 ? g / 0.3 : g / 0.3 / 2.0, 1e-9);
  }
  EXPECT_LT(lowest, 1.0);
  world.deploy().m_lsnr = true;
  world.observe();
  sta.m_sat[0].m_snr[0] = 45.0;
  model();
  const double sigma = std::sqrt(0.000161 * std::pow(10.0, -4.5) * 5590.0);
  EXPECT_NEAR(sta.m_sat[0].m_wgt[0], 1.0 / sigma, 1e-9 / sigma);
  EXPECT_NEAR(sta.m_sat[0].m_wgt[4], 1.0 / (100.0 * sigma), 1e-9 / sigma);
}

TEST_F(PreciseModel, NonsenseInTheStationIsSurvived) {
  GnssModelItrs same(world.filter(), &sta);
  sta.m_rclk[0] = std::nan("");
  same.gnssModel(true);
  EXPECT_TRUE(std::isfinite(sta.m_rclk[0]));
  world.observe();
  sta.m_x[1] = std::nan("");
  same.gnssModel(true);
  EXPECT_EQ(sta.m_nobs, 0);
  world.filter()->m_orbAdapters.clear();
  world.knowTruth();
  same.gnssModel(true);
  EXPECT_EQ(sta.m_nobs, 0);
}

}  // namespace
}  // namespace tarvio
