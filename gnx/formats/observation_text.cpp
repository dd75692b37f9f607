// Sums differences and overlays text until the lines of the original file are back.

#include "formats/observation_text.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "text/fields.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr std::int64_t kLargestToken = 100'000'000'000'000;  ///< thousandths: 14 digits
constexpr std::int64_t kLargestValue = 10'000'000'000'000;   ///< fits the 14 columns of an observation
constexpr std::size_t kName = 3, kValue = 14;
constexpr std::size_t kOnALine = 5, kNamesOnALine = 12;  ///< RINEX 2

std::string startInQuotes(std::string_view text) { return inQuotes(text.substr(0, 40)); }

std::optional<std::int64_t> integer(std::string_view text) {
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  if (value >= kLargestToken || value <= -kLargestToken) return std::nullopt;
  return value;
}

/// Blank: unchanged, '&': becomes blank, anything else takes its place.
void overlay(std::string_view difference, std::string& text) {
  if (text.size() < difference.size()) text.resize(difference.size(), ' ');
  for (std::size_t i = 0; i < difference.size(); ++i) {
    if (difference[i] == ' ') continue;
    text[i] = difference[i] == '&' ? ' ' : difference[i];
  }
}

}  // namespace

void DifferenceArc::begin(int order, std::int64_t value) {
  m_order = order;
  m_known = 0;
  m_difference[0] = value;
}

bool DifferenceArc::add(std::int64_t difference) {
  if (m_order < 0) return false;
  m_known = std::min(m_known + 1, m_order);
  m_difference[static_cast<std::size_t>(m_known)] = difference;
  for (auto k = static_cast<std::size_t>(m_known); k-- > 0;) {
    m_difference[k] += m_difference[k + 1];
    if (std::abs(m_difference[k]) > 1000 * kLargestValue) return false;
  }
  return true;
}

bool ObservationText::advance(std::string_view& line) {
  if (!m_begun) return recognise(line);
  if (m_version == 0) return TextReader::advance(line);
  while (m_given == m_lines.size()) {
    m_lines.clear();
    m_given = 0;
    std::string_view raw;
    if (!TextReader::advance(raw)) return false;
    if (m_inHeader) {
      noteTypes(raw);
      m_inHeader = trim(column(raw, 60, 20)) != "END OF HEADER";
      line = raw;
      return true;
    }
    expand(raw);
  }
  line = m_lines[m_given++];
  return true;
}

/// Delivers the first line of the RINEX header.
bool ObservationText::recognise(std::string_view& line) {
  m_begun = true;
  if (!TextReader::advance(line)) return false;
  if (column(line, 20, 20) != "COMPACT RINEX FORMAT") return true;
  const std::string_view version = trim(column(line, 0, 20));
  if (version != "1.0" && version != "3.0")
    fail("CRINEX VERS   / TYPE",
         "compact form " + startInQuotes(version) + " is not known; 1.0 and 3.0 are read");
  m_version = version == "1.0" ? 1 : 3;
  if (!TextReader::advance(line) || !TextReader::advance(line))
    failAtEnd("file ends inside the header; it is truncated, fetch it again");
  return true;
}

/// Notes how many observations a satellite has.
void ObservationText::noteTypes(std::string_view line) {
  const std::string_view label = trim(column(line, 60, 20));
  if (m_version == 1 && label == "# / TYPES OF OBSERV") {
    if (const auto count = parseInt(column(line, 0, 6)))
      m_types[' '] = static_cast<std::size_t>(std::clamp(*count, 0, 300));
  } else if (m_version == 3 && label == "SYS / # / OBS TYPES" && line.front() != ' ') {
    if (const auto count = parseInt(column(line, 3, 3)))
      m_types[line.front()] = static_cast<std::size_t>(std::clamp(*count, 0, 300));
  }
}

/// One epoch or event, whose first line is there. False for a line that is passed over.
bool ObservationText::expand(std::string_view raw) {
  if (!readEpochText(raw)) return false;
  const std::size_t flagAt = m_version == 1 ? 28 : 31;
  const char flag = m_epoch.size() > flagAt ? m_epoch[flagAt] : ' ';
  if (flag != ' ' && (flag < '0' || flag > '6'))
    fail("epoch flag", startInQuotes({&flag, 1}) + " is not 0 to 6");
  const auto count = parseInt(column(m_epoch, flagAt + 1, 3));
  if (!count || *count < 0) fail("epoch", "number of satellites is missing or damaged; fetch the file again");
  if (flag > '1') copyEvent(*count);
  else expandEpoch(*count);
  return true;
}

bool ObservationText::readEpochText(std::string_view raw) {
  if (trim(raw).empty()) return false;
  if (m_version == 3 && raw.front() == '&') return false;  // remarks of the writer
  const bool complete = raw.front() == (m_version == 1 ? '&' : '>');
  if (complete) {
    m_sats.clear();
    m_epoch = raw;
    if (m_version == 1) m_epoch.front() = ' ';
    return true;
  }
  if (raw.front() != ' ')
    fail("epoch", startInQuotes(raw) + " where an epoch begins; the file is damaged here, fetch it again");
  if (m_epoch.empty())
    fail("epoch", "is a difference, and no complete epoch stands before it; the file is damaged here");
  overlay(raw, m_epoch);
  return true;
}

