#pragma once
/// \file astronomy.h
/// Sun, Moon and sidereal angle to low precision.
///
/// Low-precision series of Montenbruck and Gill, Satellite Orbits (2000), eqs. 3.43-3.51: Sun within
/// 0.01 degrees, Moon within 0.1 degrees and 1000 km, which is under 1 mm in the solid tide. UT1 is taken
/// as UTC, the pole of rotation as the third axis of the earth-fixed frame.

#include "geometry/vector3.h"
#include "gnx/records.h"

namespace gnx {

/// Positions relative to the Earth's centre, metres, mean equator and equinox of date.
Vector3 sunOfDate(double julianCenturiesTt);
Vector3 moonOfDate(double julianCenturiesTt);

/// Julian centuries of terrestrial time since J2000.0.
double centuriesSinceJ2000(const GpsTime& t);
/// Greenwich mean sidereal angle, radians (Aoki et al. 1982).
double siderealAngle(const GpsTime& t);

/// The same two bodies in the earth-fixed frame.
Vector3 sunEarthFixed(const GpsTime& t);
Vector3 moonEarthFixed(const GpsTime& t);

}  // namespace gnx
