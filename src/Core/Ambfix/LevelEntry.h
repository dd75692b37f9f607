#pragma once
/// \file LevelEntry.h
/// Which ambiguities may enter a level: elevation, length of the arc, state of the level before, biases.

#include "Adapter/UpdAdapter.h"
#include "Config/UpdAmbconfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

/// What a level has fixed at the first station.
inline Fixes s_fixesOf(const SrifFilter* filter, Level level) {
  return {filter->m_fixmap, filter->m_stations[0].m_name, level};
}

/// Ambiguities on separate frequencies, slots `ia` and `ib` (-1: not asked for).
/// \param lowerFixed  only satellites that the level before has fixed
bool s_mayEnter(Level level, SrifFilter* filter, int isat, int ia, int ib, bool lowerFixed,
                const Upd_ambconfig& cfg);
/// Ambiguities of ionosphere-free observations: one slot, a limit that grows towards the horizon, no stale
/// arcs.
bool s_mayEnter(Level level, SrifFilter* filter, int isat, int slot, bool lowerFixed,
                const Upd_ambconfig& cfg);

/// Whether the biases hold both slots of the level's pair for the satellite; null passes.
bool s_hasProduct(const Updc* updc, int isat, const Upd_ambconfig& cfg);
/// Satellites that are never a reference (C38, C39, C40: inclined geosynchronous orbits).
bool s_barredReference(int isat);
/// Bias of the satellite minus that of its reference, cycles; 0 unless `updc` is combined.
double s_biasBetween(const Updc* updc, int isat, int iref);

}  // namespace tarvio
