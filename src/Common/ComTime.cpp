// Calendar, weeks, days and seconds of epochs, and the wall clock.

#include "Common/ComTime.h"

#include <atomic>
#include <cmath>
#include <cstdio>

#include "Common/Constants.h"
#include "Common/Fatal.h"
#include "Common/Taiutc.h"

namespace tarvio {

namespace {

constexpr int kMjdUnix = 40587;   ///< 1970-01-01
constexpr int kMjd2100 = 88069;   ///< 2100-01-01
constexpr int kMjdGps = 44244;    ///< 1980-01-06
constexpr double kTaiGps = 19.0;  ///< TAI - GPS time, s
constexpr double kBdsGps = 14.0;  ///< GPS time - BDS time, s

constexpr int kDaysBefore[2][13] = {{0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
                                    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366}};

int s_isLeap(int year) { return ((year % 4 == 0 && year % 100 != 0) || year % 400 == 0) ? 1 : 0; }

int s_floorDiv(long a, long b) {
  const long q = a / b;
  return static_cast<int>(a % b < 0 ? q - 1 : q);
}

std::string s_stamp(char separator, int year, int month, int day, int hour, int minute, int second) {
  char text[96];
  std::snprintf(text, sizeof text, "%02d-%02d-%02d%c%02d:%02d:%02d", year, month, day, separator, hour,
                minute, second);
  return text;
}

std::string s_stamp(char separator, int mjd, double sod) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0;
  double second = 0.0;
  mjd2date(mjd, sod, &year, &month, &day, &hour, &minute, &second);
  return s_stamp(separator, year, month, day, hour, minute, static_cast<int>(second));
}

std::string s_stamp(char separator, const std::tm& t) {
  return s_stamp(separator, t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec);
}

std::atomic<long> s_clockOfHost = 0;

}  // namespace

long s_wallClock() {
  const long set = s_clockOfHost.load(std::memory_order_relaxed);
  return set != 0 ? set : ::time(nullptr);
}

void s_setWallClock(long seconds) { s_clockOfHost = seconds; }

int md_julday(int year, int month, int day) {
  if (year < 0 || day > 366 || month > 12 || month < 0 || (month != 0 && day >= 32)) {
    s_fatal(__func__, __LINE__, "iyear = %d,imonth = %d,iday = %d,incorrect argument\n", year, month, day);
  }
  const int y = month < 3 ? year - 1 : year;
  // With January and February counted to the year before, its leap day is not yet in y/4, and 365
  // days of the running year are in 365*year already: the common table serves every month.
  const int before = month == 0 ? 0 : kDaysBefore[0][month - 1];
  return 365 * year + y / 4 - y / 100 + y / 400 + day - 678941 + before;
}

void gpsweek(int year, int month, int day, int* week, int* wd) {
  const int mjd = year == 0 ? day : md_julday(year, month, day);
  *week = s_floorDiv(mjd - kMjdGps, 7);
  *wd = mjd - kMjdGps - *week * 7;
}

void mjd2doy(int mjd, int* year, int* doy) {
  int y = s_floorDiv(4L * (mjd + 678941L), 1461);
  if (y < 0) y = 0;
  while (y > 0 && md_julday(y, 1, 1) > mjd) --y;
  while (md_julday(y + 1, 1, 1) <= mjd) ++y;
  *year = y;
  *doy = mjd - md_julday(y, 1, 1) + 1;
}

void mjd2date(int mjd, double sod, int* year, int* month, int* day, int* hour, int* minute, double* second) {
  int doy = 0;
  mjd2doy(mjd, year, &doy);
  yeardoy2monthday(*year, doy, month, day);
  const int h = static_cast<int>(sod / 3600.0);
  const int m = static_cast<int>((sod - h * 3600.0) / 60.0);
  if (hour != nullptr) *hour = h;
  if (minute != nullptr) *minute = m;
  if (second != nullptr) *second = sod - h * 3600.0 - m * 60.0;
}

void yeardoy2monthday(int year, int doy, int* month, int* day) {
  const int* before = kDaysBefore[s_isLeap(year)];
  int m = 1;
  while (m < 12 && doy > before[m]) ++m;
  *month = m;
  *day = doy - before[m - 1];
}

void yr2year(int& year) {
  if (year < 1901) year += year < 31 ? 2000 : 1900;
}

void timinc(int mjd, double sod, double inc, int* mjd1, double* sod1) {
  const double total = sod + inc;
  const double days = std::floor(total / kDay);
  *mjd1 = mjd + static_cast<int>(days);
  *sod1 = total - days * kDay;
  // The division may round across a day boundary, and a tiny negative total may round up to a day.
  if (*sod1 >= kDay) {
    *sod1 -= kDay;
    ++*mjd1;
  } else if (*sod1 < 0.0) {
    *sod1 += kDay;
    --*mjd1;
  }
}

double timdif(int mjd1, double sod1, int mjd0, double sod0) { return (mjd1 - mjd0) * kDay + sod1 - sod0; }

void mjd2wksow(int mjd, double sod, int* week, double* sow) {
  const int w = s_floorDiv(mjd - kMjdGps, 7);
  if (week != nullptr) *week = w;
  if (sow != nullptr) *sow = (mjd - kMjdGps - w * 7) * kDay + sod;
}

void wksow2mjd(int week, double sow, int* mjd, double* sod) {
  const int day = static_cast<int>(std::floor(sow / kDay));
  if (mjd != nullptr) *mjd = kMjdGps + week * 7 + day;
  if (sod != nullptr) *sod = sow - day * kDay;
}

void time2mjd(long time, int* mjd, double* sod) {
  const int day = s_floorDiv(time, 86400);
  *mjd = kMjdUnix + day;
  *sod = static_cast<double>(time - day * 86400L);
}

std::time_t mjd2time(int mjd, double sod) {
  if (mjd < kMjdUnix || mjd >= kMjd2100 || !(std::fabs(sod) < 1.0e9)) return 0;
  return (mjd - kMjdUnix) * 86400L + static_cast<long>(std::floor(sod));
}

void cur_time(int* mjd, double* sod) {
  int day = 0;
  double second = 0.0;
  time2mjd(s_wallClock(), &day, &second);
  timinc(day, second, Taiutc::s_getInstance().m_nearestTaiutc(day) - kTaiGps, mjd, sod);
}

std::string runtime() {
  int mjd = 0;
  double sod = 0.0;
  cur_time(&mjd, &sod);
  return s_stamp(' ', mjd, sod);
}

std::string runlocaltime() {
  const std::time_t now = s_wallClock();
  std::tm local{};
  localtime_r(&now, &local);
  return s_stamp(' ', local);
}

std::string run_timefmt(int mjd, double sod) { return s_stamp('/', mjd, sod); }

std::string run_timefmt(std::time_t time) {
  std::tm utc{};
  gmtime_r(&time, &utc);
  return s_stamp('/', utc);
}

void brdtime(const char* cprn, int* mjd, double* sod) {
  double shift = 0.0;
  if (cprn[0] > 'A' && cprn[0] < 'D') {
    shift = kBdsGps;
  } else if (cprn[0] == 'R') {
    shift = Taiutc::s_getInstance().m_getTaiutc(*mjd) - kTaiGps;
  } else {
    return;
  }
  timinc(*mjd, *sod, shift, mjd, sod);
}

}  // namespace tarvio
