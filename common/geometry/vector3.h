#pragma once
/// \file vector3.h
/// Small vector algebra.

#include <cmath>

#include "gnx/geodesy.h"

namespace gnx {

inline Vector3 plus(const Vector3& a, const Vector3& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
inline Vector3 minus(const Vector3& a, const Vector3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
inline Vector3 scaled(const Vector3& a, double k) { return {k * a[0], k * a[1], k * a[2]}; }
inline double dot(const Vector3& a, const Vector3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
inline Vector3 cross(const Vector3& a, const Vector3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline double length(const Vector3& a) { return std::sqrt(dot(a, a)); }
inline Vector3 unit(const Vector3& a) { return scaled(a, 1.0 / length(a)); }
/// Components of a vector in axes turned about the third axis by `angle` (radians).
inline Vector3 turnedAxes(const Vector3& a, double angle) {
  const double c = std::cos(angle), s = std::sin(angle);
  return {c * a[0] + s * a[1], -s * a[0] + c * a[1], a[2]};
}

}  // namespace gnx
