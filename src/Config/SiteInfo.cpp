/// \file SiteInfo.cpp
/// Station data files: ocean loading coefficients (BLQ) and station coordinates.

#include "Config/SiteInfo.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "Common/Constants.h"
#include "Common/Fatal.h"
#include "Common/Logtrace.h"
#include "Common/TextScan.h"
#include "Config/Configuration.h"
#include "Records/Station.h"

namespace tarvio {

namespace {

constexpr double kNear = 0.0015678560412142946;  // rad, 10 km on the sphere
constexpr std::string_view kSiteMark = "lon/lat:";

/// Whether the site line's longitude and latitude (degrees) lie within 10 km of (lat, lon), radians.
bool s_isNear(std::string_view line, double lat, double lon) {
  double lonLat[2];
  if (s_scanNumbers(line.substr(line.find(kSiteMark) + kSiteMark.size()), lonLat, 2) != 2) return false;
  const double dlat = lonLat[1] * kDegToRad - lat;
  const double dlon = std::remainder(lonLat[0] * kDegToRad - lon, 2.0 * kPi);
  return std::abs(dlat) < kNear && std::abs(dlon) * std::cos(lat) < kNear;
}

/// The six rows behind a site line, comment lines between them skipped.
bool s_readRows(std::string_view& text, double (*coef)[11]) {
  for (int row = 0; row < 6;) {
    std::string_view line, rest = text;
    if (!s_nextLine(rest, line) || line.find(kSiteMark) != std::string_view::npos) return false;
    if (!line.starts_with("$$")) {
      if (s_scanNumbers(line, coef[row], 11) != 11) return false;
      ++row;
    }
    text = rest;
  }
  for (int row = 3; row < 6; ++row) {
    for (int k = 0; k < 11; ++k) coef[row][k] *= kDegToRad;
  }
  return true;
}

struct SiteRecord {
  bool m_found = false, m_hasPosition = false;
  double m_pos[3] = {}, m_sig[6] = {}, m_enu[3] = {};
  bool m_hasSig = false, m_hasEnu = false;
};

/// Tagged lines of one station: NAME_POS position (m), NAME_SIG sigmas and noise, NAME_ENU offset (m).
SiteRecord s_readSite(const char* function, const std::string& name) {
  const std::string& path = s_requiredTableFile(function, __LINE__, "stacoo");
  std::string content;
  if (!s_readFile(path, content)) {
    s_fatal(function, __LINE__, "file = %s,can't access site file\n", path.c_str());
  }
  SiteRecord site;
  std::string_view text = content, line;
  while (s_nextLine(text, line)) {
    const std::string_view tag = s_nextWord(line);
    if (!tag.starts_with(name) || tag.size() != name.size() + 4) continue;
    const std::string_view kind = tag.substr(name.size());
    if (kind == "_POS") {
      site.m_hasPosition = s_scanNumbers(line, site.m_pos, 3) == 3;
    } else if (kind == "_SIG") {
      constexpr std::size_t kBetween = 54;  // columns between the two triples
      int n = 0;
      while (n < 3 && s_nextNumber(line, site.m_sig[n])) ++n;
      line.remove_prefix(std::min(kBetween, line.size()));
      site.m_hasSig = n == 3 && s_scanNumbers(line, site.m_sig + 3, 3) == 3;
    } else if (kind == "_ENU") {
      site.m_hasEnu = s_scanNumbers(line, site.m_enu, 3) == 3;
    } else {
      continue;
    }
    site.m_found = true;
  }
  if (!site.m_found) {
    s_fatal(function, __LINE__, "staname = %s,file = %s,station is not exist in the site file\n",
            name.c_str(), path.c_str());
  }
  if (!site.m_hasPosition) {
    s_fatal(function, __LINE__, "staname = %s,file = %s,no coordinate information for station in site file\n",
            name.c_str(), path.c_str());
  }
  return site;
}

std::string s_oceanFile() {
  constexpr const char* kFunction = "oceanload_coef";
  const std::string& path = s_requiredTableFile(kFunction, __LINE__, "ocload");
  std::string content;
  if (!s_readFile(path, content)) {
    Logtrace::m_logTrace(4, "[%s,%d]: file = %s,open configure file\n", kFunction, __LINE__, path.c_str());
    s_fatal(kFunction, __LINE__, "file = %s,open configure file\n", path.c_str());
  }
  return content;
}

}  // namespace

void s_checkOceanFile() { s_oceanFile(); }

bool oceanload_coef(double lat, double lon, double (*coef)[11]) {
  for (int row = 0; row < 6; ++row) std::fill(coef[row], coef[row] + 11, 0.0);
  const std::string content = s_oceanFile();
  bool found = false;
  std::string_view text = content, line;
  while (s_nextLine(text, line)) {
    if (line.find(kSiteMark) == std::string_view::npos || !s_isNear(line, lat, lon)) continue;
    double record[6][11];
    if (!s_readRows(text, record)) {
      Logtrace::m_logStatInfo("file = %s,ocean loading record without six rows of 11 numbers: %s\n",
                              s_tableFile("ocload")->c_str(), std::string(line).c_str());
      continue;
    }
    std::copy(&record[0][0], &record[0][0] + 66, &coef[0][0]);
    found = true;  // a later record that matches as well takes its place
  }
  if (!found) {
    Logtrace::m_logStatInfo("no oceanload coefficients\n");
    Logtrace::m_logPrint("[%s,%d]:no oceanload coefficients\n", __func__, __LINE__);
  }
  return found;
}

void read_siteinfo(Station* sta) {
  const SiteRecord site = s_readSite(__func__, sta->m_name);
  std::copy(site.m_pos, site.m_pos + 3, sta->m_x);
  if (site.m_hasSig) {
    std::copy(site.m_sig, site.m_sig + 3, sta->m_sigXyz);
    std::copy(site.m_sig + 3, site.m_sig + 6, sta->m_qXyz);
  }
  if (site.m_hasEnu) std::copy(site.m_enu, site.m_enu + 3, sta->m_enu);
}

void read_siteinfo(const std::string& name, double* xyz) {
  const SiteRecord site = s_readSite(__func__, name);
  std::copy(site.m_pos, site.m_pos + 3, xyz);
}

}  // namespace tarvio
