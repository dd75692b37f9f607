/// Detection and identification of outliers: the loop, and the judgement of the jumps that it introduced.

#include "Core/Filter/SrifFilter_dia.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "Common/Logtrace.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

constexpr double kHoldLimit = 0.1;  ///< in units of the ambiguity: a smaller jump is none

std::size_t s_at(int i) { return static_cast<std::size_t>(i); }

}  // namespace

void SrifFilter::m_onDia() {
  const char* mode = s_config().m_diaType;
  if (s_has(mode, "batch")) m_onDia_batch();
  else if (s_has(mode, "rescheck")) m_onDia_batch_rescheck();
}

void SrifFilter::m_sortRes(int n, std::vector<double>& values, std::vector<int>& order,
                           const std::vector<int>& rows, const std::vector<int>& done) {
  order.resize(s_at(n));
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
    const bool doneA = done[s_at(rows[s_at(a)])] != 0, doneB = done[s_at(rows[s_at(b)])] != 0;
    if (doneA != doneB) return doneB;
    return !doneA && std::fabs(values[s_at(a)]) > std::fabs(values[s_at(b)]);
  });
}

void OutlierLoop::m_run() {
  m_filter.m_ambreset.clear();
  if (m_filter.nobs < 1) return;
  m_done.assign(s_at(m_filter.nobs), 0);
  m_collectCandidates(true);
  if (std::isfinite(m_filter.m_sig0) && !m_passes(m_largest)) m_filter.m_makeReflectors();
  while (std::isfinite(m_filter.m_sig0) && !m_passes(m_largest)) {
    const bool room = m_treatWorst();
    if (m_fresh.empty()) break;
    m_filter.m_onDiaUpInfs(static_cast<int>(m_fresh.size()), m_fresh);
    if (!room) break;
    m_collectCandidates(false);
  }
  m_judgeAll();
}

void OutlierLoop::m_collectCandidates(bool first) {
  m_rows.clear();
  m_value.clear();
  m_largest = 0.0;
  const Deploy& config = s_config();
  const double sigma = m_filter.m_sig0_smooth != 0.0 ? m_filter.m_sig0_smooth : kNone;
  for (int row = 0; row < m_filter.nobs; ++row) {
    const auto [isat, kind, slot, ista, place] = m_filter.m_origin(row);
    const bool wanted = m_mode.codeAfter && !first
                            ? kind == kRowCode
                            : kind == kRowPhase || (m_mode.afif && kind == kRowAfifPhase);
    // A code row is treated on the ambiguity of its slot; without one there is nothing to restart.
    if (!wanted || !m_filter.m_pm(ista, isat, slot)) continue;
    const double residual = std::fabs(m_filter.resi[row]);
    double value = residual;
    if (m_mode.scaled && m_filter.m_noise.m_isOn())
      value *= m_filter.obswgt[row] /
               m_filter.m_noise.m_expectedShare(config.m_sysOfRow(isat), slot, kind,
                                                m_filter.m_stations[s_at(ista)].m_sat[isat].m_elev);
    else if (m_mode.scaled) value = residual / sigma * m_filter.obswgt[row];
    m_rows.push_back(row);
    m_value.push_back(value);
    m_largest = std::max(m_largest, value);
  }
}

bool OutlierLoop::m_passes(double value) const {
  const double* limit = s_config().m_diaBatchLimit;
  return value <= limit[0] && m_filter.m_sig0 <= limit[1];
}

bool OutlierLoop::m_treatWorst() {
  m_fresh.clear();
  const int n = static_cast<int>(m_rows.size());
  m_filter.m_sortRes(n, m_value, m_order, m_rows, m_done);
  for (int i = 0; i < std::min(m_filter.m_ndia, n); ++i) {
    const int row = m_rows[s_at(m_order[s_at(i)])];
    const double value = m_value[s_at(m_order[s_at(i)])];
    if (m_done[s_at(row)] || (m_passes(value) && std::fabs(m_filter.resi[row]) <= m_mode.forceLimit))
      continue;
    if (!m_prepareColumn(row, static_cast<int>(m_fresh.size()), value)) return false;
    m_fresh.push_back(row);
    m_done[s_at(row)] = 1;
  }
  return true;
}

