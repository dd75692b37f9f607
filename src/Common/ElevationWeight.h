#pragma once
/// \file ElevationWeight.h
/// How trust in an observation falls with elevation: multipath and troposphere grow like 1/sin(elevation),
/// above 30 degrees the receiver's noise rules.

#include <cmath>

#include "Common/Constants.h"

namespace tarvio {

inline constexpr double kFullWeightElevation_rad = 30.0 * kDegToRad;

/// Factor of 1/sigma: 1 from 30 degrees on, else 2 sin(elevation).
/// \param elev  rad
inline double s_elevationFactor(double elev) {
  return elev >= kFullWeightElevation_rad ? 1.0 : 2.0 * std::sin(elev);
}

}  // namespace tarvio
