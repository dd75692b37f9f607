// GPS time from the machine's clock.

#include "flow/run_clock.h"

#include <cmath>

namespace gnx {

namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;

GpsTime machineTime() {
  const auto since = std::chrono::system_clock::now().time_since_epoch();
  const GpsTime utc = ofMilliseconds(duration_cast<milliseconds>(since).count());
  return utc + leapSecondsAtUtc(utc);
}

}  // namespace

std::int64_t toMilliseconds(const GpsTime& t) { return t.seconds * 1000 + std::llround(t.fraction * 1000.0); }

GpsTime ofMilliseconds(std::int64_t ms) {
  const std::int64_t seconds = ms / 1000 - (ms % 1000 < 0 ? 1 : 0);
  return {seconds, static_cast<double>(ms - seconds * 1000) / 1000.0};
}

RunClock::RunClock() : m_start(machineTime()) {}
RunClock::RunClock(const GpsTime& start) : m_start(ofMilliseconds(toMilliseconds(start))) {}

GpsTime RunClock::now() const {
  const auto passed = std::chrono::steady_clock::now() - m_begun;
  return ofMilliseconds(toMilliseconds(m_start) + duration_cast<milliseconds>(passed).count());
}

}  // namespace gnx
