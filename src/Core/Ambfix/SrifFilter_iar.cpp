/// The levels of an epoch, in their strict order, beside a triangle that they do not touch.

#include "Core/Ambfix/SrifFilter_iar.h"

#include <algorithm>

#include "Common/Logtrace.h"
#include "Common/StateArchive.h"
#include "Core/Ambfix/LevelResolution.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/FixRecord.h"

namespace tarvio {

void SrifFilter_iar::v_onFilterEstimate() {
  SrifFilter::v_onFilterEstimate();
  const Deploy& config = s_config();
  for (auto& level : m_candidates) level.clear();
  m_reason = Reason::none;
  if (nobs < 1 || !config.m_liar || s_has(config.m_pams, "-float")) {
    m_keepCovariance();
    if (nobs > 0 && config.m_liar) m_stayFloat();
    return;
  }

  std::vector<double> Qamb;
  const int ambiguities = SrifAmbfix_raw::s_ambCovariance(this, Qamb);
  m_fixed.m_begin(*this, Qamb, ambiguities, config.m_integrity.m_on || m_wantsResults);
  if (s_has(config.m_obscomb, "RAW")) v_resolve_raw();
  else v_resolve_if();

  m_keepCovariance();
  if (config.m_integrity.m_on && m_solstat != kStateFixed) m_nfix = 0, m_ratio = 0.0;
  m_fixed.m_end();
}

/// The host resolves no integers in this epoch: nothing of an earlier one is told as its own.
void SrifFilter_iar::m_stayFloat() {
  for (const LevelTraits& level : kLevels) {
    this->*s_ratioOf(level.level) = 0.0;
    for (const Station& sta : m_stations) FixRecord(m_fixmap, sta.m_name, level.level).m_clear();
  }
  m_nfix = 0;
  m_get_resi(resi_fix);
}

void SrifFilter_iar::v_fields(StateArchive& a) {
  SrifFilter::v_fields(a);
  a(m_biasTime, m_biasInterval);
}

std::unique_ptr<Updc> SrifFilter_iar::m_product(Level level) const {
  if (m_upd == nullptr) return nullptr;
  return m_upd->m_inquireLevel(mjd, sod, s_config().m_settingsOf(level), s_traits(level).tag);
}

/// Age at which a set of biases is too old, s: a stream that repeats them every half minute and misses some
/// has ceased long before one of five minutes has. \param time  of the set in use, s
double SrifFilter_iar::m_oldestBiases(double time) {
  const IntegritySettings& settings = s_config().m_integrity;
  const double interval = time - m_biasTime;
  if (m_biasTime > 0.0 && interval > 0.0) m_biasInterval = interval;
  m_biasTime = time;
  if (m_biasInterval == 0.0 || settings.m_missedBiases == 0.0) return settings.m_biasAge_s;
  return std::min(settings.m_biasAge_s,
                  std::max(settings.m_leastBiasAge_s, settings.m_missedBiases * m_biasInterval));
}

/// Biases that stopped arriving drift away from the clocks; said when it begins and when it ends.
bool SrifFilter_iar::m_tooOld(const Updc* updc) {
  const IntegritySettings& settings = s_config().m_integrity;
  if (!settings.m_on || updc == nullptr || updc->m_mjd == 0) return false;
  const double age = (mjd - updc->m_mjd) * kDay + sod - updc->m_sod;
  const bool old = age > m_oldestBiases(updc->m_mjd * kDay + updc->m_sod);
  if (old) m_reason = Reason::oldBiases;
  const auto change = m_oldBiases.m_update(old);
  if (change == StatusCondition::Change::begins)
    Logtrace::m_logStatInfo("[%d %8.1lf] phase biases are %.0lf s old: no integers until newer ones come\n",
                            mjd, sod, age);
  else if (change == StatusCondition::Change::ends)
    Logtrace::m_logStatInfo("[%d %8.1lf] phase biases are up to date again\n", mjd, sod);
  return old;
}

void SrifFilter_iar::v_resolve_raw() {
  const Deploy& config = s_config();
  int s0[kSys];
  std::fill_n(s0, kSys, -1);
  for (const LevelTraits& level : kLevels) {
    const Upd_ambconfig& cfg = config.m_settingsOf(level.level);
    if (!cfg.m_resolution) continue;
    if (level.smoothedTag && s_has(cfg.m_ambType, "mw")) {
      s_listSmoothed(level.level, this);
      continue;
    }
    const std::unique_ptr<Updc> updc = m_product(level.level);
    if (m_tooOld(updc.get())) break;
    if (level.level != Level::last) s_raw_resolve_wl(level.tag, this, updc.get(), s0);
    else if (s_has(cfg.m_ambType, "raw")) s_raw_resolve_n1(this, updc.get(), s0);
    else s_raw_resolve_NL(this, updc.get(), s0);
  }
  m_get_resi(resi_fix);
}

void SrifFilter_iar::v_resolve_if() {
  const Deploy& config = s_config();
  int s0[kSys];
  std::fill_n(s0, kSys, -1);
  const Upd_ambconfig& wl = config.m_settingsOf(Level::wideLane);
  if (s_has(config.m_obscomb, "AFIF") && wl.m_resolution && s_has(wl.m_ambType, "raw")) {
    const std::unique_ptr<Updc> updc = m_product(Level::wideLane);
    s_if_resolve_wl(m_prosys, this, updc.get(), s0);
  }
  const Upd_ambconfig& n1 = config.m_settingsOf(Level::last);
  if (n1.m_resolution) {
    const std::unique_ptr<Updc> updc = m_product(Level::last);
    if (!m_tooOld(updc.get())) s_if_resolve_n1(m_prosys, this, updc.get(), s0);
  }
  m_get_resi(resi_fix);
}

}  // namespace tarvio
