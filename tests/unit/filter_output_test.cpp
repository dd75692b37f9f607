/// Text of a solution: file and console lines, sentences for a host, diagnostics; dilutions of precision.

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <map>
#include <sstream>

#include "Common/ComGeometry.h"
#include "Common/Logtrace.h"
#include "support/files.h"
#include "support/filter_world.h"

namespace {

using tarvio::Logtrace;

/// A directory of its own for the files that are written where the process stands.
class FilterOutput : public gnx_test::FilterFixture {
 protected:
  FilterOutput() {
    std::filesystem::current_path(directory.path());
    tarvio::Logtrace::s_defaultlogger.m_setDirectory(directory.path().string());
  }
  ~FilterOutput() override {
    for (const char* name : {"ppp_pos", "diagnostics.log"}) Logtrace::s_defaultlogger.m_closeLog(name);
    std::filesystem::current_path(back);
    tarvio::Logtrace::s_defaultlogger.m_setDirectory("");
  }
  /// The console line of the epoch.
  std::string m_output() {
    ::testing::internal::CaptureStdout();
    filter->v_onOutput();
    return ::testing::internal::GetCapturedStdout();
  }

  const std::filesystem::path back = std::filesystem::current_path();
  const support::TemporaryDirectory directory;
};

TEST_F(FilterOutput, LinesHaveTheirFixedColumns) {
  m_build();
  world.position[0] = station().m_x[0] = 4123456.7891;
  filter->m_nfix = 7;
  filter->m_ratio = 3.25;
  m_estimate(45296.5);  // 12:34:56.5
  const std::string console = m_output();
  std::string file = support::readFile("ppp_pos");
  ASSERT_FALSE(file.empty());
  file.pop_back();
  // One of the two blanks behind the tag belongs to it.
  EXPECT_EQ(file.substr(0, 28), " 2023  2 25 12 34 56.5  STAN");
  char expected[64];
  std::snprintf(expected, sizeof expected, "%13.3lf", filter->m_pamt[0].xest);
  EXPECT_EQ(file.substr(28, 13), expected);
  std::snprintf(expected, sizeof expected, "%13.4lf", filter->m_pamt[0].xest);
  EXPECT_EQ(console.substr(27, 13), expected);
  // total (twice the satellites), G, R, E, C, B, J
  EXPECT_NE(file.find("  26  7  0  6  0  0  0 "), std::string::npos) << file;
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
  const std::string line = m_output();
  EXPECT_NE(line.find("      100.000      200.000      300.000 "), std::string::npos) << line;
}

TEST_F(FilterOutput, DilutionsOfAFourfoldSymmetry) {
  m_build();
  m_epoch(0.0);
  // A satellite overhead and three at elevation 0, 120 degrees apart: closed form.
  for (int isat = 0; isat < 13; ++isat) {
    auto& sat = station().m_sat[isat];
    std::fill(std::begin(sat.m_xx), std::end(sat.m_xx), isat < 4 ? 1.0 : 0.0);
    const double azimuth = 2.0 * tarvio::kPi / 3.0 * isat, up = isat < 3 ? 0.0 : 1.0;
    sat.m_los[0] = -(1.0 - up) * std::sin(azimuth);
    sat.m_los[1] = -(1.0 - up) * std::cos(azimuth);
    sat.m_los[2] = -up;
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

TEST_F(FilterOutput, DiagnosticsOnRequest) {
  m_build();
  tarvio::s_copyText(deploy().m_pams, "-outres -oution -outztd -outambstat");
  m_estimate(30.0);
  m_output();
  std::istringstream log(support::readFile("diagnostics.log"));
  std::map<std::string, int> count;
  for (std::string line; std::getline(log, line);) ++count[line.substr(0, line.find(' '))];
  EXPECT_EQ(count, (std::map<std::string, int>{
                       {"RES", filter->nobs}, {"ION", filter->ni}, {"ZTD", 1}, {"AMB", filter->nc}}));
}

}  // namespace
