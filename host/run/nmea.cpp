// Writes sentences of NMEA 0183.

#include "run/nmea.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <vector>

#include "gnx/geodesy.h"
#include "gnx/time.h"
#include "run/solution_files.h"
#include "text/fields.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr double kDegrees = 180.0 / std::numbers::pi;

/// GPS minus UTC in whole seconds at a GPS time.
int gpsMinusUtc(const GpsTime& t) { return leapSecondsAtUtc(t + -leapSecondsAtUtc(t)); }

/// UTC; hundredths are rounded before the split, so that 59.996 s carries into the minute.
Calendar utcOf(const GpsTime& time) {
  Calendar c = toCalendar(time + (0.005 - gpsMinusUtc(time)));
  c.second = std::floor(c.second * 100.0) / 100.0;
  return c;
}

std::string timeText(const Calendar& c) { return printed("%02d%02d%05.2f", c.hour, c.minute, c.second); }

/// Degrees and minutes, minutes with 7 decimals; rounding never shows 60 minutes.
std::string angleText(double degrees, int width) {
  const double a = std::abs(degrees);
  long long units = std::llround(a * 60.0 * 1e7);
  const long long perDegree = 60LL * 10000000LL;
  const long long whole = units / perDegree;
  units %= perDegree;
  return printed("%0*lld%02lld.%07lld", width, whole, units / 10000000LL, units % 10000000LL);
}

/// "4807.0380000,N,01131.0000000,E"
std::string placeText(const Geodetic& g) {
  return angleText(g.latitude * kDegrees, 2) + (g.latitude < 0.0 ? ",S," : ",N,") +
         angleText(g.longitude * kDegrees, 3) + (g.longitude < 0.0 ? ",W" : ",E");
}

std::string sentence(const std::string& body) {
  unsigned sum = 0;
  for (const char ch : body) sum ^= static_cast<unsigned char>(ch);
  return "$" + body + printed("*%02X\r\n", sum);
}

/// Covariance of east, north, up, m^2.
std::array<Vector3, 3> localCovariance(const SolutionEpoch& e, const Geodetic& place) {
  const auto& c = e.covariance;
  const std::array<Vector3, 3> earth = {{{c[0], c[3], c[5]}, {c[3], c[1], c[4]}, {c[5], c[4], c[2]}}};
  std::array<Vector3, 3> half{}, local{};
  for (std::size_t i = 0; i < 3; ++i) half[i] = toEastNorthUp(earth[i], place);
  for (std::size_t i = 0; i < 3; ++i) {
    const Vector3 column = toEastNorthUp({half[0][i], half[1][i], half[2][i]}, place);
    for (std::size_t k = 0; k < 3; ++k) local[k][i] = column[k];
  }
  return local;
}

double rootOf(double square) { return std::sqrt(std::max(square, 0.0)); }

/// Letter of a system and the number by which NMEA 4.11 names it.
const std::map<char, int>& systemNumbers() {
  static const std::map<char, int> numbers = {{'G', 1}, {'R', 2}, {'E', 3}, {'C', 4}, {'J', 5}};
  return numbers;
}

bool isUsed(const SatelliteSolution& sat) {
  return std::ranges::any_of(
      sat.bands, [](const BandSolution& b) { return b.code.fate == "used" || b.phase.fate == "used"; });
}

}  // namespace

std::string ggaSentence(const SolutionEpoch& epoch) {
  const Geodetic g = toGeodetic(epoch.xyz);
  const int quality = epoch.status == kFixedStatus ? 4 : epoch.status == 1 ? 1 : 5;
  return sentence(
      "GPGGA," + timeText(utcOf(epoch.time)) + "," + placeText(g) +
      printed(",%d,%02d,%.1f,%.3f,M,%.3f,M,,", quality, satelliteCount(epoch), epoch.pdop, g.height, 0.0));
}

std::string gstSentence(const SolutionEpoch& epoch) {
  const auto c = localCovariance(epoch, toGeodetic(epoch.xyz));
  const double middle = 0.5 * (c[0][0] + c[1][1]), difference = 0.5 * (c[0][0] - c[1][1]);
  const double radius = std::hypot(difference, c[0][1]);
  // Direction of the long axis from north; north is the second coordinate.
  double axis_deg = 0.5 * std::atan2(2.0 * c[0][1], c[1][1] - c[0][0]) * kDegrees;
  if (axis_deg < 0.0) axis_deg += 180.0;
  return sentence("GNGST," + timeText(utcOf(epoch.time)) +
                  printed(",%.3f,%.4f,%.4f,%.1f,%.4f,%.4f,%.4f", epoch.sigma0, rootOf(middle + radius),
                          rootOf(middle - radius), axis_deg, rootOf(c[1][1]), rootOf(c[0][0]),
                          rootOf(c[2][2])));
}

std::string gsaSentences(const Solution& solution) {
  constexpr std::size_t kPlaces = 12;
  std::map<char, std::vector<int>> used;
  for (const SatelliteSolution& sat : solution.satellites)
    if (isUsed(sat)) used[sat.sat[0]].push_back(parseInt(sat.sat.substr(1)).value_or(0));
  const std::string dops =
      printed(",%.1f,%.1f,%.1f", solution.dop.position, solution.dop.horizontal, solution.dop.vertical);
  std::string text;
  for (const auto& [letter, number] : systemNumbers()) {
    const std::vector<int>& sats = used[letter];
    for (std::size_t from = 0; from < sats.size(); from += kPlaces) {
      std::string body = "GNGSA,A,3";
      for (std::size_t i = from; i < from + kPlaces; ++i)
        body += i < sats.size() ? printed(",%02d", sats[i] + (letter == 'R' ? 64 : 0)) : ",";
      text += sentence(body + dops + printed(",%d", number));
    }
  }
  return text;
}

std::string zdaSentence(const GpsTime& time) {
  const Calendar c = utcOf(time);
  return sentence("GNZDA," + timeText(c) + printed(",%02d,%02d,%04d,00,00", c.day, c.month, c.year));
}

std::string rmcSentence(const SolutionEpoch& epoch, const SolutionEpoch* before) {
  constexpr double kLongest_s = 5.0, kKnot = 1852.0 / 3600.0;
  const Geodetic g = toGeodetic(epoch.xyz);
  const Calendar c = utcOf(epoch.time);
  std::string motion = ",,";
  const double passed = before == nullptr ? 0.0 : epoch.time - before->time;
  if (passed > 0.0 && passed <= kLongest_s) {
    Vector3 difference{};
    for (std::size_t i = 0; i < 3; ++i) difference[i] = epoch.xyz[i] - before->xyz[i];
    const Vector3 enu = toEastNorthUp(difference, g);
    double course_deg = std::atan2(enu[0], enu[1]) * kDegrees;
    if (course_deg < 0.0) course_deg += 360.0;
    motion = printed(",%.3f,%.1f", std::hypot(enu[0], enu[1]) / passed / kKnot, course_deg);
  }
  const char mode = epoch.status == kFixedStatus ? 'R' : epoch.status == 1 ? 'A' : 'F';
  return sentence("GNRMC," + timeText(c) + ",A," + placeText(g) + motion +
                  printed(",%02d%02d%02d,,,%c,V", c.day, c.month, c.year % 100, mode));
}

}  // namespace gnx
