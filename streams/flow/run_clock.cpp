// GPS time from the machine's clock.

#include "flow/run_clock.h"

#include <cmath>

namespace gnx {

namespace {

GpsTime machineTime() {
  const auto since = std::chrono::system_clock::now().time_since_epoch();
  const GpsTime utc = ofMilliseconds(std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
  return utc + leapSecondsAtUtc(utc);
}

}  // namespace

std::int64_t toMilliseconds(const GpsTime& t) { return t.seconds * 1000 + std::llround(t.fraction * 1000.0); }

GpsTime ofMilliseconds(std::int64_t ms) {
  const std::int64_t seconds = ms / 1000 - (ms % 1000 < 0 ? 1 : 0);
  return {seconds, static_cast<double>(ms - seconds * 1000) / 1000.0};
}

RunClock::RunClock() : m_start(machineTime()) {}
RunClock::RunClock(const GpsTime& start, double speed)
    : m_start(ofMilliseconds(toMilliseconds(start))), m_speed(speed) {}

GpsTime RunClock::now() const {
  const std::chrono::duration<double, std::milli> passed = std::chrono::steady_clock::now() - m_begun;
  return ofMilliseconds(toMilliseconds(m_start) + static_cast<std::int64_t>(passed.count() * m_speed));
}

}  // namespace gnx
