// What every observation model offers beside its rows: azimuth and elevation from the satellite table, and
// the receiver clock that follows the mean code residual.

#include <erfa.h>
#include <erfam.h>
#include <gmock/gmock.h>

#include "support/model_world.h"

namespace tarvio {
namespace {

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

}  // namespace
}  // namespace tarvio
