// Householder sweep, triangular and general inverses, products of matrices.

#include "Common/CMat.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include "Common/Fatal.h"
#include "Common/Logtrace.h"

namespace tarvio {

namespace {

/// Keeps one summation order: four partial sums, then the rest.
template <typename T>
T s_dot(int n, const T* a, const T* b) {
  T sum[4] = {};
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    for (int k = 0; k < 4; ++k) sum[k] += a[i + k] * b[i + k];
  }
  T total = (sum[0] + sum[2]) + (sum[1] + sum[3]);
  for (; i < n; ++i) total += a[i] * b[i];
  return total;
}

/// y += w x
template <typename T>
void s_axpy(int n, T w, const T* x, T* y) {
  for (int i = 0; i < n; ++i) y[i] += w * x[i];
}

template <typename T>
void s_matmul(const char* op, int m, int n, int k, T alpha, const T* a, int lda, const T* b, int ldb, T beta,
              T* c, int ldc) {
  if (m < 1 || n < 1) return;
  const bool turnA = op[0] == 'T', turnB = op[0] != '\0' && op[1] == 'T';
  for (int j = 0; j < n; ++j) {
    T* column = c + static_cast<long>(j) * ldc;
    // A zero factor overwrites: the target may be uninitialised.
    for (int i = 0; i < m; ++i) column[i] = beta == T(0) ? T(0) : beta * column[i];
    const T* bj = b + static_cast<long>(j) * ldb;
    if (!turnA) {
      for (int l = 0; l < k; ++l) {
        const T w = alpha * (turnB ? b[static_cast<long>(l) * ldb + j] : bj[l]);
        if (w != T(0)) s_axpy(m, w, a + static_cast<long>(l) * lda, column);
      }
    } else if (!turnB) {
      for (int i = 0; i < m; ++i) column[i] += alpha * s_dot(k, a + static_cast<long>(i) * lda, bj);
    } else {
      for (int i = 0; i < m; ++i) {
        T sum = T(0);
        for (int l = 0; l < k; ++l) {
          sum += a[static_cast<long>(i) * lda + l] * b[static_cast<long>(l) * ldb + j];
        }
        column[i] += alpha * sum;
      }
    }
  }
}

bool s_badPrint(int rows, int columns) {
  if (rows >= 0 && columns >= 0) return false;
  std::puts("***print_matrix wrong input arguments for the row and col ***");
  return true;
}

template <typename T>
void s_printRows(std::FILE* file, const char* format, const T* a, int lda, int rows, int columns) {
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < columns; ++c) {
      char text[400];
      std::snprintf(text, sizeof text, format, static_cast<double>(a[static_cast<long>(c) * lda + r]));
      std::fputs(text, file);
    }
    std::fputc('\n', file);
  }
}

void s_printTitle(const char* title) {
  if (title != nullptr && title[0] != '\0') std::puts(title);
}

[[noreturn]] void s_noCholesky(const char* function) {
  s_fatal(function, __LINE__, "cholesky function is not implement,will exit!\n");
}

constexpr long s_packed(int i) { return static_cast<long>(i) * (i + 1) / 2; }

}  // namespace

double* mat(int rows, int columns) {
  if (rows < 0 || columns < 0) {
    std::puts("***ERROR(mat):cant be zero!");
    return nullptr;
  }
  const std::size_t count = static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
  auto* p = static_cast<double*>(std::calloc(std::max<std::size_t>(count, 1), sizeof(double)));
  if (p == nullptr) std::puts("***ERROR(mat):allocate error!");
  return p;
}

int* imat(int rows, int columns) {
  if (rows < 1 || columns < 1) return nullptr;
  return static_cast<int*>(
      std::malloc(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns) * sizeof(int)));
}

int ludcmp(double* a, int n, int* indx, double* parity) {
  if (parity != nullptr) *parity = 1.0;
  std::vector<double> scale(static_cast<std::size_t>(std::max(n, 0)), 0.0);
  for (int c = 0; c < n; ++c) {
    for (int r = 0; r < n; ++r) {
      double& s = scale[static_cast<std::size_t>(r)];
      s = std::max(s, std::fabs(a[static_cast<long>(c) * n + r]));
    }
  }
  for (double& s : scale) {
    if (s == 0.0) return -1;
    s = 1.0 / s;
  }
  for (int j = 0; j < n; ++j) {
    double* column = a + static_cast<long>(j) * n;
    int pivot = j;
    for (int r = j + 1; r < n; ++r) {
      if (scale[static_cast<std::size_t>(r)] * std::fabs(column[r]) >
          scale[static_cast<std::size_t>(pivot)] * std::fabs(column[pivot])) {
        pivot = r;
      }
    }
    indx[j] = pivot;
    if (pivot != j) {
      for (int c = 0; c < n; ++c)
        std::swap(a[static_cast<long>(c) * n + j], a[static_cast<long>(c) * n + pivot]);
      std::swap(scale[static_cast<std::size_t>(j)], scale[static_cast<std::size_t>(pivot)]);
      if (parity != nullptr) *parity = -*parity;
    }
    if (column[j] == 0.0) return -1;
    for (int r = j + 1; r < n; ++r) column[r] /= column[j];
    for (int c = j + 1; c < n; ++c) {
      double* target = a + static_cast<long>(c) * n;
      s_axpy(n - j - 1, -target[j], column + j + 1, target + j + 1);
    }
  }
  return 0;
}

