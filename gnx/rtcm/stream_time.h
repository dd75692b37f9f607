#pragma once
// Times of messages, which tell seconds of a week or of a day, placed next to a reference time.

#include <cstdint>
#include <optional>

#include "gnx/time.h"

namespace gnx::rtcm {

inline constexpr std::int64_t kDay_ms = 86400000, kWeek_ms = 7 * kDay_ms;

/// Milliseconds since 1970 in GPS time: epochs of different systems are the same when these are.
std::int64_t millisecondsOf(const GpsTime& t);
GpsTime fromMilliseconds(std::int64_t t);

// What a sender writes for a moment: milliseconds of the GPS week, of that of BeiDou, of the day of UTC + 3
// h.
std::int64_t weekMilliseconds(const GpsTime& t);
std::int64_t beidouWeekMilliseconds(const GpsTime& t);
std::int64_t moscowDayMilliseconds(const GpsTime& t);

class StreamTime {
 public:
  bool known() const { return m_known; }
  GpsTime now() const { return fromMilliseconds(m_now); }
  void set(const GpsTime& reference);
  /// A message tells its date: only news as long as none is known.
  void learn(const GpsTime& date);

  /// The moment of that millisecond of GPS week next to the reference. Nothing when no time is known, or
  /// for a number that is none of the week.
  std::optional<GpsTime> ofWeek(std::int64_t ms) const;
  /// The same for the time of BeiDou. Some receivers count below the week's beginning in 30 bits.
  std::optional<GpsTime> ofBeidouWeek(std::int64_t ms) const;
  /// The same for a millisecond of the day of UTC + 3 h, the time of GLONASS. A leap second makes it longer.
  std::optional<GpsTime> ofMoscowDay(std::int64_t ms) const;

  /// The stream has come to this time.
  void advance(const GpsTime& t) { set(t); }

 private:
  std::int64_t m_now = 0;  ///< ms
  bool m_known = false;
};

}  // namespace gnx::rtcm
