// The sky of a run: a line for each satellite, named where there is room; systems differ in colour and in the
// dashes of their lines.

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <optional>
#include <set>

#include "report/figure_frame.h"
#include "report/svg_canvas.h"
#include "report/system_order.h"

namespace gnx {

namespace {

constexpr double kCenter = 0.5 * kSquare, kRadius = 190.0;

struct SkyPoint {
  GpsTime time;
  PlotPoint place;
};

PlotPoint placeOf(double elevationDeg, double azimuthDeg) {
  const double radius = kRadius * (90.0 - elevationDeg) / 90.0,
               azimuth = azimuthDeg * std::numbers::pi / 180.0;
  return {kCenter + radius * std::sin(azimuth), kCenter - radius * std::cos(azimuth)};
}

std::map<SatName, std::vector<SkyPoint>> tracksOf(const RunFiles& run) {
  std::map<SatName, std::vector<SkyPoint>> tracks;
  for (const Residual& r : run.residuals) {
    const auto satellite = parseSat(r.satellite);  // of a damaged file it may be anything
    if (!r.phase || !satellite) continue;
    auto& track = tracks[*satellite];
    if (track.empty() || r.time - track.back().time > 0.5)
      track.push_back({r.time, placeOf(r.elevationDeg, r.azimuthDeg)});
  }
  return tracks;
}

void drawRings(SvgCanvas& sky) {
  for (const int elevation : {0, 30, 60}) {
    const double radius = kRadius * (90 - elevation) / 90.0;
    sky.circle({kCenter, kCenter}, radius, "fill=\"none\" stroke=\"currentColor\" stroke-opacity=\"0.55\"");
    if (elevation > 0)
      sky.text({kCenter + 3.0, kCenter - radius + 11.0}, printed("%d°", elevation), "start", 10);
  }
  const char* const axis = "stroke=\"currentColor\" stroke-opacity=\"0.3\"";
  sky.line({kCenter - kRadius, kCenter}, {kCenter + kRadius, kCenter}, axis);
  sky.line({kCenter, kCenter - kRadius}, {kCenter, kCenter + kRadius}, axis);
  const std::tuple<const char*, double, double> sides[] = {
      {"N", 0.0, -1.0}, {"S", 0.0, 1.0}, {"E", 1.0, 0.0}, {"W", -1.0, 0.0}};
  for (const auto& [name, x, y] : sides)
    sky.text({kCenter + x * (kRadius + 12.0), kCenter + y * (kRadius + 12.0) + 4.0}, name, "middle", 11);
}

/// The stretches of a track between its gaps.
void drawTrack(SvgCanvas& sky, const std::vector<SkyPoint>& track, double gap_s, const std::string& style) {
  constexpr double kStep = 2.0;  // units of the drawing
  std::vector<PlotPoint> stretch;
  for (std::size_t i = 0; i < track.size(); ++i) {
    const PlotPoint& p = track[i].place;
    const bool ends = i + 1 == track.size() || track[i + 1].time - track[i].time > gap_s;
    if (stretch.empty() || ends || std::hypot(p.x - stretch.back().x, p.y - stretch.back().y) > kStep)
      stretch.push_back(p);
    if (!ends) continue;
    if (stretch.size() == 1) stretch.push_back({p.x + 0.1, p.y});
    sky.polyline(stretch, style);
    stretch.clear();
  }
}

/// Where a name keeps clear of those set before; nothing when there is no room on the track.
std::optional<PlotPoint> namePlace(const std::vector<SkyPoint>& track, const std::vector<PlotPoint>& taken) {
  constexpr double kClear = 30.0;
  constexpr std::size_t kCandidates = 24;
  for (std::size_t i = 0; i < kCandidates; ++i) {
    const PlotPoint& p = track[(track.size() - 1) * (kCandidates - 1 - i) / (kCandidates - 1)].place;
    if (std::ranges::all_of(taken,
                            [&](const PlotPoint& t) { return std::hypot(p.x - t.x, p.y - t.y) > kClear; }))
      return p;
  }
  return std::nullopt;
}

void drawKey(SvgCanvas& sky, const std::set<char, SystemOrder>& systems) {
  double y = 14.0;
  for (const char system : systems) {
    sky.polyline({{kSquare - 34.0, y - 4.0}, {kSquare - 4.0, y - 4.0}}, systemStroke(system));
    sky.text({kSquare - 40.0, y}, printed("%c %s", system, systemName(system)), "end", 11);
    y += 14.0;
  }
}

}  // namespace

std::optional<Figure> drawSky(const Frame& f) {
  const auto tracks = tracksOf(f.run);
  if (tracks.empty()) return std::nullopt;
  const double gap_s = std::max(600.0, 2.5 * f.run.plan.details);
  SvgCanvas sky(kSquare, kSquare);
  drawRings(sky);
  std::set<char, SystemOrder> systems;
  std::vector<PlotPoint> taken;
  for (const auto& [satellite, track] : tracks) {
    systems.insert(satellite[0]);
    sky.beginGroup(printed("%s %s, %s to %s", satellite.c_str(), systemName(satellite[0]),
                           hourText(f.hours(track.front().time)).c_str(),
                           hourText(f.hours(track.back().time)).c_str()));
    drawTrack(sky, track, gap_s, systemStroke(satellite[0]));
    sky.endGroup();
  }
  for (const auto& [satellite, track] : tracks)
    if (const auto place = namePlace(track, taken)) {
      sky.text({place->x + 3.0, place->y - 3.0}, satellite, "start", 9, systemColor(satellite[0]));
      taken.push_back(*place);
    }
  drawKey(sky, systems);
  return Figure{
      "sky", "Sky plot",
      printed("Satellites used; elevation mask %g°. A line tells its satellite when one points at it.",
              f.run.plan.cutoffDeg),
      sky.svg(), true};
}

}  // namespace gnx