void lubksb(const double* a, int n, const int* indx, double* b) {
  for (int j = 0; j < n; ++j) std::swap(b[j], b[indx[j]]);
  for (int j = 0; j < n; ++j) s_axpy(n - j - 1, -b[j], a + static_cast<long>(j) * n + j + 1, b + j + 1);
  for (int j = n - 1; j >= 0; --j) {
    const double* column = a + static_cast<long>(j) * n;
    b[j] /= column[j];
    s_axpy(j, -b[j], column, b);
  }
}

int CMat::CMat_Inverse(double* a, int lda, int n) {
  thread_local std::vector<double> lu;
  thread_local std::vector<int> indx;
  const auto size = static_cast<std::size_t>(std::max(n, 0));
  lu.resize(size * size);
  indx.resize(size);
  for (int c = 0; c < n; ++c) {
    std::copy_n(a + static_cast<long>(c) * lda, n, lu.data() + static_cast<long>(c) * n);
  }
  if (ludcmp(lu.data(), n, indx.data(), nullptr) != 0) return -1;
  for (int c = 0; c < n; ++c) {
    double* column = a + static_cast<long>(c) * lda;
    std::fill(column, column + n, 0.0);
    column[c] = 1.0;
    lubksb(lu.data(), n, indx.data(), column);
  }
  return 0;
}

void CMat::CMat_InverUU(const double* a, double* packed, int lda, int n, char mode) {
  if (n < 0) {
    std::puts("***ERROR(CMat_InverUU):ndim can't be negative!");
    s_exitByCode(__func__, __LINE__);
  }
  for (int i = 0; i < n; ++i) {
    const double* column = mode == 'H' ? a + s_packed(i) : a + static_cast<long>(i) * lda;
    double* out = packed + s_packed(i);
    // Column i of the inverse: minus the finished columns times the column of R, over its diagonal.
    std::fill(out, out + i, 0.0);
    // Zeros are stepped over, so that an infinity from a zero diagonal stays where it belongs.
    for (int k = 0; k < i; ++k) {
      if (column[k] != 0.0) s_axpy(k + 1, -column[k], packed + s_packed(k), out);
    }
    const double inverse = 1.0 / column[i];
    for (int r = 0; r < i; ++r) {
      if (out[r] != 0.0) out[r] *= inverse;
    }
    out[i] = inverse;
  }
}

void CMat::CMat_SolveLinear(int n, const double* r, int ldr, double* b, int) {
  bool singular = false;
  for (int i = 0; i < n; ++i) singular = singular || r[static_cast<long>(i) * ldr + i] == 0.0;
  if (!singular) {
    for (int i = n - 1; i >= 0; --i) {
      const double* column = r + static_cast<long>(i) * ldr;
      b[i] /= column[i];
      s_axpy(i, -b[i], column, b);
    }
    return;
  }
  // A parameter without information: the product with the inverse leaves its infinities where the
  // parameter has influence, and the rest finite.
  std::vector<double> packed(static_cast<std::size_t>(s_packed(n)));
  CMat_InverUU(r, packed.data(), ldr, n, 'W');
  for (int i = 0; i < n; ++i) {
    double sum = 0.0;
    for (int c = i; c < n; ++c) sum += packed[static_cast<std::size_t>(s_packed(c) + i)] * b[c];
    b[i] = sum;
  }
}

void CMat::CMat_Matmul(const char* op, int m, int n, int k, double alpha, const double* a, int lda,
                       const double* b, int ldb, double beta, double* c, int ldc) {
  s_matmul(op, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

void CMat::CMat_sMatmul(const char* op, int m, int n, int k, float alpha, const float* a, int lda,
                        const float* b, int ldb, float beta, float* c, int ldc) {
  s_matmul(op, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

void CMat::CMat_Cholesky(double*, int, int) { s_noCholesky(__func__); }
void CMat::CMat_sCholesky(float*, int, int) { s_noCholesky(__func__); }
int CMat::CMat_sInverse(float*, int, int) { return 0; }

void CMat::CMat_PrintMatrix(const double* a, int lda, int rows, int columns, const char* title) {
  if (s_badPrint(rows, columns)) return;
  s_printTitle(title);
  s_printRows(stdout, "%8.4lf ", a, lda, rows, columns);
}

void CMat::CMat_sPrintMatrix(const float* a, int lda, int rows, int columns, const char* title) {
  if (s_badPrint(rows, columns)) return;
  s_printTitle(title);
  s_printRows(stdout, "%13.7f ", a, lda, rows, columns);
}

void CMat::CMat_PrintMatrix_file(const double* a, int lda, int rows, int columns, const char*,
                                 const char* path) {
  if (s_badPrint(rows, columns)) return;
  std::FILE* file = std::fopen(path, "w");
  if (file == nullptr) {
    Logtrace::m_logError("file = %s,can't create file to write", path);
    return;
  }
  s_printRows(file, "%9.5lf ", a, lda, rows, columns);
  std::fclose(file);
}

void CMat::CMat_PrintMatrix_file_add(const double* a, int lda, int rows, int columns, std::FILE* file) {
  if (s_badPrint(rows, columns) || file == nullptr) return;
  s_printRows(file, "%16.8lf", a, lda, rows, columns);
}

}  // namespace tarvio
