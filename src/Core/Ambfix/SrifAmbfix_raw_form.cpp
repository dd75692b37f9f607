/// Reference satellites, and between-satellite ambiguities with their covariance.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "Common/CMat.h"
#include "Core/Ambfix/SrifAmbfix_raw.h"
#include "Core/Filter/FilterConfig.h"

namespace tarvio {

namespace {

constexpr double kPreferredElevation_rad = 30.0 * kDegToRad;
constexpr int kTypeComb = 1;

const char* s_levelBefore(const char* tag) {
  if (std::strcmp(tag, "n1") == 0) return "wl";
  return std::strcmp(tag, "wl") == 0 ? "ewl" : nullptr;
}

/// The undifferenced combination of one candidate: up to two columns of the ambiguity block.
struct Candidate {
  int isat = -1, isys = -1;
  int column[2] = {};
  double coefficient[2] = {};
  int count = 0;

  void add(int col, double coef) {
    column[count] = col;
    coefficient[count++] = coef;
  }
};

/// sum_kl a_k b_l Q(k, l)
double s_covariance(const Candidate& a, const Candidate& b, const double* Qamb, int nc) {
  double sum = 0.0;
  for (int k = 0; k < a.count; ++k)
    for (int l = 0; l < b.count; ++l)
      sum += a.coefficient[k] * b.coefficient[l] * Qamb[static_cast<long>(b.column[l]) * nc + a.column[k]];
  return sum;
}

using RowOfReference = std::array<int, kSys>;

/// Row of the reference of each system; a system whose reference is no candidate loses its rows.
RowOfReference s_keepReferencedSystems(std::vector<Candidate>& list, const int* s0) {
  bool present[kSys] = {};
  for (const Candidate& c : list) present[c.isys] = present[c.isys] || c.isat == s0[c.isys];
  std::erase_if(list, [&](const Candidate& c) { return !present[c.isys]; });
  RowOfReference row;
  row.fill(-1);
  for (std::size_t i = 0; i < list.size(); ++i)
    if (list[i].isat == s0[list[i].isys]) row[static_cast<std::size_t>(list[i].isys)] = static_cast<int>(i);
  return row;
}

/// Covariance of the candidates' differences against the reference of their system; a reference's own
/// row stays undifferenced.
void s_differencedCovariance(const std::vector<Candidate>& list, const RowOfReference& reference,
                             const double* Qamb, int nc, std::vector<double>& Q) {
  const std::size_t m = list.size();
  std::vector<double> single(m * m);
  for (std::size_t j = 0; j < m; ++j)
    for (std::size_t i = 0; i <= j; ++i)
      single[j * m + i] = single[i * m + j] = s_covariance(list[i], list[j], Qamb, nc);

  Q.assign(m * m, 0.0);
  const auto rowOf = [&](std::size_t i) {
    const auto r = static_cast<std::size_t>(reference[static_cast<std::size_t>(list[i].isys)]);
    return r == i ? m : r;
  };
  for (std::size_t j = 0; j < m; ++j) {
    const std::size_t rj = rowOf(j);
    for (std::size_t i = 0; i <= j; ++i) {
      const std::size_t ri = rowOf(i);
      double value = single[j * m + i];
      if (ri < m) value -= single[j * m + ri];
      if (rj < m) value -= single[rj * m + i];
      if (ri < m && rj < m) value += single[rj * m + ri];
      Q[j * m + i] = Q[i * m + j] = value;
    }
  }
}

/// What the three members of the family share. `take(record, candidate)` says whether a live record
/// opens a candidate and fills it; `value(isat, iref, isys)` is its float value in cycles.
template <typename Take, typename Value>
int s_formCandidates(const Updc* updc, SrifFilter* filter, const Upd_ambconfig& cfg, const double* Qamb,
                     int nc, const int* s0, std::vector<double>& Q, std::vector<double>& x,
                     std::vector<int>& idx, int* nlist, Take take, Value value) {
  std::vector<Candidate> list;
  for (SrifPamt* record : filter->m_amblist) {
    record->isel = -1;
    if (filter->m_pm(0, record->isat, record->ifreq) != record) continue;
    if (s0[record->isys] == -1 || !SrifAmbfix_raw::s_hasProduct(updc, record->isat, cfg)) continue;
    Candidate candidate;
    candidate.isat = record->isat;
    candidate.isys = record->isys;
    if (!take(*record, candidate)) continue;
    record->isel = static_cast<int>(list.size());
    list.push_back(candidate);
  }
  const RowOfReference reference = s_keepReferencedSystems(list, s0);
  const int m = static_cast<int>(list.size());
  *nlist = m;
  Q.clear();
  x.clear();
  idx.clear();
  if (m == 0) return 0;

  s_differencedCovariance(list, reference, Qamb, nc, Q);
  for (const Candidate& c : list) {
    const int iref = s0[c.isys];
    idx.push_back(c.isat);
    x.push_back(value(c.isat, iref, c.isys) - SrifAmbfix_raw::s_updTerm(updc, c.isat, iref));
  }
  return SrifAmbfix_raw::s_removeReferences(Q, x, idx, m, s0);
}

}  // namespace

void SrifAmbfix_raw::s_raw_pickValid_s0(const char* tag, const Upd_ambconfig& cfg, const Updc* updc,
                                        bool flag, SrifFilter* filter, int* s0) {
  const Deploy& config = s_config();
  const char* before = s_levelBefore(tag);
  const auto valid = [&](int isat, int isys) {
    return s_hasProduct(updc, isat, cfg) &&
           s_validamb_iar(tag, filter, isat, cfg.ambfreq[isys][0], cfg.ambfreq[isys][1], flag, cfg);
  };
  s_forEachSystem([&](int isys) {
    if (s0[isys] != -1 && !valid(s0[isys], isys)) s0[isys] = -1;
  });
  s_forEachSystem([&](int isys) {
    if (s0[isys] != -1 || cfg.ambfreq[isys][0] < 0 || cfg.ambfreq[isys][1] < 0) return;
    double highest = 0.0;
    int preferred = -1;
    for (int isat = 0; isat < config.m_nsat; ++isat) {
      if (config.m_sysOfRow(isat) != isys || s_barredReference(isat) || !valid(isat, isys)) continue;
      const double elevation = filter->m_stations[0].m_sat[isat].m_elev;
      if (elevation > highest) {
        highest = elevation;
        s0[isys] = isat;
      }
      if (before && elevation > kPreferredElevation_rad && s_isFixed(filter, before, isat)) preferred = isat;
    }
    if (preferred != -1) s0[isys] = preferred;
  });
}

int SrifAmbfix_raw::s_ambCovariance(const SrifFilter* filter, std::vector<double>& Qamb) {
  const int npi = filter->npi, nc = filter->imtx - npi;
  Qamb.clear();
  if (nc < 1) return 0;
  // The ambiguities are the last columns of R, so their block of R^-1 is the inverse of their own
  // triangle, and the rest of R has no part in their covariance.
  const auto n = static_cast<std::size_t>(nc);
  const double* triangle = filter->infs + filter->iptx[npi] + npi;
  std::vector<double> inverse(n * (n + 1) / 2);
  CMat::CMat_InverUU(triangle, inverse.data(), filter->ldinfs, nc, 'W');
  Qamb.assign(n * n, 0.0);
  const double* column = inverse.data();
  for (std::size_t k = 0; k < n; column += ++k) {
    for (std::size_t j = 0; j <= k; ++j) {
      const double w = column[j];
      double* out = Qamb.data() + j * n;
      for (std::size_t i = 0; i <= j; ++i) out[i] += w * column[i];
    }
  }
  for (std::size_t j = 0; j < n; ++j) {
    if (!std::isfinite(Qamb[j * n + j])) return 0;
    for (std::size_t i = 0; i < j; ++i) Qamb[i * n + j] = Qamb[j * n + i];
  }
  return nc;
}

NarrowLane SrifAmbfix_raw::s_narrowLane(const Upd_ambconfig& cfg, int isat) {
  const Deploy& config = s_config();
  const int* pair = cfg.ambfreq[config.m_sysOfRow(isat)];
  const double* freq = config.m_satellites[static_cast<std::size_t>(isat)].m_freq;
  const double f1 = freq[pair[0]], f2 = freq[pair[1]], spread = f1 * f1 - f2 * f2;
  return {f1 * f1 / spread * kLight / f1, -f2 * f2 / spread * kLight / f2, cfg.lamNL[isat]};
}

double SrifAmbfix_raw::s_updTerm(const Updc* updc, int isat, int iref) {
  if (!updc || updc->m_type != kTypeComb) return 0.0;
  const auto* comb = dynamic_cast<const Upd_comb*>(updc);
  return comb ? comb->m_value[isat] - comb->m_value[iref] : 0.0;
}

int SrifAmbfix_raw::s_removeReferences(std::vector<double>& Q, std::vector<double>& x, std::vector<int>& idx,
                                       int m, const int* s0) {
  const Deploy& config = s_config();
  std::vector<std::size_t> kept;
  for (std::size_t i = 0; i < static_cast<std::size_t>(m); ++i)
    if (idx[i] != s0[config.m_sysOfRow(idx[i])]) kept.push_back(i);
  const std::size_t n = kept.size(), ld = static_cast<std::size_t>(m);
  for (std::size_t j = 0; j < n; ++j) {
    for (std::size_t i = 0; i < n; ++i) Q[j * ld + i] = Q[kept[j] * ld + kept[i]];
    std::fill(Q.begin() + static_cast<long>(j * ld + n), Q.begin() + static_cast<long>((j + 1) * ld), 0.0);
    x[j] = x[kept[j]];
    idx[j] = idx[kept[j]];
  }
  std::fill(Q.begin() + static_cast<long>(n * ld), Q.end(), 0.0);
  x.resize(n);
  idx.resize(n);
  return static_cast<int>(n);
}

int SrifAmbfix_raw::s_raw_form_wl_vari(const char* tag, const Upd_ambconfig& cfg, const Updc* updc,
                                       SrifFilter* filter, bool flag, const double* Qamb, int nc, int* s0,
                                       std::vector<double>& Q, std::vector<double>& x, std::vector<int>& idx,
                                       int* nlist) {
  const auto second = [&](int isat, int isys) { return filter->m_pm(0, isat, cfg.ambfreq[isys][1]); };
  const auto take = [&](const SrifPamt& record, Candidate& candidate) {
    const int* pair = cfg.ambfreq[record.isys];
    if (record.ifreq != pair[0] || pair[1] < 0) return false;
    if (!s_validamb_iar(tag, filter, record.isat, pair[0], pair[1], flag, cfg)) return false;
    candidate.add(record.ipar - filter->npi, 1.0);
    candidate.add(second(record.isat, record.isys)->ipar - filter->npi, -1.0);
    return true;
  };
  const auto wideLane = [&](int isat, int isys) {
    return filter->m_pm(0, isat, cfg.ambfreq[isys][0])->xest - second(isat, isys)->xest;
  };
  return s_formCandidates(
      updc, filter, cfg, Qamb, nc, s0, Q, x, idx, nlist, take,
      [&](int isat, int iref, int isys) { return wideLane(isat, isys) - wideLane(iref, isys); });
}

int SrifAmbfix_raw::s_raw_form_n1_vari(const Updc* updc, SrifFilter* filter, bool, const double* Qamb, int nc,
                                       int* s0, std::vector<double>& Q, std::vector<double>& x,
                                       std::vector<int>& idx, int* nlist) {
  const Upd_ambconfig& cfg = s_config().m_ambconfig[2];
  const auto take = [&](const SrifPamt& record, Candidate& candidate) {
    if (record.ifreq != 0 || !s_validamb_iar("n1", filter, record.isat, 0, -1, true, cfg)) return false;
    candidate.add(record.ipar - filter->npi, 1.0);
    return true;
  };
  return s_formCandidates(updc, filter, cfg, Qamb, nc, s0, Q, x, idx, nlist, take,
                          [&](int isat, int iref, int) {
                            return filter->m_pm(0, isat, 0)->xest - filter->m_pm(0, iref, 0)->xest;
                          });
}

int SrifAmbfix_raw::s_raw_form_NL_vari(const Updc* updc, SrifFilter* filter, bool, const double* Qamb, int nc,
                                       int* s0, std::vector<double>& Q, std::vector<double>& x,
                                       std::vector<int>& idx, int* nlist) {
  const Upd_ambconfig& cfg = s_config().m_ambconfig[2];
  const auto slot = [&](int isat, int isys, int k) { return filter->m_pm(0, isat, cfg.ambfreq[isys][k]); };
  const auto take = [&](const SrifPamt& record, Candidate& candidate) {
    const int* pair = cfg.ambfreq[record.isys];
    if (record.ifreq != pair[0] || pair[1] < 0) return false;
    if (!s_validamb_iar("n1", filter, record.isat, pair[0], -1, true, cfg)) return false;
    const SrifPamt* second = slot(record.isat, record.isys, 1);
    double integer = 0.0;
    if (!second || second->ipar == -1 || !s_recordValue(filter, "wl", record.isat, &integer)) return false;
    const NarrowLane nl = s_narrowLane(cfg, record.isat);
    candidate.add(record.ipar - filter->npi, nl.a1 / nl.lamNL);
    candidate.add(second->ipar - filter->npi, nl.a2 / nl.lamNL);
    return std::isfinite(candidate.coefficient[0]) && std::isfinite(candidate.coefficient[1]);
  };
  const auto value = [&](int isat, int iref, int isys) {
    const NarrowLane nl = s_narrowLane(cfg, isat);
    const auto ionosphereFree = [&](int sat) {
      return nl.a1 * slot(sat, isys, 0)->xest + nl.a2 * slot(sat, isys, 1)->xest;
    };
    double own = 0.0, reference = 0.0;
    s_recordValue(filter, "wl", isat, &own);
    s_recordValue(filter, "wl", iref, &reference);
    return (ionosphereFree(isat) - ionosphereFree(iref)) / nl.lamNL -
           (own - reference) / (cfg.wlratio[isys] - 1.0);
  };
  return s_formCandidates(updc, filter, cfg, Qamb, nc, s0, Q, x, idx, nlist, take, value);
}

}  // namespace tarvio
