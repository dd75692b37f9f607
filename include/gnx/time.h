#pragma once
/// \file time.h
/// Points in time. All times of this library are GPS time; readers convert what a format counts in another
/// scale.

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

namespace gnx {

/// A point in time, GPS time scale: whole seconds since 1970-01-01 00:00:00 of that scale, without leap
/// seconds, and a fraction in [0, 1).
struct GpsTime {
  std::int64_t seconds = 0;
  double fraction = 0.0;

  auto operator<=>(const GpsTime&) const = default;
};

/// Calendar reading of GPS time.
struct Calendar {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0;
  double second = 0.0;
};

GpsTime toGpsTime(const Calendar& c);
Calendar toCalendar(const GpsTime& t);
/// The calendar reading whose parts are given and in range; second up to 60 inclusive (leap second).
std::optional<GpsTime> parseDate(std::optional<int> year, std::optional<int> month, std::optional<int> day,
                                 std::optional<int> hour, std::optional<int> minute,
                                 std::optional<double> second);

/// From a GPS week, counted on without roll-over, and seconds of it.
GpsTime fromWeek(int week, double secondsOfWeek);
/// Seconds of GPS week; the week goes to `*week` when it is not null.
double secondsOfWeek(const GpsTime& t, int* week);
int modifiedJulianDay(const GpsTime& t);
double secondsOfDay(const GpsTime& t);

/// Difference in seconds.
double operator-(const GpsTime& a, const GpsTime& b);
GpsTime operator+(const GpsTime& t, double seconds);

/// "2020-06-25 00:00:30.000"
std::string formatTime(const GpsTime& t, int decimals = 0);
/// With milliseconds.
std::ostream& operator<<(std::ostream& out, const GpsTime& t);

// ---- other scales ----

/// GPS time minus UTC, s, at a moment read on the UTC clock (IERS Bulletin C; 0 before July 1981).
int leapSecondsAtUtc(const GpsTime& utc);

/// A reading of the clock of a file, named as in RINEX, SP3 and SINEX headers, as GPS time:
/// "GPS", "GAL", "QZS", "IRN" and "" unchanged, "BDT"/"BDS" + 14 s, "TAI" - 19 s, "UTC"/"GLO" by leap
/// seconds. Nothing for an unknown name.
std::optional<GpsTime> gpsTimeOf(const GpsTime& reading, std::string_view scale);

/// Offset of BDT against GPS time, s: GPS = BDT + 14.
inline constexpr double kBdtOffset = 14.0;

}  // namespace gnx
