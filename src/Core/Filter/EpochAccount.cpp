// Where in an epoch values are settled in the account of observations.

#include "Core/Filter/EpochAccount.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "Common/ComFreq.h"
#include "Config/SatelliteTable.h"
#include "Core/Filter/DiagnosticsLog.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

bool EpochAccount::m_wanted() const { return m_filter.m_wantsResults || s_wantsAccount(s_config().m_pams); }

void EpochAccount::m_noteArrivals(const Rnxobs* obs) {
  if (m_isOf(obs) || !m_wanted()) return;
  m_begin(true);
  if (obs) m_arrive(*obs, true);
}

void EpochAccount::m_settleSystems() {
  m_settle([&](int isat, int) {
    const char letter = SYS[s_config().m_sysOfRow(isat)];
    return m_filter.m_prosys.find(letter) == std::string::npos ? Fate::system : Fate::open;
  });
}

void EpochAccount::m_settleInput(Fate fate) {
  const Station& sta = m_filter.m_stations[0];
  m_settle([&](int isat, int place) { return sta.m_sat[isat].m_obs[place] != 0.0 ? Fate::open : fate; });
}

void EpochAccount::m_settleResiduals(Fate fate) {
  const Station& sta = m_filter.m_stations[0];
  m_settle([&](int isat, int place) { return sta.m_sat[isat].m_xx[place] != 0.0 ? Fate::open : fate; });
}

void EpochAccount::m_settleModel() {
  const Station& sta = m_filter.m_stations[0];
  m_settle([&](int isat, int place) {
    return sta.m_sat[isat].m_xx[place] != 0.0 ? Fate::open : m_modelFate(isat, place);
  });
}

/// Why the model gave no residual. The causes stand in the order in which the model meets them.
Fate EpochAccount::m_modelFate(int isat, int place) const {
  const Deploy& config = s_config();
  const Station& sta = m_filter.m_stations[0];
  const Ssat_t& sat = sta.m_sat[isat];
  const Satellite& satellite = config.m_satellites[static_cast<std::size_t>(isat)];
  const int slot = place % kFreq;
  if (slot >= config.m_nfreqUsed[config.m_sysOfRow(isat)]) return Fate::unused;
  if (sat.m_flag[slot] == kFlagRange) return Fate::range;
  const bool served = satellite.m_clk != 0.0 && satellite.m_xyz[0] != 0.0;
  if (!served || sat.m_flag[slot] == kFlagNoOrbit)
    return s_productFate(m_filter.m_orbclk, isat, m_filter.mjd, m_filter.sod, Fate::noOrbit);
  if (sta.m_x[0] == 0.0 && sta.m_x[1] == 0.0 && sta.m_x[2] == 0.0) return Fate::noPosition;
  // Below the mask the model clears the observations; other rejections leave them.
  return sat.m_obs[place] == 0.0 ? Fate::lowElevation : Fate::noRow;
}

void EpochAccount::m_settleRows() {
  Fate fates[kMaxSat][kObs] = {};
  for (const RowOrigin& origin : m_filter.m_waiting) m_put(origin, Fate::noRoom, fates);
  for (int row = 0; row < m_filter.nobs && m_filter.obsrec; ++row)
    if (m_filter.obswgt[row] > 0.0) m_put(m_filter.m_origin(row), Fate::used, fates);
  m_settle([&](int isat, int place) {
    return fates[isat][place] == Fate::absent ? Fate::open : fates[isat][place];
  });
}

/// The values of which a row is made.
void EpochAccount::m_put(const RowOrigin& row, Fate fate, Fate (&fates)[kMaxSat][kObs]) {
  const Deploy& config = s_config();
  if (row.ista != 0) return;
  Fate* values = fates[row.isat];
  const int first = row.kind == kRowCode ? kFreq : 0;
  if (!s_has(config.m_obscomb, "IF")) {
    values[first + row.slot] = fate;
    return;
  }
  // A combined row stands on one slot for both frequencies of its pair, a wide-lane row for all three.
  int fq1 = 0, fq2 = 1;
  s_ifSlots(config.m_sysOfRow(row.isat), &fq1, &fq2);
  if (fq1 < 0 || fq2 < 0) return;
  values[first + fq1] = values[first + fq2] = fate;
  if (row.kind == kRowAfifPhase) std::fill_n(values, 3, fate);
}

void EpochAccount::m_finishEpoch() {
  if (!m_isOpen()) return;
  m_settleRows();
  m_settleModel();
  if (s_wantsLines("-outobsstat") || s_wantsLines("-outflag")) m_writeObservations();
  m_closeEpoch(Fate::noRow);
}

void EpochAccount::m_closeEpoch(Fate fate) {
  constexpr double kEvery_s = 60.0;
  if (!m_isOpen()) return;
  m_settle([&](int, int) { return fate; });
  m_close();
  if (!s_wantsAccount(s_config().m_pams)) return;
  const double now = m_filter.mjd * kDay + m_filter.sod;
  m_pending = std::fabs(now - m_written) < kEvery_s;
  if (m_pending) return;
  m_written = now;
  m_writeTotals();
}

void EpochAccount::m_end() {
  if (m_pending) m_writeTotals();
}

void EpochAccount::m_writeObservations() const {
  const Deploy& config = s_config();
  const bool all = s_wantsLines("-outobsstat");
  const Station& sta = m_filter.m_stations[0];
  DiagnosticsLines out(m_filter.mjd, m_filter.sod);
  for (int isat = 0; isat < config.m_nsat; ++isat)
    for (int slot = 0; slot < kFreq; ++slot) {
      const Fate phase = m_fate(isat, slot), code = m_fate(isat, kFreq + slot);
      const bool byCode = phase == Fate::absent || (phase == Fate::used && code != Fate::absent);
      const Fate fate = byCode ? code : phase;
      if (fate == Fate::absent || (!all && fate == Fate::used)) continue;
      out.m_add("OBS", sta.m_name, config.m_cprn[isat], config.m_freqObs[config.m_sysOfRow(isat)][slot],
                Fixed{sta.m_sat[isat].m_elev * kRadToDeg, 2},
                s_fateName(fate == Fate::open ? Fate::noRow : fate));
    }
}

void EpochAccount::m_writeTotals() const {
  DiagnosticsLines out(m_filter.mjd, m_filter.sod);
  for (int system = 0; system < kSystems; ++system) {
    const long in = m_in(system);
    if (in == 0) continue;
    std::string text = std::string(1, kLetters[system]) + " in=" + std::to_string(in);
    for (int i = static_cast<int>(Fate::used); i < kFates; ++i) {
      const Fate fate = static_cast<Fate>(i);
      const long n = m_total(system, fate);
      if (n != 0 || fate == Fate::used)
        text.append(" ").append(s_fateName(fate)).append("=").append(std::to_string(n));
    }
    out.m_add("ACC", m_filter.m_stations[0].m_name, text);
  }
}

}  // namespace tarvio
