/// \file geodesy.cpp
/// WGS 84 geodetic coordinates and sexagesimal angles.
///
/// References: Bowring, B. R. (1976), Survey Review 23(181), 323-327;
/// Bowring, B. R. (1985), Survey Review 28(218), 202-206 (the height).

#include <algorithm>
#include <cmath>

#include "GNX_IO.h"

namespace GNX_IO {
namespace {

constexpr double kSemiMajor = 6378137.0;
constexpr double kFlattening = 1.0 / 298.257223563;
constexpr double kE2 = kFlattening * (2.0 - kFlattening);
constexpr double kSemiMinor = kSemiMajor * (1.0 - kFlattening);
constexpr double kSecondE2 = kE2 / (1.0 - kE2);

}  // namespace

/// Accuracy: below 1e-9 m closed with pos2ecef from the centre region (1000 km) outwards.
/// Degenerate: the origin gives latitude and longitude 0 and minus the semi-major axis; on the axis
/// of rotation the longitude is 0.
void ecef2pos(const double* r, double* pos) {
  const double p = std::hypot(r[0], r[1]);
  const double z = r[2];
  double sinLat = 0.0, cosLat = 1.0;
  if (p > 0.0 || z != 0.0) {
    // Bowring's iteration on the reduced latitude, kept as an unnormalised (sine, cosine) pair so
    // that neither the pole nor the equator is special.
    double sinBeta = z * kSemiMajor, cosBeta = p * kSemiMinor;
    for (int i = 0; i < 5; ++i) {
      const double norm = std::hypot(sinBeta, cosBeta);
      sinBeta /= norm;
      cosBeta /= norm;
      sinLat = z + kSecondE2 * kSemiMinor * sinBeta * sinBeta * sinBeta;
      cosLat = p - kE2 * kSemiMajor * cosBeta * cosBeta * cosBeta;
      // Inside the evolute the cosine turns negative: the latitude stays in its hemisphere.
      cosLat = std::max(cosLat, 0.0);
      if (sinLat == 0.0 && cosLat == 0.0) cosLat = 1.0;
      sinBeta = sinLat * kSemiMinor;
      cosBeta = cosLat * kSemiMajor;
    }
    const double norm = std::hypot(sinLat, cosLat);
    sinLat /= norm;
    cosLat /= norm;
  }
  pos[0] = std::atan2(sinLat, cosLat);
  pos[1] = p > 0.0 ? std::atan2(r[1], r[0]) : 0.0;
  // Stable at every latitude (Bowring 1985), unlike p/cos(lat) - N.
  pos[2] = p * cosLat + z * sinLat - kSemiMajor * std::sqrt(1.0 - kE2 * sinLat * sinLat);
}

void pos2ecef(const double* pos, double* r) {
  const double sinLat = std::sin(pos[0]), cosLat = std::cos(pos[0]);
  const double primeVertical = kSemiMajor / std::sqrt(1.0 - kE2 * sinLat * sinLat);
  r[0] = (primeVertical + pos[2]) * cosLat * std::cos(pos[1]);
  r[1] = (primeVertical + pos[2]) * cosLat * std::sin(pos[1]);
  r[2] = (primeVertical * (1.0 - kE2) + pos[2]) * sinLat;
}

/// The sign stands on the degrees alone (-0.0 for angles between -1 and 0 degrees). Rounding
/// carries: no result has 60 minutes or 60 seconds.
void deg2dms(double deg, double* dms, int ndec) {
  const double unit = std::pow(10.0, -std::clamp(ndec, 0, 15));
  const double magnitude = std::fabs(deg);
  double degrees = std::floor(magnitude);
  const double minutesAll = (magnitude - degrees) * 60.0;
  double minutes = std::floor(minutesAll);
  double seconds = std::round((minutesAll - minutes) * 60.0 / unit) * unit;
  if (seconds >= 60.0) {
    seconds = 0.0;
    minutes += 1.0;
  }
  if (minutes >= 60.0) {
    minutes = 0.0;
    degrees += 1.0;
  }
  dms[0] = std::copysign(degrees, deg);
  dms[1] = minutes;
  dms[2] = seconds;
}

}  // namespace GNX_IO
