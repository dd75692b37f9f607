// Reads navigation messages field by field; times of the systems become GPS time.

#include <algorithm>
#include <array>
#include <cmath>

#include "formats/rinex_header.h"
#include "gnx/read.h"
#include "gnx/time.h"
#include "text/fields.h"

namespace gnx {

namespace {

constexpr std::size_t kMostLines = 12;  ///< the longest record (version 4 CNAV-2) has 10
constexpr std::size_t kKeplerLines = 7, kGlonassLines = 3;
constexpr double kHalfWeek = 302400.0;
constexpr double kUnknownTime = 9e8;  ///< written as 0.9999e9

/// A record: the clock line and the lines behind it, all numbers in order.
struct Record {
  SatName sat;
  GpsTime reading;  ///< time of clock on the clock of the system
  std::array<double, 3 + 4 * kMostLines> value{};
  std::array<bool, 3 + 4 * kMostLines> given{};
  std::size_t lines = 0;
  long line = 0;
};

class NavReader {
 public:
  NavReader(const std::string& path, NavData& data) : m_reader(path), m_data(data) {}
  void read();

 private:
  bool readRecord(Record& record, std::string_view first);
  void readNumbers(std::string_view line, std::size_t start, std::size_t count, std::size_t to,
                   Record& record);
  void skipToMark();
  void take(const Record& record);
  void takeKeplerian(const Record& record);
  void takeGlonass(const Record& record);
  void refuse(const Record& record, const std::string& what);

