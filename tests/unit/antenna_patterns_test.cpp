// Antenna patterns, which either the host takes off the observations or the engine puts into its model:
// interpolation, fall-backs, direction.

#include <gmock/gmock.h>

#include <sstream>

#include "Core/Model/ModelSteps.h"
#include "deployment/antex_file.h"
#include "gnx/adapt.h"
#include "gnx/corrections.h"
#include "gnx/signal.h"
#include "simulation_setup.h"
#include "support/deployment.h"
#include "support/model_world.h"
#include "support/table_fixture.h"

namespace gnx {
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

/// The same file in the host and in the engine.
struct Patterns : gnx_test::TableFixture {
  Patterns() {
    deploy().m_parseFrequency(deploy().m_freqUsed, deploy().m_nfreqUsed, "GPS:L1_L2 GAL:E1_E5a");
    engineReads(file);
  }
  void engineReads(const std::string& antex) {
    deploy().m_fileTable["antpcv"] = antex;
    ASSERT_EQ(engine.m_getAnt("SITE", deploy().m_nfreqUsed, deploy().m_freqUsed, 59025.0, 59025.0,
                              kType.c_str(), "", nullptr),
              1);
  }

  const support::TemporaryDirectory directory;
  const GpsTime start = toGpsTime({2026, 11, 21, 6, 0, 0.0});
  const std::string file = directory.write("antenna.atx", antennaText());
  std::vector<AntexBlock> blocks = readAntex(file);
  const AntennaPatterns host{blocks, kType, start};
  tarvio::Antatx engine;
};

TEST_F(Patterns, AreLinearInBothAngles) {
  const struct {
    int slot;
    double zenith_deg, azimuth_deg, metres;
    const char* what;
  } cases[] = {{0, 67.5, 90.0, 0.0195, "between nodes"}, {0, 90.0, 45.0, 0.025, "between rows"},
               {0, 90.0, -45.0, 0.015, "315 degrees"},   {0, 90.0, 360.0, 0.020, "the last row"},
               {0, 120.0, 90.0, 0.030, "the horizon's"}, {1, 90.0, 90.0, 0.002, "no rows: the mean"}};
  for (const auto& c : cases) {
    EXPECT_NEAR(engine.m_patternAt(0, c.slot, c.zenith_deg, c.azimuth_deg), c.metres, 1e-12) << c.what;
    EXPECT_NEAR(host.receiver('G', "12"[c.slot], c.zenith_deg, c.azimuth_deg), c.metres, 1e-12) << c.what;
  }
  EXPECT_NEAR(engine.m_patternAt(0, 0, 45.0), 0.004, 1e-12) << "the mean";
}

TEST_F(Patterns, FallBackToAnotherFrequencyAndToTheAntennaWithoutRadome) {
  EXPECT_NEAR(engine.m_patternAt(2, 0, 90.0, 90.0), 0.030, 1e-12) << "Galileo has those of GPS";
  EXPECT_NEAR(engine.m_patternAt(2, 1, 90.0, 90.0), 0.020, 1e-12) << "its own, without the incomplete rows";
  EXPECT_EQ(tarvio::Antatx().m_patternAt(0, 0, 90.0, 90.0), 0.0);
  EXPECT_EQ(tarvio::Antatx().m_patternAt(0, 0, 90.0), 0.0);

  EXPECT_NEAR(host.receiver('E', '1', 90.0, 90.0), 0.030, 1e-12);
  EXPECT_NEAR(host.receiver('E', '5', 90.0, 90.0), 0.020, 1e-12);
  EXPECT_NEAR(host.receiver('E', '7', 90.0, 90.0), 0.002, 1e-12) << "L2 is the nearest";
  EXPECT_EQ(host.satellite("G05", '1', 10.0), 0.0);
  const AntennaPatterns radome(blocks, "TESTANTENNA     DOME", start);
  EXPECT_NEAR(radome.receiver('G', '1', 90.0, 90.0), 0.030, 1e-12);
  EXPECT_EQ(AntennaPatterns(blocks, "OTHER           NONE", start).receiver('G', '1', 90.0, 90.0), 0.0);
}

TEST_F(Patterns, AreTakenOffInTheDirectionOfTheSatellite) {
  const Constellation sky({.systems = "G", .start = start, .hours = 1.0});
  ObserverOptions receiver;
  receiver.site = toEarthFixed({0.829, 0.148, 450.0});
  const FaultList none;
  Observer observer(receiver, sky, none);
  ObsEpoch epoch;
  EpochTruth truth;
  observer.observe(start, epoch, truth);
  const EphemerisTimeline timeline({allMessages(sky), {}, {}}, start);
  const PatternCorrector corrector(host, timeline.store(), receiver.site);
  ASSERT_TRUE(corrector.active());
  ObsEpoch corrected = epoch;
  corrector.apply(corrected);
  ASSERT_GE(epoch.sats.size(), 6u);
  for (std::size_t k = 0; k < epoch.sats.size(); ++k) {
    const auto& before = epoch.sats[k].signals.front();
    const auto& after = corrected.sats[k].signals.front();
    const SatelliteTruth& sat = truth.satellites.at(k);
    ASSERT_EQ(sat.sat, epoch.sats[k].sat);
    const double pattern = host.receiver('G', '1', 90.0 - sat.elevation * kDegrees, sat.azimuth * kDegrees);
    EXPECT_NEAR(before.range - after.range, pattern, 1e-5) << sat.sat;
    EXPECT_NEAR((before.phase - after.phase) * kLightSpeed / 1575.42e6, pattern, 1e-5) << sat.sat;
  }
}

// The rows of other antennas make up most of a file: a deployment goes without them.
TEST_F(Patterns, RowsSurviveReadingAndWritingUnlessDropped) {
  const auto expectRewritten = [&](double metres) {
    std::ostringstream out;
    writeAntex(out, blocks, "");
    const std::string again = directory.write("again" + std::to_string(metres) + ".atx", out.str());
    engineReads(again);
    EXPECT_NEAR(engine.m_patternAt(0, 0, 90.0, 90.0), metres, 1e-12);
    EXPECT_NEAR(AntennaPatterns(readAntex(again), kType, start).receiver('G', '1', 90.0, 90.0), metres,
                1e-12);
  };
  expectRewritten(0.030);
  blocks.front().dropAzimuthRows();
  expectRewritten(0.020);
}

TEST_F(Patterns, LengthenTheModelOnlyWhereTheDeploymentAsks) {
  using namespace tarvio;
  test::ModelWorld world;
  Station& sta = world.sta;
  sta.m_antType = kType;
  world.deploy().m_antennas[kType] = engine;
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
}  // namespace gnx
