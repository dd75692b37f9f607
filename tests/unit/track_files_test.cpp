// Positions as tracks for maps.

#include "run/track_files.h"

#include "gnx/geodesy.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

/// Five epochs, the third without a solution; at 180 degrees east.
std::vector<SolutionEpoch> epochs() {
  std::vector<SolutionEpoch> list(5);
  for (std::size_t i = 0; i < list.size(); ++i) {
    list[i].time = toGpsTime({2020, 6, 25, 0, 0, 0.0}) + 30.0 * static_cast<double>(i);
    list[i].xyz = toEarthFixed({0.5, 3.14159265358979, 59.5});
    list[i].status = i == 2 ? 0 : 2;
    list[i].satellites = {8, 0, 4, 0, 0, 0};
  }
  return list;
}

TEST(Tracks, LinesEndAtGapsAndTimesAreUtc) {
  const std::string gpx = trackText(TrackFormat::gpx, "SITE", epochs());
  EXPECT_THAT(gpx, HasSubstr("<trkpt lat=\"28.6478897565\" lon=\"-180.0000000000\"><ele>59.5000</ele>"
                             "<time>2020-06-24T23:59:42.000Z</time><sat>12</sat></trkpt>\n"))
      << "longitudes stay below 180 degrees";
  EXPECT_THAT(gpx, HasSubstr("23:59:42.000Z</time><sat>12</sat></trkpt>\n   <trkpt"));
  EXPECT_THAT(gpx, HasSubstr("00:00:12.000Z</time><sat>12</sat></trkpt>\n  </trkseg>\n  <trkseg>"));
  const std::string kml = trackText(TrackFormat::kml, "SITE", epochs());
  EXPECT_THAT(kml,
              HasSubstr("<when>2020-06-25T00:00:12.000Z</when>\n  <gx:coord>-180.0000000000 28.6478897565 "));
  const std::string json = trackText(TrackFormat::geoJson, "SITE", epochs());
  EXPECT_THAT(json, HasSubstr("\"coordinates\":[[-180.0000000000,28.6478897565,59.5000],[-180.0"));
  EXPECT_THAT(json, HasSubstr("\"properties\":{\"time\":\"2020-06-24T23:59:42.000Z\",\"q\":2,\"ns\":12}},"));
}

TEST(Tracks, OnePointIsNoLine) {
  std::vector<SolutionEpoch> one = epochs();
  one.resize(1);
  EXPECT_THAT(trackText(TrackFormat::geoJson, "SITE", one), Not(HasSubstr("LineString")));
  EXPECT_EQ(trackText(TrackFormat::geoJson, "SITE", {}),
            "{\"type\":\"FeatureCollection\",\"features\":[\n]}\n");
}

}  // namespace
}  // namespace gnx::test