/// Lines of an event stand as they are; whatever was known before is void behind them.
void ObservationText::copyEvent(int lines) {
  m_lines.push_back(m_epoch);
  for (int i = 0; i < lines; ++i) {
    m_lines.emplace_back(needLine());
    noteTypes(m_lines.back());
  }
  m_epoch.clear();
  m_sats.clear();
}

std::string_view ObservationText::needLine() {
  std::string_view line;
  if (!TextReader::advance(line))
    failAtEnd("epoch: file ends inside an epoch; it is truncated, fetch it again");
  // Half a difference reads as a whole one.
  if (!terminated()) failAtEnd("epoch: file ends inside a line; it is truncated, fetch it again");
  return line;
}

void ObservationText::expandEpoch(int satellites) {
  const std::size_t listAt = m_version == 1 ? 32 : 41;
  std::string list = m_epoch.size() > listAt ? m_epoch.substr(listAt) : "";
  list.erase(list.find_last_not_of(' ') + 1);
  if (list.size() != kName * static_cast<std::size_t>(satellites))
    fail("epoch", "list of satellites and their number, " + std::to_string(satellites) +
                      ", differ; the file is damaged here, fetch it again");
  ++m_epochs;
  needLine();  // the receiver's clock
  if (m_version == 3) m_lines.push_back(m_epoch.substr(0, 35));
  for (std::size_t i = 0; m_version == 1 && (i == 0 || i < list.size()); i += kName * kNamesOnALine) {
    const std::string front = i == 0 ? m_epoch.substr(0, 32) : std::string(32, ' ');
    m_lines.push_back(front + (i < list.size() ? list.substr(i, kName * kNamesOnALine) : ""));
  }
  for (std::size_t i = 0; i < list.size(); i += kName) expandSatellite(list.substr(i, kName));
}

void ObservationText::expandSatellite(const std::string& name) {
  const std::string_view raw = needLine();
  const auto types = m_types.find(m_version == 1 ? ' ' : name.front());
  if (types == m_types.end())
    fail(name, "is of a system without observation types; the file is damaged here, fetch it again");
  SatState& state = m_sats[name];
  if (state.epoch == m_epochs) fail(name, "stands twice in an epoch; the file is damaged here");
  if (state.epoch != m_epochs - 1 || state.arcs.size() != types->second) {
    state.arcs.assign(types->second, {});
    state.flags.assign(2 * types->second, ' ');
  }
  state.epoch = m_epochs;
  const std::string fields = readFields(raw, state);
  appendLines(name, fields, state.flags);
}

/// Values in 14 columns each, blank where there is none; the flags come up to date.
std::string ObservationText::readFields(std::string_view raw, SatState& state) {
  std::string fields;
  std::size_t at = 0;
  for (DifferenceArc& arc : state.arcs) {
    const std::size_t end = std::min(raw.find(' ', std::min(at, raw.size())), raw.size());
    appendValue(at < raw.size() ? raw.substr(at, end - at) : std::string_view{}, arc, fields);
    at = end + 1;
  }
  std::string_view flags = at < raw.size() ? raw.substr(at) : std::string_view{};
  flags = flags.substr(0, flags.find_last_not_of(' ') + 1);
  if (flags.size() > state.flags.size())
    fail("flags", startInQuotes(flags) + " are more than the observations have; the file is damaged here");
  overlay(flags, state.flags);
  for (std::size_t i = 0; i < state.arcs.size(); ++i)
    if (fields[kValue * (i + 1) - 1] == ' ') state.flags[2 * i] = state.flags[2 * i + 1] = ' ';
  return fields;
}

void ObservationText::appendValue(std::string_view token, DifferenceArc& arc, std::string& text) const {
  if (token.empty()) {
    arc.end();
    text.append(kValue, ' ');
    return;
  }
  const char* damage = "; the file is damaged here, fetch it again";
  const bool begins = token.size() > 2 && token[1] == '&';
  const auto value = integer(begins ? token.substr(2) : token);
  if (!value || (begins && (token[0] < '0' || token[0] > '9')))
    fail("observation", startInQuotes(token) + " is no whole number" + damage);
  if (begins) arc.begin(token[0] - '0', *value);
  else if (!arc.add(*value))
    fail("observation", startInQuotes(token) + " is a difference to nothing" + damage);
  const std::int64_t size = std::abs(arc.value());
  if (size >= kLargestValue)
    fail("observation", startInQuotes(token) + " leads to a value that no observation has" + damage);
  const std::string number =
      printed("%s%lld.%03lld", arc.value() < 0 ? "-" : "", static_cast<long long>(size / 1000),
              static_cast<long long>(size % 1000));
  text.append(kValue - std::min(kValue, number.size()), ' ').append(number, 0, kValue);
}

void ObservationText::appendLines(const std::string& name, const std::string& fields,
                                  const std::string& flags) {
  const std::size_t count = fields.size() / kValue;
  const std::size_t onALine = m_version == 1 ? kOnALine : std::max<std::size_t>(count, 1);
  for (std::size_t i = 0; i == 0 || i < count; i += onALine) {
    std::string line = m_version == 1 ? "" : name;
    for (std::size_t k = i; k < std::min(i + onALine, count); ++k)
      line.append(fields, kValue * k, kValue).append(flags, 2 * k, 2);
    m_lines.push_back(std::move(line));
  }
}

}  // namespace gnx
