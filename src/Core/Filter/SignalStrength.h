#pragma once
/// \file SignalStrength.h
/// Signals that are too weak for their elevation.
///
/// A signal that has lost its direct way and comes by a wall is weaker by some 10 dB than those of other
/// satellites at its height; its range and its phase are longer by the detour, and both drift with it.
/// Carrier- to-noise densities rise by some 16 dB from the horizon to the zenith with the antennas in use;
/// the level of the receiver is learnt for each system from the better half of its satellites.

#include "Common/Constants.h"
#include "Records/Station.h"

namespace tarvio {

class SignalStrength {
 public:
  /// Takes the densities of an epoch. \param t  s
  void m_learn(const Station& sta, double t);
  /// Factor on the sigmas of a satellite's observations: 1 for a usual signal or one of unknown strength.
  double m_doubt(const Ssat_t& sat, int isys) const;

 private:
  double m_level[kSys] = {};  ///< dB-Hz at the horizon, 0: not known
  double m_last[kSys] = {};   ///< s
};

}  // namespace tarvio
