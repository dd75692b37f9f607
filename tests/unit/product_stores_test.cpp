// Stores of broadcast messages and corrections: what they take, what serves an epoch, and the files in which
// they keep it, read back.

#include <gmock/gmock.h>

#include <cmath>

#include "Adapter/BrdOrbitClkAdapter.h"
#include "Adapter/SsrOrbitClkAdapter.h"
#include "Common/ComTime.h"
#include "gnx/read.h"
#include "support/broadcast_messages.h"
#include "support/files.h"
#include "support/table_fixture.h"

namespace {

using namespace gnx_test;
using ::testing::ElementsAre;
using namespace tarvio;

struct EphStore : gnx_test::TableFixture {
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

struct ProductFiles : TableFixture {
  ProductFiles() {
    gps = add("G05");
    add("C21");
    tarvio::s_copyText(deploy().m_pathOutput, directory.path().string());
    store.m_gnssEph["G05"].push_back(message("G05"));
    store.m_gnssEph["C21"].push_back(message("C21", 5282.6));
    store.m_gnssEph["C21"].front().m_tgd2 = -3.0e-9;
    tarvio::GLSEPH& glonass = store.m_glsEph["R07"].emplace_back();
    tarvio::s_copyText(glonass.m_cprn, "R07");
    glonass.m_mjd = kMjd;
    glonass.m_sod = kToeSod + 18.0;  // GPS time of a whole quarter of an hour UTC
    glonass.m_tau = -1.5e-5;
    glonass.m_pos[0] = 10'000.0;
    glonass.m_pos[1] = 19'123.456;
    glonass.m_vel[2] = -1.25;
    glonass.m_frq = -4.0;
  }
  std::string fileLike(const std::string& part) const {
    for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
      if (entry.path().filename().string().find(part) != std::string::npos) return entry.path().string();
    return "";
  }
  void write() {
    store.v_openOutFile(std::to_string(kMjd) + ":7200.0", 3.04);
    store.v_outFileEph();
    store.v_closeOutFile();
  }

  support::TemporaryDirectory directory;
  tarvio::SsrOrbitClkAdapter store;
  int gps = 0;
};

TEST_F(ProductFiles, MessagesComeBackFromTheMergedNavigationFile) {
  write();
  const gnx::NavData nav = gnx::readRinexNav(std::vector<std::string>{fileLike("brdm177c00.20p")});
  ASSERT_EQ(nav.keplerian.size(), 2u);
  ASSERT_EQ(nav.glonass.size(), 1u);
  for (const gnx::BroadcastEph& e : nav.keplerian) {
    const tarvio::GPSEPH& stored = store.m_gnssEph[e.sat].front();
    EXPECT_EQ(e.iode, 10) << e.sat;
    EXPECT_EQ(e.sqrtA, stored.m_roota) << e.sat;
    EXPECT_EQ(e.omegaDot, stored.m_OMEGADOT) << e.sat;
    EXPECT_EQ(e.crs, stored.m_crs) << e.sat;
    EXPECT_EQ(e.af[1], stored.m_a1) << e.sat;
    EXPECT_EQ(e.tgd[0], stored.m_tgd) << e.sat;
    EXPECT_TRUE(e.sat == "G05" || e.tgd[1] == stored.m_tgd2);
    const double ahead = e.sat == "C21" ? 14.0 : 0.0;  // the file is in BDT, records are in GPS time
    EXPECT_EQ(e.toe - gnx::fromWeek(kWeek, kToe), ahead) << e.sat;
    EXPECT_EQ(e.toc - gnx::fromWeek(kWeek, kToe), ahead) << e.sat;
  }
  const gnx::GlonassEph& glonass = nav.glonass.front();
  EXPECT_EQ(glonass.position[1], 19'123'456.0);
  EXPECT_EQ(glonass.velocity[2], -1250.0);
  EXPECT_EQ(glonass.tau, -1.5e-5);
  EXPECT_EQ(glonass.channel, -4);
  EXPECT_EQ(glonass.toe - gnx::fromWeek(kWeek, kToe), 18.0) << "written in UTC";
}

TEST_F(ProductFiles, ANavigationFileThatIsOpenedAgainHasItsHeader) {
  write();
  write();
  const std::string file = fileLike("brdm177c00.20p");
  const std::string kept = support::readFile(file.ends_with(".1") ? file : file + ".1");
  const std::string name = file.ends_with(".1") ? file.substr(0, file.size() - 2) : file;
  EXPECT_EQ(gnx::readRinexNav(std::vector<std::string>{name}).keplerian.size(), 2u);
  EXPECT_EQ(kept, support::readFile(name)) << "the former one lies beside";
}

TEST_F(ProductFiles, CorrectionsStandInBlocksWithACount) {
  tarvio::SSRORB orbit;
  tarvio::SSRCLK clock;
  orbit.m_wk = clock.m_wk = kWeek;
  orbit.m_sow = clock.m_sow = kToe + 30.0;
  orbit.m_iod[gps] = clock.m_iod[gps] = 10;
  for (int i = 0; i < 6; ++i) orbit.m_dorb[gps][i] = 0.25 * (i - 3);
  clock.m_dclk[gps][0] = -0.125;
  store.v_inputSsr(&orbit, &clock);
  write();
  EXPECT_EQ(support::readFile(fileLike("ssr21114.ssr")),
            "> ORBIT 2020 06 25 02 00 30.0 1 SSR\n"
            "G05          10    -0.7500    -0.5000    -0.2500     0.0000     0.2500     0.5000\n"
            "> CLOCK 2020 06 25 02 00 30.0 1 SSR\n"
            "G05          10    -0.1250     0.0000     0.0000\n");
}

}  // namespace
