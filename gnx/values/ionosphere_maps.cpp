// Interpolates maps of the ionosphere and maps them to the line of sight.

#include <algorithm>
#include <cmath>
#include <numbers>

#include "geometry/vector3.h"
#include "gnx/ionosphere.h"

namespace gnx {

namespace {

constexpr double kDegrees = 180.0 / std::numbers::pi;

/// Node below a coordinate and the share of the way to the next one.
struct Place {
  std::size_t node = 0;
  double share = 0.0;
};

Place placeOn(const MapAxis& axis, double value) {
  const double place = std::clamp((value - axis.first) / axis.step, 0.0, static_cast<double>(axis.count - 1));
  const auto node = std::min(static_cast<std::size_t>(place), axis.count - 2);
  return {node, place - static_cast<double>(node)};
}

/// The longitude in the turn of the axis; nothing beyond one that does not go round.
std::optional<double> onAxis(const MapAxis& axis, double longitude) {
  constexpr double kRound = 359.0;
  const double west = std::min(axis.first, axis.last()), east = std::max(axis.first, axis.last());
  const double turned = longitude - 360.0 * std::floor((longitude - west) / 360.0);
  if (turned <= east) return turned;
  if (east - west + std::fabs(axis.step) < kRound) return std::nullopt;
  return turned;  // a grid that ends a step before it begins again has no node there: the last one serves
}

std::optional<double> contentAt(const IonosphereMaps& maps, const IonosphereMap& map, double latitude,
                                double longitude) {
  const auto turned = onAxis(maps.longitude, longitude);
  if (!turned) return std::nullopt;
  const Place row = placeOn(maps.latitude, latitude), column = placeOn(maps.longitude, *turned);
  const auto node = [&](std::size_t south, std::size_t east) {
    return map.content[(row.node + south) * maps.longitude.count + column.node + east];
  };
  const double north = node(0, 0) + (node(0, 1) - node(0, 0)) * column.share;
  const double next = node(1, 0) + (node(1, 1) - node(1, 0)) * column.share;
  const double content = north + (next - north) * row.share;
  return std::isfinite(content) ? std::optional(content) : std::nullopt;
}

/// Of a map that is turned with the Sun until `t`.
std::optional<double> turnedTo(const GpsTime& t, const IonosphereMaps& maps, const IonosphereMap& map,
                               double latitude, double longitude) {
  constexpr double kSun_degPerS = 15.0 / 3600.0;
  return contentAt(maps, map, latitude, longitude + kSun_degPerS * (t - map.time));
}

}  // namespace

std::optional<double> IonosphereMaps::vertical(double latitude_deg, double longitude_deg,
                                               const GpsTime& t) const {
  if (maps.empty() || latitude.count < 2 || longitude.count < 2) return std::nullopt;
  const double south = std::min(latitude.first, latitude.last()),
               north = std::max(latitude.first, latitude.last());
  const double spare = std::fabs(latitude.step);
  if (latitude_deg < south - spare || latitude_deg > north + spare) return std::nullopt;
  const auto at = [&](const IonosphereMap& map) {
    return turnedTo(t, *this, map, latitude_deg, longitude_deg);
  };
  const auto next = std::ranges::lower_bound(maps, t, {}, &IonosphereMap::time);
  if (next == maps.begin()) return at(maps.front());
  if (next == maps.end()) return at(maps.back());
  const auto before = at(*(next - 1)), behind = at(*next);
  if (!before || !behind) return before ? before : behind;
  const double share = (t - (next - 1)->time) / (next->time - (next - 1)->time);
  return *before + (*behind - *before) * share;
}

std::optional<double> slantContent(const IonosphereMaps& maps, const Vector3& receiver,
                                   const Vector3& satellite, const GpsTime& t) {
  const Vector3 direction = unit(minus(satellite, receiver));
  const double up = dot(receiver, direction), layer = maps.baseRadius_m + maps.height_m;
  const double square = layer * layer - dot(receiver, receiver) + up * up;
  if (!(up > 0.0) || !(square > 0.0)) return std::nullopt;
  const Vector3 pierce = plus(receiver, scaled(direction, std::sqrt(square) - up));
  const double cosine = dot(unit(pierce), direction);
  const auto vertical = maps.vertical(std::asin(pierce[2] / length(pierce)) * kDegrees,
                                      std::atan2(pierce[1], pierce[0]) * kDegrees, t);
  if (!vertical || !(cosine > 0.0)) return std::nullopt;
  return *vertical / cosine;
}

}  // namespace gnx
