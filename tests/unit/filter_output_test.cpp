/// Text of a solution: file and console lines, sentences for a host, diagnostics; dilutions of precision.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Common/ComGeometry.h"
#include "Common/Logtrace.h"
#include "Core/Ambfix/SrifFilter_iar.h"
#include "support/filter_world.h"

namespace {

using tarvio::Logtrace;

/// A directory of its own for the files that are written where the process stands.
class FilterOutput : public gnx_test::FilterFixture {
 protected:
  FilterOutput() : back(std::filesystem::current_path()) {
    directory = std::filesystem::temp_directory_path() / ("filter_output_" + std::to_string(::getpid()));
    std::filesystem::create_directories(directory);
    std::filesystem::current_path(directory);
    m_close();
  }
  ~FilterOutput() override {
    m_close();
    std::filesystem::current_path(back);
    std::filesystem::remove_all(directory);
  }
  static void m_close() {
    for (const char* name : {"ppp_pos", "diagnostics.log"})
      if (Logtrace::s_defaultlogger.m_lexist(name)) Logtrace::s_defaultlogger.m_closeLog(name);
  }

  static std::vector<std::string> s_lines(const std::string& name) {
    std::ifstream in(name);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }
  /// One epoch with its output; returns the console line.
  std::string m_outputEpoch(double sod) {
    m_begin(sod);
    filter->v_onFilterEstimate();
    ::testing::internal::CaptureStdout();
    filter->v_onOutput();
    const std::string text = ::testing::internal::GetCapturedStdout();
    m_end();
    return text;
  }

