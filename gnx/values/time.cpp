// GPS time as seconds with a fraction: calendar, weeks, days of year and text.

#include "gnx/time.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ostream>

namespace gnx {

namespace {

constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kWeek = 604800;
constexpr std::int64_t kGpsEpoch = 315964800;  ///< 1980-01-06 00:00:00
constexpr int kMjdOf1970 = 40587;

std::int64_t floorDiv(std::int64_t a, std::int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }

/// Keeps the fraction in [0, 1), also when a tiny negative one rounds up to 1.
GpsTime normalised(std::int64_t seconds, double fraction) {
  const double whole = std::floor(fraction);
  GpsTime t{seconds + static_cast<std::int64_t>(whole), fraction - whole};
  if (t.fraction >= 1.0) {
    t.fraction = 0.0;
    ++t.seconds;
  }
  return t;
}

}  // namespace

GpsTime toGpsTime(const Calendar& c) {
  using namespace std::chrono;
  const sys_days day = year{c.year} / month{static_cast<unsigned>(c.month)} / std::chrono::day{1};
  const std::int64_t days = day.time_since_epoch().count() + c.day - 1;
  return normalised(days * kDay + c.hour * 3600 + c.minute * 60, c.second);
}

Calendar toCalendar(const GpsTime& t) {
  using namespace std::chrono;
  const std::int64_t day = floorDiv(t.seconds, kDay);
  const int second = static_cast<int>(t.seconds - day * kDay);
  const year_month_day date{sys_days{days{day}}};
  return {static_cast<int>(date.year()),
          static_cast<int>(static_cast<unsigned>(date.month())),
          static_cast<int>(static_cast<unsigned>(date.day())),
          second / 3600,
          second % 3600 / 60,
          second % 60 + t.fraction};
}

GpsTime fromWeek(int week, double secondsOfWeek) {
  return normalised(kGpsEpoch + week * kWeek, secondsOfWeek);
}

double secondsOfWeek(const GpsTime& t, int* week) {
  const std::int64_t since = t.seconds - kGpsEpoch;
  const std::int64_t count = floorDiv(since, kWeek);
  if (week != nullptr) *week = static_cast<int>(count);
  return static_cast<double>(since - count * kWeek) + t.fraction;
}

double operator-(const GpsTime& a, const GpsTime& b) {
  return static_cast<double>(a.seconds - b.seconds) + (a.fraction - b.fraction);
}

GpsTime operator+(const GpsTime& t, double seconds) {
  const double whole = std::floor(seconds);
  return normalised(t.seconds + static_cast<std::int64_t>(whole), t.fraction + (seconds - whole));
}

int modifiedJulianDay(const GpsTime& t) { return kMjdOf1970 + static_cast<int>(floorDiv(t.seconds, kDay)); }

double secondsOfDay(const GpsTime& t) {
  return static_cast<double>(t.seconds - floorDiv(t.seconds, kDay) * kDay) + t.fraction;
}

std::string formatTime(const GpsTime& t, int decimals) {
  const double unit = std::pow(10.0, decimals);
  // Rounded before the calendar is read, so that 59.9996 never prints as 60.000.
  const Calendar c = toCalendar(normalised(t.seconds, std::round(t.fraction * unit) / unit));
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%0*.*f", c.year, c.month, c.day, c.hour,
                c.minute, decimals > 0 ? decimals + 3 : 2, decimals, c.second);
  return text;
}

std::optional<GpsTime> parseDate(std::optional<int> year, std::optional<int> month, std::optional<int> day,
                                 std::optional<int> hour, std::optional<int> minute,
                                 std::optional<double> second) {
  if (!year || !month || !day || !hour || !minute || !second) return std::nullopt;
  if (*year < 1980 || *year > 2200 || *month < 1 || *month > 12 || *day < 1) return std::nullopt;
  using namespace std::chrono;
  const year_month_day date{std::chrono::year{*year}, std::chrono::month{static_cast<unsigned>(*month)},
                            std::chrono::day{static_cast<unsigned>(*day)}};
  if (!date.ok() || *hour < 0 || *hour > 24 || *minute < 0 || *minute > 59 || *second < 0.0 ||
      *second > 60.0) {
    return std::nullopt;
  }
  return toGpsTime({*year, *month, *day, *hour, *minute, *second});
}

std::ostream& operator<<(std::ostream& out, const GpsTime& t) { return out << formatTime(t, 3); }

}  // namespace gnx
