#pragma once
/// \file TriangleInverse.h
/// Covariance of parameters from their square root of information.

namespace tarvio {

/// Q = R^-1 R^-T. \param r  upper triangle by columns, ldr from one to the next \param Q  n x n, compact
/// \return false, and Q has no meaning, when a variance is not finite
bool s_covarianceOfTriangle(int n, const double* r, int ldr, double* Q);

}  // namespace tarvio
