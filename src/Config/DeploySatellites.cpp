/// \file DeploySatellites.cpp
/// The table of data files and the satellite list. The row of a satellite in m_cprn is the index of
/// every per-satellite array of the system.

#include <json/json.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <utility>

#include "Common/ComFreq.h"
#include "Common/ComString.h"
#include "Common/ComTime.h"
#include "Common/Fatal.h"
#include "Common/Logtrace.h"
#include "Common/Taiutc.h"
#include "Common/TextScan.h"
#include "Config/ConfigInput.h"
#include "Config/Deploy.h"
#include "Config/SatelliteTable.h"

namespace tarvio {

namespace {

/// JSON key and key of the file table, in the order read.
constexpr std::pair<const char*, const char*> kFiles[] = {
    {"satconf", "satconf"}, {"satnav", "satnav"},     {"antnam", "antnam"}, {"antpcv", "antpcv"},
    {"leapsc", "leapsc"},   {"ocload", "ocload"},     {"ut1t10", "ut1t10"}, {"predefine", "predefine"},
    {"polut1", "polut1"},   {"gptgrd_w", "gptgrd_w"}, {"rinput", "ratio"}};
/// Files that only some models use.
constexpr const char* kOptionalFiles[] = {"jpleph", "ut1t03"};

constexpr int kOpenEnd_mjd = 88068;  // 2099-12-31: what is in use then has no end in the files

constexpr std::size_t kNameLimit = 7;  // characters of a satellite name

/// Position in the table of names "X##", -1 for a name of another form.
int s_nameKey(const char* name) {
  const auto digit = [&](int i) { return std::isdigit(static_cast<unsigned char>(name[i])) != 0; };
  if (name[0] < 'A' || name[0] > 'Z' || !digit(1) || !digit(2) || name[3] != '\0') return -1;
  return (name[0] - 'A') * 100 + (name[1] - '0') * 10 + (name[2] - '0');
}

}  // namespace

int Deploy::m_satRow(const char* cprn) const {
  if (cprn == nullptr) return -1;
  if (const int key = s_nameKey(cprn); key >= 0) {
    const int row = m_rowOfName[static_cast<std::size_t>(key)];
    if (row >= 0 && row < m_nsat && m_cprn[row] == cprn) return row;
  }
  for (int i = 0; i < m_nsat; ++i) {
    if (m_cprn[i] == cprn) return i;
  }
  return -1;
}

void Deploy::m_setRow(int isat, const std::string& cprn, const std::string& sysname) {
  m_cprn[isat] = cprn;
  m_sysname[isat] = sysname;
  if (const int key = s_nameKey(cprn.c_str()); key >= 0) {
    m_rowOfName[static_cast<std::size_t>(key)] = static_cast<short>(isat);
  }
}

void Deploy::m_parseTablesConfigures(const char* file) {
  Json::Value root = s_readJson(__func__, file, "can't open file to read!\n", "can't parse file!\n");
  const char* key = "files";
  const auto path = [&](const Json::Value& files) {
    return excludeAnnoValue(std::string(files[key][0].asCString()));
  };
  try {
    const Json::Value& files = std::as_const(root)["files"];
    for (const auto& [jsonKey, tableKey] : kFiles) {
      key = jsonKey;
      m_fileTable[tableKey] = path(files);
    }
    for (const char* optional : kOptionalFiles) {
      key = optional;
      if (files.isMember(key)) m_fileTable[key] = path(files);
    }
  } catch (const std::exception&) {
    s_fatal(__func__, __LINE__, "item = %s,file = %s,failed to extract config", key, file);
  }
  Taiutc::s_getInstance().m_setFile(m_fileTable["leapsc"]);
}

void Deploy::m_parseSatelliteConfigures() {
  const auto item = m_fileTable.find("satconf");
  if (item == m_fileTable.end()) {
    s_fatal(__func__, __LINE__, "key = %s,can't find the value for the key!\n", "satconf");
  }
  std::string content;
  if (!s_readFile(item->second, content)) {
    s_fatal(__func__, __LINE__, "file = %s,can't open file to read\n", item->second.c_str());
  }
  int mjd = m_mjd0;
  double sod = m_sod0;
  if (!m_lpost) {
    time2mjd(s_wallClock(), &mjd, &sod);
    m_clockUnset = !Taiutc::s_getInstance().m_covers(mjd);
    if (m_clockUnset) mjd = kOpenEnd_mjd;
    else cur_time(&mjd, &sod);
  }
  const double jd = mjd + sod / kDay;

  m_satellites.reserve(kMaxSat);
  std::string_view text = content, line;
  while (s_nextLine(text, line) && line.find("-Satellite used") == std::string_view::npos) {
  }
  while (s_nextLine(text, line) && line.starts_with(' ')) {
    const std::string cprn(s_nextWord(line)), type(s_nextWord(line));
    if (cprn.empty()) continue;
    if (!m_addSatellite(cprn, type, jd)) break;
  }
  if (m_nsat == 0) s_fatal(__func__, __LINE__, "nrpn = %d,no selected satellite!\n", m_nsat);
  if (char* gps = std::strchr(m_syslist, 'G'); gps != nullptr) std::swap(*gps, m_syslist[0]);
  m_refsys = s_systemIndex(m_syslist[0]);
}

/// One line of the list. \return false when the table is full
bool Deploy::m_addSatellite(const std::string& cprn, const std::string& type, double jd) {
  static constexpr const char* kFunction = "m_parseSatelliteConfigures";
  if (m_satRow(cprn.c_str()) >= 0) {
    s_note(kFunction, __LINE__, "cprn = %s,exist the same satellite\n", cprn.c_str());
    return true;
  }
  if (cprn.size() > kNameLimit) {
    s_note(kFunction, __LINE__, "cprn = %s,satellite name is too long, the line is skipped\n", cprn.c_str());
    return true;
  }
  if (m_nsat >= kMaxSat) {
    s_note(kFunction, __LINE__, "cprn = %s,more than %d satellites, the rest of the list is left out\n",
           cprn.c_str(), kMaxSat);
    return false;
  }
  const int row = m_nsat;
  const char letter = csys_bytype(type);
  const int isys = letter == ' ' ? -1 : s_systemIndex(letter);
  if (isys < 0) s_fatal(kFunction, __LINE__, "system = %s,do not support system\n", type.c_str());
  if (std::strchr(m_syslist, letter) == nullptr) {
    m_syslist[m_nsys++] = letter;
    m_syslist[m_nsys] = '\0';
  }
  m_setRow(row, cprn, getcprn_bytype(cprn, letter));
  ++m_nsat;

  Satellite satellite;
  char block[32] = "";
  Antatx::s_rdSvnav(cprn.c_str(), jd, nullptr, nullptr, nullptr, nullptr, block, nullptr);
  satellite.m_block = block;
  // The used tables, not the observed ones: a signal that is only observed may be missing from the
  // antenna file.
  if (satellite.m_getAnt(cprn.c_str(), m_nfreqUsed, m_freqUsed, jd, jd, block, cprn.c_str(),
                         satellite.m_pco) != 1) {
    s_fatal(kFunction, __LINE__, "ant = %s,cprn = %s,satellite antenna is not found in atx file\n", block,
            cprn.c_str());
  }
  get_freq(satellite, cprn, isys, m_nfreqUsed[isys], m_freqUsed[isys]);
  m_satellites.push_back(std::move(satellite));
  return true;
}

void Deploy::m_renewAntennas(int mjd, double sod) {
  const double jd = mjd + sod / kDay;
  for (int row = 0; row < m_nsat; ++row) {
    const char* cprn = m_cprn[row].c_str();
    Satellite& satellite = m_satellites[static_cast<std::size_t>(row)];
    char block[32] = "";
    Satellite now;
    if (!Antatx::s_findSvnav(cprn, jd, nullptr, nullptr, nullptr, nullptr, block, nullptr) ||
        now.m_getAnt(cprn, m_nfreqUsed, m_freqUsed, jd, jd, block, cprn, now.m_pco) != 1) {
      Logtrace::m_logStatInfo("cprn = %s,not in the satellite or antenna file at mjd %d, keeps block %s\n",
                              cprn, mjd, satellite.m_block.c_str());
      continue;
    }
    // Carriers stay: feeder threads read them.
    static_cast<Antatx&>(satellite) = now;
    std::copy(&now.m_pco[0][0], &now.m_pco[0][0] + kFreq * 3, &satellite.m_pco[0][0]);
    satellite.m_block = block;
  }
}

}  // namespace tarvio
