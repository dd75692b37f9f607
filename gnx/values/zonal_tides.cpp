// Sums the zonal tides of the built-in table.

#include "values/zonal_tides.h"

#include <erfa.h>

#include <array>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>

#include "deployment/built_in_files.h"

namespace gnx {

namespace {

constexpr double kMjdJ2000 = 51544.5, kCentury_days = 36525.0;

/// Delaunay arguments, rad: anomalies of Moon and Sun, argument of latitude, elongation, node of the Moon.
std::array<double, 5> arguments(double mjd) {
  constexpr double kUtcToTt_days = 69.184 / 86400.0;
  const double t = (mjd + kUtcToTt_days - kMjdJ2000) / kCentury_days;
  return {eraFal03(t), eraFalp03(t), eraFaf03(t), eraFad03(t), eraFaom03(t)};
}

double sum(double mjd, double longest_days) {
  constexpr double kUnit_s = 1e-4;
  constexpr double kRates[] = {13.06499295, 0.98560028, 13.22935024, 12.19074912, -0.05295377};  // deg/day
  const std::array<double, 5> argument = arguments(mjd);
  std::istringstream lines{std::string(builtInFiles().at("ut1t10.txt"))};
  double total = 0.0;
  bool data = false;
  for (std::string line; std::getline(lines, line);) {
    if (!data) {
      data = line.find("--------") != std::string::npos;
      continue;
    }
    std::istringstream numbers(line);
    double angle = 0.0, rate = 0.0, multiplier = 0.0, sine = 0.0, cosine = 0.0;
    for (std::size_t i = 0; i < argument.size(); ++i)
      if (numbers >> multiplier) {
        angle += multiplier * argument[i];
        rate += multiplier * kRates[i];
      }
    const bool counts = std::fabs(rate) * longest_days > 360.0;
    if (numbers >> sine >> cosine && counts) total += sine * std::sin(angle) + cosine * std::cos(angle);
  }
  return total * kUnit_s;
}

}  // namespace

double zonalTides_s(double mjd) { return sum(mjd, std::numeric_limits<double>::max()); }
double shortZonalTides_s(double mjd) {
  constexpr double kLongest_days = 36.0;  // the next ones take 90
  return sum(mjd, kLongest_days);
}

}  // namespace gnx
