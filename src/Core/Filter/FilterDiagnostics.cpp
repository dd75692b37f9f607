// What the diagnostics read of the filter: residuals, atmosphere, ambiguities, clocks, fixes.

#include "Core/Filter/FilterDiagnostics.h"

#include <string>

#include "Core/Filter/DiagnosticsLog.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

const char* s_kind(int kind) { return kind == kRowCode ? "code" : kind == kRowPhase ? "phase" : "afif"; }

const char* s_slotName(int isys, int slot) {
  const Deploy& config = s_config();
  if (s_has(config.m_obscomb, "IF") || slot < 0 || slot >= kFreq) return "-";
  return config.m_freqUsed[isys][slot];
}

}  // namespace

void FilterDiagnostics::m_write() const {
  if (s_config().m_pams[0] == '\0') return;
  if (s_wantsLines("-outres")) m_writeResiduals();
  if (s_wantsLines("-oution")) m_writeIonosphere();
  if (s_wantsLines("-outztd")) m_writeZenithDelay();
  if (s_wantsLines("-outclk")) m_writeClocks();
  if (s_wantsLines("-outfix")) m_writeFixes();
  if (s_wantsLines("-outint")) m_writeCandidates();
  if (s_wantsLines("-outambstat")) m_writeAmbiguities();
}

const Station& FilterDiagnostics::m_stationOf(int ista) const {
  return m_filter.m_stations[static_cast<std::size_t>(ista)];
}

int FilterDiagnostics::m_stations() const { return static_cast<int>(m_filter.m_stations.size()); }

void FilterDiagnostics::m_writeResiduals() const {
  const Deploy& config = s_config();
  DiagnosticsLines out(m_filter.mjd, m_filter.sod);
  for (int row = 0; row < m_filter.nobs && m_filter.resi; ++row) {
    const auto [isat, kind, slot, ista, place] = m_filter.m_origin(row);
    const Station& sta = m_stationOf(ista);
    const Ssat_t& sat = sta.m_sat[isat];
    const double* fixed = m_filter.resi_fix;
    out.m_add("RES", sta.m_name, config.m_cprn[isat], s_slotName(config.m_sysOfRow(isat), slot), s_kind(kind),
              Fixed{sat.m_elev * kRadToDeg, 2}, Fixed{sat.m_azim * kRadToDeg, 2},
              Fixed{m_filter.resi[row], 4}, Fixed{fixed ? fixed[row] : 0.0, 4, fixed != nullptr},
              Fixed{m_filter.obswgt[row], 4});
  }
}

void FilterDiagnostics::m_writeIonosphere() const {
  const Deploy& config = s_config();
  DiagnosticsLines out(m_filter.mjd, m_filter.sod);
  for (const SrifPamt* record : m_filter.m_ionlist) {
    const Station& sta = m_stationOf(record->ista);
    const Ssat_t& sat = sta.m_sat[record->isat];
    out.m_add("ION", sta.m_name, config.m_cprn[record->isat], Fixed{sat.m_elev * kRadToDeg, 2},
              Fixed{sat.m_azim * kRadToDeg, 2}, Fixed{record->xest, 4}, Fixed{record->xsig, 4}, record->nuse);
  }
}

void FilterDiagnostics::m_writeZenithDelay() const {
  DiagnosticsLines out(m_filter.mjd, m_filter.sod);
  for (int ista = 0; ista < m_stations(); ++ista) {
    const Station& sta = m_stationOf(ista);
    const int it = m_filter.i_it(ista);
    const double correction = it < 0 ? 0.0 : m_filter.m_pamt[static_cast<std::size_t>(it)].xest;
    out.m_add("ZTD", sta.m_name, Fixed{sta.m_zhd, 4}, Fixed{sta.m_zwd, 4}, Fixed{correction, 4},
              Fixed{sta.m_zhd + sta.m_zwd + correction, 4});
  }
}

void FilterDiagnostics::m_writeAmbiguities() const {
  const Deploy& config = s_config();
  DiagnosticsLines out(m_filter.mjd, m_filter.sod);
  for (const SrifPamt* record : m_filter.m_amblist) {
    const Station& sta = m_stationOf(record->ista);
    out.m_add("AMB", sta.m_name, config.m_cprn[record->isat], s_slotName(record->isys, record->ifreq),
              Fixed{sta.m_sat[record->isat].m_elev * kRadToDeg, 2}, Fixed{record->lam, 6},
              Fixed{record->xini, 4}, Fixed{record->xest, 4}, Fixed{record->ptime0, 6},
              Fixed{record->ptime1, 6}, record->iflag, record->nuse);
  }
}

void FilterDiagnostics::m_writeClocks() const {
  const Deploy& config = s_config();
  DiagnosticsLines out(m_filter.mjd, m_filter.sod);
  for (int ista = 0; ista < m_stations(); ++ista)
    s_forEachSystem([&](int isys) {
      const int ic = m_filter.i_ic(ista, isys);
      if (ic < 0) return;
      const SrifPamt& record = m_filter.m_pamt[static_cast<std::size_t>(ic)];
      out.m_add("CLK", m_stationOf(ista).m_name, SYS[isys], isys == config.m_refsys ? "clock" : "offset",
                Fixed{record.xest, 4});
    });
}

void FilterDiagnostics::m_writeFixes() const {
  DiagnosticsLines out(m_filter.mjd, m_filter.sod);
  for (const Station& sta : m_filter.m_stations)
    for (const LevelTraits& level : kLevels)
      out.m_add("FIX", sta.m_name, level.tag, Fixes(m_filter.m_fixmap, sta.m_name, level.tag).m_count(),
                Fixed{m_filter.*SrifFilter::s_ratioOf(level.level), 3});
}

void FilterDiagnostics::m_writeCandidates() const {
  const Deploy& config = s_config();
  const std::string& station = m_stationOf(0).m_name;
  DiagnosticsLines out(m_filter.mjd, m_filter.sod);
  for (const LevelTraits& level : kLevels) {
    const Upd_ambconfig& cfg = config.m_settingsOf(level.level);
    const bool last = level.level == Level::last;
    for (const SrifFilter::LevelCandidate& c : m_filter.m_candidates[s_place(level.level)]) {
      const int isys = config.m_sysOfRow(c.isat);
      const int* pair = cfg.ambfreq[isys];
      std::string slots = s_slotName(isys, last && s_has(cfg.m_ambType, "raw") ? 0 : pair[0]);
      if (!last) slots.append("-").append(s_slotName(isys, pair[1]));
      const std::string integer = c.fixed ? std::to_string(c.integer) : "-";
      out.m_add("INT", station, config.m_cprn[c.isat], config.m_cprn[c.iref], level.tag, slots,
                Fixed{c.value, 4}, integer);
    }
  }
}

}  // namespace tarvio
