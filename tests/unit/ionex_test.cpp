// Maps of the ionosphere: the file, what lies between nodes and epochs, and what comes off observations.

#include <cmath>
#include <numbers>

#include "geometry/vector3.h"
#include "gnx/adapt.h"
#include "gnx/read.h"
#include "simulate/simulation.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

/// Nodes every 90 degrees at latitudes 40 and 20; the values of a row touch, and reach below no label.
std::string mapText(int number, int hour, const std::string& north, const std::string& south) {
  const auto row = [](double latitude, const std::string& values) {
    return headerLine(printed("  %6.1f-180.0 180.0  90.0 450.0", latitude), "LAT/LON1/LON2/DLON/H") + values +
           "\n";
  };
  return headerLine(printed("%6d", number), "START OF TEC MAP") +
         headerLine(printed("  2020     6    25 %5d     0     0", hour), "EPOCH OF CURRENT MAP") +
         row(40.0, north) + row(20.0, south) + headerLine(printed("%6d", number), "END OF TEC MAP");
}

std::string fileText(const std::string& maps) {
  return headerLine("     1.0            IONOSPHERE MAPS     GPS", "IONEX VERSION / TYPE") +
         headerLine("  6371.0", "BASE_RADIUS") + headerLine("   450.0 450.0   0.0", "HGT1 / HGT2 / DHGT") +
         headerLine("    40.0  20.0 -20.0", "LAT1 / LAT2 / DLAT") +
         headerLine("  -180.0 180.0  90.0", "LON1 / LON2 / DLON") + headerLine("    -1", "EXPONENT") +
         headerLine("DIFFERENTIAL CODE BIASES", "START OF AUX DATA") +
         headerLine("   G05    -8.000     0.008", "PRN / BIAS / RMS") +
         headerLine("   G  01  ABMF   12.000", "STATION / BIAS / RMS") +
         headerLine("DIFFERENTIAL CODE BIASES", "END OF AUX DATA") + headerLine("", "END OF HEADER") + maps +
         headerLine("", "END OF FILE");
}

struct Ionex : testing::Test {
  IonosphereMaps read(const std::string& content) { return readIonex({directory.write("day.inx", content)}); }
  std::string refusal(const std::string& before, const std::string& behind) {
    std::string content = fileText(noon + evening);
    content.replace(content.find(before), before.size(), behind);
    return inputError([&] { read(content); });
  }

  const TempDir directory;
  const std::string noon = mapText(1, 12, "  10110152  201  100  101", "  200  200  200  200 9999");
  const std::string evening = mapText(2, 24, "  101  101  101  101  101", "  200  200  200  200  200");
  const GpsTime at12 = toGpsTime({2020, 6, 25, 12, 0, 18.0});
};

TEST_F(Ionex, ValuesAreCutByColumnsAndMissingOnesAreNone) {
  const IonosphereMaps maps = read(fileText(noon + headerLine("     1", "START OF RMS MAP") + "    1    1\n" +
                                            headerLine("     1", "END OF RMS MAP") + evening));
  ASSERT_EQ(maps.maps.size(), 2u);
  EXPECT_EQ(maps.maps[0].time, at12);
  EXPECT_EQ(maps.maps[1].time, at12 + 12.0 * 3600.0) << "hour 24";
  EXPECT_EQ(maps.codeBiases, (std::map<SatName, double>{{"G05", -8e-9}}));
  EXPECT_NEAR(*maps.vertical(40.0, -90.0, at12), 1015.2, 1e-9);
  EXPECT_NEAR(*maps.vertical(30.0, -45.0, at12), (1015.2 + 20.1 + 20.0 + 20.0) / 4.0, 1e-9) << "bilinear";
  EXPECT_NEAR(*maps.vertical(50.0, 315.0, at12), (1015.2 + 20.1) / 2.0, 1e-9) << "the last row serves";
  EXPECT_FALSE(maps.vertical(61.0, 0.0, at12));
  EXPECT_FALSE(maps.vertical(21.0, 179.0, at12)) << "a node of 9999";
}

TEST_F(Ionex, MapsTurnWithTheSun) {
  const IonosphereMaps maps = read(fileText(noon + evening));
  // The enhancement over 90 degrees west at noon stands over 135 degrees west three hours later.
  EXPECT_NEAR(*maps.vertical(40.0, -135.0, at12 + 3.0 * 3600.0), 0.75 * 1015.2 + 0.25 * 10.1, 1e-6);
  EXPECT_NEAR(*maps.vertical(40.0, -45.0, at12 + -3.0 * 3600.0), 1015.2, 1e-6)
      << "the first map, turned back";
  EXPECT_NEAR(*maps.vertical(40.0, 0.0, at12 + 14.0 * 3600.0), 10.1, 1e-6) << "the last one, turned on";
}

