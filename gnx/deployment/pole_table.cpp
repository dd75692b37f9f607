// Writes pole and UT1 in the layout that the engine reads.

#include "deployment/pole_table.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <ostream>

#include "values/zonal_tides.h"

namespace gnx {

namespace {

constexpr double kMjdJ2000 = 51544.5;
constexpr int kFirstDay = 41317, kLastDay = 88069;  // 1972 to 2100
constexpr double kBefore_days = 40.0, kLeadOver_days = 30.0;

void writeRow(std::ostream& out, const EarthRotation& r, double ut1) {
  char line[80];
  std::snprintf(line, sizeof line, "%9.2f %10.6f %10.6f %11.7f\n", r.mjd, r.x, r.y, ut1);
  out << line;
}

}  // namespace

EarthRotation secularPole(double mjd) {
  const double years = (mjd - kMjdJ2000) / 365.25;
  return {mjd, (55.0 + 1.677 * years) * 1e-3, (320.5 + 3.460 * years) * 1e-3, 0.0};
}

std::vector<EarthRotation> writePoleTable(std::ostream& out, const std::vector<EarthRotation>& records,
                                          double mjd) {
  out << kFirstDay << ' ' << kLastDay
      << "   first and last MJD; rows: MJD, x and y of the pole (arcsec), UT1-UTC without zonal tides (s)\n";
  std::vector<EarthRotation> taken;
  std::copy_if(records.begin(), records.end(), std::back_inserter(taken),
               [&](const EarthRotation& r) { return r.mjd >= mjd - kBefore_days && r.mjd < kLastDay; });
  const auto secular = [&](double day) { writeRow(out, secularPole(day), 0.0); };
  secular(kFirstDay);
  if (!taken.empty() && taken.front().mjd - kLeadOver_days > kFirstDay)
    secular(taken.front().mjd - kLeadOver_days);
  for (const EarthRotation& r : taken) writeRow(out, r, r.ut1MinusUtc - zonalTides_s(r.mjd));
  if (!taken.empty() && taken.back().mjd + kLeadOver_days < kLastDay)
    secular(taken.back().mjd + kLeadOver_days);
  secular(kLastDay);
  return taken;
}

}  // namespace gnx
