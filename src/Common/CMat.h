#pragma once
/// \file CMat.h
/// Matrix kit on plain arrays, column-major: element (r, c) of a matrix with leading dimension ld
/// is a[c*ld + r]. Packed upper triangles: column i starts at i*(i+1)/2 and holds i+1 elements.

#include <cstdio>

namespace tarvio {

/// rows*columns doubles by calloc, to be released by free; null after a message on bad dimensions.
double* mat(int rows, int columns);
/// rows*columns ints by malloc, not zeroed; null when a dimension is below 1.
int* imat(int rows, int columns);
/// LU decomposition of the n x n column-major matrix in place, implicit scaling, partial pivoting;
/// -1 for a singular matrix, else 0. `parity` may be null.
int ludcmp(double* a, int n, int* indx, double* parity);
/// Solves with the factors of ludcmp, in place.
void lubksb(const double* a, int n, const int* indx, double* b);

class CMat {
 public:
  /// Inverts in place; -1 for a singular matrix, which is then left untouched.
  static int CMat_Inverse(double* a, int lda, int n);
  /// Inverse of an upper triangle into packed storage; mode 'H': `a` is packed, else full.
  static void CMat_InverUU(const double* a, double* packed, int lda, int n, char mode);
  /// Solves R x = b in place, R upper triangular. A zero on the diagonal gives infinities.
  static void CMat_SolveLinear(int n, const double* r, int ldr, double* b, int unused);
  /// C (m x n) = alpha op(A) op(B) + beta C, op(A) m x k.
  static void CMat_Matmul(const char* op, int m, int n, int k, double alpha, const double* a, int lda,
                          const double* b, int ldb, double beta, double* c, int ldc);
  /// Triangularises the first ncol columns of rows 0..nrow-1 and carries the transformation
  /// through columns up to ntot-1. With `save` the reflectors stay below the diagonal and their
  /// betas in row nrow. Reflectors are normalised: u[0] = 1.
  static void CMat_Householder(double* a, int ld, int ncol, int nrow, int ntot, bool save);
  /// One reflector for rows r0..r1-1 of column c; `u` is indexed by row (u[r0] = 1).
  static int CMat_Hougenu(double* a, int ld, int r0, int r1, int c, double* u, double* beta);
  static void CMat_Householder_old(double* a, int ld, int ncol, int nrow, int ntot, bool save);
  static int CMat_Hougenu_old(double* a, int ld, int r0, int r1, int c, double* u, double* beta);
  [[noreturn]] static void CMat_Cholesky(double* a, int lda, int n);
  [[noreturn]] static void CMat_sCholesky(float* a, int lda, int n);

  static void CMat_PrintMatrix(const double* a, int lda, int rows, int columns, const char* title);
  static void CMat_PrintMatrix_file(const double* a, int lda, int rows, int columns, const char* title,
                                    const char* path);
  static void CMat_PrintMatrix_file_add(const double* a, int lda, int rows, int columns, std::FILE* file);

  static int CMat_sHougenu(float* a, int ld, int r0, int r1, int c, float* u, float* beta);
  static void CMat_sMatmul(const char* op, int m, int n, int k, float alpha, const float* a, int lda,
                           const float* b, int ldb, float beta, float* c, int ldc);
  static void CMat_sPrintMatrix(const float* a, int lda, int rows, int columns, const char* title);
  static void CMat_sHouseholder(float* a, int ld, int ncol, int nrow, int ntot, bool save);
  static void CMat_sSolveLinear(int n, const float* r, int ldr, float* b, int unused);
  static int CMat_sInverse(float* a, int lda, int n);
};

}  // namespace tarvio
