#pragma once
/// \file Eclipse.h
/// Satellite body axes: nominal yaw steering and the manoeuvres of eclipse seasons.

#include <vector>

#include "Common/Constants.h"

namespace tarvio {

class Eclipse {
 public:
  static Eclipse& s_getInstance();
  /// Body axes of a satellite, all vectors inertial (m, m/s). The axes arguments hold the previous
  /// epoch's axes on entry: they stay when the Sun is on the z axis.
  void rot_scfix2j2000(int mjd, double sod, const char* cprn, const char* block, const double* xv,
                       const double* sun, double* xscf, double* yscf, double* zscf);
  void m_reset();
};

/// Recorded attitude; none is held.
class YawAttitudeAdapter {
 public:
  static bool m_quater2rot(int mjd, double sod, const char* cprn, double* xscf, double* yscf,
                           double* zscf);
};

}  // namespace tarvio
