/// Fixes as pseudo-observations below the triangle, and the record of fixes.

#include <algorithm>
#include <cstring>

#include "Common/CMat.h"
#include "Common/Logtrace.h"
#include "Core/Ambfix/SrifAmbfix_raw.h"
#include "Core/Filter/FilterConfig.h"

namespace tarvio {

namespace {

constexpr double kConstraintWeight = 10000.0;  ///< 1e-4 cycles, or metres in a narrow-lane row
constexpr int kStatusEwl = 3, kStatusWl = 4, kStatusN1 = 5;

/// One constraint for each flagged satellite that is not the reference of its system;
/// `fill(isat, iref, isys, row)`.
template <typename Fill>
std::vector<ConstraintRow> s_collect(const int* flags, const int* s0, Fill fill) {
  const Deploy& config = s_config();
  std::vector<ConstraintRow> rows;
  for (int isat = 0; isat < config.m_nsat; ++isat) {
    if (!flags[isat]) continue;
    const int isys = config.m_sysOfRow(isat), iref = s0[isys];
    if (iref < 0 || iref == isat) continue;
    ConstraintRow row;
    fill(isat, iref, isys, row);
    rows.push_back(row);
  }
  return rows;
}

}  // namespace

bool SrifAmbfix_raw::s_foldRows(SrifFilter* filter, const std::vector<ConstraintRow>& rows, int solstat) {
  const int imtx = filter->imtx, count = static_cast<int>(rows.size());
  if (imtx + count + 1 >= filter->ldinfs) {
    if (!filter->m_noRoomTold) {
      Logtrace::m_logStatInfo("s_raw_coninfs_wl ERROR: nobs(%d) imtx(%d) nmtxY(%d)\n", count, imtx,
                              filter->ldinfs);
      Logtrace::m_logStatInfo(
          "[%d %9.1lf] no room for these constraints: levels whose constraints find none "
          "stay open, told once\n",
          filter->mjd, filter->sod);
    }
    filter->m_noRoomTold = true;
    return false;
  }
  if (rows.empty()) return true;
  double* infs = filter->infs;
  for (int column = 0; column <= imtx; ++column) std::fill_n(infs + filter->iptx[column] + imtx, count, 0.0);
  for (int k = 0; k < count; ++k) {
    const ConstraintRow& row = rows[static_cast<std::size_t>(k)];
    for (int t = 0; t < row.count; ++t)
      infs[filter->iptx[row.terms[t].column] + imtx + k] += kConstraintWeight * row.terms[t].coefficient;
    infs[filter->iptx[imtx] + imtx + k] = kConstraintWeight * row.target;
  }
  filter->m_solstat = solstat;
  CMat::CMat_Householder(infs, filter->ldinfs, imtx, imtx + count, imtx + 1, false);
  // What the constraints leave over is no part of the state; rows below the triangle are zero at rest.
  std::fill_n(infs + filter->iptx[imtx] + imtx, count, 0.0);
  filter->m_solve_update();
  return true;
}

bool SrifAmbfix_raw::s_raw_coninfs_wl(const char* tag, const Upd_ambconfig& cfg, SrifFilter* filter,
                                      const Updc* updc, const int* ifix, const int* flags, const int* s0) {
  const auto rows = s_collect(flags, s0, [&](int isat, int iref, int isys, ConstraintRow& row) {
    row.target = ifix[isat] + s_updTerm(updc, isat, iref);
    for (int k = 0; k < 2; ++k) {
      const double sign = k == 0 ? 1.0 : -1.0;
      const SrifPamt* own = filter->m_pm(0, isat, cfg.ambfreq[isys][k]);
      const SrifPamt* reference = filter->m_pm(0, iref, cfg.ambfreq[isys][k]);
      row.add(own->ipar, sign);
      row.add(reference->ipar, -sign);
      row.target -= sign * (own->xini - reference->xini);
    }
  });
  return s_foldRows(filter, rows, std::strcmp(tag, "ewl") == 0 ? kStatusEwl : kStatusWl);
}

bool SrifAmbfix_raw::s_raw_coninfs_nl(SrifFilter* filter, const Updc* updc, const int* ifix, const int* flags,
                                      const int* s0) {
  const auto rows = s_collect(flags, s0, [&](int isat, int iref, int, ConstraintRow& row) {
    const SrifPamt* own = filter->m_pm(0, isat, 0);
    const SrifPamt* reference = filter->m_pm(0, iref, 0);
    row.add(own->ipar, 1.0);
    row.add(reference->ipar, -1.0);
    row.target = ifix[isat] + s_updTerm(updc, isat, iref) - own->xini + reference->xini;
  });
  return s_foldRows(filter, rows, kStatusN1);
}

bool SrifAmbfix_raw::s_raw_coninfs_NL(SrifFilter* filter, const Updc* updc, const int* ifix, const int* flags,
                                      const int* s0) {
  const Upd_ambconfig& cfg = s_config().m_ambconfig[2];
  const auto rows = s_collect(flags, s0, [&](int isat, int iref, int isys, ConstraintRow& row) {
    const NarrowLane nl = s_narrowLane(cfg, isat);
    double own = 0.0, reference = 0.0;
    s_recordValue(filter, "wl", isat, &own);
    s_recordValue(filter, "wl", iref, &reference);
    const double cycles =
        ifix[isat] + s_updTerm(updc, isat, iref) + (own - reference) / (cfg.wlratio[isys] - 1.0);
    row.target = cycles * nl.lamNL;
    for (int k = 0; k < 2; ++k) {
      const double a = k == 0 ? nl.a1 : nl.a2;
      const SrifPamt* satellite = filter->m_pm(0, isat, cfg.ambfreq[isys][k]);
      const SrifPamt* base = filter->m_pm(0, iref, cfg.ambfreq[isys][k]);
      row.add(satellite->ipar, a);
      row.add(base->ipar, -a);
      row.target -= a * (satellite->xini - base->xini);
    }
  });
  return s_foldRows(filter, rows, kStatusN1);
}

void SrifAmbfix_raw::s_raw_update_record(const char* tag, SrifFilter* filter, const double* x, const int* idx,
                                         int n, const int* ifix, const int* flags, const int* s0) {
  const Deploy& config = s_config();
  const Level level = s_levelOf(tag);
  FixRecord record(filter->m_fixmap, filter->m_stations[0].m_name, level);
  record.m_clear();
  auto& candidates = filter->m_candidates[s_place(level)];
  candidates.clear();
  filter->m_nfix = 0;
  for (int isys = 0; isys < kSys; ++isys)
    if (s0[isys] != -1) record.m_setOpen(s0[isys], 0.0);
  bool fixedSystem[kSys] = {};
  for (int k = 0; k < n; ++k) {
    const int isat = idx[k], isys = config.m_sysOfRow(isat), iref = s0[isys];
    const bool fixed = flags[isat] != 0;
    candidates.push_back({isat, iref, x[k], fixed, fixed ? ifix[isat] : 0});
    if (fixed) record.m_setFixed(isat, ifix[isat], level);
    else record.m_setOpen(isat, x[k]);
    record.m_markSearched(isat);
    record.m_markSearched(iref);
    if (!fixed) continue;
    record.m_markFixed(iref, level);
    ++filter->m_nfix;
    fixedSystem[isys] = true;
  }
  for (const bool fixed : fixedSystem) filter->m_nfix += fixed;
}

}  // namespace tarvio
