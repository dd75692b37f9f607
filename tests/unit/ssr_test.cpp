#include <gmock/gmock.h>

#include "Adapter/SsrOrbitClkAdapter.h"
#include "support/broadcast_messages.h"
#include "support/table_fixture.h"

namespace {

using namespace gnx_test;
using namespace tarvio;

struct Ssr : TableFixture {
  Ssr() {
    for (const char* cprn : {"G05", "E11"}) add(cprn);
    GPSEPH eph = message("G05");
    eph.m_e = eph.m_cuc = eph.m_cus = eph.m_crc = eph.m_crs = eph.m_cic = eph.m_cis = 0.0;  // a circle
    store.m_gnssEph["G05"].push_back(eph);
    int iod = -1;
    store.BrdOrbitClkAdapter::v_readClk("G05", kMjd, kToeSod, &broadcastClk, &iod);
  }
  void inputOrbit(double sow, double radial_m, int isat = gps) {
    SSRORB orb;
    orb.m_wk = kWeek;
    orb.m_sow = sow;
    orb.m_iod[isat] = 10;
    orb.m_dorb[isat][0] = radial_m;
    store.v_inputSsr(&orb, nullptr);
  }
  void inputClock(double sow, std::initializer_list<double> c) {
    SSRCLK clk;
    clk.m_wk = kWeek;
    clk.m_sow = sow;
    clk.m_iod[gps] = 10;
    std::ranges::copy(c, clk.m_dclk[gps]);
    store.v_inputSsr(nullptr, &clk);
  }
  int read(double sod) { return store.v_readOrbit("G05", kMjd, sod, xv); }
  /// Clock minus broadcast, metres; orbits are read first, as in an epoch.
  double clockCorrection(double sod) {
    double clk = 0.0;
    read(sod);
    return store.v_readClk("G05", kMjd, sod, &clk) == 1 ? (clk - broadcastClk) * kLight : -999.0;
  }

  SsrOrbitClkAdapter store;
  static constexpr int gps = 0, gal = 1;  ///< rows
  double broadcastClk = 0.0, xv[6] = {};
};

TEST_F(Ssr, HalvesJoinSatelliteBySatelliteAndOnlyTheNearestRecordCounts) {
  inputOrbit(kToe, 1.0);
  inputOrbit(kToe, 7.0, gal);
  ASSERT_EQ(store.m_list.size(), 1U);
  EXPECT_EQ(store.m_list.front().m_dorb[gps][0], 1.0);
  EXPECT_EQ(store.m_list.front().m_dorb[gal][0], 7.0);
  EXPECT_EQ(store.m_list.front().m_iodClk[gps], -1);
  inputClock(kToe, {0.5});
  inputClock(kToe + 30.0, {0.6});  // without its orbit half the satellite is gone
  EXPECT_EQ(read(kToeSod), 1);
  EXPECT_EQ(read(kToeSod + 30.0), 0);
  inputOrbit(kToe + 30.0 + 0.005, 1.1);  // the other half of that batch
  EXPECT_EQ(store.m_list.size(), 2U);
  EXPECT_EQ(read(kToeSod + 31.0), 1);
  EXPECT_NEAR(clockCorrection(kToeSod + 31.0) + 31.0 * 4.5e-12 * kLight, 0.6, 1e-5);
}

TEST_F(Ssr, ClockPolynomialInTheAgeOfTheLastRecordLookedAt) {
  inputOrbit(kToe, 0.0);
  inputClock(kToe, {1.0, 0.01, 0.0001});
  store.m_gnssEph["G05"].front().m_a1 = 0.0;
  EXPECT_NEAR(clockCorrection(kToeSod + 20.0), 1.0 + 0.2 + 0.04, 1e-6);
  // Age has no sign: 20 s before the tag counts like 20 s after it.
  EXPECT_NEAR(clockCorrection(kToeSod - 20.0), 1.0 + 0.2 + 0.04, 1e-6);
  // The age is that of the end of the list, here a record 50 s ahead.
  inputOrbit(kToe + 60.0, 0.0);
  EXPECT_NEAR(clockCorrection(kToeSod + 10.0), 1.0 + 0.5 + 0.25, 1e-6);
}

TEST_F(Ssr, OneRecordServesTheWholeEpoch) {
  const auto radial = [this](double sod) {
    read(sod);
    return store.m_cur.m_dorb[gps][0];
  };
  inputOrbit(kToe, 1.0);
  read(kToeSod + 40.0);
  inputOrbit(kToe + 40.0, 2.0);  // a feeder delivers in the middle of the epoch
  EXPECT_EQ(radial(kToeSod + 40.0), 1.0);
  EXPECT_EQ(radial(kToeSod + 40.0 - 0.075), 1.0) << "emission time";
  EXPECT_EQ(radial(kToeSod + 41.0), 2.0);

  // Emission times before midnight belong to the epoch at midnight.
  store.v_readOrbit("G05", kMjd, 0.0, xv);
  const double acquired = store.m_lastEpoch;
  store.v_readOrbit("G05", kMjd - 1, 86399.93, xv);
  EXPECT_EQ(store.m_lastEpoch, acquired);
}

}  // namespace
