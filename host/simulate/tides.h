#pragma once
/// \file tides.h
/// Displacement of the simulated site by the solid Earth and pole tides.
///
/// Solid tide: degree 2 and 3 with nominal Love numbers and the K1 correction, permanent part included
/// (IERS Conventions 2010, 7.1.1, steps 1a, 1b and the largest term of step 2), within 3 mm of the whole
/// of that section. Ocean loading is absent: the simulated Earth has no oceans.
/// Pole tide: that of a pole of rotation lying in the third axis of the earth-fixed frame, with the mean
/// pole of the Conventions 2010 as its reference (7.1.4).

#include "formats/records.h"
#include "simulate/vector3.h"

namespace gnx {

/// Earth-fixed metres. `siderealAngle` in radians, bodies earth-fixed.
Vector3 solidTide(const Vector3& site, const Vector3& sun, const Vector3& moon, double siderealAngle);
Vector3 poleTide(const Geodetic& site, const GpsTime& t);

}  // namespace gnx
