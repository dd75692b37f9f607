// Names of satellites; rows of the satellite navigation table by their columns.

#include "gnx/satellite.h"

#include <charconv>
#include <cstdlib>

#include "deployment/built_in_files.h"
#include "text/printed.h"

namespace gnx {

namespace {

std::string_view column(std::string_view line, std::size_t first, std::size_t width) {
  if (first >= line.size()) return {};
  std::string_view text = line.substr(first, width);
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\r')) text.remove_suffix(1);
  return text;
}

TableTime timeColumns(std::string_view line, std::size_t first) {
  constexpr std::array<std::size_t, 6> kOffset{0, 5, 8, 11, 14, 17};
  TableTime t{};
  for (std::size_t i = 0; i < 6; ++i) {
    const std::string_view text = column(line, first + kOffset[i], i == 0 ? 4 : 2);
    std::from_chars(text.data(), text.data() + text.size(), t[i]);
  }
  return t;
}

std::string timeText(const TableTime& t) {
  return printed("%04d %02d %02d %02d %02d %02d", t[0], t[1], t[2], t[3], t[4], t[5]);
}

bool nextLine(std::string_view& text, std::string_view& line) {
  if (text.empty()) return false;
  const std::size_t end = std::min(text.find('\n'), text.size());
  line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return true;
}

}  // namespace

TableTime tableTime(const GpsTime& t) {
  const Calendar c = toCalendar(t);
  return {c.year, c.month, c.day, c.hour, c.minute, static_cast<int>(c.second)};
}

char systemLetter(const SatelliteRecord& satellite) {
  const char letter = satellite.name.empty() ? ' ' : satellite.name[0];
  return letter == 'C' && satellite.block.starts_with("BEIDOU-2") ? 'B' : letter;
}

std::optional<SatName> parseSat(std::string_view text) {
  if (text.size() != 3) return std::nullopt;
  const char letter = text[0] == ' ' ? 'G' : text[0];
  const char tens = text[1] == ' ' ? '0' : text[1];
  const char ones = text[2];
  if (letter < 'A' || letter > 'Z' || tens < '0' || tens > '9' || ones < '0' || ones > '9')
    return std::nullopt;
  if (tens == '0' && ones == '0') return std::nullopt;
  return SatName{letter, tens, ones};
}

std::vector<SatelliteRecord> parseSatelliteTable(std::string_view text) {
  std::vector<SatelliteRecord> rows;
  std::string_view line;
  while (nextLine(text, line) && line.find("PART 1") == std::string_view::npos) {
  }
  for (int header = 0; header < 5; ++header) nextLine(text, line);
  while (nextLine(text, line) && !line.starts_with('-') && !line.starts_with('+')) {
    SatelliteRecord r;
    r.name = column(line, 0, 3);
    if (r.name.size() != 3) continue;
    r.vehicle = column(line, 5, 3);
    r.block = column(line, 10, 20);
    if (const auto tilde = r.block.find('~'); tilde != std::string::npos) r.block[tilde] = ' ';
    r.launch = column(line, 32, 9);
    r.from = timeColumns(line, 43);
    r.until = timeColumns(line, 64);
    r.mass_kg = std::strtod(std::string(column(line, 85, 6)).c_str(), nullptr);
    rows.push_back(std::move(r));
  }
  return rows;
}

std::string formatSatelliteTable(const std::vector<SatelliteRecord>& rows) {
  std::string text =
      "Satellites: names, vehicles, antenna blocks, validity (GPS time; year 0: open), mass.\n"
      "+SATELLITES PART 1\n"
      "Vehicles. Fixed columns.\n"
      "\"~\" in a block stands for its blank.\n"
      "\n"
      "\n"
      "PRN  SVN  BLOCK                 COSPAR     YYYY MM DD HH MM SS  YYYY MM DD HH MM SS    MASS  SPAR\n";
  for (const SatelliteRecord& r : rows) {
    std::string block = r.block;
    if (const auto blank = block.find(' '); blank != std::string::npos) block[blank] = '~';
    text += printed("%-3.3s  %-3.3s  %-20.20s  %-9.9s  %s  %s  %6.1f  %4d\n", r.name.c_str(),
                    r.vehicle.c_str(), block.c_str(), r.launch.c_str(), timeText(r.from).c_str(),
                    timeText(r.until).c_str(), r.mass_kg, 0);
  }
  text += "-SATELLITES\n\n+SATELLITES PART 2\nLaser reflector offsets: none.\n\n\n\n\n-SATELLITES\n";
  return text;
}

const std::vector<SatelliteRecord>& builtInSatellites() {
  static const std::vector<SatelliteRecord> rows = parseSatelliteTable(builtInFiles().at("satnav.txt"));
  return rows;
}

}  // namespace gnx
