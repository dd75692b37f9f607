#pragma once
/// \file tides.h
/// Displacement of the simulated site by the solid Earth and pole tides.
///
/// Solid tide: degree 2 and 3 with nominal Love numbers and the K1 correction, permanent part included
/// (IERS Conventions 2010, 7.1.1, steps 1a, 1b and the largest term of step 2), within 3 mm of the whole
/// of that section. Ocean loading is absent: the simulated Earth has no oceans.
/// Pole tide: that of a pole of rotation away from the secular one (7.1.4, update of 2018).

#include "geometry/vector3.h"
#include "gnx/records.h"

namespace gnx {

/// Earth-fixed metres. `siderealAngle` in radians, bodies earth-fixed.
Vector3 solidTide(const Vector3& site, const Vector3& sun, const Vector3& moon, double siderealAngle);
/// \param x, y  of the pole minus the secular pole, arcsec
Vector3 poleTide(const Geodetic& site, double x, double y);

}  // namespace gnx
