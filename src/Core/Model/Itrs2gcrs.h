#pragma once
/// \file Itrs2gcrs.h
/// Terrestrial-to-inertial rotation (IERS Conventions 2010, chapters 5 and 8).
///
///   r_gcrs = R r_itrs,   R = C^T R3(-ERA) R3(-s') R2(xp) R1(yp)
///
/// with C celestial-to-intermediate (IAU 2006/2000A) for "IERS2010". The polar motion and UT1-UTC
/// that are handed in get the ocean-tide and libration terms, and UT1 the zonal tides as well.
/// Precession-nutation and the tidal series are summed every two minutes and interpolated in between by a
/// parabola: to 1e-15 rad, and to 1e-10 arcsec in polar motion.

#include <vector>

namespace tarvio {

class Itrs2gcrs {
 public:
  static Itrs2gcrs& s_getInstance();
  virtual ~Itrs2gcrs() = default;

  /// \param conv  "IERS2010", "IERS2003" or "IERS1996"
  /// \param flag, dpsi, deps  without effect: no celestial pole offsets are applied
  /// \param mjd, sod  GPS time
  /// \param eop  xp, yp (arcsec), UT1-UTC (s)
  /// \param R, Rdot  terrestrial to inertial and its rate (1/s)
  /// \param gast  sidereal time, radians: Greenwich mean in 2010 and 2003, apparent in 1996
  /// \param xp, yp  polar motion with the ocean and libration terms, arcsec
  /// Outputs behind Rdot may be null.
  void itrs2gcrs(const char* conv, int flag, int mjd, double sod, const double* eop, double R[3][3],
                 double Rdot[3][3], double dpsi, double deps, int* mjd_ut1, double* sod_ut1, double* gast,
                 double* xp, double* yp);

  /// Zonal tides: dUT1 (s), and dLOD and dOmega by the same factor 1e-4 on the sums of the table.
  /// T: centuries of TT from J2000.
  void RG_ZONT2(const char* conv, double T, double* dut, double* dlod, double* domega);

  /// T of the zonal series for an epoch of TT, counted from MJD 51545.0.
  static double s_zonalCenturies(int mjdTT, double sodTT);

 private:
  struct ZonalTerm {
    int n[5];
    double a[6];
  };
  /// What changes slowly.
  struct SlowTerms {
    double C[3][3] = {};        ///< celestial to intermediate, or to true of date in 1996
    double sp = 0.0;            ///< s', rad
    double xp = 0.0, yp = 0.0;  ///< ocean and libration terms, arcsec
    double dut1 = 0.0;          ///< ocean and zonal terms, s
  };
  /// The series summed at one of equidistant times.
  struct Node {
    int model = -1, mjd = 0;
    long number = 0;
    SlowTerms terms;
  };
  static constexpr int kNodesKept = 8;

  const std::vector<ZonalTerm>& m_zonalTable(int model);
  void m_readZonal(const char* key, std::vector<ZonalTerm>& table);
  void m_sumZonal(int model, double T, double* dut, double* dlod, double* domega);
  SlowTerms m_slowTerms(int model, int mjd, double sod);
  const SlowTerms& m_nodeTerms(int model, int mjd, long number);
  SlowTerms m_sumSlowTerms(int model, int mjd, double sod);

  std::vector<ZonalTerm> m_zonal[2];  ///< of "ut1t10" and "ut1t03"
  Node m_nodes[kNodesKept];
  int m_nextNode = 0;
};

/// Fundamental arguments, radians (Simon et al. 1994). T: centuries of TT from J2000.
void FUNDARG(double T, double* l, double* lp, double* f, double* d, double* om);
/// Ocean tides: dx, dy (microarcsec), dUT1 (microseconds). mjd: UTC with fraction.
void ORTHO_EOP(double mjd, double* eop);
/// The twelve partials of the tidal variation with respect to the orthoweights.
void CNMTX(double mjd, double* h);
/// Libration in polar motion, microarcsec; the quasi-diurnal lines.
void PMSDNUT2(double mjd, double* pm);
/// Libration in UT1: microseconds, microseconds per day.
void UTLIBR(double mjd, double* dut1, double* dlod);

}  // namespace tarvio
