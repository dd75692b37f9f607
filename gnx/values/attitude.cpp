// Axes, quaternions and what lies between the epochs of a product.

#include "gnx/attitude.h"

#include <algorithm>
#include <cmath>

#include "geometry/vector3.h"

namespace gnx {

namespace {

constexpr double kEarthRate = 7.2921151467e-5;  ///< rad/s
constexpr double kLongestHold_s = 900.0;

double dot(const Quaternion& a, const Quaternion& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
}

Quaternion scaled(const Quaternion& q, double k) { return {k * q[0], k * q[1], k * q[2], k * q[3]}; }

Quaternion conjugate(const Quaternion& q) { return {q[0], -q[1], -q[2], -q[3]}; }

BodyAxes axesAlong(const Vector3& z, const Vector3& y) { return {cross(y, z), y, z}; }

}  // namespace

BodyAxes axesOf(const Quaternion& q) {
  const auto [w, x, y, z] = q;
  return {{1.0 - 2.0 * (y * y + z * z), 2.0 * (x * y - w * z), 2.0 * (x * z + w * y)},
          {2.0 * (x * y + w * z), 1.0 - 2.0 * (x * x + z * z), 2.0 * (y * z - w * x)},
          {2.0 * (x * z - w * y), 2.0 * (y * z + w * x), 1.0 - 2.0 * (x * x + y * y)}};
}

/// By the largest of the four components, so that nothing is divided by a small number (Shepperd 1978).
Quaternion quaternionOf(const BodyAxes& a) {
  const double xx = a.x[0], yy = a.y[1], zz = a.z[2];
  const double four[] = {1.0 + xx + yy + zz, 1.0 + xx - yy - zz, 1.0 - xx + yy - zz, 1.0 - xx - yy + zz};
  const double wx = a.z[1] - a.y[2], wy = a.x[2] - a.z[0], wz = a.y[0] - a.x[1];
  const double xy = a.x[1] + a.y[0], xz = a.x[2] + a.z[0], yz = a.y[2] + a.z[1];
  Quaternion q{};
  switch (std::max_element(std::begin(four), std::end(four)) - std::begin(four)) {
    case 0:
      q = {four[0], wx, wy, wz};
      break;
    case 1:
      q = {wx, four[1], xy, xz};
      break;
    case 2:
      q = {wy, xy, four[2], yz};
      break;
    default:
      q = {wz, xz, yz, four[3]};
  }
  return scaled(q, 1.0 / std::sqrt(dot(q, q)));
}

Quaternion compose(const Quaternion& a, const Quaternion& b) {
  return {a[0] * b[0] - a[1] * b[1] - a[2] * b[2] - a[3] * b[3],
          a[0] * b[1] + a[1] * b[0] + a[2] * b[3] - a[3] * b[2],
          a[0] * b[2] - a[1] * b[3] + a[2] * b[0] + a[3] * b[1],
          a[0] * b[3] + a[1] * b[2] - a[2] * b[1] + a[3] * b[0]};
}

Quaternion against(const Quaternion& a, const Quaternion& b) { return compose(a, conjugate(b)); }

Quaternion slerp(const Quaternion& a, const Quaternion& b, double share) {
  constexpr double kClose = 1e-6;  // the chord is the arc
  const double cosine = std::fabs(dot(a, b)), sign = dot(a, b) < 0.0 ? -1.0 : 1.0;
  const double angle = std::acos(std::min(cosine, 1.0));
  const double sine = std::sin(angle);
  const double first = angle < kClose ? 1.0 - share : std::sin((1.0 - share) * angle) / sine;
  const double second = sign * (angle < kClose ? share : std::sin(share * angle) / sine);
  Quaternion q{};
  for (std::size_t i = 0; i < q.size(); ++i) q[i] = first * a[i] + second * b[i];
  return scaled(q, 1.0 / std::sqrt(dot(q, q)));
}

double angleBetween(const Quaternion& a, const Quaternion& b) {
  const Quaternion turn = against(a, b);
  return 2.0 * std::atan2(std::hypot(turn[1], turn[2], turn[3]), std::fabs(turn[0]));
}

std::optional<BodyAxes> nominalYawAxes(const SatState& satellite, const Vector3& sun) {
  constexpr double kAligned = 1e-8;
  const Vector3 z = unit(scaled(satellite.position, -1.0));
  const Vector3 across = cross(z, unit(minus(sun, satellite.position)));
  if (length(across) < kAligned) return std::nullopt;
  return axesAlong(z, unit(across));
}

BodyAxes orbitNormalAxes(const SatState& satellite) {
  const Vector3& r = satellite.position;
  const Vector3 inertial = plus(satellite.velocity, {-kEarthRate * r[1], kEarthRate * r[0], 0.0});
  return axesAlong(unit(scaled(r, -1.0)), unit(cross(inertial, r)));
}

std::optional<Quaternion> attitudeAt(const AttitudeProduct& product, const SatName& sat, const GpsTime& t,
                                     const std::function<ReferenceAttitudes(const GpsTime&)>& reference) {
  const auto found = product.attitudes.find(sat);
  if (found == product.attitudes.end() || found->second.empty()) return std::nullopt;
  const std::vector<AttitudePoint>& points = found->second;
  const auto right = std::ranges::lower_bound(points, t, {}, &AttitudePoint::time);
  const double reach = std::min(product.interval, kLongestHold_s);
  const ReferenceAttitudes now = reference(t);
  const auto held = [&](const AttitudePoint& point) {
    return compose(against(point.attitude, reference(point.time).model), now.model);
  };
  const AttitudePoint* before = right == points.begin() ? nullptr : &*(right - 1);
  const AttitudePoint* behind = right == points.end() ? nullptr : &*right;
  constexpr double kSpare = 1.01;  // epochs are rounded
  if (before != nullptr && behind != nullptr && behind->time - before->time <= kSpare * product.interval) {
    const ReferenceAttitudes first = reference(before->time), last = reference(behind->time);
    const double share = (t - before->time) / (behind->time - before->time);
    const auto relative = [&](Quaternion ReferenceAttitudes::*to) {
      return std::pair(against(before->attitude, first.*to), against(behind->attitude, last.*to));
    };
    const auto model = relative(&ReferenceAttitudes::model), orbital = relative(&ReferenceAttitudes::orbital);
    if (angleBetween(model.first, model.second) <= angleBetween(orbital.first, orbital.second))
      return compose(slerp(model.first, model.second, share), now.model);
    return compose(slerp(orbital.first, orbital.second, share), now.orbital);
  }
  if (before != nullptr && t - before->time <= reach) return held(*before);
  if (behind != nullptr && behind->time - t <= reach) return held(*behind);
  return std::nullopt;
}

}  // namespace gnx
