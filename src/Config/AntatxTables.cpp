/// \file AntatxTables.cpp
/// The two text tables beside the antenna file: receiver antenna names ("antnam") and satellite
/// information by date ("satnav"), a file of fixed columns.

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Common/ComString.h"
#include "Common/ComTime.h"
#include "Common/Fatal.h"
#include "Common/Logtrace.h"
#include "Common/TextScan.h"
#include "Config/Configuration.h"
#include "Records/Antatx.h"

namespace tarvio {

namespace {

constexpr int kHeaderLines = 5;         // lines behind "PART 1" and "PART 2"
constexpr std::size_t kNameColumn = 6;  // antenna names
constexpr std::size_t kNameWidth = 20;  // type 15, blank, radome 4
constexpr int kRowLimit = 256;          // columns of an expanded row format

constexpr const char* kPart1 =
    "%3s%*2c%3s%*2c%20s%*2c%9s%*2c%4d%*c%2d%*c%2d%*c%2d%*c%2d%*c%2d%*2c%4d%*c%2d%*c%2d%*c%2d%*c%2d%*c%2d%*2c%"
    "6lf%"
    "*2c%4d";
constexpr const char* kPart2 =
    "%3s%*2c%3s%*3c%4d%*c%2d%*c%2d%*c%2d%*c%2d%*c%2d%*2c%4d%*c%2d%*c%2d%*c%2d%*c%2d%*c%2d%*3c%10lf%10lf%10lf";

/// Content of a file of the table; ends the process when the key or the file is missing.
std::string s_tableContent(const char* function, const char* key, const char* missing) {
  const std::string& path = s_requiredTableFile(function, __LINE__, key);
  std::string content;
  if (!s_readFile(path, content)) {
    Logtrace::m_logTrace(4, "[%s,%d]: file = %s,%s\n", function, __LINE__, path.c_str(), missing);
    s_fatal(function, __LINE__, "file = %s,%s\n", path.c_str(), missing);
  }
  return content;
}

/// Cuts a row into the fields of an expanded format, blanks trimmed; a field beyond the row's end
/// is empty.
std::vector<std::string_view> s_cut(const char* layout, std::string_view row) {
  std::vector<std::string_view> fields;
  for (std::size_t i = 0; layout[i] != '\0';) {
    if (!std::isupper(static_cast<unsigned char>(layout[i]))) {
      ++i;
      continue;
    }
    const std::size_t first = i++;
    while (std::islower(static_cast<unsigned char>(layout[i]))) ++i;
    fields.push_back(s_trimmed(s_columns(row, first, i - first)));
  }
  return fields;
}

int s_int(std::string_view field) {
  int value = 0;
  s_nextNumber(field, value);
  return value;
}

double s_double(std::string_view field) {
  double value = 0.0;
  s_nextNumber(field, value);
  return value;
}

/// Day number of the six fields year .. second.
double s_day(const std::string_view* field) {
  return md_julday(s_int(field[0]), s_int(field[1]), s_int(field[2])) + s_int(field[3]) / 24.0 +
         s_int(field[4]) / 1440.0 + s_int(field[5]) / kDay;
}

/// Whether `jd` lies strictly between start and end; an end year of 0 is open.
bool s_qualifies(const std::string_view* start, double jd) {
  const std::string_view* end = start + 6;
  return s_day(start) < jd && (s_int(end[0]) == 0 || jd < s_day(end));
}

/// "2011-036A" to "1103601": two-digit year, number, letter's place in the alphabet.
std::string s_cosparNumber(std::string_view field) {
  std::string_view rest = field;
  int year = 0, number = 0;
  s_nextNumber(rest, year);
  if (!rest.empty()) rest.remove_prefix(1);
  rest = rest.substr(0, 4);
  s_nextNumber(rest, number);
  const int letter = rest.empty() ? 0 : std::toupper(static_cast<unsigned char>(rest[0])) - 'A' + 1;
  char text[64];
  std::snprintf(text, sizeof text, "%02d%03d%02d", year < 2001 ? year - 1900 : year - 2000, number, letter);
  return text;
}

}  // namespace

int Antatx::s_antnam(const char* anttype, const char* sitname, char* out) {
  const std::string content = s_tableContent(__func__, "antnam", "can't access to antnam file");
  const std::string_view sought = s_trimmed(anttype);
  std::string_view text = content, line;
  while (!sought.empty() && s_nextLine(text, line)) {
    if (line.find("MAIN") == std::string_view::npos) continue;
    const std::string_view name = s_columns(line, kNameColumn, kNameWidth);
    if (name.find(sought) == std::string_view::npos) continue;
    const std::size_t end = name.find_last_not_of(" \t");
    s_copyText(out, static_cast<int>(kNameWidth) + 1, std::string(name.substr(0, end + 1)).c_str());
    return 1;
  }
  Logtrace::m_logTrace(4, "[%s,%d]: anttyp = %s,sitname = %s,antenna unknown\n", __func__, __LINE__, anttype,
                       sitname);
  Logtrace::m_logPrint("[%s,%d]:anttyp = %s,sitname = %s,antenna unknown\n", __func__, __LINE__, anttype,
                       sitname);
  return 0;
}

void Antatx::s_checkdata(const char* fmt, char* out) {
  int n = 0;
  const auto put = [&](char c) {
    if (n < kRowLimit - 1) out[n++] = c;
  };
  for (const char* p = fmt; *p != '\0';) {
    if (*p != '%') {
      put(' ');
      ++p;
      continue;
    }
    const bool skip = *++p == '*';
    if (skip) ++p;
    int width = 0;
    for (; std::isdigit(static_cast<unsigned char>(*p)) && width < kRowLimit; ++p)
      width = width * 10 + *p - '0';
    if (*p == 'l') ++p;
    if (*p == '\0') break;
    const char kind = *p++;
    if (width == 0) {
      // A single skipped character needs no length.
      if (!skip || kind != 'c') {
        s_fatal(__func__, __LINE__, "***ERROR(checkdata): please make clear the length of the format %c!\n",
                kind);
      }
      width = 1;
    }
    for (int i = 0; i < width; ++i) {
      const int c = i == 0 ? std::toupper(static_cast<unsigned char>(kind)) : kind;
      put(skip ? '.' : static_cast<char>(c));
    }
  }
  out[n] = '\0';
}

bool Antatx::s_findSvnav(const char* cprn, double jd, char* svn, double* mass, int* number, double* offset,
                         char* block, char* cospar) {
  const std::string content = s_tableContent(__func__, "satnav", "can't accsss satnav file");
  char part1[kRowLimit], part2[kRowLimit];
  s_checkdata(kPart1, part1);
  s_checkdata(kPart2, part2);
  int part = 0, header = 0;
  bool found = false;
  std::string_view text = content, line;
  while (s_nextLine(text, line)) {
    if (line.find("PART 1") != std::string_view::npos || line.find("PART 2") != std::string_view::npos) {
      part = line.find("PART 1") != std::string_view::npos ? 1 : 2;
      header = kHeaderLines;
      continue;
    }
    if (part == 0 || header-- > 0) continue;
    header = 0;
    if (s_columns(line, 0, 3).find(cprn) == std::string_view::npos) continue;
    if (part == 1 && !found) {
      const std::vector<std::string_view> field = s_cut(part1, line);
      if (!s_qualifies(&field[4], jd)) continue;
      found = true;
      if (svn != nullptr) s_copyText(svn, 4, std::string(field[1]).c_str());
      if (block != nullptr) {
        std::string name(field[2]);
        if (const std::size_t tilde = name.find('~'); tilde != std::string::npos) name[tilde] = ' ';
        s_copyText(block, 21, name.c_str());
      }
      if (cospar != nullptr) s_copyText(cospar, 16, s_cosparNumber(field[3]).c_str());
      if (mass != nullptr) *mass = s_double(field[16]);
      if (number != nullptr) *number = s_int(field[17]);
    } else if (part == 2) {
      const std::vector<std::string_view> field = s_cut(part2, line);
      if (field[1].find("SLR") == std::string_view::npos || !s_qualifies(&field[2], jd)) continue;
      for (std::size_t k = 0; offset != nullptr && k < 3; ++k) offset[k] = s_double(field[14 + k]);
      break;
    }
  }
  return found;
}

void Antatx::s_rdSvnav(const char* cprn, double jd, char* svn, double* mass, int* number, double* offset,
                       char* block, char* cospar) {
  if (s_findSvnav(cprn, jd, svn, mass, number, offset, block, cospar)) return;
  const std::string& path = s_requiredTableFile(__func__, __LINE__, "satnav");
  Logtrace::m_logTrace(4, "[%s,%d]: cprn = %s,file = %s,satellite not found in svnav file\n", __func__,
                       __LINE__, cprn, path.c_str());
  s_fatal(__func__, __LINE__, "cprn = %s,file = %s,satellite not found in svnav file\n", cprn, path.c_str());
}

}  // namespace tarvio
