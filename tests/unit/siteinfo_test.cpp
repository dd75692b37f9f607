/// Station data files: ocean loading coefficients and station coordinates.

#include "Config/SiteInfo.h"

#include <gmock/gmock.h>

#include <cmath>

#include "support/deployment.h"
#include "support/table_fixture.h"

namespace {

using testing::HasSubstr;

constexpr double kDegree = 3.14159265358979323846 / 180.0;
constexpr double kKilometre = 1.0 / 6378.137;  // rad on the sphere

/// A BLQ record whose first amplitude tells it apart.
std::string record(double lon, double lat, double amplitude, const char* between = "") {
  std::string text = "$$ comment\n  NAME\n$$ NAME,                      RADI TANG  lon/lat:" +
                     support::printed("%10.4f%10.4f    50.000\n%s", lon, lat, between);
  for (int row = 0; row < 6; ++row) {
    for (int k = 0; k < 11; ++k) text += support::printed(" %7.5f", row < 3 ? amplitude + row : 90.0);
    text += "\n";
  }
  return text + "$$\n";
}

struct SiteFile : gnx_test::TableFixture {
  void provide(const char* key, const std::string& content) {
    deploy().m_fileTable[key] = directory.write(key, content);
  }
  bool find(double latDegrees, double lonDegrees) {
    return tarvio::oceanload_coef(latDegrees * kDegree, lonDegrees * kDegree, coef);
  }
  support::TemporaryDirectory directory;
  double coef[6][11] = {};
};

TEST_F(SiteFile, TenKilometresOnTheGround) {
  provide("ocload", record(10.0, 60.0, 0.5));
  const double north = 1.0 * kKilometre / kDegree, east = north / std::cos(60.0 * kDegree);
  EXPECT_TRUE(find(60.0 + 9.9 * north, 10.0));
  EXPECT_FALSE(find(60.0 + 10.1 * north, 10.0));
  EXPECT_TRUE(find(60.0, 10.0 - 9.9 * east));  // the meridians converge
  EXPECT_FALSE(find(60.0, 10.0 - 10.1 * east));
  EXPECT_EQ(coef[0][0], 0.0);
}

// Files give longitudes as -180..180 or 0..360, positions are -180..180.
TEST_F(SiteFile, LongitudesMayHaveEitherForm) {
  provide("ocload", record(358.3183, 43.3952, 0.1) + record(-122.5, 37.0, 0.2) + record(0.02, 10.0, 0.3));
  for (const auto& [lat, lon] : {std::pair{43.3952, -1.6817}, {37.0, -122.5}, {37.0, 237.5}, {10.0, -0.02}})
    EXPECT_TRUE(find(lat, lon)) << lon;  // the last across the zero meridian
}

TEST_F(SiteFile, IncompleteRecordsAreNoMatch) {
  const std::string good = record(8.0, 50.0, 0.1);
  provide("ocload", good + record(8.0, 50.0, 0.2).substr(0, 300) + "\n" + record(9.0, 50.0, 0.3));
  ASSERT_TRUE(find(50.0, 8.0));
  EXPECT_DOUBLE_EQ(coef[0][0], 0.1);
  EXPECT_NEAR(coef[5][10], 90.0 * kDegree, 1e-12);
  EXPECT_TRUE(find(50.0, 9.0));  // the record behind the damaged one is still seen
  provide("ocload", record(8.0, 50.0, 0.4, "$$ computed by a service\n"));
  ASSERT_TRUE(find(50.0, 8.0));
  EXPECT_DOUBLE_EQ(coef[0][0], 0.4);
}

TEST_F(SiteFile, MissingOceanFileEndsTheProcessAndNoMatchIsTold) {
  const auto look = [&] { return support::runInChild([&] { find(50.0, 8.0); }); };
  support::expectRefused(look(), "item = ocload,file_table not exist key item\n");
  deploy().m_fileTable["ocload"] = "/absent";
  support::expectRefused(look(), "file = /absent,open configure file\n");
  provide("ocload", "");
  EXPECT_THAT(look().output, HasSubstr("]:no oceanload coefficients\n"));
}

TEST_F(SiteFile, StationCoordinates) {
  double xyz[3] = {};
  const auto read = [&] { return support::runInChild([&] { tarvio::read_siteinfo("STAN", xyz); }); };
  EXPECT_THAT(read().output, HasSubstr("item = stacoo,file_table not exist key item\n"));
  for (const auto& [content, message] :
       {std::pair{"OTHR_POS 1 2 3\n", ",station is not exist in the site file\n"},
        {"STAN_ENU 1 2 3\nSTAN_POS 1 2\n", ",no coordinate information for station in site file\n"}}) {
    provide("stacoo", content);
    EXPECT_THAT(read().output, HasSubstr(message));
  }
  provide("stacoo", "STAN_POS 3582105.291 532589.7313 5232754.8054\nSTAN_SIG 0.1 0.2 0.3" +
                        std::string(54, ' ') + " 0.4 0.5 0.6\nSTAN_ENU 0.01 0.02 0.10\n");
  tarvio::Station station("STAN");
  tarvio::read_siteinfo(&station);
  EXPECT_DOUBLE_EQ(station.m_x[0], 3582105.291);
  EXPECT_DOUBLE_EQ(station.m_sigXyz[2], 0.3);
  EXPECT_DOUBLE_EQ(station.m_qXyz[0], 0.4);
  EXPECT_DOUBLE_EQ(station.m_enu[2], 0.10);
}

}  // namespace
