// Reads observation epochs, events and scale factors included.

#include "formats/rinex_obs.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "formats/rinex_header.h"
#include "gnx/time.h"
#include "text/fields.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr std::size_t kFirst = 3, kField = 16, kValue = 14;  ///< columns of an observation
constexpr int kMostTypes = 300;
constexpr double kLargest = 1e12;  ///< beyond any range, phase, Doppler or signal strength

}  // namespace

RinexObsReader::RinexObsReader(const std::string& path) : RinexObsReader(path, LookAhead{}) {
  if (isOld()) lookAhead(path);
}

RinexObsReader::RinexObsReader(const std::string& path, LookAhead) : m_reader(path) {
  m_header.version = readRinexVersion(m_reader, 'O', 2.0, 4.99, "an observation file of RINEX 2, 3 or 4");
  HeaderLine line;
  m_reader.unread();
  if (nextHeaderLine(m_reader, line)) m_fileSystem = column(line.text, 40, 1).empty() ? ' ' : line.text[40];
  while (nextHeaderLine(m_reader, line)) readHeaderLine(line.text, line.label);
  if (isOld() && m_timeSystem.empty() && m_fileSystem == 'R') m_timeSystem = "GLO";
  makeLayouts();
}

void RinexObsReader::readHeaderLine(std::string_view text, std::string_view label) {
  if (label == "MARKER NAME") {
    m_header.marker = trim(text);
  } else if (label == "REC # / TYPE / VERS") {
    m_header.receiver = trim(column(text, 20, 20));
  } else if (label == "ANT # / TYPE") {
    m_header.antenna = column(text, 20, 20);
    if (trim(m_header.antenna).empty()) m_header.antenna.clear();
  } else if (label == "APPROX POSITION XYZ") {
    m_header.position = readTriple(text, "APPROX POSITION XYZ");
  } else if (label == "ANTENNA: DELTA H/E/N") {
    m_header.antennaDelta = readTriple(text, "ANTENNA: DELTA H/E/N");
  } else if (label == "SYS / # / OBS TYPES") {
    readTypes(text);
  } else if (label == "SYS / SCALE FACTOR") {
    readScale(text);
  } else if (label == "# / TYPES OF OBSERV") {
    readOldTypes(text);
  } else if (label == "WAVELENGTH FACT L1/2") {
    readWavelengthFactors(text);
  } else if (label == "INTERVAL") {
    const auto interval = parseReal(column(text, 0, 10));
    if (!interval || *interval < 0.0 || *interval > 86400.0)
      m_reader.fail("INTERVAL", "is not a number of seconds");
    m_header.interval = *interval;
  } else if (label == "TIME OF FIRST OBS") {
    m_timeSystem = trim(column(text, 48, 3));
    if (!gpsTimeOf({}, m_timeSystem))
      m_reader.fail(std::string(label), "unknown time system " + inQuotes(m_timeSystem));
  }
}

std::array<double, 3> RinexObsReader::readTriple(std::string_view text, const char* field) const {
  std::array<double, 3> values{};
  for (std::size_t i = 0; i < 3; ++i) {
    const std::string_view part = column(text, 14 * i, 14);
    if (trim(part).empty()) continue;
    const auto value = parseReal(part);
    if (!value || std::fabs(*value) > 1e9)
      m_reader.fail(field, inQuotes(trim(part)) + " is not a number of metres");
    values[i] = *value;
  }
  return values;
}

void RinexObsReader::readTypes(std::string_view text) {
  const char* field = "SYS / # / OBS TYPES";
  const char system = text.empty() ? ' ' : text.front();
  if (system != ' ') {
    const auto count = parseInt(column(text, 3, 3));
    if (system < 'A' || system > 'Z' || !count || *count < 0 || *count > kMostTypes) {
      m_reader.fail(field, "no system letter and number of types; the header is damaged");
    }
    m_system = system;
    m_announced[system] = static_cast<std::size_t>(*count);
    m_header.types[system].clear();
  }
  if (m_system == ' ') m_reader.fail(field, "continues no line");
  std::vector<std::string>& types = m_header.types[m_system];
  std::vector<std::string_view> words;
  split(column(text, 6, 54), words);
  for (const std::string_view word : words) {
    if (word.size() != 3 || word[0] < 'A' || word[0] > 'Z')
      m_reader.fail(field, inQuotes(word) + " is no observation type");
    types.emplace_back(word);
  }
  if (types.size() > m_announced[m_system]) {
    m_reader.fail(field, "more types of system " + std::string(1, m_system) + " than announced");
  }
}

