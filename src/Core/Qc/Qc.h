#pragma once
/// \file Qc.h
/// Robust statistics on plain arrays. Flags: kQcUsed in use, anything else excluded.

#include "Common/Constants.h"

namespace tarvio {

struct Station;

/// What becomes of an element of a sample.
enum QcFlag : int {
  kQcUsed = 0,
  kQcTrimmed = 2,     ///< by a trimming mean
  kQcSignRobust = 3,  ///< by the sign-based rejection
};

class Qc {
 public:
  virtual ~Qc() = default;

  static double Qc_mad(const double* values, int n, const int* flags, double fraction, int mode);
  static void Qc_signRobust(int n, const double* values, int* flags, double limit, int* out, double factor);
  /// \return elements used; mean = sum(w v)/sum(w), sigma = sqrt(sum(w d^2)/(n-1)),
  /// sigmean = sigma/sqrt(sum w); sigmas 999.0 without data
  static int Qc_getMean(const double* values, const int* flags, const double* weights, int n, int* excluded,
                        double* mean, double* sigmean, double* sigma);
  static void Qc_getWgtMean(bool trim, const double* values, const int* ids, int* flags,
                            const double* weights, int n, int* out, double* mean, double* sigmean,
                            double* sigma, double limit);
  static void Qc_getWgtMean_range(bool trim, const double* values, const int* ids, int* flags,
                                  const double* weights, int n, int* out, double* mean, double* sigmean,
                                  double* sigma, double limit, const char* station);
  /// Code outliers per system into flags[kMaxSat]; also carries the mean of the reference system's
  /// code residuals into the receiver clock. \return 1 when a satellite was flagged or the clock moved
  static int Qc_detectRangeOmc(Station* sta, int* flags);
  static void Qc_getFcbMean(double wrap, const double* values, int* flags, const double* weights, int n,
                            int* out, double* mean, double* sigmean, double* sigma);
  static void Qc_proxEstFrc(double wrap, const double* values, int* flags, const double* weights, int n,
                            int* out, double* mean, double* sigmean, double* sigma);
  static void Qc_prob_resol(int wrap, double value, double sigma, double devLimit, double sigLimit,
                            double* decision);
  static double Qc_gammln(double x);
  static void Qc_gser(double* gamser, double a, double x, double* gln);
  static void Qc_gcf(double* gammcf, double a, double x, double* gln);
  static double Qc_gammp(double a, double x);
  static double Qc_gammq(double a, double x);
  static double Qc_erf(double x);
  static double Qc_erfc(double x);
};

}  // namespace tarvio
