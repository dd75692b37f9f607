// Reads satellite rows of clock files in the columns of either version.

#include <algorithm>
#include <cmath>

#include "formats/product_records.h"
#include "formats/rinex_header.h"
#include "gnx/read.h"
#include "gnx/time.h"
#include "text/fields.h"

namespace gnx {

namespace {

class ClockReader {
 public:
  ClockReader(const std::string& path, ClockProduct& product) : m_reader(path), m_product(product) {}
  void read();

 private:
  void readHeader();
  void readRow(std::string_view line);

  TextReader m_reader;
  ClockProduct& m_product;
  std::string m_timeSystem;
  std::vector<std::string_view> m_words;
};

void ClockReader::read() {
  readHeader();
  std::string_view line;
  while (m_reader.next(line)) {
    if (trim(line).empty() || line.front() == ' ') continue;  // a second line holds rates, not used
    const std::string_view kind = line.substr(0, 3);
    if (kind == "AS ") {
      readRow(line);
    } else if (kind != "AR " && kind != "CR " && kind != "DR " && kind != "MS ") {
      m_reader.fail("line", "unknown kind '" + std::string(kind) + "'; the file is damaged here");
    }
  }
}

void ClockReader::readHeader() {
  readRinexVersion(m_reader, 'C', 2.0, 3.99, "a clock file of RINEX 2 or 3");
  std::string_view line;
  while (true) {
    if (!m_reader.next(line))
      m_reader.failAtEnd("file ends inside the header; it is truncated, fetch it again");
    // Version 3.04 moved the labels from column 61 to column 66, so they are searched for.
    if (line.find("END OF HEADER") != std::string_view::npos) return;
    if (line.substr(0, 3) == "AS ")
      m_reader.fail("header", "data begin before END OF HEADER; the header is damaged");
    m_product.header.emplace_back(line);
    if (m_product.agency.empty() && line.find("ANALYSIS CENTER") != std::string_view::npos)
      m_product.agency = trim(column(line, 0, 3));
    if (line.find("TIME SYSTEM ID") != std::string_view::npos) {
      m_timeSystem = trim(column(line, 0, 9));
      if (!gpsTimeOf({}, m_timeSystem)) m_reader.fail("TIME SYSTEM ID", "'" + m_timeSystem + "' is unknown");
    }
  }
}

/// "AS G01 2020 6 25 0 0 0.000000 2 value sigma": blanks separate, so that the columns, which moved
/// in version 3.04, do not matter.
void ClockReader::readRow(std::string_view line) {
  split(line, m_words);
  if (m_words.size() < 10) m_reader.fail("AS", "row has too few fields; the file is truncated or damaged");
  const auto sat = parseSat(m_words[1]);
  if (!sat) m_reader.fail("AS", "'" + std::string(m_words[1]) + "' is no satellite");
  const auto reading = parseDate(parseInt(m_words[2]), parseInt(m_words[3]), parseInt(m_words[4]),
                                 parseInt(m_words[5]), parseInt(m_words[6]), parseReal(m_words[7]));
  if (!reading) m_reader.fail("AS " + *sat, "no date and time; the file is damaged here");
  const auto count = parseInt(m_words[8]);
  const auto bias = parseReal(m_words[9]);
  const std::size_t onLine = static_cast<std::size_t>(std::clamp(count.value_or(0), 0, 2));
  if (onLine == 0 || !bias || !(std::fabs(*bias) < 10.0) || m_words.size() < 9 + onLine) {
    m_reader.fail("AS " + *sat, "no clock value in seconds; the file is truncated or damaged");
  }
  // Values are written with 12 decimals and an exponent: a shorter one at the very end is a stump.
  if (!m_reader.terminated() && (onLine == 1 ? m_words[9] : m_words[10]).size() < 18) {
    m_reader.fail("AS " + *sat, "file ends inside a number; it is truncated, fetch it again");
  }
  m_product.clocks[*sat].push_back({*gpsTimeOf(*reading, m_timeSystem), *bias});
}

/// The most frequent difference between neighbours, to the millisecond.
double commonInterval(const std::map<SatName, std::vector<ClockPoint>>& clocks) {
  std::map<long, long> count;
  for (const auto& [sat, points] : clocks) {
    for (std::size_t i = 1; i < points.size(); ++i) {
      ++count[std::lround((points[i].time - points[i - 1].time) * 1e3)];
    }
  }
  const auto most = std::max_element(count.begin(), count.end(),
                                     [](const auto& a, const auto& b) { return a.second < b.second; });
  return most == count.end() ? 0.0 : static_cast<double>(most->first) * 1e-3;
}

}  // namespace

ClockProduct readRinexClocks(const std::vector<std::string>& paths) {
  ClockProduct product;
  for (const std::string& path : paths) ClockReader(path, product).read();
  for (auto& [sat, points] : product.clocks) sortAndUnite(points);
  product.interval = commonInterval(product.clocks);
  return product;
}

}  // namespace gnx
