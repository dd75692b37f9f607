#include <gmock/gmock.h>

#include <cmath>

#include "Adapter/BrdOrbitClkAdapter.h"
#include "Common/ComTime.h"
#include "support/broadcast_messages.h"
#include "support/table_fixture.h"

namespace {

using namespace gnx_test;
using tarvio::GPSEPH;
using ::testing::ElementsAre;

class EphStore : public gnx_test::TableFixture {
 protected:
  EphStore() {
    for (const char* name : {"G05", "E11"}) add(name);
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

}  // namespace
