// Ellipsoidal and local coordinates of an earth-fixed place, and back.

#include "gnx/geodesy.h"

#include <cmath>

namespace gnx {

namespace {
constexpr double kRadius = 6378137.0;
constexpr double kFlattening = 1.0 / 298.257223563;
constexpr double kE2 = kFlattening * (2.0 - kFlattening);
}  // namespace

Geodetic toGeodetic(const Vector3& xyz) {
  const double p = std::hypot(xyz[0], xyz[1]);
  Geodetic g;
  if (p == 0.0 && xyz[2] == 0.0) {
    g.height = -kRadius;
    return g;
  }
  g.longitude = std::atan2(xyz[1], xyz[0]);
  // Fixed point on z' = z + e^2 N sin(latitude); contracts by e^2 a round.
  double z = xyz[2];
  double n = kRadius;
  for (int round = 0; round < 12; ++round) {
    const double s = z / std::hypot(p, z);
    n = kRadius / std::sqrt(1.0 - kE2 * s * s);
    z = xyz[2] + kE2 * n * s;
  }
  g.latitude = std::atan2(z, p);
  g.height = std::hypot(p, z) - n;
  return g;
}

Vector3 toEarthFixed(const Geodetic& position) {
  const double s = std::sin(position.latitude), c = std::cos(position.latitude);
  const double n = kRadius / std::sqrt(1.0 - kE2 * s * s);
  return {(n + position.height) * c * std::cos(position.longitude),
          (n + position.height) * c * std::sin(position.longitude), (n * (1.0 - kE2) + position.height) * s};
}

Vector3 toEastNorthUp(const Vector3& d, const Geodetic& place) {
  const double sb = std::sin(place.latitude), cb = std::cos(place.latitude);
  const double sl = std::sin(place.longitude), cl = std::cos(place.longitude);
  return {-sl * d[0] + cl * d[1], -sb * cl * d[0] - sb * sl * d[1] + cb * d[2],
          cb * cl * d[0] + cb * sl * d[1] + sb * d[2]};
}

Vector3 fromEastNorthUp(const Vector3& enu, const Geodetic& place) {
  const double sb = std::sin(place.latitude), cb = std::cos(place.latitude);
  const double sl = std::sin(place.longitude), cl = std::cos(place.longitude);
  return {-sl * enu[0] - sb * cl * enu[1] + cb * cl * enu[2],
          cl * enu[0] - sb * sl * enu[1] + cb * sl * enu[2], cb * enu[1] + sb * enu[2]};
}

}  // namespace gnx
