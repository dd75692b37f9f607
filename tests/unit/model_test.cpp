// The observation models against observations that are synthesised another way (model_world.h): the rows of
// the precise one, azimuth and elevation, the clock that follows the codes, the single-point position.

#include <erfa.h>
#include <erfam.h>
#include <gmock/gmock.h>

#include <span>

#include "Core/Model/SppLsq.h"
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

struct AzimuthElevation : gnx_test::TableFixture {
  AzimuthElevation() : model(nullptr, &sta) { add("G01"); }
  /// Station at a place, satellite 0 in a direction of its sky: hour angle and declination by ERFA.
  void place(double lat, double lon, double azimuth, double elevation) {
    eraGd2gc(ERFA_WGS84, lon, lat, 350.0, sta.m_x);
    rot_enu2xyz(lat, lon, sta.m_rot);
    double hourAngle = 0.0, declination = 0.0;
    eraAe2hd(azimuth, elevation, lat, &hourAngle, &declination);
    double direction[3];
    eraS2c(lon - hourAngle, declination, direction);
    for (int i = 0; i < 3; ++i) satellite(0).m_xyz[i] = sta.m_x[i] + 2.3e7 * direction[i];
  }
  Station sta{"STAN"};
  Model model;
};

TEST_F(AzimuthElevation, MeetTheHorizonOfThePlace) {
  for (const double lat : {-0.7, 0.01, 0.95})
    for (const double lon : {-2.0, 0.1, 1.9})
      for (const double elevation : {-40.0, 0.5, 15.0, 60.0, 89.0})
        for (double azimuth = -170.0; azimuth <= 180.0; azimuth += 50.0) {
          place(lat, lon, azimuth * kDegToRad, elevation * kDegToRad);
          model.m_azel(&sta);
          ASSERT_NEAR(sta.m_sat[0].m_elev * kRadToDeg, elevation, 1e-9);
          ASSERT_NEAR(std::remainder(sta.m_sat[0].m_azim * kRadToDeg - azimuth, 360.0), 0.0, 1e-6);
          ASSERT_LE(std::fabs(sta.m_sat[0].m_azim), kPi);
        }
}

TEST_F(AzimuthElevation, WithoutAPositionNothingIsSaid) {
  add("G02");  // a satellite without a position
  place(0.8, 0.2, 1.0, 0.5);
  for (int row : {0, 1}) sta.m_sat[row].m_azim = sta.m_sat[row].m_elev = 9.0;
  model.m_azel(&sta);
  EXPECT_NEAR(sta.m_sat[0].m_elev, 0.5, 1e-12);
  EXPECT_EQ(sta.m_sat[1].m_elev, 0.0);
  EXPECT_EQ(sta.m_sat[1].m_azim, 0.0);
  for (int row : {0, 1}) sta.m_sat[row].m_azim = sta.m_sat[row].m_elev = 9.0;
  std::fill(sta.m_x, sta.m_x + 3, 0.0);
  model.m_azel(&sta);
  for (int row : {0, 1}) EXPECT_EQ(sta.m_sat[row].m_elev, 9.0) << "no station, old values stay";
}

/// Observations of a true clock, and a model that starts from another one and follows the mean.
struct MeanClock : testing::Test {
  MeanClock() {
    world.knowTruth();
    world.observe();
  }
  /// \return the clock of the reference system against the truth, m
  double settle(double offset) {
    sta.m_rclk[0] = world.receiverClock_m + offset;
    GnssModelItrs(world.filter(), &sta).gnssModel(false);
    return sta.m_rclk[0] - world.receiverClock_m;
  }
  test::ModelWorld world;
  Station& sta = world.sta;
};

TEST_F(MeanClock, FollowsTheResidualsOfTheReferenceSystem) {
  sta.m_rclk[2] += 400.0;  // what Galileo's residuals say is not asked
  // One update suffices; what a clock error does to the times of emission is left in part, 800 m/s at most.
  for (const double offset : {2.0e4, -3.0e5, 31.0})
    EXPECT_LT(std::fabs(settle(offset)), 0.001 + 1e-6 * std::fabs(offset)) << offset;
  EXPECT_EQ(sta.m_rclk[2], world.interSystem_m + 400.0);
  // With the right clock the emission times are right, too.
  for (int i = 0; i < 10; ++i) EXPECT_LT(std::fabs(sta.m_sat[i].m_xx[4]), 0.02) << i;
}

// 1e-7 s are 30 m. A clock that was never set is taken from the residuals however small they are.
TEST_F(MeanClock, StaysWithinItsTolerance) {
  EXPECT_EQ(settle(29.0), 29.0);
  EXPECT_EQ(settle(-29.0), -29.0);
  world.receiverClock_m = 12.0;
  world.knowTruth();
  world.observe();
  EXPECT_LT(std::fabs(settle(-12.0)), 0.01);
}

