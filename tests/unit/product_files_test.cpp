// The files in which the stores keep what they hold, read back: messages by the reader of RINEX navigation
// files, corrections word by word.

#include <gtest/gtest.h>

#include "Adapter/SsrOrbitClkAdapter.h"
#include "formats/rinex_nav.h"
#include "support/broadcast_messages.h"
#include "support/files.h"
#include "support/table_fixture.h"

namespace {

using namespace gnx_test;

class ProductFiles : public TableFixture {
 protected:
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
