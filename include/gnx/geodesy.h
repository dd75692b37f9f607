#pragma once
/// \file geodesy.h
/// Places on the WGS 84 ellipsoid and local axes. Radians and metres.

#include <array>
#include <iosfwd>

namespace gnx {

/// Earth-fixed x, y, z unless said otherwise.
using Vector3 = std::array<double, 3>;

/// Latitude, longitude (radians), ellipsoidal height (metres).
struct Geodetic {
  double latitude = 0.0, longitude = 0.0, height = 0.0;
};

/// Accurate to a nanometre from the Earth's surface to satellite heights; the centre of the Earth gives
/// latitude 0 and height minus the equatorial radius.
Geodetic toGeodetic(const Vector3& xyz);
Vector3 toEarthFixed(const Geodetic& position);

/// Components of an earth-fixed difference along east, north, up of the given place.
Vector3 toEastNorthUp(const Vector3& difference, const Geodetic& place);
/// The reverse.
Vector3 fromEastNorthUp(const Vector3& enu, const Geodetic& place);

}  // namespace gnx
