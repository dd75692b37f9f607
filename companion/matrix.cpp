/// \file matrix.cpp
/// Plain matrices: column-major, element (i, j) of an n x m matrix at i + j*n.

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "GNX_IO.h"

namespace GNX_IO {
namespace {

/// Element count, or 0 for an empty or impossible shape.
std::size_t elements(int n, int m) {
  if (n <= 0 || m <= 0) return 0;
  const auto rows = static_cast<std::size_t>(n), columns = static_cast<std::size_t>(m);
  return rows > std::numeric_limits<std::size_t>::max() / sizeof(double) / columns ? 0 : rows * columns;
}

}  // namespace

double* mat(int n, int m) {
  const std::size_t count = elements(n, m);
  return count == 0 ? nullptr : static_cast<double*>(std::malloc(count * sizeof(double)));
}

double* zeros(int n, int m) {
  const std::size_t count = elements(n, m);
  return count == 0 ? nullptr : static_cast<double*>(std::calloc(count, sizeof(double)));
}

double* eye(int n) {
  double* identity = zeros(n, n);
  if (identity != nullptr) {
    for (int i = 0; i < n; ++i) identity[static_cast<std::size_t>(i) * static_cast<std::size_t>(n + 1)] = 1.0;
  }
  return identity;
}

/// With beta 0 the content of C is not read, so C need not be initialised.
void matmul(const char* tr, int n, int k, int m, double alpha, const double* A, const double* B, double beta,
            double* C) {
  if (n <= 0 || k <= 0) return;
  const bool transposeA = tr != nullptr && tr[0] == 'T';
  const bool transposeB = tr != nullptr && tr[0] != '\0' && tr[1] == 'T';
  const auto rows = static_cast<std::size_t>(n), columns = static_cast<std::size_t>(k),
             inner = static_cast<std::size_t>(std::max(m, 0));
  const std::size_t strideA = transposeA ? inner : 1, stepA = transposeA ? 1 : rows;
  const std::size_t strideB = transposeB ? 1 : inner, stepB = transposeB ? columns : 1;
  for (std::size_t j = 0; j < columns; ++j) {
    for (std::size_t i = 0; i < rows; ++i) {
      double sum = 0.0;
      for (std::size_t l = 0; l < inner; ++l) sum += A[i * strideA + l * stepA] * B[j * strideB + l * stepB];
      double& c = C[i + j * rows];
      c = beta == 0.0 ? alpha * sum : alpha * sum + beta * c;
    }
  }
}

}  // namespace GNX_IO
