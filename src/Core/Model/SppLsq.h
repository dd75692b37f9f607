#pragma once
/// \file SppLsq.h
/// Single-point position from pseudoranges, to seed the precise model.

namespace tarvio {

class SrifFilter;
struct Station;

class SppLsq {
 public:
  /// Result: m_x and m_blh of the station; m_x stays zero without a solution.
  static void s_spp(SrifFilter* filter, Station* sta, int niter);
  static int s_est(const char* cobs, Station* sta, int robust, double* wgt, double* dx,
                   double* sigma);
  static int s_lsq(double* A, double* l, int nobs, int npar, double* x);
};

}  // namespace tarvio
