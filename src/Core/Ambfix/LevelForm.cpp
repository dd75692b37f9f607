// Candidates, covariances and constraints of a level in either form of the observations.

#include "Core/Ambfix/LevelForm.h"

#include <cmath>

#include "Core/Filter/FilterConfig.h"

namespace tarvio {

NarrowLane s_narrowLane(const Upd_ambconfig& cfg, int isat) {
  const Deploy& config = s_config();
  const int* pair = cfg.ambfreq[config.m_sysOfRow(isat)];
  const double* freq = config.m_satellites[static_cast<std::size_t>(isat)].m_freq;
  const double f1 = freq[pair[0]], f2 = freq[pair[1]], spread = f1 * f1 - f2 * f2;
  return {f1 * f1 / spread * kLight / f1, -f2 * f2 / spread * kLight / f2, cfg.lamNL[isat]};
}

// ---- what the forms share ----

const int* LevelForm::m_pair(int isat) const { return m_settings.ambfreq[s_config().m_sysOfRow(isat)]; }

bool LevelForm::m_addAmbiguity(SrifFilter* filter, int slot, double coefficient, Combination& out) const {
  if (slot < 0 || slot >= kFreq) return false;
  const SrifPamt* record = filter->m_pm(0, out.isat, slot);
  if (!record || record->ipar < filter->npi) return false;
  out.m_add(record, coefficient);
  return true;
}

bool LevelForm::m_setNarrowLane(const SrifFilter* filter, Combination& out) const {
  const Fixes wideLanes = s_fixesOf(filter, Level::wideLane);
  const double* wideLane = wideLanes.m_value(out.isat);
  out.unit = m_settings.lamNL[out.isat];
  out.excess = m_settings.wlratio[out.isys] - 1.0;
  if (!wideLane || out.unit == 0.0 || out.excess == 0.0) return false;
  out.wideLane = *wideLane;
  return true;
}

// ---- separate frequencies ----

bool SeparateForm::v_mayRefer(SrifFilter* filter, int isat) const {
  const int* pair = m_pair(isat);
  return s_mayEnter(m_level, filter, isat, pair[0], pair[1], m_lowerFixed, m_settings);
}

bool SeparateWideLane::v_combine(SrifFilter* filter, int isat, Combination& out) const {
  const int* pair = m_pair(isat);
  return m_addAmbiguity(filter, pair[0], 1.0, out) && m_addAmbiguity(filter, pair[1], -1.0, out);
}

bool SeparateFirstFrequency::v_mayEnter(SrifFilter* filter, int isat) const {
  return s_mayEnter(m_level, filter, isat, 0, -1, m_lowerFixed, m_settings);
}

bool SeparateFirstFrequency::v_combine(SrifFilter* filter, int, Combination& out) const {
  return m_addAmbiguity(filter, 0, 1.0, out);
}

bool SeparateNarrowLane::v_mayEnter(SrifFilter* filter, int isat) const {
  return s_mayEnter(m_level, filter, isat, m_pair(isat)[0], -1, m_lowerFixed, m_settings);
}

bool SeparateNarrowLane::v_combine(SrifFilter* filter, int isat, Combination& out) const {
  const int* pair = m_pair(isat);
  if (pair[0] < 0 || pair[1] < 0) return false;
  const NarrowLane nl = s_narrowLane(m_settings, isat);
  // A pair of one frequency has no ionosphere-free combination.
  return std::isfinite(nl.a1) && std::isfinite(nl.a2) && m_addAmbiguity(filter, pair[0], nl.a1, out) &&
         m_addAmbiguity(filter, pair[1], nl.a2, out) && m_setNarrowLane(filter, out);
}

// ---- ionosphere-free observations ----

bool IonosphereFreeForm::v_mayEnter(SrifFilter* filter, int isat) const {
  return s_mayEnter(m_level, filter, isat, v_slot(s_config().m_sysOfRow(isat)), m_lowerFixed, m_settings);
}

bool IonosphereFreeForm::v_combine(SrifFilter* filter, int, Combination& out) const {
  if (!m_addAmbiguity(filter, v_slot(out.isys), 1.0, out)) return false;
  return m_level != Level::last || m_setNarrowLane(filter, out);
}

}  // namespace tarvio
