// Coordinates of one station from a SINEX file, a set for every stretch of time that has one of its own.

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>
#include <optional>

#include "gnx/read.h"
#include "gnx/time.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

constexpr std::int64_t kFarAway = std::int64_t{1} << 40;
constexpr double kYear_s = 365.25 * 86400.0;

class StationReader {
 public:
  StationReader(const std::string& path, std::string_view station)
      : m_reader(path), m_station(trim(station.substr(0, 4))) {
    std::ranges::transform(m_station, m_station.begin(), [](unsigned char c) { return std::toupper(c); });
  }
  std::vector<StationPosition> read();

 private:
  /// Of a point and a solution number.
  struct Set {
    StationPosition station;
    int axes = 0;  ///< coordinates that are there, a bit for each
  };

  void readLines();
  void readSpan(std::string_view line);
  void readEstimate(std::string_view line);
  Set& setOf(std::string_view line, std::size_t code);
  GpsTime readTime(std::string_view text, const char* field, std::int64_t open) const;

  TextReader m_reader;
  std::string m_station;
  std::map<std::string, Set> m_sets;
};

std::vector<StationPosition> StationReader::read() {
  readLines();
  std::vector<StationPosition> stations;
  constexpr int kAllAxes = 7;
  for (auto& [key, set] : m_sets)
    if (set.axes == kAllAxes) stations.push_back(set.station);
  if (stations.empty())
    m_reader.failAtEnd("holds no coordinates of station " + m_station +
                       "; check the four characters of its name, or give another file");
  return stations;
}

void StationReader::readLines() {
  std::string_view line;
  if (!m_reader.next(line)) m_reader.failAtEnd("file is empty");
  if (!line.starts_with("%=SNX"))
    m_reader.fail("", "is not a SINEX file (first line does not begin with %=SNX); give station coordinates");
  std::string block;
  while (m_reader.next(line)) {
    if (line.starts_with("%ENDSNX")) return m_reader.finish();
    if (line.empty() || line.front() == '*') continue;
    if (line.front() == '+') block = trim(line.substr(1));
    else if (line.front() == '-') block.clear();
    else if (block == "SOLUTION/EPOCHS" && trim(column(line, 1, 4)) == m_station) readSpan(line);
    else if (block == "SOLUTION/ESTIMATE" && trim(column(line, 14, 4)) == m_station) readEstimate(line);
  }
  m_reader.failAtEnd("file ends without %ENDSNX; it is truncated, fetch it again");
}

/// \param code  column of the station's name, with which point and solution number follow
StationReader::Set& StationReader::setOf(std::string_view line, std::size_t code) {
  Set& set = m_sets[std::string(column(line, code + 5, 7))];
  set.station.station = m_station;
  return set;
}

void StationReader::readSpan(std::string_view line) {
  StationPosition& station = setOf(line, 1).station;
  station.from = readTime(column(line, 16, 12), "data start", -kFarAway);
  station.until = readTime(column(line, 29, 12), "data end", kFarAway);
}

void StationReader::readEstimate(std::string_view line) {
  const std::string_view type = trim(column(line, 7, 6));
  const bool isVelocity = type.starts_with("VEL");
  if (type.size() != 4 || !(isVelocity || type.starts_with("STA")) || type[3] < 'X' || type[3] > 'Z') return;
  const auto axis = static_cast<std::size_t>(type[3] - 'X');
  const auto value = parseReal(column(line, 47, 21));
  if (!value || !(std::fabs(*value) < (isVelocity ? 10.0 : 1e7)))
    m_reader.fail(m_station + " " + std::string(type),
                  "'" + std::string(trim(column(line, 47, 21))) + "' is no coordinate of a station");
  Set& set = setOf(line, 14);
  if (isVelocity) {
    set.station.hasVelocity = true;
    set.station.velocity[axis] = *value;
    return;
  }
  set.station.position[axis] = *value;
  set.axes |= 1 << axis;
  set.station.epoch = readTime(column(line, 27, 12), "epoch", 0);
}

/// "20:316:43200"; all zeros leave an end open.
GpsTime StationReader::readTime(std::string_view text, const char* field, std::int64_t open) const {
  const auto year = parseInt(column(text, 0, 2)), day = parseInt(column(text, 3, 3)),
             second = parseInt(column(text, 7, 5));
  const bool inRange =
      year && day && second && *year >= 0 && *day >= 0 && *day <= 366 && *second >= 0 && *second <= 86400;
  if (!inRange) m_reader.fail(field, "'" + std::string(text) + "' is not yy:ddd:sssss");
  if (*year == 0 && *day == 0) return {open, 0.0};
  constexpr int kTwoDigits = 50;  // up to here 20xx
  const int full = *year + (*year <= kTwoDigits ? 2000 : 1900);
  return toGpsTime({full, 1, 1, 0, 0, 0.0}) + ((*day - 1) * 86400.0 + *second);
}

/// Seconds from the stretch of time of a set, 0 inside.
double distance(const StationPosition& station, const GpsTime& t) {
  if (t < station.from) return station.from - t;
  return station.until < t ? t - station.until : 0.0;
}

}  // namespace

Vector3 StationPosition::at(const GpsTime& t) const {
  Vector3 moved = position;
  for (std::size_t i = 0; i < 3; ++i) moved[i] += velocity[i] * ((t - epoch) / kYear_s);
  return moved;
}

StationPosition readSinexStation(const std::string& path, const std::string& station, const GpsTime& t) {
  const std::vector<StationPosition> all = StationReader(path, station).read();
  const auto nearest =
      std::ranges::min_element(all, {}, [&](const StationPosition& s) { return distance(s, t); });
  if (!nearest->hasVelocity && std::fabs(t - nearest->epoch) > kYear_s)
    throw InputError(
        path, 0,
        "coordinates of station " + nearest->station + " are of " + formatTime(nearest->epoch).substr(0, 10) +
            ", more than a year from the observations, and have no velocity; give a file of their time");
  return *nearest;
}

}  // namespace gnx
