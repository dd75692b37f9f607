/// Smoothed wide-lanes as constraints: the integers are known, only the reference is chosen.

#include <cmath>
#include <string>

#include "Core/Ambfix/SrifAmbfix_raw.h"
#include "Core/Filter/FilterConfig.h"

namespace tarvio {

void SrifAmbfix_raw::s_raw_resolve_from_mw(const char* tag, SrifFilter* filter, const Updc* updc, int* s0) {
  const Deploy& config = s_config();
  const Level level = s_levelOf(tag) == Level::extraWideLane ? Level::extraWideLane : Level::wideLane;
  const Upd_ambconfig& cfg = config.m_settingsOf(level);
  const Station& sta = filter->m_stations[0];
  const Fixes smoothed(filter->m_fixmap, sta.m_name, s_traits(level).smoothedTag);
  FixRecord record(filter->m_fixmap, sta.m_name, level);
  record.m_clear();

  const auto usable = [&](int isat) {
    if (!smoothed.m_isFixed(isat)) return false;
    const int* pair = cfg.ambfreq[config.m_sysOfRow(isat)];
    return pair[0] != -1 && pair[1] != -1 && filter->m_pm(0, isat, pair[0]) && filter->m_pm(0, isat, pair[1]);
  };
  const auto integer = [&](int isat) { return static_cast<int>(std::trunc(*smoothed.m_value(isat))); };
  s_forEachSystem([&](int isys) {
    s0[isys] = -1;
    double highest = 0.0;
    for (int isat = 0; isat < config.m_nsat; ++isat) {
      if (config.m_sysOfRow(isat) != isys || !(sta.m_sat[isat].m_elev > highest) || !usable(isat)) continue;
      highest = sta.m_sat[isat].m_elev;
      s0[isys] = isat;
    }
  });

  int ifix[kMaxSat] = {}, flags[kMaxSat] = {};
  filter->m_nfix = 0;
  for (int isat = 0; isat < config.m_nsat; ++isat) {
    const int iref = s0[config.m_sysOfRow(isat)];
    if (iref == -1 || !usable(isat)) continue;
    ifix[isat] = integer(isat) - integer(iref);
    flags[isat] = 1;
    record.m_setFixed(isat, ifix[isat], level);
    ++filter->m_nfix;
  }
  if (s_raw_coninfs_wl(tag, cfg, filter, updc, ifix, flags, s0)) return;
  record.m_clear();
  filter->m_nfix = 0;
}

}  // namespace tarvio
