/// The smoothed wide-lane filters of the epoch and what they leave in the record of fixes.

#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/HMWfilter.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

/// The levels that are fixed from smoothed wide-lanes, in the order of the levels.
template <typename Visit>
void s_forEachSmoothedLevel(Visit visit) {
  for (const LevelTraits& level : kLevels) {
    const Upd_ambconfig& settings = s_config().m_settingsOf(level.level);
    if (level.smoothedTag && settings.m_resolution && s_has(settings.m_ambType, "mw")) visit(settings);
  }
}

}  // namespace

void SrifFilter::m_createWidelaneFilters() {
  s_forEachSmoothedLevel([&](const Upd_ambconfig& level) {
    for (const Station& sta : m_stations)
      m_hmw[level.m_tag][sta.m_name] = std::make_unique<HMWfilter>(level.m_tag, &level);
  });
}

void SrifFilter::m_smoothWidelanes() {
  for (auto& [tag, filters] : m_hmw) {
    for (Station& sta : m_stations) {
      HMWfilter& smoother = *filters.at(sta.m_name);
      smoother.m_upd = m_upd;
      smoother.m_process(&sta);
      const LevelTraits& level = s_traits(s_levelOf(tag));
      for (const char* record : {level.tag, level.smoothedTag}) {
        FixRecord fixes(m_fixmap, sta.m_name, record);
        fixes.m_clear();
        for (const auto& [cprn, arc] : smoother.m_ambs) {
          if (!arc.m_isFixed()) continue;
          fixes.m_setFixed(arc.isat, arc.xsm, level.level);
          fixes.m_setArc(arc.isat, arc.ptime0, arc.ptime1);
        }
      }
    }
  }
}

void SrifFilter::m_endArc(int ista, int isat, int slot) {
  m_stations[static_cast<std::size_t>(ista)].m_sat[isat].m_ambflag[slot] = kArcOutlier;
  m_restartWidelanes(ista, isat, slot);
  if (m_ewlint) m_ewlint[ista * kMaxSat + isat] = 0;
}

/// After an outlier treatment that began a new ambiguity. Slot 0 is part of every level's combination,
/// slot 1 is taken as that of the extra-wide-lane.
void SrifFilter::m_restartWidelanes(int ista, int isat, int ifreq) {
  for (auto& [tag, filters] : m_hmw) {
    if (ifreq != 0 && !(ifreq == 1 && s_levelOf(tag) == Level::extraWideLane)) continue;
    HMWfilter& smoother = *filters.at(m_stations[static_cast<std::size_t>(ista)].m_name);
    const auto arc = smoother.m_ambs.find(s_config().m_cprn[isat]);
    if (arc != smoother.m_ambs.end()) smoother.m_init_amb(arc->second, isat);
  }
}

}  // namespace tarvio
