// Writes header lines of orbit and clock files in their columns.

#include "Common/ProductHeaders.h"

#include <algorithm>
#include <cstdio>
#include <ostream>

#include "Common/ComTime.h"
#include "Common/Constants.h"

namespace tarvio {

namespace {

constexpr const char* kCentre = "QVA";
constexpr const char* kProgram = "TARVIO-INTCLK";
constexpr std::size_t kSatellitesPerLine = 17;  ///< of "+" and "++"
constexpr std::size_t kLeastLines = 5;
constexpr std::size_t kLeastComments = 4;
constexpr std::size_t kPrnsPerLine = 15;

/// What a file holds: one letter of a system, M when there are several.
char s_system(const std::vector<std::string>& cprn) {
  if (cprn.empty()) return 'M';
  const char first = cprn.front()[0];
  const bool mixed =
      std::any_of(cprn.begin(), cprn.end(), [first](const auto& name) { return name[0] != first; });
  return mixed ? 'M' : first;
}

/// Lines of 17 fields of three characters; fields without a satellite hold "  0".
void s_writeSatelliteLines(std::ostream& out, const char* mark, const std::vector<std::string>& cprn,
                           bool names) {
  const std::size_t needed = (cprn.size() + kSatellitesPerLine - 1) / kSatellitesPerLine;
  const std::size_t lines = std::max(needed, kLeastLines);
  char head[16];
  for (std::size_t line = 0; line < lines; ++line) {
    if (line == 0 && names) std::snprintf(head, sizeof head, "%-2s %3zu   ", mark, cprn.size());
    else std::snprintf(head, sizeof head, "%-9s", mark);
    out << head;
    for (std::size_t k = line * kSatellitesPerLine; k < (line + 1) * kSatellitesPerLine; ++k)
      out << (names && k < cprn.size() ? cprn[k] : "  0");
    out << '\n';
  }
}

void s_writeLabelled(std::ostream& out, const char* content, const char* label) {
  char line[96];
  std::snprintf(line, sizeof line, "%-60.60s%-20s\n", content, label);
  out << line;
}

}  // namespace

void m_wtsp3hd(std::ostream& out, const Sp3Header& h) {
  int mjd = 0, year = 0, month = 0, day = 0, hour = 0, minute = 0, week = 0;
  double sod = 0.0, second = 0.0, sow = 0.0;
  timinc(h.m_mjd, h.m_sod, 0.0, &mjd, &sod);
  mjd2date(mjd, sod, &year, &month, &day, &hour, &minute, &second);
  mjd2wksow(mjd, sod, &week, &sow);
  char line[160];
  std::snprintf(line, sizeof line, "#dP%4d %2d %2d %2d %2d %11.8f %7d ORBIT %5.5s %3.3s %4.4s\n", year, month,
                day, hour, minute, second, h.m_nepoch, h.m_frame.c_str(), h.m_orbtype.c_str(), kCentre);
  out << line;
  std::snprintf(line, sizeof line, "## %4d %15.8f %14.8f %5d %15.13f\n", week, sow, h.m_intv, mjd,
                sod / kDay);
  out << line;
  s_writeSatelliteLines(out, "+", h.m_cprn, true);
  s_writeSatelliteLines(out, "++", h.m_cprn, false);
  std::snprintf(line, sizeof line,
                "%%c %-2c cc GPS ccc cccc cccc cccc cccc ccccc ccccc ccccc ccccc\n"
                "%%c cc cc ccc ccc cccc cccc cccc cccc ccccc ccccc ccccc ccccc\n",
                s_system(h.m_cprn));
  out << line << "%f  0.0000000  0.000000000  0.00000000000  0.000000000000000\n"
      << "%f  0.0000000  0.000000000  0.00000000000  0.000000000000000\n"
      << "%i    0    0    0    0      0      0      0      0         0\n"
      << "%i    0    0    0    0      0      0      0      0         0\n";
  for (std::size_t i = 0; i < std::max(h.m_comments.size(), kLeastComments); ++i) {
    std::snprintf(line, sizeof line, "/* %.77s\n",
                  i < h.m_comments.size() ? h.m_comments[i].c_str() : kProgram);
    out << line;
  }
}

void m_wtclkhd(std::ostream& out, const ClkHeader& h) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0;
  double second = 0.0;
  mjd2date(h.m_mjd, h.m_sod, &year, &month, &day, &hour, &minute, &second);
  char text[80];
  std::snprintf(text, sizeof text, "%9.2f           %-20s%c", 3.0, "CLOCK DATA", s_system(h.m_cprn));
  s_writeLabelled(out, text, "RINEX VERSION / TYPE");
  std::snprintf(text, sizeof text, "%-20s%-20s%04d%02d%02d %02d%02d%02d UTC", kProgram, kCentre, year, month,
                day, hour, minute, static_cast<int>(second));
  s_writeLabelled(out, text, "PGM / RUN BY / DATE");
  for (const std::string& comment : h.m_comments) s_writeLabelled(out, comment.c_str(), "COMMENT");
  s_writeLabelled(out, "   GPS", "TIME SYSTEM ID");
  std::snprintf(text, sizeof text, "%6d", h.m_leap);
  s_writeLabelled(out, text, "LEAP SECONDS");
  s_writeLabelled(out, "     1    AS", "# / TYPES OF DATA");
  std::snprintf(text, sizeof text, "%-3s  %s", kCentre, kProgram);
  s_writeLabelled(out, text, "ANALYSIS CENTER");
  std::snprintf(text, sizeof text, "%6zu", h.m_cprn.size());
  s_writeLabelled(out, text, "# OF SOLN SATS");
  for (std::size_t first = 0; first < h.m_cprn.size(); first += kPrnsPerLine) {
    std::string list;
    for (std::size_t k = first; k < std::min(first + kPrnsPerLine, h.m_cprn.size()); ++k)
      list += h.m_cprn[k] + " ";
    s_writeLabelled(out, list.c_str(), "PRN LIST");
  }
  s_writeLabelled(out, "", "END OF HEADER");
}

}  // namespace tarvio
