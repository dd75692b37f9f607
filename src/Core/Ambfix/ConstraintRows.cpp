// Appends fixes as rows below the triangle and triangularises again.

#include "Core/Ambfix/ConstraintRows.h"

#include <algorithm>

#include "Common/CMat.h"
#include "Common/Logtrace.h"

namespace tarvio {

namespace {

void s_tellNoRoom(SrifFilter* filter, int count) {
  if (filter->m_noRoomTold) return;
  filter->m_noRoomTold = true;
  Logtrace::m_logStatInfo("s_raw_coninfs_wl ERROR: nobs(%d) imtx(%d) nmtxY(%d)\n", count, filter->imtx,
                          filter->ldinfs);
  Logtrace::m_logStatInfo(
      "[%d %9.1lf] no room for these constraints: levels whose constraints find none stay open, told once\n",
      filter->mjd, filter->sod);
}

}  // namespace

bool s_foldRows(SrifFilter* filter, const std::vector<ConstraintRow>& rows, int solstat) {
  const int imtx = filter->imtx, count = static_cast<int>(rows.size());
  if (imtx + count + 1 >= filter->ldinfs) {
    s_tellNoRoom(filter, count);
    return false;
  }
  if (rows.empty()) return true;
  if (filter->m_fixed.m_isActive()) {
    filter->m_fixed.m_constrain(rows);
    filter->m_solstat = solstat;
    filter->m_solve_update();
    return true;
  }
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

}  // namespace tarvio
