// Steps of UTC since 1981, and the fixed distances of the systems' time scales.

#include <array>

#include "gnx/time.h"

namespace gnx {

namespace {

struct Step {
  int year, month;  ///< from the first of this month on
};

/// IERS Bulletin C: every entry adds one second.
constexpr std::array<Step, 18> kSteps = {{{1981, 7},
                                          {1982, 7},
                                          {1983, 7},
                                          {1985, 7},
                                          {1988, 1},
                                          {1990, 1},
                                          {1991, 1},
                                          {1992, 7},
                                          {1993, 7},
                                          {1994, 7},
                                          {1996, 1},
                                          {1997, 7},
                                          {1999, 1},
                                          {2006, 1},
                                          {2009, 1},
                                          {2012, 7},
                                          {2015, 7},
                                          {2017, 1}}};

}  // namespace

int leapSecondsAtUtc(const GpsTime& utc) {
  const Calendar c = toCalendar(utc);
  int count = 0;
  for (const Step& s : kSteps) {
    if (c.year > s.year || (c.year == s.year && c.month >= s.month)) ++count;
  }
  return count;
}

std::optional<GpsTime> gpsTimeOf(const GpsTime& reading, std::string_view scale) {
  if (scale.empty() || scale == "GPS" || scale == "GAL" || scale == "QZS" || scale == "IRN") return reading;
  if (scale == "BDT" || scale == "BDS") return reading + kBdtOffset;
  if (scale == "TAI") return reading + -19.0;
  if (scale == "UTC" || scale == "GLO") return reading + leapSecondsAtUtc(reading);
  return std::nullopt;
}

}  // namespace gnx
