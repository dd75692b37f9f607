/// \file Antatx.cpp
/// Phase-centre offsets from an ANTEX 1.4 file (Rothacher and Schmid, "ANTEX: The Antenna Exchange
/// Format, Version 1.4", 2010).

#include "Records/Antatx.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include "Common/ComFreq.h"
#include "Common/ComString.h"
#include "Common/ComTime.h"
#include "Common/Fatal.h"
#include "Common/Logtrace.h"
#include "Common/TextScan.h"
#include "Config/AntexIndex.h"
#include "Config/Configuration.h"

namespace tarvio {

namespace {

constexpr double kMillimetre = 0.001;
constexpr int kLargestPattern = 1000;  // rows or columns; the finest published grids have 361 by 181

struct CodeRow {
  const char* code;
  char system, second;  ///< second system, ' ' = none
  const char* tag;
};

constexpr CodeRow kCodes[] = {
    {"G01", 'G', ' ', "L1"}, {"G02", 'G', ' ', "L2"}, {"G05", 'G', ' ', "L5"}, {"R01", 'R', ' ', "L1"},
    {"R02", 'R', ' ', "L2"}, {"E01", 'E', ' ', "L1"}, {"E05", 'E', ' ', "L5"}, {"E06", 'E', ' ', "L6"},
    {"E07", 'E', ' ', "L7"}, {"E08", 'E', ' ', "L8"}, {"C02", 'C', 'B', "L2"}, {"C07", 'C', 'B', "L7"},
    {"C06", 'C', 'B', "L6"}, {"C01", 'C', 'B', "L1"}, {"C05", 'C', 'B', "L5"}, {"C08", 'C', 'B', "L8"},
    {"B02", 'B', 'C', "L2"}, {"B07", 'B', 'C', "L7"}, {"B06", 'B', 'C', "L6"}, {"B01", 'B', 'C', "L1"},
    {"B05", 'B', 'C', "L5"}, {"B08", 'B', 'C', "L8"}, {"J01", 'J', ' ', "L1"}, {"J02", 'J', ' ', "L2"},
    {"J05", 'J', ' ', "L5"}, {"J06", 'J', ' ', "L6"}};

bool s_isSite(const char* cprn) { return std::strstr(cprn, "SITE") != nullptr; }

/// System index of a satellite by its row, by its letter when it has no row; -1 for a receiver.
int s_systemOf(const char* cprn) {
  if (s_isSite(cprn)) return -1;
  const Deploy& deploy = s_config();
  const int row = deploy.m_satRow(cprn);
  return row >= 0 ? deploy.m_sysOfRow(row) : s_systemIndex(cprn[0]);
}

/// Day number of a "VALID FROM" or "VALID UNTIL" line.
bool s_validDay(std::string_view line, double& day) {
  line = line.substr(0, 60);
  int part[5];
  for (int& value : part) {
    if (!s_nextNumber(line, value)) return false;
  }
  double second = 0.0;
  s_nextNumber(line, second);
  day = md_julday(part[0], part[1], part[2]) + part[3] / 24.0 + part[4] / 1440.0 + second / kDay;
  return true;
}

/// Head of a block, up to "START OF FREQUENCY", which stays in `text`.
/// \return whether the block is valid from jd0 to jd1
bool s_readHead(Antatx& ant, std::string_view& text, double jd0, double jd1) {
  double from = -std::numeric_limits<double>::infinity(), until = -from;
  std::string_view line;
  for (std::string_view rest = text; s_nextLine(rest, line); text = rest) {
    const std::string_view label = s_antexLabel(line);
    if (label == "START OF FREQUENCY") break;
    if (label == "DAZI") {
      s_scanNumbers(line, &ant.m_dazi, 1);
    } else if (label == "ZEN1 / ZEN2 / DZEN") {
      double zen[3] = {};
      s_scanNumbers(line, zen, 3);
      ant.m_zen1 = zen[0];
      ant.m_zen2 = zen[1];
      ant.m_dzen = zen[2];
    } else if (label == "VALID FROM") {
      s_validDay(line, from);
    } else if (label == "VALID UNTIL") {
      s_validDay(line, until);
    } else if (label == "# OF FREQUENCIES") {
      s_scanNumbers(line, &ant.m_nfreqAtx, 1);
    }
  }
  return from <= jd0 && jd1 <= until;
}

/// Sizes of the pattern grid; a step of zero or an absurd size gives none.
void s_setPatternSize(Antatx& ant) {
  const double nzen = ant.m_dzen > 0.0 ? std::round((ant.m_zen2 - ant.m_zen1) / ant.m_dzen) + 1.0 : 0.0;
  const double nazi = ant.m_dazi > 0.0 ? std::round(360.0 / ant.m_dazi) + 2.0 : 0.0;
  const auto size = [](double n) { return n >= 1.0 && n <= kLargestPattern ? static_cast<int>(n) : 0; };
  ant.m_nzen = size(nzen);
  ant.m_nazi = size(nazi);
}

/// Pattern rows of one frequency into row 0 (without azimuth) and the azimuth rows behind it.
struct PatternReader {
  std::vector<double> m_values;
  int m_nzen, m_rows, m_nextAzimuth = 1;

