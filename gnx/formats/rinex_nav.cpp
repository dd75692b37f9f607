// Reads navigation messages field by field; times of the systems become GPS time.

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <optional>

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
  void readHeader();
  bool readRecord(Record& record, std::string_view first);
  SatName satOf(std::string_view first) const;
  std::optional<GpsTime> timeOfClock(std::string_view first) const;
  bool continues(std::string_view line) const;
  void readNumbers(std::string_view line, std::size_t start, std::size_t count, std::size_t to,
                   Record& record);
  void readMarked(std::string_view mark);
  void readOther(NavRecord other);
  void take(const Record& record);
  void takeKeplerian(const Record& record);
  void takeGlonass(const Record& record);
  void refuse(const Record& record, const std::string& what);

  TextReader m_reader;
  NavData& m_data;
  double m_version = 0.0;
  char m_system = 'G';       ///< version 2: one for a file
  std::size_t m_indent = 4;  ///< of all lines but the first of a record; one column less in version 2
};

/// Whether an ephemeris is read as a message of its own.
bool isMessage(std::string_view source, std::string_view message) {
  if (source.empty() || std::string_view("GECJR").find(source.front()) == std::string_view::npos)
    return false;
  return message == "LNAV" || message == "INAV" || message == "FNAV" || message == "D1" || message == "D2" ||
         message == "D1D2" || message == "FDMA";
}

/// Lines of a record of version 4 behind its mark, 0 when the kind is not known here.
std::size_t linesOf(const NavRecord& r) {
  const auto is = [&](std::initializer_list<std::string_view> names) {
    return std::ranges::find(names, r.message) != names.end();
  };
  if (r.kind == "STO") return 2;
  if (r.kind == "EOP") return 3;
  if (r.kind == "ION") return is({"LNAV", "D1D2", "CNVX"}) ? 3 : is({"IFNV"}) ? 2 : 0;
  if (r.kind != "EPH") return 0;
  if (is({"SBAS"})) return 4;
  if (is({"LNAV"})) return 8;
  if (is({"CNAV", "CNV3", "L1NV"})) return 9;
  return is({"CNV1", "CNV2"}) ? 10 : 0;
}

/// The clock that a system's records are dated by.
const char* scaleOf(std::string_view source) {
  return source.starts_with('C') ? "BDT" : source.starts_with('R') ? "UTC" : "GPS";
}

void NavReader::readHeader() {
  std::string_view line;
  char type = 'N';
  if (m_reader.next(line)) {
    // Version 2 has a letter for each system but GPS.
    if (column(line, 20, 1).find_first_of("GHLJ") == 0) type = line[20];
    m_reader.unread();
  }
  m_version = readRinexVersion(m_reader, type, 2.0, type == 'N' ? 4.99 : 2.99,
                               "a navigation file of RINEX 2, 3 or 4");
  m_indent = m_version < 3.0 ? 3 : 4;
  m_system = type == 'G' ? 'R' : type == 'H' ? 'S' : type == 'L' ? 'E' : type == 'J' ? 'J' : 'G';
  HeaderLine header;
  while (nextHeaderLine(m_reader, header)) continue;  // leap seconds are known, ionosphere is not used
}

void NavReader::read() {
  readHeader();
  std::string_view line;
  while (m_reader.next(line)) {
    if (trim(line).empty()) continue;
    if (line.front() == '>') {
      readMarked(line);
      continue;
    }
    Record record;
    if (readRecord(record, line)) take(record);
  }
}

/// Version 4: messages that the engine uses follow as in version 3, the others are kept as they stand.
void NavReader::readMarked(std::string_view mark) {
  if (m_version < 4.0) m_reader.fail("record", "'>' in a file of an older version; the file is damaged here");
  NavRecord other;
  other.kind = trim(column(mark, 2, 4));
  other.source = trim(column(mark, 6, 3));
  other.message = trim(column(mark, 10, 4));
  other.subtype = trim(column(mark, 15, 4));
  other.line = m_reader.line();
  if (other.kind.empty() || other.message.empty())
    m_reader.fail("record", "mark without a type and a message; the file is damaged here");
  if (other.kind != "EPH" || !isMessage(other.source, other.message)) readOther(std::move(other));
}

