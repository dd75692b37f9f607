#pragma once
/// \file attitude.h
/// How satellites point: body axes, quaternions, attitudes of a product between its epochs.
///
/// Body axes are those of antenna files: z to the Earth, y along the panels (z x direction of the Sun), x on
/// the side of the Sun. Reference: Montenbruck et al., GNSS satellite geometry and attitude models, Adv.
/// Space Res. 56, 2015.

#include <array>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "gnx/ephemeris.h"
#include "gnx/geodesy.h"
#include "gnx/satellite.h"
#include "gnx/time.h"

namespace gnx {

/// Of unit length, scalar first, from Earth-fixed to body axes: v_body = q v q*. q and -q are the same.
using Quaternion = std::array<double, 4>;

/// Unit vectors in Earth-fixed components.
struct BodyAxes {
  Vector3 x{}, y{}, z{};
};

BodyAxes axesOf(const Quaternion& q);
Quaternion quaternionOf(const BodyAxes& axes);
/// The turn b, then the turn a.
Quaternion compose(const Quaternion& a, const Quaternion& b);
/// What leads from attitude b to attitude a: a = compose(against(a, b), b).
Quaternion against(const Quaternion& a, const Quaternion& b);
/// On the great circle by the shorter way, `share` from 0 (a) to 1 (b).
Quaternion slerp(const Quaternion& a, const Quaternion& b, double share);
/// Angle between two attitudes, rad.
double angleBetween(const Quaternion& a, const Quaternion& b);

/// Nominal yaw: x towards the Sun. Nothing where the Sun stands on the z axis.
std::optional<BodyAxes> nominalYawAxes(const SatState& satellite, const Vector3& sun);
/// x along the way in an orbit that is not turned with the Earth, y against the orbit's normal.
BodyAxes orbitNormalAxes(const SatState& satellite);

/// A satellite's attitude at an epoch of a product.
struct AttitudePoint {
  GpsTime time;
  Quaternion attitude{};
};

/// Attitudes of satellites, in order of time.
struct AttitudeProduct {
  double interval = 0.0;  ///< s; the longest of the files
  std::map<SatName, std::vector<AttitudePoint>> attitudes;
};

/// Axes against which a satellite turns slowly, at a time.
struct ReferenceAttitudes {
  Quaternion model{};    ///< what it flies outside of manoeuvres: nominal yaw, or orbit-normal
  Quaternion orbital{};  ///< orbitNormalAxes()
};

/// Attitude of a satellite at a time.
///
/// Between two epochs it is interpolated on the sphere, relative to that one of the reference attitudes
/// against which it turns less: to the model as long as the satellite keeps to it, so that it is exact at any
/// interval; to the orbit while the yaw of the model flips at noon and midnight. At the ends and across gaps
/// what it is beside the model is held for `interval`, at most 900 s. Nothing further away.
std::optional<Quaternion> attitudeAt(const AttitudeProduct& product, const SatName& sat, const GpsTime& t,
                                     const std::function<ReferenceAttitudes(const GpsTime&)>& reference);

}  // namespace gnx