/// Prepares the column of one row; false when the array has no room for it.
bool OutlierLoop::m_prepareColumn(int row, int k, double value) {
  const auto [isat, kind, slot, ista, place] = m_filter.m_origin(row);
  // One bad epoch is no reason to end: what has been treated so far stands.
  if (!m_filter.m_onDiaGenSen(row, k, m_filter.m_pm(ista, isat, slot)->lam, m_filter.obswgt[row]))
    return false;
  m_log(row, value);
  m_filter.m_ambreset.push_back({ista, isat, slot});
  return true;
}

void OutlierLoop::m_log(int row, double value) const {
  const auto [isat, kind, slot, ista, place] = m_filter.m_origin(row);
  const Station& sta = m_filter.m_stations[s_at(ista)];
  const char* cprn = s_config().m_cprn[isat].c_str();
  const double millimetres = m_filter.resi[row] * 1000.0, elevation = sta.m_sat[isat].m_elev * kRadToDeg;
  Logtrace::m_logPrint(
      "[%s,%d]:[%d %8.1lf] [%s %s %d %8.1lf(mm) %5.1lf(res) %4.2lf(esig) %4.2lf(smsig) %7.2lf] DIA batch "
      "detecting "
      "slip\n",
      "m_onDia_batch", __LINE__, m_filter.mjd, m_filter.sod, sta.m_name.c_str(), cprn, slot, millimetres,
      value, m_filter.m_sig0, m_filter.m_sig0_smooth, elevation);
  Logtrace::m_logtagTrace("DIA",
                          "[%d %8.1lf] [%s %s %d %8.1lf(mm) %5.1lf(res) %4.2lf(esig) %4.2lf(smsig) %7.2lf] "
                          "DIA batch detecting slip\n",
                          m_filter.mjd, m_filter.sod, sta.m_name.c_str(), cprn, slot, millimetres, value,
                          m_filter.m_sig0, m_filter.m_sig0_smooth, elevation);
}

/// Judges every new arc, newest first: a slot may have been treated twice.
void OutlierLoop::m_judgeAll() {
  const auto& arcs = m_filter.m_amblist;
  if (std::none_of(arcs.begin(), arcs.end(), [](const SrifPamt* r) { return r->iold >= 0; })) return;
  std::vector<double> x;
  m_filter.m_solve(x);
  for (auto it = arcs.rbegin(); it != arcs.rend(); ++it) {
    SrifPamt* record = *it;
    if (record->iold >= 0 && m_filter.m_pm(record->ista, record->isat, record->ifreq) == record)
      m_judge(record, x);
  }
}

void OutlierLoop::m_judge(SrifPamt* record, const std::vector<double>& x) {
  const Deploy& config = s_config();
  const auto valueOf = [&](const SrifPamt* r) { return x[s_at(r->ipar)]; };
  const double jump = valueOf(record);
  const bool mayHold = record->lam != 1.0 ? m_mode.holdCycles : m_mode.holdMetres;
  const bool hold = mayHold && std::fabs(jump) < kHoldLimit;
  Logtrace::m_logtagTrace("DIA", "[%d %8.1f] [DIA %s value %s %s %s  %8.3lf]\n", m_filter.mjd, m_filter.sod,
                          hold ? "hold" : "reset", m_filter.m_stations[s_at(record->ista)].m_name.c_str(),
                          config.m_cprn[record->isat].c_str(), config.m_freqUsed[record->isys][record->ifreq],
                          jump);
  if (hold) {
    m_hold(record, jump);
    return;
  }
  // The new arc stands on all that it replaces; arcs in between have no life of their own.
  double base = 0.0;
  for (SrifPamt* old = record->pold; old;) {
    base += old->xini + valueOf(old);
    SrifPamt* older = old->pold;
    old->iold = -1;
    old->pold = nullptr;
    old = older;
  }
  record->xini = base;
  record->iold = -1;
  record->pold = nullptr;
}

/// Too small to be a slip: the old arc returns and takes the shift; one entry of the slot is withdrawn.
void OutlierLoop::m_hold(SrifPamt* record, double jump) {
  record->pold->xini += jump;
  m_filter.m_pm(record->ista, record->isat, record->ifreq) = record->pold;
  record->iflag = kArcHeld;
  record->iold = -1;
  record->pold = nullptr;
  const std::vector<int> slot = {record->ista, record->isat, record->ifreq};
  auto& reset = m_filter.m_ambreset;
  const auto entry = std::find(reset.rbegin(), reset.rend(), slot);
  if (entry != reset.rend()) reset.erase(std::next(entry).base());
}

}  // namespace tarvio
