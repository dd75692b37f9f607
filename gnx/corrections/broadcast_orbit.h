#pragma once
/// \file broadcast_orbit.h
/// Broadcast orbit and clock as the engine evaluates them.
///
/// Corrections are differences to a broadcast message, so both ends must evaluate it alike: what is
/// computed here and what the engine computes cancel to rounding (1e-6 m), constants and conventions of the
/// engine included. References: IS-GPS-200, 20.3.3.4.3; BDS-SIS-ICD B1I, 5.2.4.12 (geostationary).
///
/// Differences to those documents, all of them the engine's (QZSS messages are handed over so that its
/// own Earth rate for them does no harm, see boundary_feed.cpp): the
/// rate of inclination has cic on the cosine and cis on the sine; the periodic relativistic clock
/// term is left to the model of the observations.

#include <array>

#include "corrections/correction_source.h"
#include "formats/records.h"

namespace gnx {

using Vector3 = std::array<double, 3>;

inline constexpr double kLightSpeed = 299792458.0;  ///< m/s

/// Earth-fixed position (m) and velocity (m/s), clock offset (s).
struct SatState {
  Vector3 position{}, velocity{};
  double clock = 0.0;
};

/// Evaluates a message at GPS time t. No limit on the distance from the time of ephemeris.
SatState evaluateBroadcast(const BroadcastEph& eph, const GpsTime& t);

/// Its clock offset alone, s.
double broadcastClock(const BroadcastEph& eph, const GpsTime& t);

/// The number by which a correction names a message: IODE (G, J), IODnav (E); BeiDou: half hours of
/// the day of toe in BDT, plus one.
int issueOfData(const BroadcastEph& eph);

/// Unit vectors radial, along-track, cross-track (rows): along = v/|v|, cross = r x v, radial =
/// along x cross. Radial is exactly that only on a circular orbit; it is the convention of RTCM SSR.
std::array<Vector3, 3> orbitAxes(const SatState& state);

/// Components of a vector along the axes.
Vector3 toAxes(const std::array<Vector3, 3>& axes, const Vector3& v);

/// Position, velocity and clock as the engine corrects them, `age` seconds (never negative) from the
/// tag: the orbit as at the tag, the clock polynomial in the absolute age.
SatState applyCorrection(const SatState& broadcast, const OrbitClockCorrection& correction, double age);

}  // namespace gnx
