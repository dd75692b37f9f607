// Converts ephemerides, corrections and biases of the host, and drops what is impossible.

#include "Interface/BoundaryInput.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "Common/ComFreq.h"
#include "Common/ComTime.h"
#include "Common/Taiutc.h"
#include "Config/Deploy.h"
#include "Config/SatelliteTable.h"

namespace tarvio {

namespace {

constexpr std::int64_t kFirstSecond = 315964800;  ///< 1980-01-06
constexpr std::int64_t kLastSecond = 4102444800;  ///< 2100-01-01

/// The slot of a code's band among the observed frequencies of a system.
signed char s_slotOfBand(const Deploy& deploy, int isys, char band) {
  const int slots = std::min(deploy.m_nfreqObs[isys], kFreq);
  for (int j = 0; j < slots; ++j) {
    if (band != '\0' && deploy.m_freqObs[isys][j][1] == band) return static_cast<signed char>(j);
  }
  return -1;
}

}  // namespace

SatelliteId::SatelliteId(int sat) {
  GNX_IO::satno2id(sat, m_text);
  m_text[sizeof m_text - 1] = '\0';
}

SignalTable::SignalTable() {
  std::fill(std::begin(m_row), std::end(m_row), -1);
  std::fill(std::begin(m_sys), std::end(m_sys), -1);
  std::memset(m_code, 0, sizeof m_code);
  std::memset(m_slot, -1, sizeof m_slot);
}

void SignalTable::m_build(const Deploy& deploy) {
  *this = SignalTable();
  for (int isat = 0; isat < deploy.m_nsat; ++isat) m_sys[isat] = index_sys(false, isat);
  for (int sat = 1; sat <= 255; ++sat) {
    const SatelliteId id(sat);
    if (id.m_text[0] != '\0') m_row[sat] = s_satRow(id.m_text);
  }
  for (int number = 1; number <= GNX_IO::kMaxCode; ++number) {
    const char* code = GNX_IO::code2obs(static_cast<unsigned char>(number));
    if (code == nullptr) continue;
    std::strncpy(m_code[number], code, sizeof m_code[number] - 1);
    for (int isys = 0; isys < kSys; ++isys)
      m_slot[isys][number] = s_slotOfBand(deploy, isys, m_code[number][0]);
  }
}

bool s_usable(const double* values, int n, double limit) {
  return std::all_of(values, values + n, [limit](double v) { return std::fabs(v) <= limit; });
}

bool s_usableTime(GNX_IO::gtime_t t) {
  if (t.time < kFirstSecond || t.time >= kLastSecond || !(std::fabs(t.sec) <= kDay)) return false;
  const std::vector<int>& rows = Taiutc::s_getInstance().m_mjds;
  if (rows.size() < 2) return true;
  const auto mjd = 40587 + t.time / 86400;
  return mjd > rows.front() && mjd < rows.back() - 1;  // a day of margin for the fraction and for UTC
}

int s_epochOf(GNX_IO::gtime_t t, int* mjd, double* sod) {
  int week = 0;
  const double sow = GNX_IO::time2gpst(t, &week);
  wksow2mjd(week, sow, mjd, sod);
  return week;
}

}  // namespace tarvio
