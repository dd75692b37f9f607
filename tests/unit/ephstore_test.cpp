#include <gmock/gmock.h>

#include <cmath>

#include "Adapter/BrdOrbitClkAdapter.h"
#include "Common/ComTime.h"
#include "support/broadcast_messages.h"
#include "support/table_fixture.h"

namespace {

using gnx_test::kMjd;
using gnx_test::kToe;
using gnx_test::kToeSod;
using gnx_test::kWeek;
using tarvio::GPSEPH;
using ::testing::ElementsAre;

class EphStore : public gnx_test::TableFixture {
 protected:
  EphStore() {
    for (const char* name : {"G05", "E11", "C21", "R05"}) add(name);
    // Messages are judged against the current epoch, not the wall clock.
    deploy().m_lpost = true;
    deploy().m_curMjd = kMjd;
    deploy().m_curSod = kToeSod;
    store = std::make_unique<tarvio::BrdOrbitClkAdapter>();
  }
  void input(double sod, const char* cprn = "G05", double codes = 258.0) {
    GPSEPH eph = gnx_test::message(cprn);
    eph.m_sod = sod;
    eph.m_toe = kToe - kToeSod + sod;
    eph.m_codes = codes;
    store->v_inputEph(&eph, nullptr);
  }
  std::vector<double> held(const char* cprn = "G05") const {
    std::vector<double> sods;
    for (const GPSEPH& eph : store->m_gnssEph.at(cprn)) sods.push_back(eph.m_sod);
    return sods;
  }
  std::unique_ptr<tarvio::BrdOrbitClkAdapter> store;
};

TEST_F(EphStore, HoldsTheTwoNewestNewestFirst) {
  input(7200.0);
  input(7200.0);  // a repetition
  EXPECT_THAT(held(), ElementsAre(7200.0));
  input(3600.0);
  EXPECT_THAT(held(), ElementsAre(7200.0, 3600.0));
  input(1800.0);  // older than both
  EXPECT_THAT(held(), ElementsAre(7200.0, 3600.0));
  input(5400.0);  // between
  EXPECT_THAT(held(), ElementsAre(7200.0, 5400.0));
  input(9000.0);
  EXPECT_THAT(held(), ElementsAre(9000.0, 7200.0));
}

TEST_F(EphStore, RefusesOffGridFarAndInavMessages) {
  input(7100.0);
  input(7200.0 + 21900.0);
  EXPECT_THAT(held(), ElementsAre());
  input(7200.0 + 21600.0);
  EXPECT_THAT(held(), ElementsAre(28800.0));
  input(7200.0, "E11", 517.0);
  EXPECT_THAT(held("E11"), ElementsAre());
  input(7200.0, "E11", 258.0);
  EXPECT_THAT(held("E11"), ElementsAre(7200.0));
}

TEST_F(EphStore, RealTimeIsTheWallClock) {
  deploy().m_lpost = false;
  input(7200.0);
  EXPECT_THAT(held(), ElementsAre());
  GPSEPH eph = gnx_test::message("G05");
  tarvio::cur_time(&eph.m_mjd, &eph.m_sod);
  eph.m_sod = std::floor(eph.m_sod / 300.0) * 300.0;
  store->v_inputEph(&eph, nullptr);
  EXPECT_EQ(held().size(), 1U);
}

TEST_F(EphStore, ReadsInTheTimeScaleOfTheSystem) {
  input(7200.0);
  input(7200.0, "C21");
  double xv[6], clk = 0.0;
  ASSERT_EQ(store->v_readOrbit("C21", kMjd, 7214.0, xv), 1);
  // The same message evaluated at its own toe: BDT is 14 s behind GPS time.
  double expected[6], expectedClk = 0.0;
  const GPSEPH eph = gnx_test::message("C21");
  store->m_geph2xyz(&eph, "yyy", kWeek, kToe, expected, &expectedClk);
  for (int i = 0; i < 6; ++i) EXPECT_DOUBLE_EQ(xv[i], expected[i]);
  ASSERT_EQ(store->v_readClk("C21", kMjd, 7214.0, &clk), 1);
  EXPECT_DOUBLE_EQ(clk, expectedClk);

  double drift = 0.0;
  ASSERT_EQ(store->v_readClkDrift("G05", kMjd, 7300.0, &drift), 1);
  EXPECT_NEAR(drift, -4.5e-12, 1e-16);
}

TEST_F(EphStore, MissingOrImpossibleMessagesGiveZeros) {
  for (const double nonsense : {0.0, 1e14}) {
    if (nonsense != 0.0) {
      GPSEPH eph = gnx_test::message("G05");
      eph.m_crs = eph.m_a0 = nonsense;
      store->v_inputEph(&eph, nullptr);
    }
    double xv[6] = {1, 1, 1, 1, 1, 1}, clk = 1.0;
    EXPECT_EQ(store->v_readOrbit("G05", kMjd, 7200.0, xv), 0);
    EXPECT_EQ(store->v_readClk("G05", kMjd, 7200.0, &clk), 0);
    EXPECT_THAT(xv, ::testing::Each(0.0));
    EXPECT_EQ(clk, 0.0);
  }
}

}  // namespace
