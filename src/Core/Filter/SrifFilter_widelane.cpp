/// The smoothed wide-lane filters of the epoch and what they leave in the record of fixes.

#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/HMWfilter.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

/// The levels that are fixed from smoothed wide-lanes, in the order of the levels.
template <typename Visit>
void s_forEachSmoothedLevel(Visit visit) {
  for (const Upd_ambconfig* level : {&s_config().m_ambconfig[0], &s_config().m_ambconfig[1]})
    if (level->m_resolution && s_has(level->m_ambType, "mw")) visit(*level);
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
      std::map<std::string, double>& fixes = m_fixmap[sta.m_name][tag];
      fixes.clear();
      for (const auto& [cprn, arc] : smoother.m_ambs) {
        if (arc.ifix < 2) continue;
        fixes[cprn] = arc.xsm;
        fixes[cprn + "_ifab"] = tag == "ewl" ? 2.0 : 3.0;
        fixes[cprn + "_ptime0"] = arc.ptime0;
        fixes[cprn + "_ptime1"] = arc.ptime1;
      }
      m_fixmap[sta.m_name][tag + "_mw"] = fixes;
    }
  }
}

/// After an outlier treatment that began a new ambiguity. Slot 0 is part of every level's combination,
/// slot 1 is taken as that of the extra-wide-lane.
void SrifFilter::m_restartWidelanes(int ista, int isat, int ifreq) {
  for (auto& [tag, filters] : m_hmw) {
    if (ifreq != 0 && !(ifreq == 1 && tag == "ewl")) continue;
    HMWfilter& smoother = *filters.at(m_stations[static_cast<std::size_t>(ista)].m_name);
    const auto arc = smoother.m_ambs.find(s_config().m_cprn[isat]);
    if (arc != smoother.m_ambs.end()) smoother.m_init_amb(arc->second, isat);
  }
}

}  // namespace tarvio
