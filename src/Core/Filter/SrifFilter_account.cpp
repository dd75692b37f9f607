/// The account of observations along the steps of an epoch: behind each step, what has gone is put down to
/// that step's reason.

#include <algorithm>
#include <cmath>

#include "Common/ComFreq.h"
#include "Config/SatelliteTable.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

void SrifFilter::m_accountInput(Fate fate) {
  const Deploy& config = s_config();
  m_account.m_settle([&](int isat, int place) {
    if (fate != Fate::system) return m_stations[0].m_sat[isat].m_obs[place] != 0.0 ? Fate::open : fate;
    return m_prosys.find(SYS[config.m_sysOfRow(isat)]) == std::string::npos ? fate : Fate::open;
  });
}

void SrifFilter::m_accountResiduals(Fate fate) {
  m_account.m_settle(
      [&](int isat, int place) { return m_stations[0].m_sat[isat].m_xx[place] != 0.0 ? Fate::open : fate; });
}

void SrifFilter::m_accountModel() {
  const Station& sta = m_stations[0];
  m_account.m_settle([&](int isat, int place) {
    return sta.m_sat[isat].m_xx[place] != 0.0 ? Fate::open : m_modelFate(sta, isat, place);
  });
}

/// Why the model gave no residual. The causes stand in the order in which the model meets them.
Fate SrifFilter::m_modelFate(const Station& sta, int isat, int place) const {
  const Deploy& config = s_config();
  const Ssat_t& sat = sta.m_sat[isat];
  const Satellite& satellite = config.m_satellites[static_cast<std::size_t>(isat)];
  const int slot = place % kFreq;
  if (slot >= config.m_nfreqUsed[config.m_sysOfRow(isat)]) return Fate::unused;
  if (sat.m_flag[slot] == kFlagRange) return Fate::range;
  const bool served = satellite.m_clk != 0.0 && satellite.m_xyz[0] != 0.0;
  if (!served || sat.m_flag[slot] == kFlagNoOrbit)
    return s_productFate(m_orbclk, isat, mjd, sod, Fate::noOrbit);
  if (sta.m_x[0] == 0.0 && sta.m_x[1] == 0.0 && sta.m_x[2] == 0.0) return Fate::noPosition;
  // Below the mask the model clears the observations; other rejections leave them.
  return sat.m_obs[place] == 0.0 ? Fate::lowElevation : Fate::noRow;
}

void SrifFilter::m_accountRows() {
  const Deploy& config = s_config();
  const bool combined = s_has(config.m_obscomb, "IF");
  bool used[kMaxSat][kObs] = {};
  for (int row = 0; row < nobs && obsrec; ++row) {
    const auto [isat, kind, slot, ista, place] = m_origin(row);
    if (ista != 0 || !(obswgt[row] > 0.0)) continue;
    const int first = kind == kRowCode ? kFreq : 0;
    if (!combined) {
      used[isat][first + slot] = true;
      continue;
    }
    // A combined row stands on one slot for both frequencies of its pair, a wide-lane row for all three.
    int fq1 = 0, fq2 = 1;
    s_ifSlots(config.m_sysOfRow(isat), &fq1, &fq2);
    if (fq1 < 0 || fq2 < 0) continue;
    used[isat][first + fq1] = used[isat][first + fq2] = true;
    if (kind == kRowAfifPhase) std::fill_n(used[isat], 3, true);
  }
  m_account.m_settle([&](int isat, int place) { return used[isat][place] ? Fate::used : Fate::open; });
}

void SrifFilter::m_closeAccount(Fate fate) {
  constexpr double kEvery_s = 60.0;
  if (!m_account.m_isOpen()) return;
  m_account.m_settle([&](int, int) { return fate; });
  m_account.m_close();
  const double now = mjd * kDay + sod;
  m_accountPending = std::fabs(now - m_accountWritten) < kEvery_s;
  if (m_accountPending) return;
  m_accountWritten = now;
  m_writeAccount();
}

}  // namespace tarvio