  std::filesystem::path back, directory;
};

TEST_F(FilterOutput, LinesHaveTheirFixedColumns) {
  m_build();
  world.position[0] = station().m_x[0] = 4123456.7891;
  filter->m_nfix = 7;
  filter->m_ratio = 3.25;
  const std::string console = m_outputEpoch(45296.5);  // 12:34:56.5
  ASSERT_EQ(s_lines("ppp_pos").size(), 1U);
  const std::string file = s_lines("ppp_pos")[0];

  // One of the two blanks behind the tag belongs to it.
  EXPECT_EQ(file.substr(0, 28), " 2023  2 25 12 34 56.5  STAN");
  EXPECT_EQ(console.substr(0, 27), "2023  2 25 12 34 56.5  STAN");
  char expected[64];
  std::snprintf(expected, sizeof expected, "%13.3lf", filter->m_pamt[0].xest);
  EXPECT_EQ(file.substr(28, 13), expected);
  std::snprintf(expected, sizeof expected, "%13.4lf", filter->m_pamt[0].xest);
  EXPECT_EQ(console.substr(27, 13), expected);
  // total (twice the satellites), G, R, E, C, B, J
  EXPECT_NE(file.find("  26  7  0  6  0  0  0 "), std::string::npos) << file;
  EXPECT_NE(console.find("  26  7  0  6  0  0  0 "), std::string::npos) << console;
  EXPECT_TRUE(file.ends_with(" 02 07     3.250 ****")) << file;
  EXPECT_TRUE(console.ends_with(" 02 07\n")) << console;
}

TEST_F(FilterOutput, OffsetsAreCentimetresEastNorthUp) {
  m_build();
  tarvio::rot_enu2xyz(0.7, 0.3, station().m_rot);
  m_epoch(0.0);
  double enu[3] = {1.0, 2.0, 3.0}, xyz[3];  // metres
  tarvio::matmpy(station().m_rot[0], enu, xyz, 3, 3, 1);
  for (int i = 0; i < 3; ++i) station().m_xyz[i] = filter->m_pamt[static_cast<std::size_t>(i)].xest - xyz[i];
  ::testing::internal::CaptureStdout();
  filter->v_onOutput();
  const std::string line = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(line.find("      100.000      200.000      300.000 "), std::string::npos) << line;

  filter->m_pamt[2].nuse = 0;  // the coordinates were not observed
  ::testing::internal::CaptureStdout();
  filter->v_onOutput();
  const std::string still = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(still.find("        0.000        0.000        0.000 "), std::string::npos) << still;
}

TEST_F(FilterOutput, EpochWithoutRowsStillWritesTheLastState) {
  m_build();
  m_outputEpoch(0.0);
  std::fill(std::begin(world.visible), std::end(world.visible), false);
  const std::string line = m_outputEpoch(30.0);
  EXPECT_NE(line.find("   0  0  0  0  0  0  0 "), std::string::npos) << line;
  EXPECT_NE(line.find(" 00 00\n"), std::string::npos) << line;
  EXPECT_EQ(line.find("nan"), std::string::npos);
  EXPECT_EQ(s_lines("ppp_pos").size(), 2U);
}

TEST_F(FilterOutput, DilutionsOfAFourfoldSymmetry) {
  m_build();
  m_epoch(0.0);
  // A satellite overhead and three at elevation 0, 120 degrees apart: closed form.
  for (int isat = 0; isat < 13; ++isat) {
    auto& sat = station().m_sat[isat];
    std::fill(std::begin(sat.m_xx), std::end(sat.m_xx), isat < 4 ? 1.0 : 0.0);
    const double azimuth = 2.0 * tarvio::kPi / 3.0 * isat;
    const double los[3] = {isat < 3 ? -std::sin(azimuth) : 0.0, isat < 3 ? -std::cos(azimuth) : 0.0,
                           isat < 3 ? 0.0 : -1.0};
    std::copy_n(los, 3, sat.m_los);
  }
  filter->m_get_dop();
  // East and north: 2/3 each; clock 1/3, up 1 + 1/3.
  EXPECT_NEAR(station().m_hdop, std::sqrt(4.0 / 3.0), 1e-12);
  EXPECT_NEAR(station().m_vdop, std::sqrt(4.0 / 3.0), 1e-12);
  EXPECT_NEAR(station().m_pdop, std::sqrt(8.0 / 3.0), 1e-12);
  EXPECT_NEAR(station().m_gdop, std::sqrt(3.0), 1e-12);

  for (auto& sat : station().m_sat) std::fill(std::begin(sat.m_xx), std::end(sat.m_xx), 0.0);
  filter->m_get_dop();
  EXPECT_EQ(station().m_pdop, 0.0);
}

TEST_F(FilterOutput, FormalSigmasOnRequest) {
  tarvio::s_copyText(deploy().m_pams, "-gensig");
  m_build();
  m_epoch(0.0);
  EXPECT_GT(filter->m_pamt[0].xsig, 0.05);
  EXPECT_LT(filter->m_pamt[0].xsig, 10.0) << "better than its a-priori value";
  for (const auto* r : filter->m_amblist) EXPECT_GT(r->xsig, 0.0);
}

TEST_F(FilterOutput, GgaOfASouthernSite) {
  m_build();
  EXPECT_EQ(filter->m_getGGASeq(), "");
  EXPECT_EQ(filter->m_getRTKLIBSeq(), "");
  m_epoch(45296.5);
  // Lat 33 51.5 S, lon 151 12.25 E, height 58.5 m on WGS 84.
  const double blh[3] = {-(33.0 + 51.5 / 60.0) * tarvio::kDegToRad,
                         (151.0 + 12.25 / 60.0) * tarvio::kDegToRad, 58.5};
  double xyz[3];
  tarvio::blhxyz(blh, 0.0, 0.0, xyz);
  for (int i = 0; i < 3; ++i) filter->m_pamt[static_cast<std::size_t>(i)].xest = xyz[i];
  for (int isat = 0; isat < 9; ++isat) station().m_sat[isat].m_obs[0] = 1.0e8;
  filter->m_nfix = 6;

  const std::string text = filter->m_getGGASeq();
  // UTC is 18 s behind GPS time in 2023.
  EXPECT_EQ(text.substr(0, text.find('*')),
            "$GPGGA,123438.50,3351.5000000,S,15112.2500000,E,5,09,1.0,0.000,M,58.500,M,1.0,");
  unsigned sum = 0;
  for (std::size_t i = 1; i < text.find('*'); ++i) sum ^= static_cast<unsigned char>(text[i]);
  char tail[8];
  std::snprintf(tail, sizeof tail, "*%02X\r\n", sum);
  EXPECT_EQ(text.substr(text.find('*')), tail);

  filter->m_solstat = 5;
  EXPECT_NE(filter->m_getGGASeq().find(",E,4,06,"), std::string::npos);
  const std::string line = filter->m_getRTKLIBSeq();
  EXPECT_EQ(line.substr(0, 23), "2023/02/25 12:34:56.500");
  EXPECT_NE(line.find("   1   9   0.0000"), std::string::npos) << line;
}

TEST_F(FilterOutput, DiagnosticsOnlyOnRequest) {
  m_build();
  m_outputEpoch(0.0);
  EXPECT_FALSE(std::filesystem::exists("diagnostics.log"));

  tarvio::s_copyText(deploy().m_pams, "-outres -oution -outztd -outambstat -outobsstat");
  // Two satellites that the sky does not show any more, one for lack of an orbit.
  world.visible[3] = world.visible[12] = false;
  tarvio::Rnxobs obs;
  obs.m_mjd = 60000;
  obs.m_sod = 30.0;
  for (int isat = 0; isat < 13; ++isat)
    obs.m_flag[isat][0] = 0, obs.m_obs[isat][0] = obs.m_obs[isat][4] = 1.0;
  obs.m_flag[3][1] = tarvio::kFlagCodes;
  m_begin(30.0);
  filter->v_setobs({{"STAN", &obs}});
  filter->v_onFilterEstimate();
  filter->v_onOutput();
  std::map<std::string, int> count;
  std::string codes, noorbit;
  for (const std::string& line : s_lines("diagnostics.log")) {
    std::istringstream in(line);
    std::string tag, station, sat, slot, kind;
    int mjd = 0;
    double sod = 0.0;
    in >> tag >> mjd >> sod >> station >> sat >> slot;
    EXPECT_EQ(mjd, 60000);
    EXPECT_EQ(sod, 30.0);
    EXPECT_EQ(station, "STAN");
    ++count[tag];
    if (tag == "OBS" && sat == "G04" && slot == "L2") codes = line;
    if (tag == "OBS" && sat == "E06") noorbit = line;
  }
  EXPECT_EQ(count["RES"], filter->nobs);
  EXPECT_EQ(count["ION"], filter->ni);
  EXPECT_EQ(count["ZTD"], 1);
  EXPECT_EQ(count["AMB"], filter->nc);
  EXPECT_EQ(count["OBS"], 14);
  EXPECT_TRUE(codes.ends_with(" codes")) << codes;
  EXPECT_TRUE(noorbit.ends_with(" noorbit")) << noorbit;
  m_end();
}

TEST_F(FilterOutput, FixingStageFillsTheFixedResiduals) {
  deploy().m_liar = true;
  m_build();
  auto fixing = std::make_unique<tarvio::SrifFilter_iar>(filter->m_stations, 30.0);
  filter = std::move(fixing);
  filter->m_set_prosys("GE");
  delete station().m_model;
  station().m_model = new gnx_test::WorldModel(filter.get(), &station(), &world);
  m_begin(0.0);
  filter->v_onFilterEstimate();
  for (int r = 0; r < filter->nobs; ++r) EXPECT_EQ(filter->resi_fix[r], filter->resi[r]);
  m_end();
  std::fill(std::begin(world.visible), std::end(world.visible), false);
  m_epoch(30.0);
  EXPECT_EQ(filter->m_solstat, 0);
}

}  // namespace
