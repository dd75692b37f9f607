/// \file time.cpp
/// Calendar and time-scale conversions on the boundary time type: whole seconds since
/// 1970-01-01 00:00:00 and a fraction in [0, 1). No function keeps state but the per-thread text
/// buffer of time_str; all may be called from any thread.

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "GNX_IO.h"

namespace GNX_IO {
namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kSecondsPerWeek = 7 * kSecondsPerDay;
constexpr std::int64_t kGpsEpoch = 315964800;  // 1980-01-06

/// Days since 1970-01-01 of a date of the proleptic Gregorian calendar. Years are counted from
/// March, so that the leap day ends a year and the month lengths follow one linear rule.
constexpr std::int64_t daysFromCivil(std::int64_t year, int month, int day) {
  year -= month <= 2 ? 1 : 0;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t yearOfEra = year - era * 400;
  const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}
static_assert(daysFromCivil(1970, 1, 1) == 0);
static_assert(daysFromCivil(1980, 1, 6) * kSecondsPerDay == kGpsEpoch);

struct Civil {
  std::int64_t year;
  int month, day;
};

constexpr Civil civilFromDays(std::int64_t days) {
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const std::int64_t dayOfEra = days - era * 146097;
  const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
  const int month = static_cast<int>(monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9);
  return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month,
          static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1)};
}

constexpr std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
  const std::int64_t q = a / b;
  return q * b > a ? q - 1 : q;
}

struct LeapSecond {
  std::int64_t utc;  // first second with the offset
  int gpsMinusUtc;
};

constexpr LeapSecond leap(int year, int month, int gpsMinusUtc) {
  return {daysFromCivil(year, month, 1) * kSecondsPerDay, gpsMinusUtc};
}

/// IERS Bulletin C, newest first.
constexpr std::array kLeapSeconds{leap(2017, 1, 18), leap(2015, 7, 17), leap(2012, 7, 16), leap(2009, 1, 15),
                                  leap(2006, 1, 14), leap(1999, 1, 13), leap(1997, 7, 12), leap(1996, 1, 11),
                                  leap(1994, 7, 10), leap(1993, 7, 9),  leap(1992, 7, 8),  leap(1991, 1, 7),
                                  leap(1990, 1, 6),  leap(1988, 1, 5),  leap(1985, 7, 4),  leap(1983, 7, 3),
                                  leap(1982, 7, 2),  leap(1981, 7, 1)};

}  // namespace

gtime_t epoch2time(const double* ep) {
  constexpr double kMaxYear = 1e6;  // beyond any use, and far from overflow
  for (int i = 0; i < 6; ++i) {
    if (!std::isfinite(ep[i]) || std::fabs(ep[i]) > kMaxYear) return {0, 0.0};
  }
  const int month = static_cast<int>(ep[1]);
  if (month < 1 || month > 12) return {0, 0.0};
  const double whole = std::floor(ep[5]);
  const std::int64_t days = daysFromCivil(static_cast<std::int64_t>(ep[0]), month, static_cast<int>(ep[2]));
  return {days * kSecondsPerDay + static_cast<std::int64_t>(ep[3]) * 3600 +
              static_cast<std::int64_t>(ep[4]) * 60 + static_cast<std::int64_t>(whole),
          ep[5] - whole};
}

void time2epoch(gtime_t t, double* ep) {
  const std::int64_t day = floorDiv(t.time, kSecondsPerDay);
  const std::int64_t sod = t.time - day * kSecondsPerDay;
  const Civil date = civilFromDays(day);
  ep[0] = static_cast<double>(date.year);
  ep[1] = date.month;
  ep[2] = date.day;
  const std::int64_t hour = sod / 3600, minute = sod % 3600 / 60;
  ep[3] = static_cast<double>(hour);
  ep[4] = static_cast<double>(minute);
  ep[5] = static_cast<double>(sod % 60) + t.sec;
}

double time2gpst(gtime_t t, int* week) {
  const std::int64_t sinceEpoch = t.time - kGpsEpoch;
  const std::int64_t w = floorDiv(sinceEpoch, kSecondsPerWeek);
  if (week != nullptr) *week = static_cast<int>(w);
  // The whole seconds are split off first: the fraction keeps its full precision.
  return static_cast<double>(sinceEpoch - w * kSecondsPerWeek) + t.sec;
}

gtime_t gpst2utc(gtime_t t) {
  for (const LeapSecond& step : kLeapSeconds) {
    const std::int64_t utc = t.time - step.gpsMinusUtc;
    if (utc >= step.utc) return {utc, t.sec};
  }
  return t;
}

double timediff(gtime_t t1, gtime_t t2) { return static_cast<double>(t1.time - t2.time) + (t1.sec - t2.sec); }

char* time_str(gtime_t t, int n) {
  thread_local std::array<char, 64> buffer;
  const int decimals = n < 0 ? 0 : n > 12 ? 12 : n;
  // Round before splitting, so that 59.9996 with three decimals reads as the next minute.
  const double half = 0.5 * std::pow(10.0, -decimals);
  if (1.0 - t.sec < half) t = {t.time + 1, 0.0};
  double ep[6];
  time2epoch(t, ep);
  std::snprintf(buffer.data(), buffer.size(), "%04.0f/%02.0f/%02.0f %02.0f:%02.0f:%0*.*f", ep[0], ep[1],
                ep[2], ep[3], ep[4], decimals > 0 ? decimals + 3 : 2, decimals, ep[5]);
  return buffer.data();
}

unsigned tickget() {
  using namespace std::chrono;
  return static_cast<unsigned>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

}  // namespace GNX_IO
