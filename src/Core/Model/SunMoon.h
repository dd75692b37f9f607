#pragma once
/// \file SunMoon.h
/// Sun and Moon by the low-precision formulae of the Astronomical Almanac.

#include "GNX_IO.h"

namespace tarvio {

/// Positions in metres at UTC (taken as UT1), mean equator and equinox of date. Either output may be null.
void sunmoonpos_eci(GNX_IO::gtime_t tut, double* rsun, double* rmoon);

/// Turns a vector from the mean equator and equinox of date to inertial axes (IAU 2006 precession and frame
/// bias).
void s_dateToInertial(double mjdTt, double* v);

}  // namespace tarvio