TEST_F(MeanClock, IsFreeOfTheIonosphereButForASingleFrequency) {
  const double f1 = 1575.42, f2 = 1227.60, delay = 80.0;
  for (int i = 0; i < 10; ++i) {
    sta.m_sat[i].m_obs[4] += delay;
    sta.m_sat[i].m_obs[5] += delay * f1 * f1 / (f2 * f2);
  }
  EXPECT_LT(std::fabs(settle(1000.0)), 0.01);
  s_copyText(world.deploy().m_obscomb, "SF");
  EXPECT_NEAR(settle(1000.0), delay, 0.01);
}

TEST_F(MeanClock, NeedsTheReferenceSystemAboveTheMask) {
  s_copyText(world.deploy().m_syslist, "E");
  EXPECT_EQ(settle(1000.0), 1000.0) << "the reference is not in use";
  s_copyText(world.deploy().m_syslist, "GE");
  world.observe();
  for (int i = 0; i < 10; ++i) std::fill(sta.m_sat[i].m_obs, sta.m_sat[i].m_obs + 8, 0.0);
  EXPECT_EQ(settle(1000.0), 1000.0) << "no code of the reference";
  // Rows that a former pass left behind under the mask do not count.
  GnssModelItrs model(world.filter(), &sta);
  int rej[kMaxSat] = {};
  double clocks[kSys] = {};
  for (int i = 0; i < 10; ++i) {
    sta.m_sat[i].m_elev = i < 5 ? 1.0 : 0.01;
    sta.m_sat[i].m_xx[4] = sta.m_sat[i].m_xx[5] = i < 5 ? 90.0 : 1e6;
  }
  sta.m_rclk[0] = 500.0;
  EXPECT_TRUE(model.m_checkrange(false, rej, clocks));
  EXPECT_NEAR(sta.m_rclk[0], 590.0, 1e-9);
  EXPECT_NEAR(clocks[0], 590.0 / kLight, 1e-18) << "seconds, ready for the next pass";
  EXPECT_NEAR(clocks[2], (590.0 + sta.m_rclk[2]) / kLight, 1e-18) << "the offset of the other rides on it";
}

/// Observations that the reduced model explains.
struct CodeWorld : test::ModelWorld {
  explicit CodeWorld(int gps = 10, int galileo = 8) : ModelWorld(gps, galileo) { observe(false); }
  double solve() {
    SppLsq::s_spp(filter(), &sta, 10);
    return distance(sta.m_x, kTruth.data());
  }
};

TEST(SinglePoint, NoiseFreeCodesGiveThePosition) {
  for (const char* combination : {"RAW", "SF"}) {
    SCOPED_TRACE(combination);
    CodeWorld world;
    s_copyText(world.deploy().m_obscomb, combination);
    world.sta.m_rclk[0] = 77.0;
    EXPECT_LT(world.solve(), 0.01);
    EXPECT_NEAR(world.sta.m_blh[2], 85.0, 1000.0);
    EXPECT_EQ(world.sta.m_rclk[0], 77.0);  // clocks are put back
  }
}

TEST(SinglePoint, OneWildSatelliteIsOutvoted) {
  CodeWorld world;
  std::mt19937 random(7);
  std::normal_distribution<> noise(0.0, 3.0);
  for (int i = 0; i < 18; ++i) {
    const double error = noise(random) + (i == 4 ? 10000.0 : 0.0);
    for (int f = 0; f < 2; ++f) world.sta.m_sat[i].m_obs[4 + f] += error;
  }
  EXPECT_LT(world.solve(), 10.0);
}

TEST(SinglePoint, TooFewSatellitesGiveNoPosition) {
  EXPECT_LT(CodeWorld(5, 1).solve(), 0.05);  // five unknowns
  CodeWorld world(4, 1);
  testing::internal::CaptureStdout();
  world.solve();
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::HasSubstr("npam = 5,nobs = 5, not enough observations to compute!\n"));
  EXPECT_EQ(world.sta.m_x[0], 0.0);
  EXPECT_EQ(world.sta.m_blh[0], 0.0);
}

TEST(SinglePoint, KnownPositionIsLeftAlone) {
  CodeWorld world;
  world.knowTruth();
  std::ranges::fill(world.sta.m_blh, 1.0);
  EXPECT_EQ(world.solve(), 0.0);
  EXPECT_EQ(world.sta.m_nobs, 0);
  world.sta.m_blh[2] = 0.0;  // a position that was never placed is none
  world.solve();
  EXPECT_EQ(world.sta.m_x[0], 0.0);
}

TEST(LeastSquares, RefusesWhatItCannotSolve) {
  double A[6] = {1, 1, 1, 2, 2, 2}, l[3] = {1, 2, 3}, x[2] = {7, 7};
  EXPECT_EQ(SppLsq::s_lsq(A, l, 3, 2, x), 0);  // dependent columns
  EXPECT_EQ(SppLsq::s_lsq(A, l, 1, 2, x), 0);
  double B[6] = {1, 1, 1, 0, 1, 2};
  ASSERT_EQ(SppLsq::s_lsq(B, l, 3, 2, x), 1);
  EXPECT_THAT(x, testing::Each(testing::DoubleNear(1.0, 1e-12)));
}

}  // namespace
}  // namespace tarvio
