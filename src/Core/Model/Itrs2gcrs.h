#pragma once
/// \file Itrs2gcrs.h
/// Terrestrial-to-inertial rotation (IERS Conventions 2010, chapters 5 and 8).

#include <vector>

namespace tarvio {

class Itrs2gcrs {
 public:
  static Itrs2gcrs& s_getInstance();
  virtual ~Itrs2gcrs() = default;

  /// \param conv  "IERS2010", "IERS2003" or "IERS1996"
  /// \param mjd, sod  GPS time
  /// \param eop  xp, yp (arcsec), UT1-UTC (s)
  /// \param R, Rdot  terrestrial to inertial and its rate (1/s)
  /// \param xp, yp  polar motion with the ocean and libration terms, arcsec
  /// Outputs behind Rdot may be null.
  void itrs2gcrs(const char* conv, int flag, int mjd, double sod, const double* eop,
                 double R[3][3], double Rdot[3][3], double dpsi, double deps, int* mjd_ut1,
                 double* sod_ut1, double* gast, double* xp, double* yp);

  /// Zonal tides: dUT1 (s), and the scaled sums of dLOD, dOmega. T: centuries of TT from J2000.
  void RG_ZONT2(const char* conv, double T, double* dut, double* dlod, double* domega);

 private:
  struct ZonalTerm { int n[5]; double a[6]; };
  void m_readZonal(const char* conv);
  std::vector<ZonalTerm> m_zonal;
};

/// Fundamental arguments, radians (Simon et al. 1994). T: centuries of TT from J2000.
void FUNDARG(double T, double* l, double* lp, double* f, double* d, double* om);
/// Ocean tides: dx, dy (microarcsec), dUT1 (microseconds). mjd: UTC with fraction.
void ORTHO_EOP(double mjd, double* eop);
void CNMTX(double mjd, double* h);
/// Libration in polar motion, microarcsec.
void PMSDNUT2(double mjd, double* pm);
/// Libration in UT1: microseconds, microseconds per day.
void UTLIBR(double mjd, double* dut1, double* dlod);

}  // namespace tarvio
