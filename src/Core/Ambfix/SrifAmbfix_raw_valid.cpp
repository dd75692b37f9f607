/// Which ambiguities may enter a level.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "Common/ElevationWeight.h"
#include "Core/Ambfix/SrifAmbfix_raw.h"
#include "Core/Filter/FilterConfig.h"

namespace tarvio {

namespace {

constexpr double kWideLaneFloor_rad = 10.0 * kDegToRad;
constexpr double kStale_s = 0.01;

double s_seconds(double from, double to) { return std::round((to - from) * kDay); }

const SrifPamt* s_activeRecord(SrifFilter* filter, int isat, int slot) {
  if (slot < 0 || slot >= kFreq) return nullptr;
  const SrifPamt* record = filter->m_pm(0, isat, slot);
  return record && record->ipar != -1 ? record : nullptr;
}

}  // namespace

bool SrifAmbfix_raw::s_recordValue(const SrifFilter* filter, const char* tag, int isat, double* value) {
  const double* cycles = Fixes(filter->m_fixmap, filter->m_stations[0].m_name, tag).m_value(isat);
  if (cycles) *value = *cycles;
  return cycles != nullptr;
}

bool SrifAmbfix_raw::s_isFixed(const SrifFilter* filter, const char* tag, int isat) {
  return Fixes(filter->m_fixmap, filter->m_stations[0].m_name, tag).m_isFixed(isat);
}

bool SrifAmbfix_raw::s_hasProduct(const Updc* updc, int isat, const Upd_ambconfig& cfg) {
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

bool SrifAmbfix_raw::s_barredReference(int isat) {
  const std::string& cprn = s_config().m_cprn[isat];
  return cprn == "C38" || cprn == "C39" || cprn == "C40";
}

bool SrifAmbfix_raw::s_validamb_iar(const char* tag, SrifFilter* filter, int isat, int ia, int ib, bool flag,
                                    const Upd_ambconfig& cfg) {
  const SrifPamt* a = s_activeRecord(filter, isat, ia);
  const SrifPamt* b = s_activeRecord(filter, isat, ib);
  if ((ia != -1 && !a) || (ib != -1 && !b)) return false;

  const bool wideLane = std::strcmp(tag, "wl") == 0;
  const double elevation = filter->m_stations[0].m_sat[isat].m_elev;
  if (cfg.m_cutoff > elevation)
    return wideLane && elevation > kWideLaneFloor_rad && s_isFixed(filter, "ewl", isat);

  const double limit = cfg.m_minCommonLambda;
  const auto longEnough = [limit](const SrifPamt* r) {
    return !r || limit <= s_seconds(r->ptime0, r->ptime1);
  };
  if (wideLane) {
    if (cfg.m_fixIfUplayer && s_isFixed(filter, "ewl", isat)) return true;
    if (flag) return false;
  } else if (std::strcmp(tag, "n1") == 0) {
    if (s_isFixed(filter, "wl", isat)) return cfg.m_fixIfUplayer || longEnough(a);
    if (flag) return false;
  }
  if (a && b && limit > s_seconds(std::max(a->ptime0, b->ptime0), std::min(a->ptime1, b->ptime1)))
    return false;
  return longEnough(a) && longEnough(b);
}

bool SrifAmbfix_raw::s_validamb_iar(const char* tag, SrifFilter* filter, int isat, int ifreq, bool flag,
                                    const Upd_ambconfig& cfg) {
  const SrifPamt* record = s_activeRecord(filter, isat, ifreq);
  if (!record) return false;
  const double elevation = filter->m_stations[0].m_sat[isat].m_elev;
  if (cfg.m_cutoff > elevation) return false;
  if (flag && std::strcmp(tag, "wl") == 0 && !s_isFixed(filter, "ewl", isat)) return false;

  double limit = cfg.m_minCommonLambda;
  if (elevation != 0.0) limit /= s_elevationFactor(elevation);
  if (limit > s_seconds(record->ptime0, record->ptime1)) return false;
  if ((filter->mjd - record->ptime1) * kDay + filter->sod > kStale_s) return false;
  return !flag || std::strcmp(tag, "n1") != 0 || s_isFixed(filter, "wl", isat);
}

}  // namespace tarvio
