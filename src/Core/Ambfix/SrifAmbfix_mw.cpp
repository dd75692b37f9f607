/// Smoothed wide-lanes as constraints: the integers are known, only the reference is chosen.

#include <algorithm>
#include <cmath>

#include "Core/Ambfix/LevelResolution.h"
#include "Core/Ambfix/SrifAmbfix_raw.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/HMWfilter.h"

namespace tarvio {

namespace {

/// Integers of a level's smoothed wide-lanes whose satellites have both ambiguities.
class SmoothedIntegers {
 public:
  SmoothedIntegers(SrifFilter* filter, Level level)
      : m_filter(filter),
        m_settings(s_config().m_settingsOf(level)),
        m_fixes(filter->m_fixmap, filter->m_stations[0].m_name, s_traits(level).smoothedTag) {}

  bool m_has(int isat) const {
    if (!m_fixes.m_isFixed(isat)) return false;
    const int* pair = m_settings.ambfreq[s_config().m_sysOfRow(isat)];
    return pair[0] != -1 && pair[1] != -1 && m_filter->m_pm(0, isat, pair[0]) &&
           m_filter->m_pm(0, isat, pair[1]);
  }
  int m_of(int isat) const { return static_cast<int>(std::trunc(*m_fixes.m_value(isat))); }

  /// The highest satellite of each system.
  void m_pickReferences(int* s0) const {
    const Deploy& config = s_config();
    const Station& sta = m_filter->m_stations[0];
    s_forEachSystem([&](int isys) {
      s0[isys] = -1;
      double highest = 0.0;
      for (int isat = 0; isat < config.m_nsat; ++isat) {
        if (config.m_sysOfRow(isat) != isys || !(sta.m_sat[isat].m_elev > highest) || !m_has(isat)) continue;
        highest = sta.m_sat[isat].m_elev;
        s0[isys] = isat;
      }
    });
  }

 private:
  SrifFilter* m_filter;
  const Upd_ambconfig& m_settings;
  Fixes m_fixes;
};

}  // namespace

void s_listSmoothed(Level level, SrifFilter* filter) {
  const Deploy& config = s_config();
  const auto smoothers = filter->m_hmw.find(s_traits(level).tag);
  if (smoothers == filter->m_hmw.end()) return;
  const auto& arcs = smoothers->second.at(filter->m_stations[0].m_name)->m_ambs;
  const SmoothedIntegers smoothed(filter, level);
  int s0[kSys];
  std::fill_n(s0, kSys, -1);
  smoothed.m_pickReferences(s0);
  for (int isat = 0; isat < config.m_nsat; ++isat) {
    const int iref = s0[config.m_sysOfRow(isat)];
    if (iref == -1 || iref == isat || !smoothed.m_has(isat)) continue;
    const auto own = arcs.find(config.m_cprn[isat]), reference = arcs.find(config.m_cprn[iref]);
    if (own == arcs.end() || reference == arcs.end()) continue;
    const double value = own->second.xfloat - reference->second.xfloat;
    filter->m_candidates[s_place(level)].push_back(
        {isat, iref, value, true, smoothed.m_of(isat) - smoothed.m_of(iref)});
  }
}

void SrifAmbfix_raw::s_raw_resolve_from_mw(const char* tag, SrifFilter* filter, const Updc* updc, int* s0) {
  const Deploy& config = s_config();
  const Level level = s_levelOf(tag) == Level::extraWideLane ? Level::extraWideLane : Level::wideLane;
  const SmoothedIntegers smoothed(filter, level);
  smoothed.m_pickReferences(s0);

  FixRecord record(filter->m_fixmap, filter->m_stations[0].m_name, level);
  record.m_clear();
  LevelIntegers integers;
  filter->m_nfix = 0;
  for (int isat = 0; isat < config.m_nsat; ++isat) {
    const int iref = s0[config.m_sysOfRow(isat)];
    if (iref == -1 || !smoothed.m_has(isat)) continue;
    integers.ifix[isat] = smoothed.m_of(isat) - smoothed.m_of(iref);
    integers.flags[isat] = 1;
    record.m_setFixed(isat, integers.ifix[isat], level);
    ++filter->m_nfix;
  }
  const SeparateWideLane form(level, config.m_settingsOf(level), false);
  if (LevelResolution(form, filter, updc).m_constrain(integers, s0)) return;
  record.m_clear();
  filter->m_nfix = 0;
}

}  // namespace tarvio
