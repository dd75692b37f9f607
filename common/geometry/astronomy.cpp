// Series of Sun, Moon and sidereal angle, truncated to what a simulation needs.

#include "geometry/astronomy.h"

#include <cmath>
#include <numbers>

namespace gnx {

namespace {

constexpr double kRadians = std::numbers::pi / 180.0;
constexpr double kArcseconds = kRadians / 3600.0;
constexpr double kObliquity = 23.43929111 * kRadians;
/// General precession in longitude a century: the series are in J2000 axes.
constexpr double kPrecession = 1.3972 * kRadians;
constexpr double kTtMinusGpst = 51.184;
/// Leap seconds matter here by 0.004 degrees each; the value since 2017 serves all dates.
constexpr double kGpstMinusUtc = 18.0;
constexpr double kSecondsPerDay = 86400.0;

double daysSinceJ2000(const GpsTime& t) {
  return (modifiedJulianDay(t) - 51544.5) + secondsOfDay(t) / kSecondsPerDay;
}

Vector3 equatorial(double longitude, double latitude, double distance) {
  const double x = distance * std::cos(latitude) * std::cos(longitude);
  const double y = distance * std::cos(latitude) * std::sin(longitude);
  const double z = distance * std::sin(latitude);
  const double c = std::cos(kObliquity), s = std::sin(kObliquity);
  return {x, c * y - s * z, s * y + c * z};
}

}  // namespace

Vector3 sunOfDate(double t) {
  const double m = (357.5256 + 35999.049 * t) * kRadians;
  // The published form holds the perihelion fixed; its motion is 0.09 degrees by 2026.
  const double perihelion = (282.9400 + 0.3223 * t) * kRadians;
  const double longitude =
      perihelion + m + (6892.0 * std::sin(m) + 72.0 * std::sin(2.0 * m)) * kArcseconds + kPrecession * t;
  return equatorial(longitude, 0.0, (149.619 - 2.499 * std::cos(m) - 0.021 * std::cos(2.0 * m)) * 1e9);
}

Vector3 moonOfDate(double t) {
  using std::cos;
  using std::sin;
  const double mean = (218.31617 + 481267.88088 * t) * kRadians - kPrecession * t;
  const double l = (134.96292 + 477198.86753 * t) * kRadians;
  const double ls = (357.52543 + 35999.04944 * t) * kRadians;
  const double f = (93.27283 + 483202.01873 * t) * kRadians;
  const double d = (297.85027 + 445267.11135 * t) * kRadians;
  const double dl = 22640.0 * sin(l) + 769.0 * sin(2.0 * l) - 4586.0 * sin(l - 2.0 * d) +
                    2370.0 * sin(2.0 * d) - 668.0 * sin(ls) - 412.0 * sin(2.0 * f) -
                    212.0 * sin(2.0 * l - 2.0 * d) - 206.0 * sin(l + ls - 2.0 * d) +
                    192.0 * sin(l + 2.0 * d) - 165.0 * sin(ls - 2.0 * d) + 148.0 * sin(l - ls) -
                    125.0 * sin(d) - 110.0 * sin(l + ls) - 55.0 * sin(2.0 * f - 2.0 * d);
  const double argument = f + (dl + 412.0 * sin(2.0 * f) + 541.0 * sin(ls)) * kArcseconds;
  const double latitude = 18520.0 * sin(argument) - 526.0 * sin(f - 2.0 * d) + 44.0 * sin(l + f - 2.0 * d) -
                          31.0 * sin(-l + f - 2.0 * d) - 25.0 * sin(-2.0 * l + f) -
                          23.0 * sin(ls + f - 2.0 * d) + 21.0 * sin(-l + f) + 11.0 * sin(-ls + f - 2.0 * d);
  const double distance = 385000.0 - 20905.0 * cos(l) - 3699.0 * cos(2.0 * d - l) - 2956.0 * cos(2.0 * d) -
                          570.0 * cos(2.0 * l) + 246.0 * cos(2.0 * l - 2.0 * d) - 205.0 * cos(ls - 2.0 * d) -
                          171.0 * cos(l + 2.0 * d) - 152.0 * cos(l + ls - 2.0 * d);
  return equatorial(mean + dl * kArcseconds + kPrecession * t, latitude * kArcseconds, distance * 1e3);
}

double centuriesSinceJ2000(const GpsTime& t) {
  return (daysSinceJ2000(t) + kTtMinusGpst / kSecondsPerDay) / 36525.0;
}

double siderealAngle(const GpsTime& t) {
  const double days = daysSinceJ2000(t) - kGpstMinusUtc / kSecondsPerDay;
  const double centuries = days / 36525.0;
  const double wholeTurns = std::remainder(days, 1.0);
  const double degrees = 280.46061837 + 360.0 * wholeTurns + 0.98564736629 * days +
                         centuries * centuries * (0.000387933 - centuries / 38710000.0);
  return std::remainder(degrees, 360.0) * kRadians;
}

Vector3 sunEarthFixed(const GpsTime& t) {
  return turnedAxes(sunOfDate(centuriesSinceJ2000(t)), siderealAngle(t));
}

Vector3 moonEarthFixed(const GpsTime& t) {
  return turnedAxes(moonOfDate(centuriesSinceJ2000(t)), siderealAngle(t));
}

}  // namespace gnx
