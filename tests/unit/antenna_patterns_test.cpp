// Antenna patterns that the host takes off the observations: interpolation, fall-backs, direction.

#include <gtest/gtest.h>

#include "deployment/antex_file.h"
#include "gnx/adapt.h"
#include "gnx/corrections.h"
#include "gnx/signal.h"
#include "simulation_setup.h"
#include "support/deployment.h"

namespace gnx {
namespace {

using support::antexLine;

const std::string kType = "TESTANTENNA     NONE";

std::string frequency(const std::string& code, const std::string& rows) {
  return antexLine("   " + code, "START OF FREQUENCY") +
         antexLine("      1.00      2.00    100.00", "NORTH / EAST / UP") + rows +
         antexLine("   " + code, "END OF FREQUENCY");
}

/// Pattern in mm at the zenith angles 0, 45, 90: rises to the horizon, 10 more in the east, 10 less in the
/// west.
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
         antexLine("     2", "# OF FREQUENCIES") + frequency("G01", rows) +
         frequency("G02", "   NOAZI    0.00    1.00    2.00\n") + antexLine("", "END OF ANTENNA");
}

struct Patterns : ::testing::Test {
  const support::TemporaryDirectory directory;
  const GpsTime start = toGpsTime({2026, 11, 21, 6, 0, 0.0});
  std::vector<AntexBlock> blocks = readAntex(directory.write("antenna.atx", antennaText()));
  const AntennaPatterns patterns{blocks, kType, start};
};

TEST_F(Patterns, AreLinearInBothAngles) {
  EXPECT_NEAR(patterns.receiver('G', '1', 67.5, 90.0), 0.0195, 1e-12);
  EXPECT_NEAR(patterns.receiver('G', '1', 90.0, 45.0), 0.025, 1e-12);
  EXPECT_NEAR(patterns.receiver('G', '1', 90.0, -45.0), 0.015, 1e-12) << "the same as 315 degrees";
  EXPECT_NEAR(patterns.receiver('G', '1', 90.0, 360.0), 0.020, 1e-12);
  EXPECT_NEAR(patterns.receiver('G', '1', 120.0, 90.0), 0.030, 1e-12) << "the horizon's beyond it";
  EXPECT_NEAR(patterns.receiver('G', '2', 90.0, 90.0), 0.002, 1e-12) << "no rows: the mean";
}

TEST_F(Patterns, FallBackToTheNearestFrequencyAndToTheAntennaWithoutRadome) {
  EXPECT_NEAR(patterns.receiver('E', '1', 90.0, 90.0), 0.030, 1e-12);
  EXPECT_NEAR(patterns.receiver('E', '5', 90.0, 90.0), 0.002, 1e-12);
  EXPECT_EQ(patterns.satellite("G05", '1', 10.0), 0.0);
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
  const PatternCorrector corrector(patterns, timeline.store(), receiver.site);
  ASSERT_TRUE(corrector.active());
  ObsEpoch corrected = epoch;
  corrector.apply(corrected);
  ASSERT_GE(epoch.sats.size(), 6u);
  for (std::size_t k = 0; k < epoch.sats.size(); ++k) {
    const auto& before = epoch.sats[k].signals.front();
    const auto& after = corrected.sats[k].signals.front();
    const SatelliteTruth& sat = truth.satellites.at(k);
    ASSERT_EQ(sat.sat, epoch.sats[k].sat);
    const double pattern =
        patterns.receiver('G', '1', 90.0 - sat.elevation * kDegrees, sat.azimuth * kDegrees);
    EXPECT_NEAR(before.range - after.range, pattern, 1e-5) << sat.sat;
    EXPECT_NEAR((before.phase - after.phase) * kLightSpeed / 1575.42e6, pattern, 1e-5) << sat.sat;
  }
}

// The rows of other antennas make up most of a file: a deployment goes without them.
TEST_F(Patterns, RowsSurviveReadingAndWritingUnlessDropped) {
  const auto rewritten = [&] {
    std::ostringstream out;
    writeAntex(out, blocks, "");
    return AntennaPatterns(readAntex(directory.write("again.atx", out.str())), kType, start);
  };
  EXPECT_NEAR(rewritten().receiver('G', '1', 90.0, 90.0), 0.030, 1e-12);
  blocks.front().dropAzimuthRows();
  EXPECT_NEAR(rewritten().receiver('G', '1', 90.0, 90.0), 0.020, 1e-12);
}

}  // namespace
}  // namespace gnx