void RinexObsReader::readScale(std::string_view text) {
  const char* field = "SYS / SCALE FACTOR";
  if (!text.empty() && text.front() != ' ') {
    const auto factor = parseInt(column(text, 2, 4));
    if (!factor || *factor < 1) m_reader.fail(field, "is no factor of 1, 10, 100 or 1000");
    m_scaleSystem = text.front();
    m_scaleFactor = *factor;
    if (parseInt(column(text, 8, 2)).value_or(0) == 0) m_scale[{m_scaleSystem, ""}] = m_scaleFactor;
  }
  std::vector<std::string_view> words;
  split(column(text, 10, 50), words);
  for (const std::string_view word : words) m_scale[{m_scaleSystem, std::string(word)}] = m_scaleFactor;
}

void RinexObsReader::makeLayouts() {
  if (isOld()) return makeOldLayouts();
  if (m_header.types.empty()) m_reader.fail("header", "no SYS / # / OBS TYPES; the header is damaged");
  for (const auto& [system, types] : m_header.types) {
    if (types.size() != m_announced[system]) {
      m_reader.fail("SYS / # / OBS TYPES",
                    "fewer types of system " + std::string(1, system) + " than announced");
    }
    m_layouts[static_cast<std::size_t>(system - 'A')] = makeLayout(system, types);
  }
}

RinexObsReader::Layout RinexObsReader::makeLayout(char system, const std::vector<std::string>& types) const {
  Layout layout;
  for (const std::string& type : types) {
    Column c;
    if (type.find_first_of("CLDS") == 0) {
      const std::array<char, 3> code = {type[1], type[2], '\0'};
      const auto found = std::find(layout.codes.begin(), layout.codes.end(), code);
      c.kind = type[0];
      c.signal = static_cast<int>(found - layout.codes.begin());
      if (found == layout.codes.end()) layout.codes.push_back(code);
      auto scale = m_scale.find({system, type});
      if (scale == m_scale.end()) scale = m_scale.find({system, ""});
      if (scale != m_scale.end()) c.scale = 1.0 / scale->second;
    }
    layout.columns.push_back(c);
  }
  return layout;
}

bool RinexObsReader::next(ObsEpoch& epoch) {
  EpochLine head;
  while (readEpochLine(head)) {
    if (head.flag > 1) {
      readEvent(head);
      continue;
    }
    if (!head.time) m_reader.fail("epoch", "is not a date and time");
    // Order is what gaps and slips are judged by; a step backwards is damage or badly joined files.
    if (m_previous && *head.time < *m_previous) {
      m_reader.fail("epoch", formatTime(*head.time) + " is before the epoch in front of it; sort the file");
    }
    m_previous = head.time;
    epoch.time = *head.time;
    readSats(head, epoch);
    return true;
  }
  return false;
}

bool RinexObsReader::readEpochLine(EpochLine& head) {
  if (isOld()) return readOldEpochLine(head);
  std::string_view line;
  do {
    if (!m_reader.next(line)) return false;
  } while (trim(line).empty());
  if (line.front() != '>') m_reader.fail("epoch", "line does not begin with '>'; the file is damaged here");

  const std::string_view flag = trim(column(line, 29, 3));
  const auto count = parseInt(column(line, 32, 3));
  if (!m_reader.terminated() && line.size() < 35) {
    m_reader.failAtEnd("epoch: file ends inside a line; it is truncated, fetch it again");
  }
  head.flag = flag.empty() ? 0 : parseInt(flag).value_or(-1);
  if (head.flag < 0 || head.flag > 6) m_reader.fail("epoch flag", inQuotes(flag) + " is not 0 to 6");
  if (!count || *count < 0) m_reader.fail("epoch", "number of satellites is missing or damaged");
  head.count = *count;
  head.time = parseDate(parseInt(column(line, 2, 4)), parseInt(column(line, 7, 2)),
                        parseInt(column(line, 10, 2)), parseInt(column(line, 13, 2)),
                        parseInt(column(line, 16, 2)), parseReal(column(line, 18, 11)));
  if (head.time) head.time = gpsTimeOf(*head.time, m_timeSystem);
  return true;
}

