// Walks antenna files block by block, and writes the blocks that a deployment needs.

#include "deployment/antex_file.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <sstream>

#include "gnx/error.h"
#include "gnx/signal.h"
#include "text/fields.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

bool labelled(std::string_view line, std::string_view label) {
  return column(line, 60, label.size()) == label;
}

/// A data line with its label in column 60.
std::string labelLine(std::string data, const std::string& label) {
  data.resize(60, ' ');
  return data + label;
}

TableTime validity(std::string_view line) {
  TableTime t{};
  std::istringstream in{std::string(column(line, 0, 60))};
  double second = 0.0;
  in >> t[0] >> t[1] >> t[2] >> t[3] >> t[4] >> second;
  t[5] = static_cast<int>(std::clamp(second, 0.0, 60.0));
  return t;
}

/// Carrier frequency of a code of antenna files such as "G01", Hz; 0 for an unknown one.
double carrierOf(const std::string& code) {
  return code.size() == 3 && code[1] == '0' ? carrierFrequency(code[0], code[2]).value_or(0.0) : 0.0;
}

/// One block, from behind START OF ANTENNA.
AntexBlock readBlock(TextReader& in) {
  AntexBlock block;
  std::string_view line;
  AntexFrequency* frequency = nullptr;
  bool rms = false;
  while (in.next(line)) {
    if (labelled(line, "END OF ANTENNA")) return block;
    if (labelled(line, "START OF ANTENNA"))
      in.fail("antenna", "a new antenna starts before the end of the last");
    if (labelled(line, "START OF FREQ RMS")) {
      rms = true;
    } else if (labelled(line, "END OF FREQ RMS")) {
      rms = false;
    } else if (rms) {
      continue;
    } else if (labelled(line, "START OF FREQUENCY")) {
      frequency = &block.frequencies.emplace_back();
      frequency->code = trim(column(line, 3, 3));
    } else if (labelled(line, "END OF FREQUENCY")) {
      frequency = nullptr;
    } else if (frequency != nullptr) {
      const bool kept = labelled(line, "NORTH / EAST / UP") || line.starts_with("   NOAZI");
      (kept ? frequency->lines : frequency->azimuthRows).emplace_back(line);
    } else {
      if (labelled(line, "TYPE / SERIAL NO")) {
        block.type = column(line, 0, 20);
        block.type.resize(20, ' ');
        block.serial = trim(column(line, 20, 20));
        block.svn = trim(column(line, 40, 10));
        block.launch = trim(column(line, 50, 10));
      } else if (labelled(line, "VALID FROM")) {
        block.from = validity(line);
      } else if (labelled(line, "VALID UNTIL")) {
        block.until = validity(line);
      }
      block.head.emplace_back(line);
    }
  }
  in.failAtEnd("an antenna has no END OF ANTENNA: the file is cut short, fetch it again");
}

void readHeader(TextReader& in) {
  std::string_view line;
  bool version = false;
  while (in.next(line)) {
    if (labelled(line, "ANTEX VERSION")) version = true;
    if (!version) in.fail("ANTEX VERSION / SYST", "is missing: this is no antenna file");
    if (labelled(line, "PCV TYPE / REFANT") && !line.starts_with('A')) {
      in.fail("PCV TYPE / REFANT", "the offsets are relative to another antenna; a file of type A is needed");
    }
    if (labelled(line, "END OF HEADER")) return;
  }
  in.failAtEnd("END OF HEADER is missing: this is no antenna file");
}

}  // namespace

bool AntexBlock::isSatellite() const {
  return serial.size() == 3 && std::isupper(static_cast<unsigned char>(serial[0])) &&
         std::isdigit(static_cast<unsigned char>(serial[1])) &&
         std::isdigit(static_cast<unsigned char>(serial[2]));
}

void AntexBlock::dropAzimuthRows() {
  for (AntexFrequency& frequency : frequencies) frequency.azimuthRows.clear();
  for (std::string& line : head)
    if (labelled(line, "DAZI")) line = labelLine("     0.0", "DAZI");
}

void AntexBlock::reverseAxes() {
  for (AntexFrequency& frequency : frequencies)
    for (std::string& line : frequency.lines) {
      if (!labelled(line, "NORTH / EAST / UP")) continue;
      const auto x = parseReal(column(line, 0, 10)), y = parseReal(column(line, 10, 10));
      if (!x || !y) continue;
      char turned[24];
      std::snprintf(turned, sizeof turned, "%10.2f%10.2f", 0.0 - *x, 0.0 - *y);  // no "-0.00"
      line.replace(0, 20, turned);
    }
}

void AntexBlock::setType(const std::string& name) {
  type = name;
  type.resize(20, ' ');
  for (std::string& line : head)
    if (labelled(line, "TYPE / SERIAL NO")) line.replace(0, 20, type);
}

const AntexFrequency* AntexBlock::find(const std::string& code) const {
  const auto at = std::ranges::find(frequencies, code, &AntexFrequency::code);
  return at == frequencies.end() ? nullptr : &*at;
}

std::vector<AntexBlock> readAntex(const std::filesystem::path& path) {
  TextReader in(path.string());
  readHeader(in);
  std::vector<AntexBlock> blocks;
  std::string_view line;
  while (in.next(line)) {
    if (labelled(line, "START OF ANTENNA")) blocks.push_back(readBlock(in));
  }
  if (blocks.empty()) throw InputError(path.string(), 0, "holds no antenna");
  return blocks;
}

