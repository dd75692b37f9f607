// Tests of elevation, arc and former level that an ambiguity must pass.

#include "Core/Ambfix/LevelEntry.h"

#include <algorithm>
#include <cmath>

#include "Common/ElevationWeight.h"
#include "Core/Filter/FilterConfig.h"

namespace tarvio {

namespace {

constexpr double kWideLaneFloor_rad = 10.0 * kDegToRad;
constexpr double kStale_s = 0.01;
constexpr int kTypeComb = 1;

double s_seconds(double from, double to) { return std::round((to - from) * kDay); }

const SrifPamt* s_activeRecord(SrifFilter* filter, int isat, int slot) {
  if (slot < 0 || slot >= kFreq) return nullptr;
  const SrifPamt* record = filter->m_pm(0, isat, slot);
  return record && record->ipar != -1 ? record : nullptr;
}

}  // namespace

bool s_mayEnter(Level level, SrifFilter* filter, int isat, int ia, int ib, bool lowerFixed,
                const Upd_ambconfig& cfg) {
  const SrifPamt* a = s_activeRecord(filter, isat, ia);
  const SrifPamt* b = s_activeRecord(filter, isat, ib);
  if ((ia != -1 && !a) || (ib != -1 && !b)) return false;

  const bool wideLane = level == Level::wideLane;
  const auto isFixed = [&](Level other) { return s_fixesOf(filter, other).m_isFixed(isat); };
  const double elevation = filter->m_stations[0].m_sat[isat].m_elev;
  if (cfg.m_cutoff > elevation)
    return wideLane && elevation > kWideLaneFloor_rad && isFixed(Level::extraWideLane);

  const double limit = cfg.m_minCommonLambda;
  const auto longEnough = [limit](const SrifPamt* r) {
    return !r || limit <= s_seconds(r->ptime0, r->ptime1);
  };
  if (wideLane) {
    if (cfg.m_fixIfUplayer && isFixed(Level::extraWideLane)) return true;
    if (lowerFixed) return false;
  } else if (level == Level::last) {
    if (isFixed(Level::wideLane)) return cfg.m_fixIfUplayer || longEnough(a);
    if (lowerFixed) return false;
  }
  if (a && b && limit > s_seconds(std::max(a->ptime0, b->ptime0), std::min(a->ptime1, b->ptime1)))
    return false;
  return longEnough(a) && longEnough(b);
}

bool s_mayEnter(Level level, SrifFilter* filter, int isat, int slot, bool lowerFixed,
                const Upd_ambconfig& cfg) {
  const SrifPamt* record = s_activeRecord(filter, isat, slot);
  if (!record) return false;
  const auto isFixed = [&](Level other) { return s_fixesOf(filter, other).m_isFixed(isat); };
  const double elevation = filter->m_stations[0].m_sat[isat].m_elev;
  if (cfg.m_cutoff > elevation) return false;
  if (lowerFixed && level == Level::wideLane && !isFixed(Level::extraWideLane)) return false;

  double limit = cfg.m_minCommonLambda;
  if (elevation != 0.0) limit /= s_elevationFactor(elevation);
  if (limit > s_seconds(record->ptime0, record->ptime1)) return false;
  if ((filter->mjd - record->ptime1) * kDay + filter->sod > kStale_s) return false;
  return !lowerFixed || level != Level::last || isFixed(Level::wideLane);
}

bool s_hasProduct(const Updc* updc, int isat, const Upd_ambconfig& cfg) {
  if (!updc) return true;
  const Deploy& config = s_config();
  const int isys = config.m_sysOfRow(isat);
  for (int k = 0; k < 2; ++k) {
    const int slot = cfg.ambfreq[isys][k];
    if (slot < 0 || slot >= kFreq) return false;
    if (!updc->v_checkSatellite(config.m_cprn[isat].c_str(), config.m_freqUsed[isys][slot])) return false;
  }
  return true;
}

bool s_barredReference(int isat) {
  const std::string& cprn = s_config().m_cprn[isat];
  return cprn[0] == 'C' && (cprn == "C38" || cprn == "C39" || cprn == "C40");
}

double s_biasBetween(const Updc* updc, int isat, int iref) {
  if (!updc || updc->m_type != kTypeComb) return 0.0;
  const auto* comb = dynamic_cast<const Upd_comb*>(updc);
  return comb ? comb->m_value[isat] - comb->m_value[iref] : 0.0;
}

}  // namespace tarvio
