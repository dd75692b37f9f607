#pragma once
/// \file ComTime.h
/// Time: an epoch is (integer MJD, seconds of day), GPS time unless said otherwise.

#include <ctime>
#include <string>

namespace tarvio {

/// The wall clock, Unix seconds. The only reader of the clock in the library: it goes through
/// time(), which a replaying host interposes, unless the host has set the clock.
long s_wallClock();
/// What the clock shows from now on, Unix seconds; 0: time() again.
void s_setWallClock(long seconds);

/// Modified Julian day of a calendar date; month 0 makes `day` a day of year. Ends the process on
/// nonsense arguments.
int md_julday(int year, int month, int day);
/// GPS week and day of week. Year 0: `day` is an MJD. Month 0: `day` is a day of year.
void gpsweek(int year, int month, int day, int* week, int* wd);
void mjd2doy(int mjd, int* year, int* doy);
/// Calendar reading; hour, minute, second may be null.
void mjd2date(int mjd, double sod, int* year, int* month, int* day, int* hour, int* minute, double* second);
void yeardoy2monthday(int year, int doy, int* month, int* day);
/// Two-digit year to four digits in place.
void yr2year(int& year);
/// Adds `inc` seconds; the resulting seconds of day lie in [0, 86400).
void timinc(int mjd, double sod, double inc, int* mjd1, double* sod1);
/// (mjd1, sod1) - (mjd0, sod0), seconds.
double timdif(int mjd1, double sod1, int mjd0, double sod0);
void mjd2wksow(int mjd, double sod, int* week, double* sow);
void wksow2mjd(int week, double sow, int* mjd, double* sod);
/// Unix seconds to (mjd, sod), no leap seconds.
void time2mjd(long time, int* mjd, double* sod);
/// (mjd, sod) to Unix seconds, floored; 0 outside 1970 to 2099.
std::time_t mjd2time(int mjd, double sod);
/// The wall clock in GPS time.
void cur_time(int* mjd, double* sod);
std::string runtime();                         ///< wall clock as GPS time, "yyyy-mm-dd hh:mm:ss"
std::string runlocaltime();                    ///< wall clock as local time, the same form
std::string run_timefmt(int mjd, double sod);  ///< "yyyy-mm-dd/hh:mm:ss"
std::string run_timefmt(std::time_t time);
/// Moves a broadcast time stamp of satellite `cprn` to GPS time.
void brdtime(const char* cprn, int* mjd, double* sod);

}  // namespace tarvio