/// Damage costs the record alone, since no engine needs it.
void NavReader::readOther(NavRecord other) {
  const std::size_t needed = linesOf(other);
  std::size_t lines = 0;
  std::string damage;
  for (std::string_view line; m_reader.next(line);) {
    if (!line.empty() && line.front() == '>') {
      m_reader.unread();
      break;
    }
    if (trim(line).empty() || ++lines > needed || !damage.empty()) continue;
    std::size_t first = 0;
    if (lines == 1) {
      first = 1;
      const auto time = timeOfClock(line);
      if (time) other.time = *gpsTimeOf(*time, scaleOf(other.source));
      else damage = "its time is not a date and time";
      if (other.kind == "STO") other.offset = trim(column(line, 24, 4));
    }
    for (std::size_t i = first; i < 4; ++i) {
      const std::string_view text = trim(column(line, m_indent + 19 * i, 19));
      const bool words = text.empty() || (lines == 1 && other.kind == "STO");
      const std::optional<double> value = words ? std::numeric_limits<double>::quiet_NaN() : parseReal(text);
      if (!value) damage = "'" + std::string(text) + "' is not a number";
      else other.values.push_back(*value);
    }
  }
  if (damage.empty() && lines < needed)
    damage = "it has " + std::to_string(lines) + " lines instead of " + std::to_string(needed);
  if (damage.empty()) {
    m_data.others.push_back(std::move(other));
    return;
  }
  m_data.notes.push_back(m_reader.path() + ":" + std::to_string(other.line) + ": " + other.source + " " +
                         other.kind + " " + other.message + " left out, " + damage);
}

SatName NavReader::satOf(std::string_view first) const {
  std::string text(column(first, 0, 3));
  if (m_version < 3.0) text = m_system + std::string(column(first, 0, 2));
  const auto sat = parseSat(text);
  if (!sat || text.front() == ' ') {
    m_reader.fail("satellite", "'" + std::string(column(first, 0, 3)) +
                                   "' where a record begins; the file is damaged here");
  }
  return *sat;
}

std::optional<GpsTime> NavReader::timeOfClock(std::string_view first) const {
  const bool old = m_version < 3.0;
  std::optional<int> year = parseInt(column(first, old ? 3 : 4, old ? 2 : 4));
  if (old && year) *year += *year < 80 ? 2000 : 1900;
  const std::size_t shift = old ? 3 : 0;
  return parseDate(year, parseInt(column(first, 9 - shift, 2)), parseInt(column(first, 12 - shift, 2)),
                   parseInt(column(first, 15 - shift, 2)), parseInt(column(first, 18 - shift, 2)),
                   parseReal(column(first, old ? 17 : 21, old ? 5 : 2)));
}

/// Whether a line belongs to the record being read.
bool NavReader::continues(std::string_view line) const {
  return m_version < 3.0 ? trim(column(line, 0, 3)).empty() : !line.empty() && line.front() == ' ';
}

/// False for a record of a system that is not used.
bool NavReader::readRecord(Record& record, std::string_view first) {
  record.sat = satOf(first);
  record.line = m_reader.line();
  const bool used = std::string_view("GECJR").find(record.sat.front()) != std::string_view::npos;
  if (used) {
    const auto time = timeOfClock(first);
    if (!time)
      m_reader.fail(record.sat + " time of clock", "is not a date and time; the file is damaged here");
    record.reading = *time;
    readNumbers(first, m_indent + 19, 3, 0, record);
  }
  std::string_view line;
  while (m_reader.next(line)) {
    if (!continues(line)) {
      m_reader.unread();
      break;
    }
    if (trim(line).empty() && record.lines >= kKeplerLines) continue;
    if (++record.lines > kMostLines)
      m_reader.fail(record.sat, "record of more than 12 lines; the file is damaged here");
    if (used) readNumbers(line, m_indent, 4, 3 + 4 * (record.lines - 1), record);
  }
  const std::size_t needed = record.sat.front() == 'R' ? kGlonassLines : kKeplerLines;
  if (used && record.lines < needed) {
    m_reader.fail(record.sat, "message that begins in line " + std::to_string(record.line) + " has " +
                                  std::to_string(record.lines) + " lines instead of " +
                                  std::to_string(needed) + "; the file is truncated or damaged");
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
  // In version 2 writers disagree about it by the three hours of Moscow.
  if (m_version >= 3.0 && v[2] >= 0.0 && v[2] <= 604800.0 && record.given[2]) {
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
  if (e.channel > 127) e.channel -= 256;  // a negative byte, written as a positive one
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
