// Writes pole and UT1 in the layout that the engine reads.

#include "deployment/pole_table.h"

#include <erfa.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <ostream>
#include <sstream>
#include <string>

namespace gnx {

namespace {

constexpr double kMjdJ2000 = 51544.5;
constexpr int kFirstDay = 41317, kLastDay = 88069;  // 1972 to 2100
constexpr double kBefore_days = 40.0, kLeadOver_days = 30.0;

/// What the tides of five days to 18.6 years add to UT1, s (IERS Conventions 2010, table 8.1).
double zonalTides_s(std::string_view table, double mjd) {
  constexpr double kUnit_s = 1e-4, kUtcToTt_days = 69.184 / 86400.0;
  const double t = (mjd + kUtcToTt_days - kMjdJ2000) / 36525.0;
  const double argument[] = {eraFal03(t), eraFalp03(t), eraFaf03(t), eraFad03(t), eraFaom03(t)};
  std::istringstream lines{std::string(table)};
  double sum = 0.0;
  bool data = false;
  for (std::string line; std::getline(lines, line);) {
    if (!data) {
      data = line.find("--------") != std::string::npos;
      continue;
    }
    std::istringstream numbers(line);
    double angle = 0.0, multiplier = 0.0, sine = 0.0, cosine = 0.0;
    for (const double a : argument)
      if (numbers >> multiplier) angle += multiplier * a;
    if (numbers >> sine >> cosine) sum += sine * std::sin(angle) + cosine * std::cos(angle);
  }
  return sum * kUnit_s;
}

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
                                          double mjd, std::string_view zonalTides) {
  out << kFirstDay << ' ' << kLastDay
      << "   first and last MJD; rows: MJD, x and y of the pole (arcsec), UT1-UTC without zonal tides (s)\n";
  std::vector<EarthRotation> taken;
  std::copy_if(records.begin(), records.end(), std::back_inserter(taken),
               [&](const EarthRotation& r) { return r.mjd >= mjd - kBefore_days && r.mjd < kLastDay; });
  const auto secular = [&](double day) { writeRow(out, secularPole(day), 0.0); };
  secular(kFirstDay);
  if (!taken.empty() && taken.front().mjd - kLeadOver_days > kFirstDay)
    secular(taken.front().mjd - kLeadOver_days);
  for (const EarthRotation& r : taken) writeRow(out, r, r.ut1MinusUtc - zonalTides_s(zonalTides, r.mjd));
  if (!taken.empty() && taken.back().mjd + kLeadOver_days < kLastDay)
    secular(taken.back().mjd + kLeadOver_days);
  secular(kLastDay);
  return taken;
}

}  // namespace gnx
