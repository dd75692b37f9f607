// Antenna patterns in the engine: interpolation, slots, and what the model makes of them when the deployment
// asks for it.

#include <gmock/gmock.h>

#include <sstream>

#include "Core/Model/ModelSteps.h"
#include "deployment/antex_file.h"
#include "support/deployment.h"
#include "support/model_world.h"
#include "support/table_fixture.h"

namespace tarvio {
namespace {

using support::antexLine;

const std::string kType = "TESTANTENNA     NONE";

std::string frequency(const std::string& code, const std::string& rows) {
  return antexLine("   " + code, "START OF FREQUENCY") +
         antexLine("      1.00      2.00    100.00", "NORTH / EAST / UP") + rows +
         antexLine("   " + code, "END OF FREQUENCY");
}

/// Patterns in mm at the zenith angles 0, 45, 90. G01 rises to the horizon, 10 more in the east, 10 less in
/// the west; G02 knows no azimuth; the rows of E05 are cut short.
std::string antennaText() {
  const std::string rows =
      "   NOAZI    0.00    4.00   20.00\n"
      "     0.0    0.00    4.00   20.00\n"
      "    90.0    0.00    9.00   30.00\n"
      "   180.0    0.00    4.00   20.00\n"
      "   270.0    0.00   -1.00   10.00\n"
      "   360.0    0.00    4.00   20.00\n";
  return support::antexHeader() + antexLine("", "START OF ANTENNA") + antexLine(kType, "TYPE / SERIAL NO") +
         antexLine("    90.0", "DAZI") + antexLine("     0.0  90.0  45.0", "ZEN1 / ZEN2 / DZEN") +
         antexLine("     3", "# OF FREQUENCIES") + frequency("G01", rows) +
         frequency("G02", "   NOAZI    0.00    1.00    2.00\n") + frequency("E05", rows.substr(0, 70)) +
         antexLine("", "END OF ANTENNA");
}

struct EnginePatterns : gnx_test::TableFixture {
  EnginePatterns() {
    deploy().m_parseFrequency(deploy().m_freqUsed, deploy().m_nfreqUsed, "GPS:L1_L2 GAL:E1_E5a");
    read(antennaText());
  }
  void read(const std::string& antex) {
    deploy().m_fileTable["antpcv"] = directory.write("antenna" + std::to_string(++files) + ".atx", antex);
    ASSERT_EQ(ant.m_getAnt("SITE", deploy().m_nfreqUsed, deploy().m_freqUsed, 59025.0, 59025.0, kType.c_str(),
                           "", nullptr),
              1);
  }

  const support::TemporaryDirectory directory;
  Antatx ant;
  int files = 0;
};

TEST_F(EnginePatterns, AreLinearInBothAngles) {
  EXPECT_NEAR(ant.m_patternAt(0, 0, 67.5, 90.0), 0.0195, 1e-12);
  EXPECT_NEAR(ant.m_patternAt(0, 0, 90.0, 45.0), 0.025, 1e-12);
  EXPECT_NEAR(ant.m_patternAt(0, 0, 90.0, -45.0), 0.015, 1e-12) << "the same as 315 degrees";
  EXPECT_NEAR(ant.m_patternAt(0, 0, 90.0, 360.0), 0.020, 1e-12);
  EXPECT_NEAR(ant.m_patternAt(0, 0, 120.0, 90.0), 0.030, 1e-12) << "the horizon's beyond it";
  EXPECT_NEAR(ant.m_patternAt(0, 0, 45.0), 0.004, 1e-12) << "the mean";
  EXPECT_NEAR(ant.m_patternAt(0, 1, 90.0, 90.0), 0.002, 1e-12) << "no rows: the mean";
}

TEST_F(EnginePatterns, ComeWithTheOffsetsOfASlot) {
  EXPECT_NEAR(ant.m_patternAt(2, 0, 90.0, 90.0), 0.030, 1e-12) << "Galileo has those of GPS";
  EXPECT_NEAR(ant.m_patternAt(2, 1, 90.0, 90.0), 0.020, 1e-12) << "its own, without the incomplete rows";
  EXPECT_EQ(Antatx().m_patternAt(0, 0, 90.0, 90.0), 0.0);
  EXPECT_EQ(Antatx().m_patternAt(0, 0, 90.0), 0.0);
}

// The rows of other antennas make up most of a file: a deployment goes without them.
TEST_F(EnginePatterns, RowsSurviveReadingAndWritingUnlessDropped) {
  std::vector<gnx::AntexBlock> blocks = gnx::readAntex(directory.write("given.atx", antennaText()));
  const auto rewritten = [&] {
    std::ostringstream out;
    gnx::writeAntex(out, blocks, "");
    read(out.str());
    return ant.m_patternAt(0, 0, 90.0, 90.0);
  };
  EXPECT_NEAR(rewritten(), 0.030, 1e-12);
  blocks.front().dropAzimuthRows();
  EXPECT_NEAR(rewritten(), 0.020, 1e-12);
}

TEST_F(EnginePatterns, LengthenTheModelOnlyWhereTheDeploymentAsks) {
  test::ModelWorld world;
  Station& sta = world.sta;
  sta.m_antType = kType;
  world.deploy().m_antennas[kType] = ant;
  Satellite& satellite = world.deploy().m_satellites[0];
  satellite.m_zen1 = 0.0;
  satellite.m_dzen = 7.0;
  satellite.m_nzen = 3;
  satellite.m_pattern[0][1] = {0.0, 0.004, 0.010};
  sta.m_sat[0].m_elev = 0.5 * 45.0 * kDegToRad;
  sta.m_sat[0].m_azim = -270.0 * kDegToRad;
  SatGeometry geo;
  geo.xv[0][2] = 2.6e7;  // 10.5 degrees from the vertical of the satellite
  geo.d[0][0] = std::sin(10.5 * kDegToRad);
  geo.d[0][2] = std::cos(10.5 * kDegToRad);
  const ModelInput in{world.deploy(), sta, nullptr, true};
  s_antennaPatterns(in, 0, 0, geo);
  EXPECT_THAT(geo.pcv, testing::Each(0.0));
  s_copyText(world.deploy().m_pcv, "PCV_APPLY");
  s_antennaPatterns(in, 0, 0, geo);
  EXPECT_NEAR(geo.pcv[0], 0.0195, 1e-12);
  EXPECT_NEAR(geo.pcv[1], 0.0015 + 0.007, 1e-12);
  EXPECT_EQ(geo.pcv[2], 0.0) << "not used";
}

}  // namespace
}  // namespace tarvio
