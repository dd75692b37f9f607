// Reads the attitudes of ORBEX files, and joins files of several days.

#include <cmath>
#include <optional>

#include "formats/product_records.h"
#include "gnx/read.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

constexpr double kLongestInterval_s = 86400.0;

class OrbexReader {
 public:
  OrbexReader(const std::string& path, AttitudeProduct& product) : m_reader(path), m_product(product) {}
  void read();

 private:
  void readLines();
  void readDescription(std::string_view line);
  void readEpoch(std::string_view line);
  void readAttitude(std::string_view line);

  TextReader m_reader;
  AttitudeProduct& m_product;
  std::vector<std::string_view> m_words;
  std::string m_timeSystem = "GPS";
  double m_interval = 0.0, m_shortest = kLongestInterval_s;
  std::optional<GpsTime> m_time;
  bool m_any = false;
};

void OrbexReader::read() {
  readLines();
  if (!m_any)
    m_reader.failAtEnd("holds no attitudes (records ATT); give the file of attitudes of the same centre");
  m_product.interval = std::max(m_product.interval, m_interval > 0.0 ? m_interval : m_shortest);
}

void OrbexReader::readLines() {
  std::string_view line;
  if (!m_reader.next(line)) m_reader.failAtEnd("file is empty");
  if (!line.starts_with("%=ORBEX"))
    m_reader.fail("", "is not an ORBEX file (first line does not begin with %=ORBEX)");
  std::string block;
  while (m_reader.next(line)) {
    if (line.starts_with("%END_ORBEX")) return m_reader.finish();
    if (line.empty() || line.front() == '*') continue;
    if (line.front() == '+') block = trim(line.substr(1));
    else if (line.front() == '-') block.clear();
    else if (block == "FILE/DESCRIPTION") readDescription(line);
    else if (block != "EPHEMERIS/DATA") continue;
    else if (line.starts_with("##")) readEpoch(line);
    else if (column(line, 1, 3) == "ATT") readAttitude(line);
  }
  m_reader.failAtEnd("file ends without %END_ORBEX; it is truncated, fetch it again");
}

void OrbexReader::readDescription(std::string_view line) {
  const std::string_view keyword = trim(column(line, 1, 19)), value = trim(column(line, 21, 80));
  if (keyword == "TIME_SYSTEM") {
    if (!gpsTimeOf({}, value)) m_reader.fail("TIME_SYSTEM", "'" + std::string(value) + "' is unknown");
    m_timeSystem = value;
  } else if (keyword == "EPOCH_INTERVAL") {
    const auto seconds = parseReal(value);  // or IRREGULAR
    if (seconds && *seconds > 0.0 && *seconds <= kLongestInterval_s) m_interval = *seconds;
  } else if (keyword == "FRAME_TYPE" && value != "ECEF") {
    m_reader.fail("FRAME_TYPE",
                  "'" + std::string(value) +
                      "' is not read: attitudes against inertial axes need the rotation of their "
                      "centre; give a file with ECEF");
  }
}

void OrbexReader::readEpoch(std::string_view line) {
  split(line.substr(2), m_words);
  const auto reading = m_words.size() < 6
                           ? std::nullopt
                           : parseDate(parseInt(m_words[0]), parseInt(m_words[1]), parseInt(m_words[2]),
                                       parseInt(m_words[3]), parseInt(m_words[4]), parseReal(m_words[5]));
  if (!reading) m_reader.fail("epoch", "is not a date and time; the file is damaged here");
  const auto time = gpsTimeOf(*reading, m_timeSystem);
  if (m_time && !(*time - *m_time > 0.0))
    m_reader.fail("epoch", "is not later than the one before; the file is damaged");
  if (m_time) m_shortest = std::min(m_shortest, *time - *m_time);
  m_time = time;
}

/// " ATT G01              4  q0 q1 q2 q3"; flags may stand before the number of values.
void OrbexReader::readAttitude(std::string_view line) {
  constexpr std::size_t kValues = 4;
  constexpr double kRounding = 1e-3;
  if (!m_time) m_reader.fail("ATT", "stands before the first epoch line; the file is damaged here");
  split(line, m_words);
  const auto sat = m_words.size() > 1 && m_words[1].size() == 3 ? parseSat(m_words[1]) : std::nullopt;
  if (!sat) return;  // the attitude of a receiver
  if (m_words.size() < kValues + 3 || parseInt(m_words[m_words.size() - kValues - 1]) != int{kValues})
    m_reader.fail(*sat, "the number of values and a quaternion of four expected; the file is damaged here");
  Quaternion q{};
  double square = 0.0;
  for (std::size_t i = 0; i < kValues; ++i) {
    const auto text = m_words[m_words.size() - kValues + i];
    const auto value = parseReal(text);
    if (!value) m_reader.fail(*sat, "'" + std::string(text) + "' is not a number");
    q[i] = *value;
    square += *value * *value;
  }
  if (square == 0.0) return;  // missing
  const double norm = std::sqrt(square);
  if (!(std::fabs(norm - 1.0) < kRounding))
    m_reader.fail(*sat, "is no quaternion of unit length; the file is damaged here");
  for (double& component : q) component /= norm;
  m_product.attitudes[*sat].push_back({*m_time, q});
  m_any = true;
}

}  // namespace

AttitudeProduct readOrbex(const std::vector<std::string>& paths) {
  AttitudeProduct product;
  for (const std::string& path : paths) OrbexReader(path, product).read();
  for (auto& [sat, points] : product.attitudes) sortAndUnite(points);
  return product;
}

}  // namespace gnx
