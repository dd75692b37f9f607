// Observations of RINEX 2: satellites in the epoch line, five values a line, types without tracking.

#include <algorithm>
#include <cmath>

#include "formats/rinex2_types.h"
#include "formats/rinex_obs.h"
#include "gnx/error.h"
#include "gnx/time.h"
#include "text/fields.h"

namespace gnx {

namespace {

constexpr std::size_t kName = 3, kNamesAt = 32, kNamesOnALine = 12;
constexpr std::size_t kField = 16, kValue = 14, kOnALine = 5;
constexpr std::string_view kSystems = "GREJC";
constexpr int kMostTypes = 300;
constexpr int kAhead = 100;  ///< epochs that tell what a file holds

std::size_t indexOf(char system) { return static_cast<std::size_t>(system - 'A'); }

/// Years of two digits stand for 1980 to 2079.
std::optional<int> fullYear(std::optional<int> year) {
  if (!year || *year < 0 || *year > 99) return std::nullopt;
  return *year + (*year < 80 ? 2000 : 1900);
}

}  // namespace

void RinexObsReader::readOldTypes(std::string_view text) {
  const char* field = "# / TYPES OF OBSERV";
  if (!trim(column(text, 0, 6)).empty()) {
    const auto count = parseInt(column(text, 0, 6));
    if (!count || *count < 1 || *count > kMostTypes)
      m_reader.fail(field, "no number of types; the header is damaged");
    m_oldAnnounced = static_cast<std::size_t>(*count);
    m_oldTypes.clear();
  }
  std::vector<std::string_view> words;
  split(column(text, 6, 54), words);
  for (const std::string_view word : words) {
    if (word.size() != 2 || word[0] < 'A' || word[0] > 'Z')
      m_reader.fail(field, "'" + std::string(word) + "' is no observation type of RINEX 2");
    m_oldTypes.emplace_back(word);
  }
  if (m_oldTypes.size() > m_oldAnnounced)
    m_reader.fail(field, "more types than announced; the header is damaged");
}

/// Of all satellites, or of those that the line names.
void RinexObsReader::readWavelengthFactors(std::string_view text) {
  const Factors factors{parseInt(column(text, 0, 6)).value_or(1), parseInt(column(text, 6, 6)).value_or(1)};
  const int count = parseInt(column(text, 12, 6)).value_or(0);
  if (count <= 0) m_factors = factors;
  for (int i = 0; i < std::min(count, 7); ++i)
    if (const auto sat = parseSat(column(text, 21 + 6 * static_cast<std::size_t>(i), kName)))
      m_satFactors[*sat] = factors;
}

void RinexObsReader::makeOldLayouts() {
  if (m_oldTypes.empty()) m_reader.fail("header", "no # / TYPES OF OBSERV; the header is damaged");
  if (m_oldTypes.size() != m_oldAnnounced)
    m_reader.fail("# / TYPES OF OBSERV", "fewer types than announced; the header is damaged");
  const auto has = [&](const char* type) { return std::ranges::find(m_oldTypes, type) != m_oldTypes.end(); };
  m_p2 = static_cast<std::size_t>(std::ranges::find(m_oldTypes, "P2") - m_oldTypes.begin());
  for (const char system : kSystems) {
    for (const bool precise : {true, false}) {
      const Tracking tracking{m_header.receiver, has("C1") || !has("P1"), precise};
      std::vector<std::string> types;
      for (const std::string& type : m_oldTypes) types.push_back(rinex3Type(system, type, tracking));
      (precise ? m_layouts : m_civilLayouts)[indexOf(system)] = makeLayout(system, types);
    }
  }
}

/// The header of version 2 names types for all systems together: what each system has of them, and which
/// satellites have P2, stands in the epochs alone.
void RinexObsReader::lookAhead(const std::string& path) {
  std::map<char, std::set<std::string>> seen;
  const auto note = [&](char system, char kind, const SignalObs& signal) {
    seen[system].insert(std::string(1, kind) + signal.code.data());
  };
  RinexObsReader ahead(path, LookAhead{});
  try {
    ObsEpoch epoch;
    for (int i = 0; i < kAhead && ahead.next(epoch); ++i) {
      for (const SatObs& sat : epoch.sats) {
        for (const SignalObs& signal : sat.signals) {
          if (signal.range != 0.0) note(sat.sat[0], 'C', signal);
          if (signal.phase != 0.0) note(sat.sat[0], 'L', signal);
          if (signal.doppler != 0.0) note(sat.sat[0], 'D', signal);
          if (signal.snr != 0.0) note(sat.sat[0], 'S', signal);
        }
      }
    }
  } catch (const InputError&) {
    // Told when the reading itself gets there, behind the epochs that are whole.
  }
  m_withP2 = std::move(ahead.m_withP2);
  for (const auto& [system, types] : seen) m_header.types[system].assign(types.begin(), types.end());
}

bool RinexObsReader::readOldEpochLine(EpochLine& head) {
  std::string_view line;
  do {
    if (!m_reader.next(line)) return false;
  } while (trim(line).empty());
  const std::string_view flag = trim(column(line, 28, 1));
  const auto count = parseInt(column(line, 29, 3));
  if (!m_reader.terminated() && line.size() < kNamesAt)
    m_reader.failAtEnd("epoch: file ends inside a line; it is truncated, fetch it again");
  if (line.front() != ' ' || !count || *count < 0)
    m_reader.fail("epoch", "'" + std::string(line.substr(0, kNamesAt)) +
                               "' where an epoch begins; the file is damaged here");
  head.flag = flag.empty() ? 0 : flag[0] - '0';
  if (head.flag < 0 || head.flag > 6)
    m_reader.fail("epoch flag", "'" + std::string(flag) + "' is not 0 to 6");
  head.count = *count;
  head.time = parseDate(fullYear(parseInt(column(line, 1, 2))), parseInt(column(line, 4, 2)),
                        parseInt(column(line, 7, 2)), parseInt(column(line, 10, 2)),
                        parseInt(column(line, 13, 2)), parseReal(column(line, 15, 11)));
  if (head.time) head.time = gpsTimeOf(*head.time, m_timeSystem);
  if (head.flag < 2 || head.flag == 6) readOldNames(line, head.count);
  return true;
}

/// Twelve names a line; some old files begin the further lines in the first column.
void RinexObsReader::readOldNames(std::string_view line, int count) {
  m_names.clear();
  std::size_t start = kNamesAt;
  for (int i = 0; i < count; ++i) {
    const std::size_t place = static_cast<std::size_t>(i) % kNamesOnALine;
    if (i > 0 && place == 0) {
      if (!m_reader.next(line))
        m_reader.failAtEnd("epoch: file ends inside an epoch; it is truncated, fetch it again");
      start = line.size() > 2 && line[2] != ' ' ? 0 : kNamesAt;
    }
    std::string text(column(line, start + kName * place, kName));
    if (text.starts_with(' ') && m_fileSystem != 'M') text[0] = m_fileSystem;
    const auto name = parseSat(text);
    if (!name) refuseSat(text, i, count);
    m_names.push_back(*name);
  }
}

/// Brings the observations of a satellite as one line.
SatName RinexObsReader::readOldSat(int number, const GpsTime& time) {
  const SatName& name = m_names[static_cast<std::size_t>(number)];
  m_joined = name;
  std::string_view line;
  for (std::size_t i = 0; i < m_oldTypes.size(); i += kOnALine) {
    if (!m_reader.next(line))
      m_reader.failAtEnd("epoch " + formatTime(time) +
                         ": file ends inside an epoch; it is truncated, fetch it again");
    m_joined.resize(kName + kField * i, ' ');
    m_joined += line.substr(0, kField * kOnALine);
  }
  m_record = m_joined;
  return name;
}

/// Slips have the shape of an epoch.
void RinexObsReader::skipOldRecords(int count) {
  for (int i = 0; i < count; ++i) readOldSat(i, {});
}

/// L2 of a satellite goes with P2 from the first P2 on; the look ahead makes that the first epoch.
const RinexObsReader::Layout& RinexObsReader::oldLayout(const SatName& sat) {
  static const Layout none;
  if (kSystems.find(sat.front()) == std::string_view::npos) return none;
  if (m_p2 < m_oldTypes.size() && !m_withP2.contains(sat)) {
    const auto value = parseReal(column(m_record, kName + kField * m_p2, kValue));
    if (value && *value != 0.0) m_withP2.insert(sat);
  }
  return (m_withP2.contains(sat) ? m_layouts : m_civilLayouts)[indexOf(sat.front())];
}

/// The second bit of the indicator means the contrary of the file's factor in version 2, and half cycles
/// since.
void RinexObsReader::markHalfCycles(SatObs& sat) const {
  constexpr int kHalf = 2;
  const auto own = m_satFactors.find(sat.sat);
  const Factors& factors = own == m_satFactors.end() ? m_factors : own->second;
  for (SignalObs& signal : sat.signals) {
    const char band = signal.code[0];
    const int factor = band == '1' ? factors.first : band == '2' ? factors.second : 1;
    if (signal.phase != 0.0 && factor == 2) signal.lli ^= kHalf;
  }
}

}  // namespace gnx
