/// \file SunMoon.cpp
/// References
/// - The Astronomical Almanac, low-precision formulae for the Sun (p. C5) and the Moon (p. D22).
/// - Vallado, Fundamentals of Astrodynamics and Applications, algorithms 29 and 31.
///
/// The axes of the formulae are the mean equator and equinox of date. Against a full theory, 2000 to 2040:
/// Sun within 0.012 degree, Moon within 0.37 degree and 1230 km.

#include "Core/Model/SunMoon.h"

#include <erfa.h>

#include <cmath>

#include "Common/Constants.h"
#include "Core/Model/Itrs2gcrs.h"

namespace tarvio {
namespace {

constexpr double kAstronomicalUnit_m = 149597870691.0;
constexpr double kEarthRadius_m = 6378137.0;
constexpr double kUnixEpochMjd = 40587.0;
constexpr double kMjdJ2000 = 51544.5;

/// Spherical ecliptic coordinates (rad, m) to the equator.
void s_toEquator(double longitude, double latitude, double r, double obliquity, double* x) {
  const double cb = std::cos(latitude), sb = std::sin(latitude);
  const double cl = std::cos(longitude), sl = std::sin(longitude);
  const double ce = std::cos(obliquity), se = std::sin(obliquity);
  x[0] = r * cb * cl;
  x[1] = r * (ce * cb * sl - se * sb);
  x[2] = r * (se * cb * sl + ce * sb);
}

void s_sun(double T, double obliquity, double* rsun) {
  const double M = (357.5277233 + 35999.05034 * T) * kDegToRad;
  const double longitude =
      280.460 + 36000.770 * T + 1.914666471 * std::sin(M) + 0.019994643 * std::sin(2.0 * M);
  const double r =
      kAstronomicalUnit_m * (1.000140612 - 0.016708617 * std::cos(M) - 0.000139589 * std::cos(2.0 * M));
  s_toEquator(longitude * kDegToRad, 0.0, r, obliquity, rsun);
}

void s_moon(double T, double obliquity, double* rmoon) {
  double l, lp, f, d, om;
  FUNDARG(T, &l, &lp, &f, &d, &om);
  const double longitude = 218.32 + 481267.883 * T + 6.29 * std::sin(l) - 1.27 * std::sin(l - 2.0 * d) +
                           0.66 * std::sin(2.0 * d) + 0.21 * std::sin(2.0 * l) - 0.19 * std::sin(lp) -
                           0.11 * std::sin(2.0 * f);
  const double latitude =
      5.13 * std::sin(f) + 0.28 * std::sin(l + f) - 0.28 * std::sin(f - l) - 0.17 * std::sin(f - 2.0 * d);
  const double parallax = 0.9508 + 0.0518 * std::cos(l) + 0.0095 * std::cos(l - 2.0 * d) +
                          0.0078 * std::cos(2.0 * d) + 0.0028 * std::cos(2.0 * l);
  const double r = kEarthRadius_m / std::sin(parallax * kDegToRad);
  s_toEquator(longitude * kDegToRad, latitude * kDegToRad, r, obliquity, rmoon);
}

}  // namespace

void s_dateToInertial(double mjdTt, double* v) {
  constexpr double kMjdZero = 2400000.5;
  double fromInertial[3][3], ofDate[3] = {v[0], v[1], v[2]};
  eraPmat06(kMjdZero, mjdTt, fromInertial);
  eraTrxp(fromInertial, ofDate, v);
}

void sunmoonpos_eci(GNX_IO::gtime_t tut, double* rsun, double* rmoon) {
  const double days = static_cast<double>(tut.time) / kDay + kUnixEpochMjd - kMjdJ2000 + tut.sec / kDay;
  const double T = days / 36525.0;
  const double obliquity = (23.439291 - 0.0130042 * T) * kDegToRad;
  GNX_IO::trace(4, "sunmoonpos_eci: tut=%s\n", GNX_IO::time_str(tut, 3));
  if (rsun) {
    s_sun(T, obliquity, rsun);
    GNX_IO::trace(5, "rsun =%.3f %.3f %.3f\n", rsun[0], rsun[1], rsun[2]);
  }
  if (rmoon) {
    s_moon(T, obliquity, rmoon);
    GNX_IO::trace(5, "rmoon=%.3f %.3f %.3f\n", rmoon[0], rmoon[1], rmoon[2]);
  }
}

}  // namespace tarvio
