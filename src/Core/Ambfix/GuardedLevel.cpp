// Belief in integers: floor of their errors, agreement over time, precision of the position.

#include "Core/Ambfix/GuardedLevel.h"

#include <algorithm>
#include <cmath>

#include "Common/Logtrace.h"
#include "Core/Ambfix/GuardedSearch.h"
#include "Core/Filter/FilterConfig.h"

namespace tarvio {

double GuardedLevel::m_time() const { return m_filter->mjd * kDay + m_filter->sod; }

FixAgreement& GuardedLevel::m_agreement() const { return m_filter->m_agreement[s_place(m_form.m_level)]; }

/// Begin of the arc on which the level's combination stands, fractional MJD; 0 without one.
double GuardedLevel::m_arcOf(int isat) const {
  Combination combination;
  combination.isat = isat;
  combination.isys = s_config().m_sysOfRow(isat);
  if (!m_form.v_combine(m_filter, isat, combination)) return 0.0;
  double begin = 0.0;
  for (int k = 0; k < combination.count; ++k) begin = std::max(begin, combination.ambiguity[k]->ptime0);
  return begin;
}

bool GuardedLevel::m_agrees(int isat) const {
  // Integers of the last level contain those before it.
  const double seconds = m_form.m_level == Level::last ? s_config().m_integrity.m_agreement_s : 0.0;
  return m_agreement().m_agrees(isat, m_arcOf(isat), m_time(), seconds);
}

/// Errors of single satellites, products' and multipath, that stay however long an arc is: s^2 for each of
/// the two satellites of a difference, shared by the differences of a system.
std::vector<double> GuardedLevel::m_withFloor(const LevelProblem& problem, int which) const {
  const IntegritySettings& settings = s_config().m_integrity;
  const double floor =
      (m_form.m_level == Level::last ? settings.m_narrowLaneFloor : settings.m_wideLaneFloor)[which];
  std::vector<double> Q = problem.Q;
  const auto n = problem.idx.size();
  std::vector<int> system;
  for (const int isat : problem.idx) system.push_back(s_config().m_sysOfRow(isat));
  for (std::size_t j = 0; j < n; ++j)
    for (std::size_t i = 0; i < n; ++i)
      if (system[i] == system[j]) Q[j * n + i] += floor * floor * (i == j ? 2.0 : 1.0);
  return Q;
}

/// The last level checks wide-lanes as far as it has more satellites than position, zenith delay and clocks
/// take: one that is wrong by a cycle moves a narrow-lane away from its integer. What a search of it finds
/// among many is told from the wrong ones by its ratio long before the formal rate is small.
void GuardedLevel::m_setFailureRate(GuardedProblem& problem) const {
  const IntegritySettings& settings = s_config().m_integrity;
  const bool last = m_form.m_level == Level::last;
  problem.failureRate = last ? settings.m_failureRate : settings.m_wideLaneFailureRate;
  problem.failureRateOfMany = last ? settings.m_failureRateOfMany : settings.m_wideLaneFailureRateOfMany;
  problem.many = static_cast<std::size_t>(settings.m_many);
  // Candidates make a wide-lane one of many, even those that stay out: the last level has them all.
  if (!last && problem.n >= settings.m_many) problem.failureRate = problem.failureRateOfMany;
}

bool GuardedLevel::m_search(const LevelProblem& problem, const int* s0, LevelIntegers& integers,
                            double& ratio, int& unfitReference) const {
  ratio = 0.0;
  unfitReference = -1;
  if (problem.m_size() < 1) return false;
  const bool last = m_form.m_level == Level::last;
  const IntegritySettings& settings = s_config().m_integrity;
  const std::vector<double> Q = m_withFloor(problem, 0), judged = m_withFloor(problem, 1);
  GuardedProblem guarded;
  guarded.n = problem.m_size();
  guarded.Q = Q.data();
  guarded.judged = judged.data();
  guarded.x = problem.x.data();
  m_setFailureRate(guarded);
  guarded.ratio = last ? settings.m_ratio : 1.0;
  guarded.misfit = settings.m_misfit;
  guarded.share = settings.m_share;
  guarded.misfits = settings.m_misfits;
  for (const int isat : problem.idx) guarded.group.push_back(s_config().m_sysOfRow(isat));
  const GuardedResult result = GuardedSearch(guarded).m_run();
  ratio = result.ratio;
  if (result.unfitGroup >= 0) unfitReference = s0[result.unfitGroup];
  m_tellMisfits(problem, result.misfits, result.accepted);
  if (!result.accepted) return false;

  FixAgreement::Found found[kMaxSat];
  for (std::size_t k = 0; k < result.rows.size(); ++k) {
    const int isat = problem.idx[static_cast<std::size_t>(result.rows[k])];
    found[isat] = {true, static_cast<int>(std::lround(result.integers[k])), m_arcOf(isat)};
  }
  bool any = false;
  s_forEachSystem([&](int isys) {
    const int iref = s0[isys];
    if (iref < 0) return;
    FixAgreement::Found ofSystem[kMaxSat];
    ofSystem[iref] = {true, 0, m_arcOf(iref)};
    int count = 0;
    for (int isat = 0; isat < kMaxSat; ++isat) {
      if (!found[isat].is || s_config().m_sysOfRow(isat) != isys) continue;
      ofSystem[isat] = found[isat];
      ++count;
    }
    if (count == 0) return;
    if (const int changed = m_agreement().m_update(isys, ofSystem, m_time()); changed > 0)
      Logtrace::m_logStatInfo("[%d %8.1lf] %s: %d integers of system %c are not those of the epoch before\n",
                              m_filter->mjd, m_filter->sod, s_traits(m_form.m_level).tag, changed, SYS[isys]);
    if (!m_agrees(iref)) return;
    for (int isat = 0; isat < kMaxSat; ++isat) {
      if (isat == iref || !ofSystem[isat].is || !m_agrees(isat)) continue;
      integers.ifix[isat] = ofSystem[isat].integer;
      integers.flags[isat] = 1;
      any = true;
    }
  });
  return any;
}

/// Says once when no set of a level fits although the floats are precise, and names satellites that spoil it.
void GuardedLevel::m_tellMisfits(const LevelProblem& problem, const std::vector<int>& misfits,
                                 bool accepted) const {
  std::string names;
  for (const int row : misfits)
    names += (names.empty() ? "" : " ") + s_config().m_cprn[problem.idx[static_cast<std::size_t>(row)]];
  const char* tag = s_traits(m_form.m_level).tag;
  StatusCondition& condition = m_filter->m_misfitTold[s_place(m_form.m_level)];
  switch (condition.m_update(!accepted && !misfits.empty())) {
    case StatusCondition::Change::begins:
      Logtrace::m_logStatInfo(
          "[%d %8.1lf] %s: no integers fit the float ambiguities (worst %s): the phase biases do not belong "
          "to "
          "these orbits, clocks or signals, or the observations are worse than their sigmas\n",
          m_filter->mjd, m_filter->sod, tag, names.c_str());
      break;
    case StatusCondition::Change::ends:
      Logtrace::m_logStatInfo("[%d %8.1lf] %s: integers fit again\n", m_filter->mjd, m_filter->sod, tag);
      break;
    default:
      break;
  }
}

namespace {

/// Says when integers begin and cease to be too few or too weak for a fixed position.
void s_tellUndetermined(SrifFilter& filter, bool undetermined, long integers, double sigma) {
  if (undetermined) filter.m_reason = Reason::undetermined;
  switch (filter.m_undetermined.m_update(undetermined)) {
    case StatusCondition::Change::begins:
      Logtrace::m_logStatInfo(
          "[%d %8.1lf] %ld integers do not determine the position (formal sigma %.3lf m, 0: not looked at): "
          "it is "
          "not called fixed\n",
          filter.mjd, filter.sod, integers, sigma);
      break;
    case StatusCondition::Change::ends:
      Logtrace::m_logStatInfo("[%d %8.1lf] integers determine the position again\n", filter.mjd, filter.sod);
      break;
    default:
      break;
  }
}

}  // namespace

bool DeterminedPosition::m_try(const LevelIntegers& integers, const std::function<bool()>& constrain) const {
  const IntegritySettings& settings = s_config().m_integrity;
  SrifFilter& f = *m_filter;
  const auto count = std::count(integers.flags, integers.flags + kMaxSat, 1);
  if (count < settings.m_least) {
    s_tellUndetermined(f, true, count, 0.0);
    return false;
  }
  const int state = f.m_solstat;
  f.m_fixed.m_remember();
  if (!constrain()) return false;
  double P[9];
  const double sigma = f.m_fixedCovariance(P) ? std::sqrt(P[0] + P[4] + P[8]) : HUGE_VAL;
  const bool determined = sigma <= settings.m_position_m;
  s_tellUndetermined(f, !determined, count, sigma);
  if (determined) return true;
  f.m_fixed.m_takeBack();
  f.m_solstat = state;
  f.m_solve_update();
  return false;
}

}  // namespace tarvio
