#pragma once
/// \file FormalSigmas.h
/// Formal sigmas of parameters from the triangle of a square-root information filter.

namespace tarvio {

/// With P = R^-1 R^-T, sigma_i = sqrt(P_ii): the length of row i of R^-1.
/// \param R      upper triangle, element (row, column) at R[start[column] + row]; what lies below is not read
/// \param n      columns
/// \param count  the sigmas of columns 0 to count-1 are wanted
/// \param sigma  [count]; 0 where the triangle does not determine the parameter
void s_formalSigmas(const double* R, const int* start, int n, int count, double* sigma);

/// The same where columns follow whose covariance does not come from the triangle, since something has become
/// known of them that it does not hold. With y the row of the leading block's inverse and z what it makes of
/// those columns, sigma_i^2 = y y^T + z Q z^T.
/// \param n         leading columns, all of which are wanted: sigma[n]
/// \param last      columns behind them
/// \param trailing  their n rows, one column after the other
/// \param Q         their covariance, last by last, symmetric
void s_formalSigmas(const double* R, const int* start, int n, int last, const double* trailing,
                    const double* Q, double* sigma);

}  // namespace tarvio