void RinexObsReader::readEvent(const EpochLine& head) {
  if (isOld() && head.flag == 6) return skipOldRecords(head.count);
  std::string_view line;
  bool types = false;
  for (int i = 0; i < head.count; ++i) {
    if (!m_reader.next(line)) m_reader.failAtEnd("event: file ends inside an event record; fetch it again");
    if (!line.empty() && line.front() == '>') {
      m_reader.fail("event", "fewer records than announced; the file is damaged here");
    }
    if (head.flag == 6) continue;
    const std::string_view label = trim(column(line, 60, 40));
    // Only what changes the reading of the data: a new site or antenna is the user's decision.
    if (label == "SYS / # / OBS TYPES" || label == "SYS / SCALE FACTOR" || label == "# / TYPES OF OBSERV" ||
        label == "WAVELENGTH FACT L1/2") {
      readHeaderLine(column(line, 0, 60), label);
      types = true;
    }
  }
  if (types) makeLayouts();
}

void RinexObsReader::readSats(const EpochLine& head, ObsEpoch& epoch) {
  std::size_t used = 0;
  for (int i = 0; i < head.count; ++i) {
    const SatName name = isOld() ? readOldSat(i, epoch.time) : readSat(head, i, epoch.time);
    const Layout& layout =
        isOld() ? oldLayout(name) : m_layouts[static_cast<std::size_t>(name.front() - 'A')];
    if (layout.columns.empty()) continue;
    if (used == epoch.sats.size()) epoch.sats.emplace_back();
    SatObs& sat = epoch.sats[used];
    sat.sat = name;
    readSignals(m_record, layout, head.flag == 1, sat);
    if (isOld()) markHalfCycles(sat);
    if (!sat.signals.empty()) ++used;
  }
  epoch.sats.resize(used);
}

/// Brings the line of a satellite.
SatName RinexObsReader::readSat(const EpochLine& head, int number, const GpsTime& time) {
  std::string_view line;
  if (!m_reader.next(line)) {
    m_reader.failAtEnd("epoch " + formatTime(time) +
                       ": file ends inside an epoch; it is truncated, fetch it again");
  }
  const auto name = parseSat(column(line, 0, 3));
  if (!name) refuseSat(column(line, 0, 3), number, head.count);
  m_record = line;
  return *name;
}

void RinexObsReader::refuseSat(std::string_view text, int number, int count) const {
  m_reader.fail("satellite", inQuotes(text) + " where satellite " + std::to_string(number + 1) + " of " +
                                 std::to_string(count) + " is expected; the file is damaged here");
}

void RinexObsReader::readSignals(std::string_view line, const Layout& layout, bool slipped, SatObs& sat) {
  sat.signals.assign(layout.codes.size(), {});
  for (std::size_t i = 0; i < layout.columns.size(); ++i) {
    const std::size_t at = kFirst + kField * i;
    if (at >= line.size()) break;
    const Column& c = layout.columns[i];
    if (c.kind == 0) continue;
    const std::string_view part = line.substr(at, kValue);
    const std::size_t first = part.find_first_not_of(' ');
    if (first == std::string_view::npos) continue;
    const char* end = part.data() + part.find_last_not_of(' ') + 1;
    double value = 0.0;
    const auto [stop, error] = readNumber(part.data() + first, end, value);
    const bool cut = part.size() < kValue && !m_reader.terminated();
    if (error != std::errc{} || stop != end || cut || !(std::fabs(value) < kLargest)) {
      const std::string type =
          std::string(1, c.kind) + layout.codes[static_cast<std::size_t>(c.signal)].data();
      m_reader.fail(sat.sat + " " + type,
                    cut ? std::string("file ends inside a number; it is truncated, fetch it again")
                        : inQuotes(trim(part)) + " is not a number; the file is damaged here");
    }
    value *= c.scale;
    SignalObs& signal = sat.signals[static_cast<std::size_t>(c.signal)];
    switch (c.kind) {
      case 'C':
        signal.range = value;
        break;
      case 'D':
        signal.doppler = value;
        break;
      case 'S':
        signal.snr = value;
        break;
      default: {
        signal.phase = value;
        const char lli = at + kValue < line.size() ? line[at + kValue] : ' ';
        if (lli != ' ' && (lli < '0' || lli > '9')) {
          m_reader.fail(sat.sat, std::string("loss-of-lock indicator '") + lli + "' is not a digit");
        }
        signal.lli = (lli == ' ' ? 0 : lli - '0') | (slipped ? 1 : 0);
      }
    }
  }
  std::size_t kept = 0;
  for (std::size_t k = 0; k < sat.signals.size(); ++k) {
    SignalObs& s = sat.signals[k];
    if (s.phase == 0.0 && s.range == 0.0 && s.doppler == 0.0 && s.snr == 0.0) continue;
    s.code = layout.codes[k];
    if (kept != k) sat.signals[kept] = s;
    ++kept;
  }
  sat.signals.resize(kept);
}

}  // namespace gnx
