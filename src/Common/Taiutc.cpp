// Reads the table of leap seconds and looks days up.

#include "Common/Taiutc.h"

#include <algorithm>
#include <cstdio>
#include <fstream>

#include "Common/Fatal.h"

namespace tarvio {

Taiutc& Taiutc::s_getInstance() {
  static Taiutc m_Instance;
  return m_Instance;
}

void Taiutc::m_load() {
  // Threads that feed corrections ask for the time of day as well, so the first use is guarded.
  std::call_once(m_loaded, [this] {
    if (m_mjds.empty()) m_rdUtcFile();
  });
}

bool Taiutc::m_covers(int mjd) {
  m_load();
  return m_mjds.size() == 1 || (mjd >= m_mjds.front() && mjd <= m_mjds.back());
}

int Taiutc::m_nearestTaiutc(int mjd) {
  m_load();
  return m_getTaiutc(std::clamp(mjd, m_mjds.front(), m_mjds.back()));
}

int Taiutc::m_getTaiutc(int mjd) {
  m_load();
  if (m_mjds.size() == 1) return 0;
  if (mjd < m_mjds.front())
    s_fatal(__func__, __LINE__, "mjd = %d,mjde = %d,epoch before table start\n", mjd, m_mjds.front());
  if (mjd > m_mjds.back())
    s_fatal(__func__, __LINE__, "mjd = %d,mjde = %d,epoch after table start\n", mjd, m_mjds.back());
  std::size_t i = m_mjds.size() - 1;
  while (m_mjds[i] > mjd) --i;
  return m_taiutc[i];
}

void Taiutc::m_rdUtcFile() {
  if (m_file.empty())
    s_fatal(__func__, __LINE__, "***ERROR(readCommFil):file_table not exist leapsc item \n");
  std::ifstream in(m_file);
  if (!in) s_fatal(__func__, __LINE__, "***ERROR(rdUtcFile):no such file\n");

  m_mjds.clear();
  m_taiutc.clear();
  std::string line;
  while (std::getline(in, line))
    if (line.find("+leap sec") != std::string::npos) break;
  while (std::getline(in, line) && line.find("-leap sec") == std::string::npos) {
    int mjd, seconds;
    if (std::sscanf(line.c_str(), "%d%d", &mjd, &seconds) != 2) continue;
    m_mjds.push_back(mjd);
    m_taiutc.push_back(seconds);
  }
  if (m_mjds.empty())
    s_fatal(__func__, __LINE__,
            "***ERROR(rdUtcFile):no leap second between '+leap sec' and '-leap sec' in %s\n", m_file.c_str());
}

void Taiutc::v_onRecall(std::string key) {
  if (key == "leapsc") m_rdUtcFile();
}

}  // namespace tarvio