TEST_F(Ionex, DamagedFilesAreRefusedWithTheLine) {
  EXPECT_THAT(refusal("IONOSPHERE MAPS", "OBSERVATIONS   "), HasSubstr("is not an IONEX file"));
  EXPECT_THAT(refusal("  201  100", "  2x1  100"), HasSubstr("day.inx:15: content: '  2x1' is not a number"));
  EXPECT_THAT(refusal("  10110152  201  100  101", "  101"), HasSubstr("content: '' is not a number"));
  EXPECT_THAT(refusal("   450.0 450.0", "   450.0 500.0"), HasSubstr("several layers are not read"));
  EXPECT_THAT(refusal(" -20.0", "   0.0"), HasSubstr("latitudes: first, last and step expected"));
  EXPECT_THAT(refusal("    20.0-180.0", "    25.0-180.0"), HasSubstr("latitude: is not of the grid"));
  EXPECT_THAT(refusal("     6    25    24", "    16    25    24"), HasSubstr("is not a date and time"));
  EXPECT_THAT(refusal("END OF FILE", "           "), HasSubstr("truncated, fetch it again"));
  EXPECT_THAT(refusal("END OF HEADER", "             "), HasSubstr("within its header"));
}

TEST_F(Ionex, SlantContentIsThatOfASingleLayer) {
  IonosphereMaps maps = read(fileText(noon + evening));
  for (IonosphereMap& map : maps.maps) std::ranges::fill(map.content, 10.0);
  const Vector3 site = {6371e3 * std::cos(0.5), 0.0, 6371e3 * std::sin(0.5)};  // 28.6 degrees north
  const Vector3 up = unit(site), south = {std::sin(0.5), 0.0, -std::cos(0.5)};
  for (const double zenith_deg : {0.0, 40.0, 75.0}) {
    const double z = zenith_deg * std::numbers::pi / 180.0, sine = 6371.0 / 6821.0 * std::sin(z);
    const Vector3 satellite =
        plus(site, scaled(plus(scaled(up, std::cos(z)), scaled(south, -std::sin(z))), 2e7));
    EXPECT_NEAR(*slantContent(maps, site, satellite, at12), 10.0 / std::sqrt(1.0 - sine * sine), 1e-9);
  }
  EXPECT_FALSE(slantContent(maps, site, scaled(site, -4.0), at12)) << "on the other side of the Earth";
}

// Codes are delayed and phases advanced by content over frequency squared, whatever of it is a differential
// bias of the satellite: wide-lanes keep their integers.
TEST_F(Ionex, DelaysComeOffCodesAndGoOnPhases) {
  const GpsTime start = toGpsTime({2026, 11, 21, 6, 0, 0.0});
  const Constellation sky({.systems = "G", .start = start, .hours = 1.0});
  const EphemerisTimeline timeline({allMessages(sky), {}, {}}, start);
  const Vector3 site = toEarthFixed({0.6, 0.1, 450.0});
  IonosphereMaps flat;
  flat.latitude = {90.0, -90.0, 3};
  flat.longitude = {-180.0, 180.0, 3};
  flat.maps = {{start, std::vector<double>(9, 20.0)}};
  for (const SimulatedSatellite& satellite : sky.satellites()) flat.codeBiases[satellite.name] = 5e-9;
  IonosphereCorrector corrector(std::make_shared<const IonosphereMaps>(flat), timeline.store());
  std::vector<SatBiases> biases{{"G02", {{"1W", 0.5}, {"2W", 0.7}}, {}},
                                {"G03", {{"1W", 0.0}, {"2W", 0.0}}, {}}};
  corrector.note(biases);
  ObsEpoch before{start, {}};
  for (const SimulatedSatellite& satellite : sky.satellites())
    before.sats.push_back({satellite.name, {{{'1', 'W'}, 1e8, 2e7}, {{'2', 'W'}, 1e8, 2e7}}});
  ObsEpoch after = before;
  corrector.apply(after);
  EXPECT_EQ(after.sats[0].signals[0].range, 2e7) << "the place is not known";
  corrector.moveTo(site);
  corrector.apply(after);
  const double f1 = 1575.42e6, f2 = 1227.60e6, g = f1 * f1 / (f2 * f2);
  int visible = 0;
  for (std::size_t i = 0; i < before.sats.size(); ++i) {
    const SatName& sat = before.sats[i].sat;
    const Vector3 position = evaluateBroadcast(*timeline.store().pick(sat, start), start).position;
    const auto content = slantContent(flat, site, position, start);
    if (!content) continue;
    ++visible;
    const auto& signals = after.sats[i].signals;
    const double biased = sat == "G02" ? 0.0 : 5e-9 * kLightSpeed;  // first minus second code
    const double first = ionosphereDelay(*content, f1) - biased / (g - 1.0);
    EXPECT_NEAR(2e7 - signals[0].range, first, 1e-6) << sat;
    EXPECT_NEAR(2e7 - signals[1].range, g * first, 1e-6) << sat;
    EXPECT_NEAR((signals[0].phase - 1e8) * kLightSpeed / f1, first, 1e-6) << sat;
    EXPECT_NEAR((signals[1].phase - 1e8) * kLightSpeed / f2, g * first, 1e-6) << sat;
  }
  EXPECT_GE(visible, 6);
}

}  // namespace
}  // namespace gnx::test
