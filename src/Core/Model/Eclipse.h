#pragma once
/// \file Eclipse.h
/// Satellite body axes: the nominal yaw attitude and the manoeuvres of eclipse seasons.
/// All vectors inertial; x, y, z as in the antenna file (z to the Earth).

#include <array>

#include "Common/Constants.h"
#include "Core/Model/YawTurns.h"

namespace tarvio {

class Eclipse {
 public:
  static Eclipse& s_getInstance();

  /// Body axes of a satellite at (mjd, sod), GPS time.
  /// \param xv  state, m and m/s; \param sun  m
  /// The axes arguments hold the previous epoch's axes on entry: they stay when the Sun is on the z
  /// axis. Blocks without a known law keep the nominal yaw attitude; geostationary BeiDou satellites fly
  /// orbit-normal.
  void rot_scfix2j2000(int mjd, double sod, const char* cprn, const char* block, const double* xv,
                       const double* sun, double* xscf, double* yscf, double* zscf);
  /// Turns nominal axes into those of the block's law; `mjd` with fraction.
  void yawatt(double mjd, const char* cprn, const char* block, const double* xv, const double* sun,
              double* xscf, double* yscf, double* zscf);
  /// Forgets all turns.
  void m_reset();

  template <class Archive>
  void m_fields(Archive& a) {
    a(m_started, m_startMjd, m_startSod);
    a.m_items(m_turns.data(), m_turns.size());
  }

 private:
  Eclipse() = default;
  void m_yawattAt(int mjd, double sod, const char* cprn, const char* block, const double* xv,
                  const double* sun, double* xscf, double* yscf, const double* zscf);

  bool m_started = false;
  int m_startMjd = 0;
  double m_startSod = 0.0;
  std::array<YawTurns, kMaxSat> m_turns;
};

/// Recorded attitude; none is held.
class YawAttitudeAdapter {
 public:
  /// Body axes in the terrestrial frame. \return false: no attitude
  static bool m_quater2rot(int mjd, double sod, const char* cprn, double* xscf, double* yscf, double* zscf);
};

}  // namespace tarvio
