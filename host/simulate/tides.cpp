// Solid Earth and pole tides of the simulated site, apart from the engine's own code.

#include "simulate/tides.h"

#include <cmath>
#include <numbers>

namespace gnx {

namespace {

constexpr double kEarthRadius = 6378136.6;
constexpr double kMoonToEarth = 0.0123000371;
constexpr double kSunToEarth = 332946.0482;
/// In-phase radial amplitude of K1, m, on sin(2 latitude): what its resonance adds to the nominal h2.
constexpr double kK1Radial = -0.012;

Vector3 degreeTwo(const Vector3& r, const Vector3& body, double massRatio, double h2, double l2) {
  const double distance = length(body);
  const Vector3 b = unit(body);
  const double c = dot(b, r);
  const double scale = massRatio * kEarthRadius * std::pow(kEarthRadius / distance, 3);
  return plus(scaled(r, scale * h2 * (1.5 * c * c - 0.5)),
              scaled(minus(b, scaled(r, c)), scale * 3.0 * l2 * c));
}

Vector3 degreeThree(const Vector3& r, const Vector3& body, double massRatio) {
  constexpr double kH3 = 0.292, kL3 = 0.015;
  const double distance = length(body);
  const Vector3 b = unit(body);
  const double c = dot(b, r);
  const double scale = massRatio * kEarthRadius * std::pow(kEarthRadius / distance, 4);
  return plus(scaled(r, scale * kH3 * (2.5 * c * c * c - 1.5 * c)),
              scaled(minus(b, scaled(r, c)), scale * kL3 * (7.5 * c * c - 1.5)));
}

}  // namespace

Vector3 solidTide(const Vector3& site, const Vector3& sun, const Vector3& moon, double siderealAngle) {
  const Vector3 r = unit(site);
  const double p2 = 1.5 * r[2] * r[2] - 0.5;
  const double h2 = 0.6078 - 0.0006 * p2;
  const double l2 = 0.0847 + 0.0002 * p2;
  Vector3 displacement = degreeTwo(r, sun, kSunToEarth, h2, l2);
  displacement = plus(displacement, degreeTwo(r, moon, kMoonToEarth, h2, l2));
  displacement = plus(displacement, degreeThree(r, moon, kMoonToEarth));
  const double longitude = std::atan2(r[1], r[0]);
  const double sin2Latitude = 2.0 * r[2] * std::hypot(r[0], r[1]);
  return plus(displacement, scaled(r, kK1Radial * sin2Latitude * std::sin(siderealAngle + longitude)));
}

Vector3 poleTide(const Geodetic& site, double x, double y) {
  const double m1 = x, m2 = -y;
  const double colatitude = std::numbers::pi / 2.0 - site.latitude;
  const double c = std::cos(site.longitude), s = std::sin(site.longitude);
  const double up = -0.033 * std::sin(2.0 * colatitude) * (m1 * c + m2 * s);
  const double south = -0.009 * std::cos(2.0 * colatitude) * (m1 * c + m2 * s);
  const double east = 0.009 * std::cos(colatitude) * (m1 * s - m2 * c);
  return fromEastNorthUp({east, -south, up}, site);
}

}  // namespace gnx
