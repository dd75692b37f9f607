#pragma once
/// \file SunMoon.h
/// Sun and Moon by the low-precision formulae of the Astronomical Almanac.

#include "GNX_IO.h"

namespace tarvio {

/// Inertial positions, metres, at UTC (taken as UT1). Either output may be null.
void sunmoonpos_eci(GNX_IO::gtime_t tut, double* rsun, double* rmoon);

}  // namespace tarvio
