// Adjusts position and clocks to pseudoranges, dropping what does not fit.

#include "Core/Model/SppLsq.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "Common/CMat.h"
#include "Common/Com.h"
#include "Config/Configuration.h"
#include "Config/SatelliteTable.h"
#include "Core/Model/ModelSteps.h"
#include "Core/Model/SppModelItrs.h"
#include "Core/Qc/Qc.h"

namespace tarvio {
namespace {

constexpr int kParameters = 3 + kSys;
constexpr double kOutlierWeight = 1000000.0;
constexpr int kRobustFrom = 5;  // iterations after this one mark outliers
constexpr double kRoughFit_m = 100.0;
constexpr double kGoodFit_m = 1.0;
constexpr double kHeightLimit_m = 3000.0;

double s_product(const double* v) { return v[0] * v[1] * v[2]; }

/// A satellite that takes part: its row and what it observes.
struct Row {
  int isat = 0;
  int clock = 0;            ///< place of its system among those met
  double y = 0.0, r = 0.0;  ///< residual (m) and scale
};

/// Rows of the epoch and the systems in the order of their first satellite.
struct RowSet {
  Row row[kMaxSat];
  int count = 0;
  int system[kSys] = {};
  int nsystem = 0;

  int m_clockOf(int isys) {
    int k = 0;
    while (k < nsystem && system[k] != isys) ++k;
    if (k == nsystem) system[nsystem++] = isys;
    return k;
  }
};

/// Residual and scale of one satellite; the weight u is that of its row. \return false: no row
bool s_observation(const Deploy& deploy, const Ssat_t& sat, bool single, int isat, int isys, double u,
                   Row& row) {
  const double *xx = sat.m_xx + 4, *w = sat.m_wgt + 4;
  if (xx[0] == 0.0) return false;
  if (single) {
    row.y = xx[0];
    row.r = 1.0 / std::sqrt(w[0] * u);
    return true;
  }
  int i = 0, j = 1;
  s_ifSlots(isys, &i, &j);
  if (i < 0 || j < 0 || xx[i] == 0.0 || xx[j] == 0.0) return false;
  const double* c = deploy.m_satellites[static_cast<std::size_t>(isat)].m_ifc;
  row.y = c[0] * xx[i] - c[1] * xx[j];
  row.r = 1.0 / std::sqrt((w[i] * c[0] * c[0] + w[j] * c[1] * c[1]) * u);
  return true;
}

void s_collect(const Deploy& deploy, const Station& sta, bool single, const double* wgt, RowSet& rows) {
  for (int isat = 0; isat < std::min(deploy.m_nsat, kMaxSat); ++isat) {
    const int isys = deploy.m_sysOfRow(isat);
    Row& row = rows.row[rows.count];
    if (isys < 0 || !s_observation(deploy, sta.m_sat[isat], single, isat, isys, wgt[rows.count], row))
      continue;
    row.isat = isat;
    row.clock = rows.m_clockOf(isys);
    ++rows.count;
  }
}

/// After a first fit below 100 m the place on the Earth is taken from it, and the clocks hold.
void s_place(Station& sta, const double (&clocks)[kSys]) {
  double blh[3];
  xyzblh(sta.m_x, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0, blh);
  if (!(std::fabs(blh[2]) < kHeightLimit_m)) return;
  for (const double clock : clocks)
    if (!(std::fabs(clock) < kLight)) return;  // beyond a second the fit is nonsense
  std::copy(blh, blh + 3, sta.m_blh);
  rot_enu2xyz(blh[0], blh[1], sta.m_rot);
  std::copy(std::begin(clocks), std::end(clocks), std::begin(sta.m_rclk));
}

/// Alternates model and fit. \return true when two fits were good
bool s_iterate(SppModelItrs& model, Station& sta, int niter) {
  const Deploy& deploy = s_config();
  double wgt[kMaxSat];
  std::fill(std::begin(wgt), std::end(wgt), 1.0);
  double sigma = kNone;
  bool lconv = false;
  for (int i = 0; i < niter; ++i) {
    s_resetSlots(deploy, sta);
    std::fill(std::begin(sta.m_blh), std::end(sta.m_blh), 0.0);
    double clocks[kSys];
    std::copy(std::begin(sta.m_rclk), std::end(sta.m_rclk), std::begin(clocks));
    std::fill(std::begin(sta.m_rclk), std::end(sta.m_rclk), 0.0);
    if (sigma < kRoughFit_m) s_place(sta, clocks);

    model.gnssModel(true);
    double dx[kParameters] = {};
    if (SppLsq::s_est(deploy.m_obscomb, &sta, i > kRobustFrom, wgt, dx, &sigma) == 0) return false;
    for (int k = 0; k < 3; ++k) sta.m_x[k] += dx[k];
    for (int s = 0; s < kSys; ++s) sta.m_rclk[s] += dx[3 + s];
    if (sigma < kGoodFit_m && s_product(sta.m_blh) != 0.0) {
      if (lconv) return true;
      lconv = true;
    }
  }
  return false;
}

}  // namespace

void SppLsq::s_spp(const ProductStores* filter, Station* sta, int niter) {
  double saved[kSys];
  std::copy(std::begin(sta->m_rclk), std::end(sta->m_rclk), std::begin(saved));
  SppModelItrs model(filter, sta);
  const bool iterate = s_product(sta->m_x) == 0.0 && niter > 0;
  if (!(iterate && s_iterate(model, *sta, niter)) && s_product(sta->m_blh) == 0.0)
    std::fill(std::begin(sta->m_x), std::end(sta->m_x), 0.0);
  std::copy(std::begin(saved), std::end(saved), std::begin(sta->m_rclk));
}

int SppLsq::s_est(const char* cobs, Station* sta, int robust, double* wgt, double* dx, double* sigma) {
  const Deploy& deploy = s_config();
  RowSet rows;
  s_collect(deploy, *sta, s_contains(cobs, "SF"), wgt, rows);
  const int nobs = rows.count, npar = 3 + rows.nsystem;
  if (npar >= nobs) {
    std::printf("npam = %d,nobs = %d, not enough observations to compute!\n", npar, nobs);
    return 0;
  }
  const auto n = static_cast<std::size_t>(nobs);
  std::vector<double> A(n * static_cast<std::size_t>(npar)), l(n), v(n);
  for (std::size_t i = 0; i < n; ++i) {
    const Row& row = rows.row[i];
    for (std::size_t k = 0; k < 3; ++k) A[k * n + i] = sta->m_sat[row.isat].m_los[k] * row.r;
    A[static_cast<std::size_t>(3 + row.clock) * n + i] = row.r;
    l[i] = row.y * row.r;
  }
  double x[kParameters];
  if (s_lsq(A.data(), l.data(), nobs, npar, x) == 0) return 0;
  if (!std::all_of(x, x + npar, [](double value) { return std::isfinite(value); })) return 0;

  v = l;
  CMat::CMat_Matmul("NN", nobs, 1, npar, -1.0, A.data(), nobs, x, npar, 1.0, v.data(), nobs);
  *sigma = std::sqrt(dot(nobs, v.data(), v.data()) / (nobs - npar));
  if (robust) {
    int flags[kMaxSat] = {}, excluded;
    Qc::Qc_signRobust(nobs, v.data(), flags, 1000.0, &excluded, 3.0);
    for (int i = 0; i < nobs; ++i)
      if (flags[i] != 0) wgt[i] = kOutlierWeight;
  }
  std::copy(x, x + 3, dx);
  for (int k = 0; k < rows.nsystem; ++k) dx[3 + rows.system[k]] = x[3 + k];
  return 1;
}

int SppLsq::s_lsq(double* A, double* l, int nobs, int npar, double* x) {
  if (nobs < npar || npar > kParameters) return 0;
  double N[kParameters * kParameters], b[kParameters];
  CMat::CMat_Matmul("TN", npar, npar, nobs, 1.0, A, nobs, A, nobs, 0.0, N, npar);
  CMat::CMat_Matmul("TN", npar, 1, nobs, 1.0, A, nobs, l, nobs, 0.0, b, npar);
  if (CMat::CMat_Inverse(N, npar, npar) < 0) return 0;
  CMat::CMat_Matmul("NN", npar, 1, npar, 1.0, N, npar, b, npar, 0.0, x, npar);
  return 1;
}

}  // namespace tarvio
