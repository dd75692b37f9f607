// Writes positions as lines on maps.

#include "run/track_files.h"

#include <algorithm>
#include <limits>
#include <numbers>

#include "gnx/geodesy.h"
#include "gnx/time.h"
#include "run/solution_files.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

constexpr double kDegrees = 180.0 / std::numbers::pi;
constexpr const char* kHeights = "heights above the WGS 84 ellipsoid, not above sea level";

struct Point {
  GpsTime time;
  std::string longitude, latitude, height, utc;
  int quality = 0, satellites = 0;
};
using Segment = std::vector<Point>;

/// "2020-06-25T00:00:12.000Z"
std::string utcText(const GpsTime& t) {
  std::string text = formatTime(t + -leapSecondsAtUtc(t + -leapSecondsAtUtc(t)), 3);
  text[10] = 'T';
  return text + "Z";
}

Point pointOf(const SolutionEpoch& e) {
  const Geodetic g = toGeodetic(e.xyz);
  double longitude = g.longitude * kDegrees;
  if (longitude >= 180.0 - 5e-11) longitude -= 360.0;  // also after rounding
  return {e.time,
          printed("%.10f", longitude),
          printed("%.10f", g.latitude * kDegrees),
          printed("%.4f", g.height),
          utcText(e.time),
          e.status == kFixedStatus ? 1
          : e.status == 1          ? 5
                                   : 2,
          satelliteCount(e)};
}

/// Lines without gaps: a step above one and a half of the smallest one is a gap.
std::vector<Segment> segmentsOf(const std::vector<SolutionEpoch>& epochs) {
  std::vector<Point> points;
  for (const SolutionEpoch& e : epochs)
    if (isSolved(e)) points.push_back(pointOf(e));
  double step = std::numeric_limits<double>::max();
  for (std::size_t i = 1; i < points.size(); ++i) step = std::min(step, points[i].time - points[i - 1].time);
  std::vector<Segment> segments;
  for (Point& p : points) {
    if (segments.empty() || p.time - segments.back().back().time > 1.5 * step) segments.emplace_back();
    segments.back().push_back(std::move(p));
  }
  return segments;
}

std::string gpxText(const std::string& name, const std::vector<Segment>& segments) {
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<gpx version=\"1.1\" creator=\"gnx\" xmlns=\"http://www.topografix.com/GPX/1/1\">\n"
      " <trk><name>" +
      name + "</name><desc>" + kHeights + "</desc>\n";
  for (const Segment& segment : segments) {
    text += "  <trkseg>\n";
    for (const Point& p : segment)
      text += "   <trkpt lat=\"" + p.latitude + "\" lon=\"" + p.longitude + "\"><ele>" + p.height +
              "</ele><time>" + p.utc + "</time><sat>" + std::to_string(p.satellites) + "</sat></trkpt>\n";
    text += "  </trkseg>\n";
  }
  return text + " </trk>\n</gpx>\n";
}

/// Viewers take absolute heights as above sea level, so the line lies on the ground.
std::string kmlText(const std::string& name, const std::vector<Segment>& segments) {
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<kml xmlns=\"http://www.opengis.net/kml/2.2\" "
      "xmlns:gx=\"http://www.google.com/kml/ext/2.2\"><Document>\n"
      " <name>" +
      name + "</name><description>" + kHeights +
      "</description>\n"
      " <Style id=\"line\"><LineStyle><color>ff00a000</color><width>2</width></LineStyle></Style>\n";
  for (const Segment& segment : segments) {
    text += " <Placemark><name>" + name +
            "</name><styleUrl>#line</styleUrl><gx:Track>"
            "<altitudeMode>clampToGround</altitudeMode>\n";
    for (const Point& p : segment) text += "  <when>" + p.utc + "</when>\n";
    for (const Point& p : segment)
      text += "  <gx:coord>" + p.longitude + " " + p.latitude + " " + p.height + "</gx:coord>\n";
    text += " </gx:Track></Placemark>\n";
  }
  return text + "</Document></kml>\n";
}

std::string coordinates(const Point& p) {
  return "[" + p.longitude + "," + p.latitude + "," + p.height + "]";
}

std::string geoJsonText(const std::string& name, const std::vector<Segment>& segments) {
  std::vector<std::string> features;
  for (const Segment& segment : segments) {
    if (segment.size() > 1) {  // a line needs two points
      std::string line;
      for (const Point& p : segment) line += (line.empty() ? "" : ",") + coordinates(p);
      features.push_back(R"({"type":"Feature","geometry":{"type":"LineString","coordinates":[)" + line +
                         R"(]},"properties":{"name":")" + name + R"(","heights":")" + kHeights + R"("}})");
    }
    for (const Point& p : segment)
      features.push_back(R"({"type":"Feature","geometry":{"type":"Point","coordinates":)" + coordinates(p) +
                         R"(},"properties":{"time":")" + p.utc +
                         printed(R"(","q":%d,"ns":%d}})", p.quality, p.satellites));
  }
  std::string text = "{\"type\":\"FeatureCollection\",\"features\":[";
  for (std::size_t i = 0; i < features.size(); ++i) text += (i == 0 ? "\n" : ",\n") + features[i];
  return text + "\n]}\n";
}

}  // namespace

std::string trackFileName(TrackFormat format) {
  switch (format) {
    case TrackFormat::gpx:
      return "solution.gpx";
    case TrackFormat::kml:
      return "solution.kml";
    case TrackFormat::geoJson:
      break;
  }
  return "solution.geojson";
}

std::string trackText(TrackFormat format, const std::string& name, const std::vector<SolutionEpoch>& epochs) {
  const std::vector<Segment> segments = segmentsOf(epochs);
  switch (format) {
    case TrackFormat::gpx:
      return gpxText(name, segments);
    case TrackFormat::kml:
      return kmlText(name, segments);
    case TrackFormat::geoJson:
      break;
  }
  return geoJsonText(name, segments);
}

void writeTrack(const std::filesystem::path& directory, TrackFormat format, const std::string& name,
                const std::vector<SolutionEpoch>& epochs) {
  writeTextFile(directory / trackFileName(format), trackText(format, name, epochs));
}

}  // namespace gnx