  TextReader m_reader;
  NavData& m_data;
};

bool knownMessage(std::string_view message) {
  return message == "LNAV" || message == "INAV" || message == "FNAV" || message == "D1" || message == "D2" ||
         message == "D1D2" || message == "FDMA";
}

void NavReader::read() {
  const double version = readRinexVersion(m_reader, 'N', 3.0, 4.99, "a navigation file of RINEX 3 or 4");
  HeaderLine header;
  while (nextHeaderLine(m_reader, header)) continue;  // leap seconds are known, ionosphere is not used
  std::string_view line;
  std::vector<std::string_view> words;
  while (m_reader.next(line)) {
    if (trim(line).empty()) continue;
    if (line.front() == '>') {
      if (version < 4.0) m_reader.fail("record", "'>' in a file of version 3; the file is damaged here");
      split(line, words);
      if (words.size() < 2) m_reader.fail("record", "mark without a type; the file is damaged here");
      const bool wanted = words[1] == "EPH" && words.size() > 3 && knownMessage(words[3]);
      if (!wanted) skipToMark();
      continue;
    }
    Record record;
    if (readRecord(record, line)) take(record);
  }
}

void NavReader::skipToMark() {
  std::string_view line;
  while (m_reader.next(line)) {
    if (!line.empty() && line.front() == '>') {
      m_reader.unread();
      return;
    }
  }
}

/// False for a record of a system that is not used.
bool NavReader::readRecord(Record& record, std::string_view first) {
  const auto sat = parseSat(column(first, 0, 3));
  if (!sat || first.front() == ' ') {
    m_reader.fail("satellite", "'" + std::string(column(first, 0, 3)) +
                                   "' where a record begins; the file is damaged here");
  }
  const bool used = std::string_view("GECJR").find(sat->front()) != std::string_view::npos;
  record.sat = *sat;
  record.line = m_reader.line();
  if (used) {
    const auto time = parseDate(parseInt(column(first, 4, 4)), parseInt(column(first, 9, 2)),
                                parseInt(column(first, 12, 2)), parseInt(column(first, 15, 2)),
                                parseInt(column(first, 18, 2)), parseReal(column(first, 21, 2)));
    if (!time) m_reader.fail(*sat + " time of clock", "is not a date and time; the file is damaged here");
    record.reading = *time;
    readNumbers(first, 23, 3, 0, record);
  }
  std::string_view line;
  while (m_reader.next(line)) {
    if (line.empty() || line.front() != ' ') {
      m_reader.unread();
      break;
    }
    if (trim(line).empty() && record.lines >= kKeplerLines) continue;
    if (++record.lines > kMostLines)
      m_reader.fail(*sat, "record of more than 12 lines; the file is damaged here");
    if (used) readNumbers(line, 4, 4, 3 + 4 * (record.lines - 1), record);
  }
  const std::size_t needed = sat->front() == 'R' ? kGlonassLines : kKeplerLines;
  if (used && record.lines < needed) {
    m_reader.fail(*sat, "message that begins in line " + std::to_string(record.line) + " has " +
                            std::to_string(record.lines) + " lines instead of " + std::to_string(needed) +
                            "; the file is truncated or damaged");
  }
  return used;
}

void NavReader::readNumbers(std::string_view line, std::size_t start, std::size_t count, std::size_t to,
                            Record& record) {
  for (std::size_t i = 0; i < count; ++i) {
    const std::string_view part = column(line, start + 19 * i, 19);
    const std::string_view text = trim(part);
    if (text.empty()) continue;
    const auto value = parseReal(text);
    if (!value || (part.size() < 19 && !m_reader.terminated())) {
      m_reader.fail(record.sat + " number " + std::to_string(i + 1),
                    "'" + std::string(text) + "' is not a complete number; the file is damaged here");
    }
    record.value[to + i] = *value;
    record.given[to + i] = true;
  }
}

void NavReader::refuse(const Record& record, const std::string& what) {
  m_data.notes.push_back(m_reader.path() + ":" + std::to_string(record.line) + ": " + record.sat +
                         " message left out, " + what);
}

void NavReader::take(const Record& record) {
  if (record.sat.front() == 'R') {
    takeGlonass(record);
  } else {
    takeKeplerian(record);
  }
}

/// Places seconds of week into the week nearest to a reference of the same time scale.
GpsTime nearestWeek(const GpsTime& reference, double second) {
  int week = 0;
  const double now = secondsOfWeek(reference, &week);
  if (second - now > kHalfWeek) --week;
  if (second - now < -kHalfWeek) ++week;
  return fromWeek(week, second);
}

/// User range accuracy index of an accuracy in metres.
int accuracyIndex(double metres) {
  for (std::size_t i = 0; i < kAccuracyLimits_m.size(); ++i) {
    if (metres >= 0.0 && metres <= kAccuracyLimits_m[i]) return static_cast<int>(i);
  }
  return 15;
}

int toInt(double value) { return static_cast<int>(std::lround(std::clamp(value, -2e9, 2e9))); }

void NavReader::takeKeplerian(const Record& record) {
  const auto& v = record.value;
  const char system = record.sat.front();
  const double offset = system == 'C' ? kBdtOffset : 0.0;

  BroadcastEph e;
  e.sat = record.sat;
  e.line = record.line;
  e.af = {v[0], v[1], v[2]};
  e.iode = toInt(v[3]);
  e.crs = v[4], e.deltaN = v[5], e.m0 = v[6];
  e.cuc = v[7], e.e = v[8], e.cus = v[9], e.sqrtA = v[10];
  e.cic = v[12], e.omega0 = v[13], e.cis = v[14];
  e.i0 = v[15], e.crc = v[16], e.omega = v[17], e.omegaDot = v[18];
  e.idot = v[19], e.code = toInt(v[20]), e.l2flag = toInt(v[22]);
  e.accuracy = accuracyIndex(v[23]), e.health = toInt(v[24]), e.tgd[0] = v[25];
  if (system == 'E' || system == 'C') {
    e.tgd[1] = v[26];
  } else {
    e.iodc = toInt(v[26]);
  }
  if (system == 'C') e.iodc = toInt(v[28]);

  const double toe = v[11];
  if (!(toe >= 0.0 && toe <= 604800.0)) return refuse(record, "time of ephemeris is no second of the week");
  e.toc = record.reading + offset;
  e.toe = nearestWeek(record.reading, toe) + offset;
  if (record.given[27] && std::fabs(v[27]) < kUnknownTime) {
    // Some writers count a transmission before the week's beginning as negative.
    const double sent = v[27] < 0.0 ? v[27] + 604800.0 : v[27];
    if (sent >= 0.0 && sent <= 604800.0) e.transmission = nearestWeek(record.reading, sent) + offset;
  }
  if (std::fabs(e.toe - e.toc) > 86400.0)
    return refuse(record, "times of clock and ephemeris are more than a day apart");
  if (!(e.e >= 0.0 && e.e < 0.5)) return refuse(record, "eccentricity is not between 0 and 0.5");
  if (!(e.sqrtA > 4000.0 && e.sqrtA < 8000.0))
    return refuse(record, "semi-major axis is that of no navigation satellite");
  if (!(std::fabs(e.af[0]) < 1.0)) return refuse(record, "clock offset is above a second");
  m_data.keplerian.push_back(std::move(e));
}

void NavReader::takeGlonass(const Record& record) {
  const auto& v = record.value;
  GlonassEph e;
  e.sat = record.sat;
  e.line = record.line;
  const double leap = leapSecondsAtUtc(record.reading);
  e.toe = record.reading + leap;
  e.frame = e.toe;
  if (v[2] >= 0.0 && v[2] <= 604800.0 && record.given[2]) {
    const GpsTime frame = nearestWeek(record.reading, v[2]) + leap;
    if (std::fabs(frame - e.toe) < 86400.0) e.frame = frame;
  }
  e.tau = v[0];
  e.gamma = v[1];
  for (std::size_t i = 0; i < 3; ++i) {
    e.position[i] = v[3 + 4 * i] * 1e3;
    e.velocity[i] = v[4 + 4 * i] * 1e3;
    e.acceleration[i] = v[5 + 4 * i] * 1e3;
  }
  e.health = toInt(v[6]), e.channel = toInt(v[10]), e.age = toInt(v[14]);
  const double radius = std::hypot(e.position[0], e.position[1], e.position[2]);
  if (!(radius > 2e7 && radius < 3.2e7)) return refuse(record, "position is that of no GLONASS satellite");
  if (!(std::fabs(e.tau) < 1.0)) return refuse(record, "clock offset is above a second");
  m_data.glonass.push_back(std::move(e));
}

}  // namespace

NavData readRinexNav(const std::vector<std::string>& paths) {
  NavData data;
  for (const std::string& path : paths) NavReader(path, data).read();
  return data;
}

}  // namespace gnx
