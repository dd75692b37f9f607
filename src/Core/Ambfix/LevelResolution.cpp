// Resolves a level: references, candidates, search, partial fixes, constraints.

#include "Core/Ambfix/LevelResolution.h"

#include <algorithm>
#include <utility>

#include "Common/Logtrace.h"
#include "Core/Ambfix/ConstraintRows.h"
#include "Core/Ambfix/GuardedLevel.h"
#include "Core/Ambfix/SrifAmbfix_raw.h"
#include "Core/Filter/FilterConfig.h"

namespace tarvio {

namespace {

constexpr double kPreferredElevation_rad = 30.0 * kDegToRad;

/// sum_kl a_k b_l Q(k, l) / (u_a u_b), cycles^2
double s_covariance(const Combination& a, const Combination& b, const double* Qamb, int nc, int npi) {
  double sum = 0.0;
  for (int k = 0; k < a.count; ++k)
    for (int l = 0; l < b.count; ++l) {
      const double* column = Qamb + static_cast<long>(b.ambiguity[l]->ipar - npi) * nc;
      sum += a.coefficient[k] / a.unit * (b.coefficient[l] / b.unit) * column[a.ambiguity[k]->ipar - npi];
    }
  return sum;
}

/// Row of the reference of each candidate; candidates of systems whose reference is none of them go.
std::vector<std::size_t> s_referenceRows(std::vector<Combination>& list, const int* s0) {
  bool present[kSys] = {};
  for (const Combination& c : list) present[c.isys] = present[c.isys] || c.isat == s0[c.isys];
  std::erase_if(list, [&](const Combination& c) { return !present[c.isys]; });
  std::size_t rowOf[kSys] = {};
  for (std::size_t i = 0; i < list.size(); ++i)
    if (list[i].isat == s0[list[i].isys]) rowOf[list[i].isys] = i;
  std::vector<std::size_t> rows;
  for (const Combination& c : list) rows.push_back(rowOf[c.isys]);
  return rows;
}

/// Cycles of the wide-lane that the difference of two narrow-lanes contains.
double s_wideLaneShare(const Combination& own, const Combination& ref) {
  return (own.wideLane - ref.wideLane) / own.excess;
}

}  // namespace

LevelIntegers::LevelIntegers(const int* integers, const int* marks) {
  std::copy_n(integers, kMaxSat, ifix);
  std::copy_n(marks, kMaxSat, flags);
}

int LevelProblem::m_handOver(std::vector<double>& toQ, std::vector<double>& toX, std::vector<int>& toIdx,
                             int* nlist) {
  toQ = std::move(Q);
  toX = std::move(x);
  toIdx = std::move(idx);
  return *nlist = static_cast<int>(toIdx.size());
}

bool LevelResolution::m_search(LevelProblem& problem, const int* s0, LevelIntegers& integers,
                               int& unfitReference) const {
  const int n = problem.m_size();
  double& ratio = m_filter->*SrifFilter::s_ratioOf(m_form.m_level);
  if (s_config().m_integrity.m_on)
    return GuardedLevel(m_form, m_filter).m_search(problem, s0, integers, ratio, unfitReference);
  return n > 0 && SrifAmbfix_raw::s_raw_ddsrch_lambda(m_form.m_settings.m_successRate, problem.Q.data(), n,
                                                      m_filter->m_sig0, problem.x.data(), problem.idx.data(),
                                                      s0, n, integers.ifix, integers.flags, &ratio);
}

/// Lets the integers into the solution.
bool LevelResolution::m_apply(const LevelIntegers& integers, const int* s0) const {
  if (!s_config().m_integrity.m_on || m_form.m_level != Level::last) return m_constrain(integers, s0);
  return DeterminedPosition(m_filter).m_try(integers, [&] { return m_constrain(integers, s0); });
}

/// References, candidates and their integers. A reference that does not fit the others makes room for the
/// next one and is a candidate like any other then; once a system, behind it the satellites themselves are in
/// doubt.
bool LevelResolution::m_find(const std::string& systems, int* s0, LevelProblem& problem,
                             LevelIntegers& integers) const {
  FixedSolution& fixed = m_filter->m_fixed;
  std::vector<double> Qamb;
  const int nc = fixed.m_isActive() ? fixed.m_lead() : SrifAmbfix_raw::s_ambCovariance(m_filter, Qamb);
  std::vector<int> unfit;
  for (;;) {
    m_pickReferences(systems, s0, unfit);
    if (nc > 0) problem = m_formProblem(fixed.m_isActive() ? fixed.m_covariance() : Qamb.data(), nc, s0);
    int unfitReference = -1;
    const bool found = m_search(problem, s0, integers, unfitReference);
    if (unfitReference < 0) return found;
    const int isys = s_config().m_sysOfRow(unfitReference);
    if (std::ranges::count(unfit, isys, [](int isat) { return s_config().m_sysOfRow(isat); }) > 0)
      return found;
    unfit.push_back(unfitReference);
    s0[isys] = -1;
  }
}

void LevelResolution::m_resolve(const std::string& systems, int* s0, const char* announced) const {
  LevelProblem problem;
  LevelIntegers integers;
  const bool found = m_find(systems, s0, problem, integers);
  const double& ratio = m_filter->*SrifFilter::s_ratioOf(m_form.m_level);
  if (found) {
    if (announced)
      Logtrace::m_logPrint("[%s,%d]:[%d %8.1lf] adding %s constraint %9.3lf\n", announced, __LINE__,
                           m_filter->mjd, m_filter->sod, s_traits(m_form.m_level).tag, ratio);
    if (!m_apply(integers, s0)) integers = {};
  }
  s_recordLevel(m_form.m_level, m_filter, problem, integers, s0);
}

bool LevelResolution::m_serves(int isat) const {
  return s_hasProduct(m_updc, isat, m_form.m_settings) && m_form.v_mayRefer(m_filter, isat);
}

void LevelResolution::m_pickReferences(const std::string& systems, int* s0,
                                       const std::vector<int>& unfit) const {
  const Deploy& config = s_config();
  const bool guarded = config.m_integrity.m_on;
  const LevelTraits* before = m_form.v_prefersFixedReference() ? s_levelBefore(m_form.m_level) : nullptr;
  s_forEachSystem([&](int isys) {
    int& reference = s0[isys];
    if (reference != -1 && !m_serves(reference)) reference = -1;
    const int* pair = m_form.m_settings.ambfreq[isys];
    const bool takesPart = systems.find(SYS[isys]) != std::string::npos && pair[0] >= 0 && pair[1] >= 0;
    if (reference != -1 || !takesPart) return;
    double highest = 0.0;
    int preferred = -1;
    bool agreed = false;  // whether the choice is down to satellites whose integers searches agree on
    for (int isat = 0; isat < config.m_nsat; ++isat) {
      if (config.m_sysOfRow(isat) != isys || s_barredReference(isat) || !m_serves(isat)) continue;
      if (std::ranges::find(unfit, isat) != unfit.end()) continue;
      const double elevation = m_filter->m_stations[0].m_sat[isat].m_elev;
      const bool agrees = guarded && GuardedLevel(m_form, m_filter).m_agrees(isat);
      if (agreed && !agrees) continue;
      if (agrees && !agreed) highest = 0.0, agreed = true;
      if (elevation > highest) {
        highest = elevation;
        reference = isat;
      }
      if (!guarded && before && elevation > kPreferredElevation_rad &&
          s_fixesOf(m_filter, before->level).m_isFixed(isat))
        preferred = isat;
    }
    if (preferred != -1) reference = preferred;
  });
}

bool LevelResolution::m_combine(int isat, Combination& out) const {
  out.isat = isat;
  out.isys = s_config().m_sysOfRow(isat);
  return m_form.v_combine(m_filter, isat, out);
}

/// Satellites that take part, references among them, in the order of the columns.
std::vector<Combination> LevelResolution::m_candidates(const int* s0) const {
  std::vector<Combination> list;
  for (SrifPamt* record : m_filter->m_amblist) {
    record->isel = -1;
    const int isat = record->isat;
    if (record->ifreq != m_form.v_slot(record->isys) || m_filter->m_pm(0, isat, record->ifreq) != record)
      continue;
    if (s0[record->isys] == -1 || !s_hasProduct(m_updc, isat, m_form.m_settings)) continue;
    Combination candidate;
    if (!m_form.v_mayEnter(m_filter, isat) || !m_combine(isat, candidate)) continue;
    record->isel = static_cast<int>(list.size());
    list.push_back(candidate);
  }
  return list;
}

LevelProblem LevelResolution::m_formProblem(const double* Qamb, int nc, const int* s0) const {
  LevelProblem problem;
  std::vector<Combination> list = m_candidates(s0);
  const std::vector<std::size_t> reference = s_referenceRows(list, s0);
  const std::size_t m = list.size();
  std::vector<double> single(m * m);
  for (std::size_t j = 0; j < m; ++j)
    for (std::size_t i = 0; i <= j; ++i)
      single[j * m + i] = single[i * m + j] = s_covariance(list[i], list[j], Qamb, nc, m_filter->npi);

  std::vector<std::size_t> kept;
  for (std::size_t i = 0; i < m; ++i) {
    if (reference[i] == i) continue;
    kept.push_back(i);
    const Combination &own = list[i], &ref = list[reference[i]];
    problem.idx.push_back(own.isat);
    problem.x.push_back((own.m_sum(&SrifPamt::xest) - ref.m_sum(&SrifPamt::xest)) / own.unit -
                        s_wideLaneShare(own, ref) - s_biasBetween(m_updc, own.isat, ref.isat));
  }
  const std::size_t n = kept.size();
  problem.Q.resize(n * n);
  for (std::size_t l = 0; l < n; ++l)
    for (std::size_t k = 0; k <= l; ++k) {
      const std::size_t i = kept[k], j = kept[l], ri = reference[i], rj = reference[j];
      problem.Q[l * n + k] = problem.Q[k * n + l] =
          single[j * m + i] - single[j * m + ri] - single[rj * m + i] + single[rj * m + ri];
    }
  return problem;
}

bool LevelResolution::m_constrain(const LevelIntegers& integers, const int* s0) const {
  const Deploy& config = s_config();
  std::vector<ConstraintRow> rows;
  for (int isat = 0; isat < config.m_nsat; ++isat) {
    const int iref = s0[config.m_sysOfRow(isat)];
    Combination own, ref;
    if (!integers.flags[isat] || iref < 0 || iref == isat || !m_combine(isat, own) || !m_combine(iref, ref))
      continue;
    const double cycles = integers.ifix[isat] + s_biasBetween(m_updc, isat, iref) + s_wideLaneShare(own, ref);
    ConstraintRow& row = rows.emplace_back();
    row.target = cycles * own.unit;
    for (int k = 0; k < own.count; ++k) {
      row.m_add(own.ambiguity[k]->ipar, own.coefficient[k]);
      row.m_add(ref.ambiguity[k]->ipar, -own.coefficient[k]);
      row.target -= own.coefficient[k] * (own.ambiguity[k]->xini - ref.ambiguity[k]->xini);
    }
  }
  return s_foldRows(m_filter, rows, s_traits(m_form.m_level).solution);
}

void s_recordLevel(Level level, SrifFilter* filter, const LevelProblem& problem,
                   const LevelIntegers& integers, const int* s0) {
  const Deploy& config = s_config();
  FixRecord record(filter->m_fixmap, filter->m_stations[0].m_name, level);
  record.m_clear();
  auto& candidates = filter->m_candidates[s_place(level)];
  candidates.clear();
  filter->m_nfix = 0;
  for (int isys = 0; isys < kSys; ++isys)
    if (s0[isys] != -1) record.m_setOpen(s0[isys], 0.0);
  bool searched[kSys] = {}, fixedSystem[kSys] = {};
  for (std::size_t k = 0; k < problem.idx.size(); ++k) {
    const int isat = problem.idx[k], isys = config.m_sysOfRow(isat), iref = s0[isys];
    const bool fixed = integers.flags[isat] != 0;
    candidates.push_back({isat, iref, problem.x[k], fixed, fixed ? integers.ifix[isat] : 0});
    if (fixed) record.m_setFixed(isat, integers.ifix[isat], level);
    else record.m_setOpen(isat, problem.x[k]);
    record.m_markSearched(isat);
    searched[isys] = true;
    fixedSystem[isys] = fixedSystem[isys] || fixed;
    filter->m_nfix += fixed;
  }
  for (int isys = 0; isys < kSys; ++isys) {
    if (searched[isys]) record.m_markSearched(s0[isys]);
    if (fixedSystem[isys]) record.m_markFixed(s0[isys], level);
    filter->m_nfix += fixedSystem[isys];
  }
}

}  // namespace tarvio
