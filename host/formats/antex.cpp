#include "formats/antex.h"

#include "formats/fields.h"
#include "formats/text_reader.h"

namespace gnx {

namespace {

constexpr std::int64_t kFarAway = std::int64_t{1} << 40;

GpsTime readTime(const TextReader& reader, std::string_view line) {
  const auto time = parseDate(parseInt(column(line, 0, 6)), parseInt(column(line, 6, 6)),
                              parseInt(column(line, 12, 6)), parseInt(column(line, 18, 6)),
                              parseInt(column(line, 24, 6)), parseReal(column(line, 30, 13)));
  if (!time) reader.fail("validity", "is not a date and time; the file is damaged here");
  return *time;
}

/// Reads from the line behind START OF ANTENNA to END OF ANTENNA.
AntexEntry readAntenna(TextReader& reader) {
  AntexEntry entry;
  entry.line = reader.line();
  entry.from = {-kFarAway, 0.0};
  entry.until = {kFarAway, 0.0};
  std::string_view line;
  while (reader.next(line)) {
    const std::string_view label = trim(column(line, 60, 40));
    if (label == "END OF ANTENNA") {
      if (trim(entry.type).empty())
        reader.fail("antenna", "block without TYPE / SERIAL NO; the file is damaged");
      return entry;
    }
    if (label == "START OF ANTENNA")
      reader.fail("antenna", "block begins inside another; the file is damaged here");
    if (label == "TYPE / SERIAL NO") {
      entry.type = column(line, 0, 20);
      // Satellites carry their SVN in the third field, receiver antennas never do.
      if (const std::string_view svn = trim(column(line, 40, 10)); !svn.empty()) {
        const auto sat = parseSat(column(line, 20, 3));
        if (!sat) reader.fail("antenna", "'" + std::string(column(line, 20, 3)) + "' is no satellite");
        entry.sat = *sat;
        entry.svn = svn;
        entry.cospar = trim(column(line, 50, 10));
      }
    } else if (label == "VALID FROM") {
      entry.from = readTime(reader, line);
    } else if (label == "VALID UNTIL") {
      entry.until = readTime(reader, line);
    } else if (label == "START OF FREQUENCY") {
      entry.frequencies.emplace_back(trim(column(line, 3, 3)));
    }
  }
  reader.failAtEnd("antenna: file ends inside the block that begins in line " + std::to_string(entry.line) +
                   "; it is truncated, fetch it again");
}

}  // namespace

std::vector<AntexEntry> readAntexIndex(const std::string& path) {
  TextReader reader(path);
  std::string_view line;
  if (!reader.next(line) || trim(column(line, 60, 40)) != "ANTEX VERSION / SYST") {
    reader.fail("", "is not an ANTEX file (no ANTEX VERSION / SYST in the first line)");
  }
  std::vector<AntexEntry> entries;
  while (reader.next(line)) {
    if (trim(column(line, 60, 40)) == "START OF ANTENNA") entries.push_back(readAntenna(reader));
  }
  if (entries.empty()) reader.failAtEnd("holds no antenna; the file is truncated or damaged");
  return entries;
}

}  // namespace gnx
