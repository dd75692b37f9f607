#pragma once
/// \file SppLsq.h
/// Single-point position from pseudoranges, to seed the precise model.
///
/// Model and least squares alternate. The first fits go without corrections; once the fit is better
/// than 100 m and the height below 3000 m, elevation, troposphere and antennas enter.

namespace tarvio {

struct ProductStores;
struct Station;

class SppLsq {
 public:
  /// Result: m_x and m_blh of the station; m_x stays zero without a solution. Clock terms are restored.
  /// \param niter  iterations at most
  static void s_spp(const ProductStores* filter, Station* sta, int niter);
  /// One least-squares step on the code residuals of the station.
  /// \param cobs  combination ("SF": first slot alone, else ionosphere-free)
  /// \param robust  non-zero: outliers are marked in `wgt`
  /// \param wgt  per row: 1, or 1e6 for an outlier; kMaxSat elements
  /// \param dx  ten increments, m: position, then receiver clocks by system
  /// \param sigma  of unit weight
  /// \return 1, or 0 with too few observations or a singular geometry
  static int s_est(const char* cobs, Station* sta, int robust, double* wgt, double* dx, double* sigma);
  /// x = (A^T A)^-1 A^T l, A column-major, nobs x npar, npar at most 10. \return 1, or 0 when unsolvable
  static int s_lsq(double* A, double* l, int nobs, int npar, double* x);
};

}  // namespace tarvio
