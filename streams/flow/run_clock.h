#pragma once
/// \file run_clock.h
/// The clock of a live run in GPS time, in whole milliseconds: read once from the machine, then counted on,
/// so that a machine that sets its clock does not move a run.

#include <chrono>

#include "gnx/time.h"

namespace gnx {

class RunClock {
 public:
  RunClock();
  /// Begins at another moment instead of now, and may go faster.
  explicit RunClock(const GpsTime& start, double speed = 1.0);
  GpsTime now() const;
  double speed() const { return m_speed; }

 private:
  GpsTime m_start;
  double m_speed = 1.0;
  std::chrono::steady_clock::time_point m_begun = std::chrono::steady_clock::now();
};

/// Whole milliseconds since 1970 in GPS time, and back.
std::int64_t toMilliseconds(const GpsTime& t);
GpsTime ofMilliseconds(std::int64_t ms);

}  // namespace gnx
