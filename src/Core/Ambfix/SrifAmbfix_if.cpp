#include "Core/Ambfix/SrifAmbfix_if.h"

#include <algorithm>
#include <cstddef>

#include "Common/Logtrace.h"
#include "Core/Ambfix/SrifAmbfix_raw.h"
#include "Core/Filter/FilterConfig.h"

namespace tarvio {

namespace {

using Raw = SrifAmbfix_raw;

constexpr int kSlotIf = 0, kSlotWl = 1;      ///< of the two ambiguities of a satellite
constexpr int kStatusWl = 4, kStatusN1 = 5;  ///< m_solstat after a constraint

const Upd_ambconfig& s_wideLane() { return s_config().m_ambconfig[1]; }
const Upd_ambconfig& s_narrowLane() { return s_config().m_ambconfig[2]; }

/// A candidate and its reference.
struct Pair {
  const SrifPamt* one;
  const SrifPamt* ref;
  double estimate() const { return one->xest - ref->xest; }
  double initial() const { return one->xini - ref->xini; }
};

/// The live record of a satellite that has a column, else null.
const SrifPamt* s_live(SrifFilter* filter, int isat, int slot) {
  const SrifPamt* record = isat < 0 ? nullptr : filter->m_pm(0, isat, slot);
  return record && record->ipar >= filter->npi ? record : nullptr;
}

/// Satellites of a level in column order, without the references.
std::vector<Pair> s_candidates(const char* tag, int slot, const Upd_ambconfig& cfg, const Updc* updc,
                               SrifFilter* filter, const int* s0) {
  std::vector<Pair> pairs;
  for (SrifPamt* record : filter->m_amblist) {
    record->isel = -1;
    const int isat = record->isat, iref = s0[record->isys];
    if (record->ifreq != slot || isat == iref || s_live(filter, isat, slot) != record) continue;
    const SrifPamt* ref = s_live(filter, iref, slot);
    if (!ref || !Raw::s_hasProduct(updc, isat, cfg)) continue;
    if (!Raw::s_validamb_iar(tag, filter, isat, slot, true, cfg)) continue;
    record->isel = static_cast<int>(pairs.size());
    pairs.push_back({record, ref});
  }
  return pairs;
}

/// Covariance of the differences, column by column; the number of pairs is the stride.
void s_differenced(const std::vector<Pair>& pairs, const SrifFilter* filter, const double* Qamb, int nc,
                   std::vector<double>& Q) {
  const auto at = [&](const SrifPamt* a, const SrifPamt* b) {
    return Qamb[static_cast<std::ptrdiff_t>(b->ipar - filter->npi) * nc + (a->ipar - filter->npi)];
  };
  Q.clear();
  for (const Pair& j : pairs)
    for (const Pair& i : pairs)
      Q.push_back(at(i.one, j.one) - at(i.one, j.ref) - at(i.ref, j.one) + at(i.ref, j.ref));
}

/// What the wide-lane of a pair adds to its narrow-lane, cycles. False without wide-lane or wavelength.
bool s_wideLaneShare(const SrifFilter* filter, const Upd_ambconfig& cfg, int isat, int iref, int isys,
                     double* cycles) {
  double one = 0.0, ref = 0.0;
  const double excess = cfg.wlratio[isys] - 1.0;
  if (excess == 0.0 || cfg.lamNL[isat] == 0.0) return false;
  if (!Raw::s_recordValue(filter, "wl", isat, &one) || !Raw::s_recordValue(filter, "wl", iref, &ref))
    return false;
  *cycles = (one - ref) / excess;
  return true;
}

/// Visits the flagged satellites with their references, in table order.
template <typename Visit>
void s_forEachFixed(SrifFilter* filter, int slot, const int* flags, const int* s0, Visit visit) {
  const Deploy& config = s_config();
  for (int isat = 0; isat < config.m_nsat; ++isat) {
    const int iref = s0[config.m_sysOfRow(isat)];
    if (!flags[isat] || isat == iref) continue;
    const Pair pair{s_live(filter, isat, slot), s_live(filter, iref, slot)};
    if (pair.one && pair.ref) visit(pair, isat, iref);
  }
}

/// The constraint that pins the difference of two ambiguities to `value` in their own unit.
ConstraintRow s_constraint(const Pair& pair, double value) {
  ConstraintRow row;
  row.add(pair.one->ipar, 1.0);
  row.add(pair.ref->ipar, -1.0);
  row.target = value - pair.initial();
  return row;
}

/// What sets the two levels apart.
struct Routine {
  const char* tag;
  const char* function;
  const Upd_ambconfig& cfg;
  decltype(&SrifAmbfix_if::s_if_form_wl_vari) form;
  decltype(&SrifAmbfix_if::s_if_coninfs_wl) constrain;
  double SrifFilter::*ratio;
};

void s_resolve(const Routine& level, const std::string& prosys, SrifFilter* filter, const Updc* updc,
               int* s0) {
  int ifix[kMaxSat] = {}, flags[kMaxSat] = {};
  std::vector<double> Qamb, Q, x;
  std::vector<int> idx;
  int nlist = 0, n = 0;
  const int nc = Raw::s_ambCovariance(filter, Qamb);
  SrifAmbfix_if::s_if_pickValid_s0(prosys, level.tag, level.cfg, updc, true, filter, s0);
  if (nc > 0) n = level.form(updc, filter, Qamb.data(), nc, s0, Q, x, idx, &nlist);
  if (n > 0 && Raw::s_raw_ddsrch_lambda(level.cfg.m_successRate, Q.data(), nlist, filter->m_sig0, x.data(),
                                        idx.data(), s0, n, ifix, flags, &(filter->*level.ratio))) {
    Logtrace::m_logPrint("[%s,%d]:[%d %8.1lf] adding %s constraint %9.3lf\n", level.function, __LINE__,
                         filter->mjd, filter->sod, level.tag, filter->*level.ratio);
    if (!level.constrain(level.tag, filter, updc, ifix, flags, s0)) std::fill_n(flags, kMaxSat, 0);
  }
  SrifAmbfix_if::s_if_update_record(level.tag, filter, x.data(), idx.data(), n, ifix, flags, s0);
}

}  // namespace

void SrifAmbfix_if::s_if_resolve_wl(const std::string& prosys, SrifFilter* filter, const Updc* updc,
                                    int* s0) {
  const Routine level{
      "wl", __func__, s_wideLane(), s_if_form_wl_vari, s_if_coninfs_wl, &SrifFilter::m_ratio_wl};
  s_resolve(level, prosys, filter, updc, s0);
}

void SrifAmbfix_if::s_if_resolve_n1(const std::string& prosys, SrifFilter* filter, const Updc* updc,
                                    int* s0) {
  const Routine level{
      "n1", __func__, s_narrowLane(), s_if_form_nl_vari, s_if_coninfs_n1, &SrifFilter::m_ratio};
  s_resolve(level, prosys, filter, updc, s0);
}

void SrifAmbfix_if::s_if_pickValid_s0(const std::string& prosys, const char* tag, const Upd_ambconfig& cfg,
                                      const Updc* updc, bool flag, SrifFilter* filter, int* s0) {
  const Deploy& config = s_config();
  const int slot = std::string(tag) == "wl" ? kSlotWl : kSlotIf;
  const auto serves = [&](int isat) {
    return Raw::s_hasProduct(updc, isat, cfg) && Raw::s_validamb_iar(tag, filter, isat, slot, flag, cfg);
  };
  s_forEachSystem([&](int isys) {
    if (s0[isys] != -1 && !serves(s0[isys])) s0[isys] = -1;
    const bool takesPart = prosys.find(SYS[isys]) != std::string::npos;
    if (s0[isys] != -1 || !takesPart || cfg.ambfreq[isys][0] == -1 || cfg.ambfreq[isys][1] == -1) return;
    double highest = 0.0;
    for (int isat = 0; isat < config.m_nsat; ++isat) {
      const double elev = filter->m_stations[0].m_sat[isat].m_elev;
      if (config.m_sysOfRow(isat) != isys || !(elev > highest) || Raw::s_barredReference(isat) ||
          !serves(isat))
        continue;
      highest = elev;
      s0[isys] = isat;
    }
  });
}

int SrifAmbfix_if::s_if_form_wl_vari(const Updc* updc, SrifFilter* filter, const double* Qamb, int nc,
                                     const int* s0, std::vector<double>& Q, std::vector<double>& x,
                                     std::vector<int>& idx, int* nlist) {
  x.clear();
  idx.clear();
  const std::vector<Pair> pairs = s_candidates("wl", kSlotWl, s_wideLane(), updc, filter, s0);
  s_differenced(pairs, filter, Qamb, nc, Q);
  for (const Pair& pair : pairs) {
    idx.push_back(pair.one->isat);
    x.push_back(pair.estimate() - Raw::s_updTerm(updc, pair.one->isat, pair.ref->isat));
  }
  return *nlist = static_cast<int>(pairs.size());
}

int SrifAmbfix_if::s_if_form_nl_vari(const Updc* updc, SrifFilter* filter, const double* Qamb, int nc,
                                     const int* s0, std::vector<double>& Q, std::vector<double>& x,
                                     std::vector<int>& idx, int* nlist) {
  x.clear();
  idx.clear();
  const Upd_ambconfig& cfg = s_narrowLane();
  std::vector<Pair> pairs = s_candidates("n1", kSlotIf, cfg, updc, filter, s0);
  std::erase_if(pairs, [&](const Pair& pair) {
    const int isat = pair.one->isat, iref = pair.ref->isat;
    double share = 0.0;
    if (!s_wideLaneShare(filter, cfg, isat, iref, pair.one->isys, &share)) return true;
    idx.push_back(isat);
    x.push_back(pair.estimate() / cfg.lamNL[isat] - share - Raw::s_updTerm(updc, isat, iref));
    return false;
  });
  s_differenced(pairs, filter, Qamb, nc, Q);
  for (std::size_t j = 0, k = 0; j < idx.size(); ++j)
    for (std::size_t i = 0; i < idx.size(); ++i, ++k) Q[k] /= cfg.lamNL[idx[i]] * cfg.lamNL[idx[j]];
  return *nlist = static_cast<int>(pairs.size());
}

bool SrifAmbfix_if::s_if_coninfs_wl(const char*, SrifFilter* filter, const Updc* updc, const int* ifix,
                                    const int* flags, const int* s0) {
  std::vector<ConstraintRow> rows;
  s_forEachFixed(filter, kSlotWl, flags, s0, [&](const Pair& pair, int isat, int iref) {
    rows.push_back(s_constraint(pair, ifix[isat] + Raw::s_updTerm(updc, isat, iref)));
  });
  return Raw::s_foldRows(filter, rows, kStatusWl);
}

bool SrifAmbfix_if::s_if_coninfs_n1(const char*, SrifFilter* filter, const Updc* updc, const int* ifix,
                                    const int* flags, const int* s0) {
  const Upd_ambconfig& cfg = s_narrowLane();
  std::vector<ConstraintRow> rows;
  s_forEachFixed(filter, kSlotIf, flags, s0, [&](const Pair& pair, int isat, int iref) {
    double share = 0.0;
    if (!s_wideLaneShare(filter, cfg, isat, iref, pair.one->isys, &share)) return;
    const double cycles = ifix[isat] + Raw::s_updTerm(updc, isat, iref) + share;
    rows.push_back(s_constraint(pair, cycles * cfg.lamNL[isat]));
  });
  return Raw::s_foldRows(filter, rows, kStatusN1);
}

void SrifAmbfix_if::s_if_update_record(const char* tag, SrifFilter* filter, const double* x, const int* idx,
                                       int n, const int* ifix, const int* flags, const int* s0) {
  Raw::s_raw_update_record(tag, filter, x, idx, n, ifix, flags, s0);
}

}  // namespace tarvio
