// Reads positions and clocks of precise orbit files, and joins files of several days.

#include <algorithm>
#include <cmath>
#include <optional>

#include "formats/product_records.h"
#include "gnx/read.h"
#include "gnx/time.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

constexpr double kNoClock = 999999.0;              ///< microseconds
constexpr double kNearest = 1e6, kFarthest = 1e9;  ///< m from the geocentre

class Sp3Reader {
 public:
  Sp3Reader(const std::string& path, Sp3Product& product) : m_reader(path), m_product(product) {}
  void read();

 private:
  void readHeader();
  void readHeaderLine(std::string_view line);
  void readEpoch(std::string_view line);
  void readPosition(std::string_view line);
  void finish(bool closed);

  TextReader m_reader;
  Sp3Product& m_product;
  std::string m_timeSystem = "GPS";
  int m_announced = 0, m_epochs = 0, m_controlLines = 0;
  double m_interval = 0.0;
  std::optional<GpsTime> m_time;
};

void Sp3Reader::read() {
  readHeader();
  std::string_view line;
  bool closed = false;
  while (!closed && m_reader.next(line)) {
    if (line.empty()) continue;
    switch (line.front()) {
      case '*':
        readEpoch(line);
        break;
      case 'P':
        readPosition(line);
        break;
      case 'V':
        break;
      case 'E':
        closed = line.substr(0, 3) == "EOF";
        if (!closed && line.substr(0, 2) != "EP" && line.substr(0, 2) != "EV") {
          m_reader.fail("line",
                        "unknown kind '" + std::string(line.substr(0, 3)) + "'; the file is damaged here");
        }
        break;
      default:
        if (trim(line).empty() || (line.front() == '/' && !m_time) || (!m_time && line.front() == '%') ||
            (!m_time && line.front() == '+')) {
          readHeaderLine(line);
          break;
        }
        m_reader.fail("line",
                      "unknown kind '" + std::string(line.substr(0, 3)) + "'; the file is damaged here");
    }
  }
  if (closed) m_reader.finish();
  finish(closed);
}

void Sp3Reader::readHeader() {
  std::string_view line;
  if (!m_reader.next(line)) m_reader.failAtEnd("file is empty");
  if (line.size() < 40 || line[0] != '#' || line[1] < 'a' || line[1] > 'd') {
    m_reader.fail("", "is not an orbit file of SP3 a, b, c or d; fetch it again, or name another file");
  }
  const auto count = parseInt(column(line, 32, 7));
  if (!count || *count < 0 || *count > 10000000) m_reader.fail("number of epochs", "is missing or damaged");
  m_announced = *count;
  if (m_product.agency.empty()) m_product.agency = trim(column(line, 56, 4));
  if (!m_reader.next(line) || line.substr(0, 2) != "##")
    m_reader.fail("header", "second line does not begin with ##");
  const auto interval = parseReal(column(line, 24, 14));
  if (!interval || *interval <= 0.0 || *interval > 86400.0) {
    m_reader.fail("epoch interval",
                  "'" + std::string(trim(column(line, 24, 14))) + "' is no interval in seconds");
  }
  m_interval = *interval;
}

void Sp3Reader::readHeaderLine(std::string_view line) {
  // IGS centres tell the origin of orbits and clocks in a comment: "/* PCV:IGS14 ... ORB:CoN CLK:BRD".
  if (line.substr(0, 2) == "/*" && line.find("CLK:BRD") != std::string_view::npos)
    m_product.broadcastClocks = true;
  // The first %c line names the time system in columns 10-12; older files leave "ccc".
  if (line.substr(0, 2) != "%c" || ++m_controlLines != 1) return;
  const std::string_view scale = trim(column(line, 9, 3));
  if (scale == "ccc") return;
  if (!gpsTimeOf({}, scale)) m_reader.fail("time system", "'" + std::string(scale) + "' is unknown");
  m_timeSystem = scale;
}

void Sp3Reader::readEpoch(std::string_view line) {
  const auto reading = parseDate(parseInt(column(line, 3, 4)), parseInt(column(line, 8, 2)),
                                 parseInt(column(line, 11, 2)), parseInt(column(line, 14, 2)),
                                 parseInt(column(line, 17, 2)), parseReal(column(line, 20, 11)));
  if (!reading) m_reader.fail("epoch", "is not a date and time; the file is damaged here");
  const auto time = gpsTimeOf(*reading, m_timeSystem);
  if (m_time && *time - *m_time <= 0.0)
    m_reader.fail("epoch", "is not later than the one before; the file is damaged");
  m_time = time;
  ++m_epochs;
}

void Sp3Reader::readPosition(std::string_view line) {
  if (!m_time) m_reader.fail("position", "stands before the first epoch line; the file is damaged here");
  const auto sat = parseSat(column(line, 1, 3));
  if (!sat) m_reader.fail("satellite", "'" + std::string(column(line, 1, 3)) + "' is no satellite");
  if (line.size() < 46 || (line.size() < 60 && !m_reader.terminated())) {
    m_reader.fail(*sat, "position line is too short; the file is truncated or damaged");
  }
  OrbitPoint point;
  point.time = *m_time;
  double radius2 = 0.0;
  for (std::size_t i = 0; i < 3; ++i) {
    const auto km = parseReal(column(line, 4 + 14 * i, 14));
    if (!km)
      m_reader.fail(*sat + " position",
                    "'" + std::string(trim(column(line, 4 + 14 * i, 14))) + "' is not a number");
    point.position[i] = *km * 1e3;
    radius2 += point.position[i] * point.position[i];
  }
  if (radius2 > 0.0) {
    // Missing values are zeros; some writers use 999999.999999 for positions, too.
    const double radius = std::sqrt(radius2);
    if (radius > kNearest && radius < kFarthest) m_product.orbits[*sat].push_back(point);
  }
  const std::string_view text = trim(column(line, 46, 14));
  if (text.empty()) return;
  const auto clock = parseReal(text);
  if (!clock) m_reader.fail(*sat + " clock", "'" + std::string(text) + "' is not a number");
  if (std::fabs(*clock) < kNoClock) m_product.clocks[*sat].push_back({*m_time, *clock * 1e-6});
}

void Sp3Reader::finish(bool closed) {
  if (m_epochs == 0) m_reader.failAtEnd("holds no epoch; the file is truncated, fetch it again");
  // A file without its closing line is accepted when all epochs that it announces are there.
  if (!closed && (m_epochs < m_announced || !m_reader.terminated())) {
    m_reader.failAtEnd("file ends after " + std::to_string(m_epochs) + " of " + std::to_string(m_announced) +
                       " epochs without EOF; it is truncated, fetch it again");
  }
  m_product.interval = std::max(m_product.interval, m_interval);
}

}  // namespace

Sp3Product readSp3(const std::vector<std::string>& paths) {
  Sp3Product product;
  for (const std::string& path : paths) Sp3Reader(path, product).read();
  for (auto& [sat, points] : product.orbits) sortAndUnite(points);
  for (auto& [sat, points] : product.clocks) sortAndUnite(points);
  return product;
}

}  // namespace gnx