  explicit PatternReader(const Antatx& ant) : m_nzen(ant.m_nzen), m_rows(std::max(1, ant.m_nazi)) {
    m_values.assign(static_cast<std::size_t>(m_nzen * m_rows), 0.0);
  }
  void m_read(std::string_view line) {
    const bool noAzimuth = s_columns(line, 0, 8).find("NOAZI") != std::string_view::npos;
    const int row = noAzimuth ? 0 : m_nextAzimuth++;
    if (row >= m_rows) return;
    line.remove_prefix(std::min<std::size_t>(8, line.size()));
    double value = 0.0;
    for (int k = 0; k < m_nzen && s_nextNumber(line, value); ++k) {
      m_values[static_cast<std::size_t>(row * m_nzen + k)] = value * kMillimetre;
    }
  }
  /// The table; rows by azimuth that are not complete are left out.
  const std::vector<double>& m_table() {
    if (m_nextAzimuth != m_rows) m_values.resize(static_cast<std::size_t>(m_nzen));
    return m_values;
  }
};

/// Linear in a row, the end value outside.
double s_interpolated(const double* row, int n, double place) {
  place = std::clamp(place, 0.0, n - 1.0);
  const int i = static_cast<int>(place), next = std::min(i + 1, n - 1);
  return row[i] + (row[next] - row[i]) * (place - i);
}

/// One frequency section into every system and slot that asked for it.
void s_storeFrequency(Antatx& ant, const char* code, const double* offset, const std::vector<double>& pattern,
                      int isysOfSatellite, const int* nfreq, const char (*tags)[kFreq][4]) {
  std::string tag;
  int isys[2];
  Antatx::isys_byttype(tag, code, &isys[0], &isys[1]);
  for (const int s : isys) {
    if (s < 0 || (isysOfSatellite >= 0 && s != isysOfSatellite)) continue;
    const int slot = pointer_charstr(nfreq[s], 4, tags[s][0], tag.c_str());
    if (slot < 0 || slot >= kFreq) continue;
    s_copyText(ant.m_tag[s][slot], tag);
    std::copy(offset, offset + 3, ant.m_offset[s][slot]);
    ant.m_pattern[s][slot] = pattern;
  }
}

/// The frequency sections of a block. Sections of standard deviations ("START OF FREQ RMS") have
/// offset lines as well: only those inside a frequency count.
void s_readFrequencies(Antatx& ant, std::string_view text, int isysOfSatellite, const int* nfreq,
                       const char (*tags)[kFreq][4]) {
  std::string code;
  double offset[3];
  bool hasOffset = false, hasDefault = false;
  PatternReader pattern(ant);
  std::string_view line;
  while (s_nextLine(text, line)) {
    const std::string_view label = s_antexLabel(line);
    if (label == "START OF FREQUENCY") {
      code = s_columns(line, 3, 3);
      hasOffset = false;
      pattern = PatternReader(ant);
    } else if (code.empty()) {
      continue;
    } else if (label == "NORTH / EAST / UP") {
      hasOffset = s_scanNumbers(line.substr(0, 60), offset, 3) == 3;
      for (double& value : offset) value *= kMillimetre;
    } else if (label == "END OF FREQUENCY") {
      if (hasOffset && !hasDefault) {
        std::copy(offset, offset + 3, ant.m_default);
        ant.m_defaultPattern = pattern.m_table();
        hasDefault = true;
      }
      if (hasOffset)
        s_storeFrequency(ant, code.c_str(), offset, pattern.m_table(), isysOfSatellite, nfreq, tags);
      code.clear();
    } else {
      pattern.m_read(line);
    }
  }
}

/// Receiver offsets: north, east, up of the file to east, north, up; a slot that the file lacks
/// takes the GPS value of the slot, or else the first one of the block, and its pattern.
void s_fillReceiver(Antatx& ant, const int* nfreq) {
  OffsetTable enu = {};
  for (int s = kSys - 1; s >= 0; --s) {  // GPS, whose values others take, comes last
    for (int j = 0; j < std::min(nfreq[s], kFreq); ++j) {
      const bool own = ant.m_tag[s][j][0] != '\0', gps = ant.m_tag[0][j][0] != '\0';
      const double* neu = own ? ant.m_offset[s][j] : gps ? ant.m_offset[0][j] : ant.m_default;
      if (!own) ant.m_pattern[s][j] = gps ? ant.m_pattern[0][j] : ant.m_defaultPattern;
      enu[s][j][0] = neu[1];
      enu[s][j][1] = neu[0];
      enu[s][j][2] = neu[2];
    }
  }
  std::memcpy(ant.m_offset, enu, sizeof enu);
}

}  // namespace

void Antatx::m_resetMem() {
  m_nfreqAtx = m_nzen = m_nazi = 0;
  m_zen1 = m_zen2 = m_dzen = m_dazi = 0.0;
  std::memset(m_anttype, 0, sizeof m_anttype);
  std::memset(m_serial, 0, sizeof m_serial);
  std::memset(m_offset, 0, sizeof m_offset);
  std::memset(m_tag, 0, sizeof m_tag);
  std::memset(m_default, 0, sizeof m_default);
  for (auto& system : m_pattern) {
    for (auto& table : system) table.clear();
  }
  m_defaultPattern.clear();
}

int Antatx::m_getAnt(const char* cprn, const int* nfreq, const char (*tags)[kFreq][4], double jd0, double jd1,
                     const char* anttype, const char* serial, double (*pco)[3]) {
  m_resetMem();
  s_copyText(m_anttype, anttype);
  s_copyText(m_serial, serial);
  if (pco != nullptr) std::fill(&pco[0][0], &pco[0][0] + kFreq * 3, 0.0);
  if (std::strstr(m_anttype, "ANTNONE") != nullptr) return 1;
  if (m_rdatx(cprn, nfreq, tags, jd0, jd1) == 0) return 0;
  if (s_isSite(cprn)) {
    s_fillReceiver(*this, nfreq);
  } else if (pco != nullptr) {
    const int s = s_systemOf(cprn);
    if (s >= 0) std::copy(&m_offset[s][0][0], &m_offset[s][0][0] + kFreq * 3, &pco[0][0]);
  }
  return 1;
}

int Antatx::m_rdatx(const char* cprn, const int* nfreq, const char (*tags)[kFreq][4], double jd0,
                    double jd1) {
  const std::string& file = s_requiredTableFile(__func__, __LINE__, "antpcv");
  const char* path = file.c_str();
  const auto index = AntexIndex::s_of(file);
  if (index == nullptr) {
    Logtrace::m_logTrace(4, "[%s,%d]: file = %s,can't access to antpcv file\n", __func__, __LINE__, path);
    s_fatal(__func__, __LINE__, "file = %s,can't access to antpcv file\n", path);
  }
  if (index->m_pcvType != 'A') {
    Logtrace::m_logTrace(4, "[%s,%d]: type = %c,atxfile = %s,should refer absolute antenna mode in atxfile\n",
                         __func__, __LINE__, index->m_pcvType, path);
    s_fatal(__func__, __LINE__, "type = %c,atxfile = %s,should refer absolute antenna mode in atxfile\n",
            index->m_pcvType, path);
  }

  const int isys = s_systemOf(cprn);
  const bool satellite = !s_isSite(cprn);
  const std::string_view type = s_trimmed(m_anttype);
  const std::string_view serial = std::string_view(m_serial).substr(0, 3);
  for (const AntexBlock& block : index->m_blocks) {
    const std::string_view line = block.m_typeSerial;
    if (satellite && s_columns(line, 20, 3) != serial) continue;
    if (type.empty() || line.find(type) == std::string_view::npos) continue;
    const std::string content = index->m_read(block);
    std::string_view text = content;
    if (!s_readHead(*this, text, jd0, jd1)) continue;
    s_setPatternSize(*this);
    s_readFrequencies(*this, text, isys, nfreq, tags);
    for (int j = 0; satellite && isys >= 0 && j < std::min(nfreq[isys], kFreq); ++j) {
      if (m_tag[isys][j][0] != '\0') continue;
      Logtrace::m_logTrace(4, "[%s,%d]: antnam = %s,antnum = %s,atxfile = %s,frequency not found\n", __func__,
                           __LINE__, m_anttype, m_serial, path);
      std::printf("ERROR(m_rdatx):frequency not found!\n");
      return 0;
    }
    return 1;
  }
  Logtrace::m_logTrace(4,
                       "[%s,%d]: antnam = %s,antnum = %s,atxfile = %s,no definition for antenna in atxfile\n",
                       __func__, __LINE__, m_anttype, m_serial, path);
  Logtrace::m_logPrint("[%s,%d]:antnam = %s,antnum = %s,atxfile = %s,no definition for antenna in atxfile\n",
                       __func__, __LINE__, m_anttype, m_serial, path);
  return 0;
}

void Antatx::s_getAntPcv(const Antatx&, const Antatx&, double, double, double, double pcv[kSys][kFreq]) {
  std::fill(&pcv[0][0], &pcv[0][0] + kSys * kFreq, 0.0);
}

double Antatx::m_patternAt(int isys, int slot, double zenith) const {
  const std::vector<double>& table = m_pattern[isys][slot];
  return table.empty() ? 0.0 : s_interpolated(table.data(), m_nzen, (zenith - m_zen1) / m_dzen);
}

double Antatx::m_patternAt(int isys, int slot, double zenith, double azimuth) const {
  const std::vector<double>& table = m_pattern[isys][slot];
  const int rows = m_nzen > 0 ? static_cast<int>(table.size()) / m_nzen - 1 : 0;
  if (rows < 2) return m_patternAt(isys, slot, zenith);
  const double place = std::min((azimuth - 360.0 * std::floor(azimuth / 360.0)) / m_dazi, rows - 1.0);
  const int i = std::min(static_cast<int>(place), rows - 2);
  const double node = (zenith - m_zen1) / m_dzen;
  const auto at = [&](int row) { return s_interpolated(table.data() + (row + 1) * m_nzen, m_nzen, node); };
  return at(i) + (at(i + 1) - at(i)) * (place - i);
}

void Antatx::isys_byttype(std::string& tag, const char* code, int* isys1, int* isys2) {
  tag.clear();
  *isys1 = *isys2 = -1;
  for (const CodeRow& row : kCodes) {
    if (std::strcmp(row.code, code) != 0) continue;
    tag = row.tag;
    *isys1 = s_systemIndex(row.system);
    if (row.second != ' ') *isys2 = s_systemIndex(row.second);
    return;
  }
}

}  // namespace tarvio
