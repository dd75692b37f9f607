// Places seconds of weeks and days next to a reference time.

#include "rtcm/stream_time.h"

#include <cmath>
#include <cstdlib>

namespace gnx::rtcm {

namespace {

constexpr std::int64_t kWeekZero_ms = 315964800000;  ///< 6 January 1980
constexpr std::int64_t kMoscow_ms = 3 * 3600 * 1000, kBdt_ms = 14000;

std::int64_t floorDivide(std::int64_t a, std::int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }

/// The time with this phase in a period next to another one.
std::int64_t nearest(std::int64_t phase, std::int64_t period, std::int64_t to) {
  return phase + period * floorDivide(to - phase + period / 2, period);
}

std::int64_t leap_ms(std::int64_t utc) { return 1000LL * leapSecondsAtUtc(fromMilliseconds(utc)); }

}  // namespace

std::int64_t millisecondsOf(const GpsTime& t) {
  return t.seconds * 1000 + static_cast<std::int64_t>(std::lround(t.fraction * 1000.0));
}

GpsTime fromMilliseconds(std::int64_t t) {
  const std::int64_t seconds = floorDivide(t, 1000);
  return {seconds, static_cast<double>(t - seconds * 1000) / 1000.0};
}

std::int64_t weekMilliseconds(const GpsTime& t) {
  const std::int64_t ms = millisecondsOf(t) - kWeekZero_ms;
  return ms - kWeek_ms * floorDivide(ms, kWeek_ms);
}

std::int64_t beidouWeekMilliseconds(const GpsTime& t) {
  return weekMilliseconds(fromMilliseconds(millisecondsOf(t) - kBdt_ms));
}

std::int64_t moscowDayMilliseconds(const GpsTime& t) {
  const std::int64_t now = millisecondsOf(t);
  const std::int64_t reading = now - leap_ms(now - leap_ms(now)) + kMoscow_ms;
  return reading - kDay_ms * floorDivide(reading, kDay_ms);
}

void StreamTime::set(const GpsTime& reference) {
  m_now = millisecondsOf(reference);
  m_known = true;
}

void StreamTime::learn(const GpsTime& date) {
  if (!m_known) set(date);
}

std::optional<GpsTime> StreamTime::ofWeek(std::int64_t ms) const {
  if (!m_known || ms < 0 || ms > kWeek_ms) return std::nullopt;
  return fromMilliseconds(nearest(kWeekZero_ms + ms, kWeek_ms, m_now));
}

std::optional<GpsTime> StreamTime::ofBeidouWeek(std::int64_t ms) const {
  if (ms > kWeek_ms) ms -= std::int64_t{1} << 30;
  if (!m_known || ms < -kBdt_ms || ms > kWeek_ms) return std::nullopt;
  return fromMilliseconds(nearest(kWeekZero_ms + ms + kBdt_ms, kWeek_ms, m_now));
}

std::optional<GpsTime> StreamTime::ofMoscowDay(std::int64_t ms) const {
  if (!m_known || ms < 0 || ms >= kDay_ms + 1000) return std::nullopt;
  const std::int64_t utcNow = m_now - leap_ms(m_now - leap_ms(m_now));
  const std::int64_t utc = nearest(ms - kMoscow_ms, kDay_ms, utcNow);
  // Beside a leap second the same reading comes twice.
  const std::int64_t before = utc + leap_ms(utc - 2000), after = utc + leap_ms(utc);
  return fromMilliseconds(std::llabs(before - m_now) <= std::llabs(after - m_now) ? before : after);
}

}  // namespace gnx::rtcm
