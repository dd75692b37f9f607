#pragma once
/// \file glonass_time.h
/// Some providers tell the time of GLONASS corrections in GPS time where UTC belongs: they seem to be of the
/// future by the leap seconds.

#include <cmath>
#include <optional>

#include "gnx/corrections.h"

namespace gnx {

class GlonassTime {
 public:
  /// Moves a block that is told in GPS time. \return true for the first one
  bool correct(SsrBlock& block) {
    const bool glonass = (!block.orbits.empty() && block.orbits[0].sat[0] == 'R') ||
                         (!block.clocks.empty() && block.clocks[0].sat[0] == 'R') ||
                         (!block.biases.empty() && block.biases[0].sat[0] == 'R');
    if (!glonass) {
      m_others = block.time;
      return false;
    }
    const double leap_s = leapSecondsAtUtc(block.time);
    const bool ahead = m_others && std::fabs(block.time - *m_others - leap_s) < kSame_s;
    const bool first = ahead && !m_gpsTime;
    m_gpsTime = m_gpsTime || ahead;
    if (m_gpsTime) block.time = block.time + -leap_s;
    return first;
  }

 private:
  static constexpr double kSame_s = 1.5;
  std::optional<GpsTime> m_others;  ///< time of the last block of another system
  bool m_gpsTime = false;
};

}  // namespace gnx
