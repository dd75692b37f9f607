#pragma once
/// \file kepler.h
/// Position and velocity of a satellite from a broadcast message by the interface documents:
/// IS-GPS-200 table 20-IV, Galileo OS SIS ICD table 57, BDS-SIS-ICD table 5-12 (MEO and IGSO),
/// IS-QZSS-PNT 5.6.
///
/// Earth-fixed metres and m/s at the given time, without rotation for the travel time. BeiDou geostationary
/// messages, whose elements refer to a tilted plane, are not evaluated: the simulated sky holds none.

#include "geometry/vector3.h"
#include "gnx/records.h"

namespace gnx {

inline constexpr double kSpeedOfLight = 299792458.0;       ///< m/s
inline constexpr double kEarthRotation = 7.2921151467e-5;  ///< rad/s

struct SatelliteState {
  Vector3 position{}, velocity{};
};

/// Gravitational parameter (m^3/s^2) and Earth rotation (rad/s) of a system's interface document.
double gravityParameter(char system);
double earthRotation(char system);
/// `toe` as seconds of the week of the system's own time scale.
double ephemerisSeconds(const BroadcastEph& eph);

SatelliteState evaluateOrbit(const BroadcastEph& eph, const GpsTime& t);

}  // namespace gnx
