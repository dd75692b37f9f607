/// Outlier loop on scaled residuals, and the judgement of the jumps that any loop has introduced.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "Common/Constants.h"
#include "Common/Logtrace.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

constexpr double kHoldLimit = 0.1;  ///< in units of the ambiguity: a smaller jump is none

}  // namespace

void SrifFilter::m_onDia_batch() {
  DiaMode mode;
  mode.afif = true;
  mode.codeAfter = true;
  mode.scaled = true;
  mode.forceLimit = std::numeric_limits<double>::infinity();
  mode.holdCycles = true;
  mode.holdMetres = false;
  m_runDia(mode);
}

/// Treats the worst row, refreshes the residuals, and so on until everything passes.
void SrifFilter::m_runDia(const DiaMode& mode) {
  const double* limit = s_config().m_diaBatchLimit;
  m_ambreset.clear();
  if (nobs < 1) return;

  std::vector<int> done(static_cast<std::size_t>(nobs), 0), fresh;
  DiaList list;
  m_diaCandidates(mode, true, list);
  while (std::isfinite(m_sig0)) {
    const int n = static_cast<int>(list.rows.size());
    m_sortRes(n, list.value, list.order, list.rows, done);
    if (list.vmax <= limit[0] && m_sig0 <= limit[1]) break;

    fresh.clear();
    bool full = false;
    for (int i = 0; i < std::min(m_ndia, n) && !full; ++i) {
      const auto entry = static_cast<std::size_t>(list.order[static_cast<std::size_t>(i)]);
      const int row = list.rows[entry];
      const bool passes =
          list.value[entry] <= limit[0] && m_sig0 <= limit[1] && std::fabs(resi[row]) <= mode.forceLimit;
      if (passes || done[static_cast<std::size_t>(row)]) continue;
      full = !m_diaTreat(row, static_cast<int>(fresh.size()), list.value[entry]);
      if (full) continue;
      fresh.push_back(row);
      done[static_cast<std::size_t>(row)] = 1;
    }
    if (fresh.empty()) break;
    m_onDiaUpInfs(static_cast<int>(fresh.size()), fresh);
    if (full) break;
    m_diaCandidates(mode, false, list);
  }
  m_onDiaClose(mode);
  m_clearReflectors();
}

void SrifFilter::m_diaCandidates(const DiaMode& mode, bool first, DiaList& list) {
  list.rows.clear();
  list.value.clear();
  list.vmax = 0.0;
  const double sigma = m_sig0_smooth != 0.0 ? m_sig0_smooth : 999.0;
  for (int row = 0; row < nobs; ++row) {
    const auto [isat, kind, slot, ista, place] = m_origin(row);
    const bool wanted = mode.codeAfter && !first ? kind == kRowCode
                                                 : kind == kRowPhase || (mode.afif && kind == kRowAfifPhase);
    // A code row is treated on the ambiguity of its slot; without one there is nothing to restart.
    if (!wanted || !m_pm(ista, isat, slot)) continue;
    const double value = mode.scaled ? std::fabs(resi[row]) / sigma * obswgt[row] : std::fabs(resi[row]);
    list.rows.push_back(row);
    list.value.push_back(value);
    list.vmax = std::max(list.vmax, value);
  }
}

/// Prepares the column of one row; false when the array has no room for it.
bool SrifFilter::m_diaTreat(int row, int k, double value) {
  const int wanted = imtx + k + 3;
  if (wanted >= ntmx || imtx + k + nobs + 2 > ldinfs) {
    // Ending the process on one bad epoch would help nobody: what has been treated so far stands.
    std::printf("***ERROR(m_onDiaGenSen):Dimension Not big Enough! nmtxX: %d Real: %d\n", ntmx, wanted);
    return false;
  }
  const auto [isat, kind, slot, ista, place] = m_origin(row);
  m_onDiaGenSen(row, k, m_pm(ista, isat, slot)->lam, obswgt[row]);

  const Station& sta = m_stations[static_cast<std::size_t>(ista)];
  const char* cprn = s_config().m_cprn[isat].c_str();
  const double millimetres = resi[row] * 1000.0, elevation = sta.m_sat[isat].m_elev * kRadToDeg;
  Logtrace::m_logPrint(
      "[%s,%d]:[%d %8.1lf] [%s %s %d %8.1lf(mm) %5.1lf(res) %4.2lf(esig) %4.2lf(smsig) %7.2lf] DIA batch "
      "detecting "
      "slip\n",
      "m_onDia_batch", __LINE__, mjd, sod, sta.m_name.c_str(), cprn, slot, millimetres, value, m_sig0,
      m_sig0_smooth, elevation);
  Logtrace::m_logtagTrace("DIA",
                          "[%d %8.1lf] [%s %s %d %8.1lf(mm) %5.1lf(res) %4.2lf(esig) %4.2lf(smsig) %7.2lf] "
                          "DIA batch detecting slip\n",
                          mjd, sod, sta.m_name.c_str(), cprn, slot, millimetres, value, m_sig0, m_sig0_smooth,
                          elevation);
  m_ambreset.push_back({ista, isat, slot});
  return true;
}

/// Judges every new arc, newest first: a slot may have been treated twice.
void SrifFilter::m_onDiaClose(const DiaMode& mode) {
  const bool any = std::any_of(m_amblist.begin(), m_amblist.end(), [](SrifPamt* r) { return r->iold >= 0; });
  if (!any) return;
  std::vector<double> x;
  m_solve(x);
  for (auto it = m_amblist.rbegin(); it != m_amblist.rend(); ++it) {
    SrifPamt* record = *it;
    if (record->iold >= 0 && m_pm(record->ista, record->isat, record->ifreq) == record)
      m_diaJudge(mode, record, x);
  }
}

void SrifFilter::m_diaJudge(const DiaMode& mode, SrifPamt* record, const std::vector<double>& x) {
  const Deploy& config = s_config();
  const auto valueOf = [&](const SrifPamt* r) { return x[static_cast<std::size_t>(r->ipar)]; };
  const double jump = valueOf(record);
  const bool mayHold = record->lam != 1.0 ? mode.holdCycles : mode.holdMetres;
  const bool hold = mayHold && std::fabs(jump) < kHoldLimit;
  Logtrace::m_logtagTrace(
      "DIA", "[%d %8.1f] [DIA %s value %s %s %s  %8.3lf]\n", mjd, sod, hold ? "hold" : "reset",
      m_stations[static_cast<std::size_t>(record->ista)].m_name.c_str(), config.m_cprn[record->isat].c_str(),
      config.m_freqUsed[record->isys][record->ifreq], jump);
  if (hold) {
    // Too small to be a slip: the old arc returns and takes the shift; one entry of the slot is withdrawn.
    record->pold->xini += jump;
    m_pm(record->ista, record->isat, record->ifreq) = record->pold;
    record->iflag = kArcHeld;
    record->iold = -1;
    record->pold = nullptr;
    const std::vector<int> slot = {record->ista, record->isat, record->ifreq};
    const auto entry = std::find(m_ambreset.rbegin(), m_ambreset.rend(), slot);
    if (entry != m_ambreset.rend()) m_ambreset.erase(std::next(entry).base());
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

}  // namespace tarvio
