#pragma once
/// \file back_off.h
/// Pauses between attempts: each twice the one before, up to a minute, and by chance up to half shorter, so
/// that the clients of a caster that restarts do not come back all at once.

#include <algorithm>
#include <random>

namespace gnx {

class BackOff {
 public:
  /// The next pause, s.
  double next() {
    const double pause = m_pause_s * std::uniform_real_distribution<>(0.5, 1.0)(m_random);
    m_pause_s = std::min(2.0 * m_pause_s, kLongest_s);
    return pause;
  }
  /// It works again.
  void reset() { m_pause_s = kFirst_s; }

 private:
  static constexpr double kFirst_s = 0.5, kLongest_s = 60.0;
  double m_pause_s = kFirst_s;
  std::mt19937 m_random{std::random_device{}()};
};

}  // namespace gnx
