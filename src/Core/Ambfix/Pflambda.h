#pragma once
/// \file Pflambda.h
/// Integer least squares and its acceptance at a fixed failure rate
/// (Verhagen & Teunissen 2013, The ratio test for future GNSS ambiguity resolution, GPS Solut. 17).
/// Matrices are n x n, column-major, compact. Covariances in cycles^2.

#include "Config/RatioTable.h"

namespace tarvio {

/// Best and second best integer vector of floats x.
/// \param Q  covariance, untouched \param x  in floats, out the best integers; untouched on failure
/// \param xsecond  out, may be null \param s  out [2], squared norms, the smaller first
/// \returns 0 on success
int ambslv_(int n, const double* Q, double* x, double* xsecond, double* s);
int ambslv(int n, const double* Q, double* x, double* s);

/// Q = L^T diag(D) L with L unit lower triangular. \returns whether Q is positive definite
bool s_factorise(int n, const double* Q, double* L, double* D);
/// The same; \returns 1 (and a line on standard error) when it is not.
int LD(int n, const double* Q, double* L, double* D);

/// Decorrelates a factor in place by integer Gauss steps and permutations (de Jonge & Tiberius 1996).
/// \param Z  identity on entry, out the integer transformation of z = Z^T a; null: not wanted
/// \returns false for a factor that is not finite or does not settle
bool s_decorrelate(int n, double* L, double* D, double* Z);

/// Threshold of the ratio test, 1/mu; 9999.0 where the table has none (mu = 0).
double s_ratioThreshold(double mu);

/// Failure rate of integer bootstrapping after decorrelation, and the threshold that belongs to it.
/// \param Q  covariance, scaled by sigma^2 in place \param pfmin  rate below which everything is
/// accepted \param mode  not used \param mu  out, 1/threshold, 0 when there is none
void s_pf_lookup_u(const RatioTable& table, double* Q, int n, double sigma, double pfmin, int mode,
                   double* mu, double* pf);

}  // namespace tarvio