void writeAntex(std::ostream& out, const std::vector<AntexBlock>& blocks, const std::string& comment) {
  out << labelLine("     1.4            M", "ANTEX VERSION / SYST") << '\n'
      << labelLine("A", "PCV TYPE / REFANT") << '\n';
  std::istringstream lines(comment);
  for (std::string line; std::getline(lines, line);) out << labelLine(line, "COMMENT") << '\n';
  out << labelLine("", "END OF HEADER") << '\n';
  for (const AntexBlock& block : blocks) {
    out << labelLine("", "START OF ANTENNA") << '\n';
    for (const std::string& line : block.head) {
      out << (labelled(line, "# OF FREQUENCIES")
                  ? labelLine("     " + std::to_string(block.frequencies.size()), "# OF FREQUENCIES")
                  : line)
          << '\n';
    }
    for (const AntexFrequency& f : block.frequencies) {
      out << labelLine("   " + f.code, "START OF FREQUENCY") << '\n';
      for (const std::string& line : f.lines) out << line << '\n';
      for (const std::string& line : f.azimuthRows) out << line << '\n';
      out << labelLine("   " + f.code, "END OF FREQUENCY") << '\n';
    }
    out << labelLine("", "END OF ANTENNA") << '\n';
  }
}

PhaseCentreHeights phaseCentreHeights(const std::vector<AntexBlock>& blocks, const TableTime& time) {
  PhaseCentreHeights heights;
  for (const AntexBlock& block : blocks) {
    if (!block.isSatellite() || !satelliteOf(block).validAt(time)) continue;
    for (const AntexFrequency& frequency : block.frequencies)
      for (const std::string& line : frequency.lines) {
        if (!labelled(line, "NORTH / EAST / UP") || frequency.code.size() != 3) continue;
        const auto z = parseReal(column(line, 20, 10));
        if (z && frequency.code[0] == block.serial[0]) heights[block.serial][frequency.code[2]] = *z * 1e-3;
      }
  }
  return heights;
}

PhaseCentreHeights phaseCentreHeights(const std::filesystem::path& antex, const GpsTime& date) {
  return phaseCentreHeights(readAntex(antex), tableTime(date));
}

SatelliteRecord satelliteOf(const AntexBlock& block) {
  SatelliteRecord r;
  r.name = block.serial;
  r.vehicle = block.svn.size() == 4 ? block.svn.substr(1) : "000";
  r.block = trim(block.type);
  if (r.block.starts_with("GLONASS-K")) r.block = "GLONASS-K";  // the attitude table has one entry for both
  r.launch = block.launch.size() == 9 ? block.launch : "1900-000A";
  r.from = block.from;
  r.until = block.until;
  return r;
}

AntexBlock nominalBlock(const SatelliteRecord& satellite, std::string_view offsetTable) {
  AntexBlock block;
  block.type = satellite.block;
  block.type.resize(20, ' ');
  block.serial = satellite.name;
  block.svn = satellite.name.substr(0, 1) + satellite.vehicle;
  block.launch = satellite.launch;
  block.from = satellite.from;
  block.until = satellite.until;
  std::istringstream table{std::string(offsetTable)};
  for (std::string line; std::getline(table, line);) {
    if (!line.starts_with(satellite.block + ",")) continue;
    char code[4] = "";
    double x = 0.0, y = 0.0, z = 0.0;
    if (std::sscanf(line.c_str() + satellite.block.size() + 1, "%3[^,],%lf,%lf,%lf", code, &x, &y, &z) != 4)
      continue;
    block.frequencies.push_back(
        {code, {labelLine(printed("%10.2f%10.2f%10.2f", x, y, z), "NORTH / EAST / UP")}, {}});
  }
  const auto time = [](const TableTime& t) {
    return printed("%6d%6d%6d%6d%6d%13.7f", t[0], t[1], t[2], t[3], t[4], static_cast<double>(t[5]));
  };
  std::string title = block.type + block.serial;
  title.resize(40, ' ');
  title += block.svn;
  title.resize(50, ' ');
  block.head = {labelLine(title + block.launch, "TYPE / SERIAL NO"), labelLine("     0.0", "DAZI"),
                labelLine("     0.0   0.0   1.0", "ZEN1 / ZEN2 / DZEN"), labelLine("", "# OF FREQUENCIES"),
                labelLine(time(block.from), "VALID FROM")};
  if (block.until[0] != 0) block.head.push_back(labelLine(time(block.until), "VALID UNTIL"));
  return block;
}

bool completeFrequency(AntexBlock& block, const std::string& code, double hz) {
  if (block.find(code) != nullptr) return true;
  const AntexFrequency* nearest = nullptr;
  for (const AntexFrequency& f : block.frequencies) {
    if (f.code.empty() || f.code[0] != code[0] || carrierOf(f.code) == 0.0) continue;
    if (nearest == nullptr || std::fabs(carrierOf(f.code) - hz) < std::fabs(carrierOf(nearest->code) - hz))
      nearest = &f;
  }
  if (nearest == nullptr) return false;
  AntexFrequency added = *nearest;
  added.code = code;
  block.frequencies.push_back(std::move(added));
  return true;
}

}  // namespace gnx
