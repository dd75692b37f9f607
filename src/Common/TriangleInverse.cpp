// The inverse row by row of its transpose, then its product with itself, both by blocks.

#include "Common/TriangleInverse.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Common/BlockProduct.h"

namespace tarvio {

namespace {

/// Row k of `inverse` becomes column k of R^-1: minus the sum of r_jk times row j, over r_kk.
void s_invert(std::size_t n, const RowMatrix& r, const RowMatrix& inverse) {
  for (std::size_t begin = 0; begin < n; begin += kBlockRows) {
    const std::size_t end = std::min(begin + kBlockRows, n);
    // Row j has nothing right of column j.
    for (std::size_t c = 0; c < begin; c += kBlockColumns)
      s_addProduct(r, inverse, c, begin, -1.0, inverse, {begin, begin + kBlockRows, c, c + kBlockColumns});
    for (std::size_t k = begin; k < end; ++k) {
      double* row = inverse.row(k);
      for (std::size_t j = begin; j < k; ++j) {
        const double factor = r.row(j)[k];
        for (std::size_t i = 0; i <= j; ++i) row[i] -= factor * inverse.row(j)[i];
      }
      const double reciprocal = 1.0 / r.row(k)[k];
      for (std::size_t i = 0; i < k; ++i) row[i] *= reciprocal;
      row[k] = reciprocal;
    }
  }
}

}  // namespace

bool s_covarianceOfTriangle(int n, const double* r, int ldr, double* Q) {
  const auto size = static_cast<std::size_t>(n), width = s_padded(size);
  thread_local std::vector<double> store;
  store.assign(3 * width * width, 0.0);
  const RowMatrix rows{store.data(), width}, inverse{rows.row(width), width},
      product{inverse.row(width), width};
  for (std::size_t c = 0; c < size; ++c)
    for (std::size_t k = 0; k <= c; ++k)
      rows.row(k)[c] = r[static_cast<std::ptrdiff_t>(c) * ldr + static_cast<std::ptrdiff_t>(k)];
  s_invert(size, rows, inverse);
  for (std::size_t i = 0; i < width; i += kBlockColumns)
    for (std::size_t c = i; c < width; c += kBlockColumns)
      s_addProduct(inverse, inverse, c, size, 1.0, product, {i, i + kBlockColumns, c, c + kBlockColumns});
  for (std::size_t i = 0; i < size; ++i) {
    if (!std::isfinite(product.row(i)[i])) return false;
    for (std::size_t j = i; j < size; ++j) Q[j * size + i] = Q[i * size + j] = product.row(i)[j];
  }
  return true;
}

}  // namespace tarvio
