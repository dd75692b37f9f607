/// \file FormalSigmas.cpp
/// Row i of R^-1 solves y R = e_i from the left: y_c = (e_c - sum over r < c of y_r R_rc) / R_cc, r from i.
/// Several rows at a time share every element of R that is read, which is what makes them cheap.

#include "Common/FormalSigmas.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace tarvio {

namespace {

/// Four numbers side by side; their place in memory is that of any double.
using Four [[gnu::vector_size(32), gnu::aligned(8)]] = double;
constexpr int kFours = 8;
constexpr int kRows = 4 * kFours;  ///< of R^-1 at a time: as many sums as fit into registers
struct Rows {
  Four part[kFours];
};

using Sums = double[kRows];

/// Sums of squares of rows first to first + kRows - 1 of R^-1.
/// \param y  [n], work space: column c of those rows
[[gnu::always_inline]] inline void s_squaresBody(const double* R, const int* start, int n, int first, Rows* y,
                                                 Sums& squares) {
  Four total[kFours] = {};
  for (int c = first; c < n; ++c) {
    const double* column = R + start[c];
    Four sum[kFours] = {};
    for (int r = first; r < c; ++r)
      for (int k = 0; k < kFours; ++k) sum[k] += column[r] * y[r].part[k];
    const double inverse = column[c] == 0.0 ? 0.0 : 1.0 / column[c];
    for (int k = 0; k < kFours; ++k) y[c].part[k] = -sum[k] * inverse;
    // A row begins in its own column.
    if (const int own = c - first; own < kRows) y[c].part[own / 4][own % 4] = inverse;
    for (int k = 0; k < kFours; ++k) total[k] += y[c].part[k] * y[c].part[k];
  }
  std::memcpy(squares, total, sizeof squares);
}

using SquaresFunction = void (*)(const double*, const int*, int, int, Rows*, Sums&);

void s_squaresBase(const double* R, const int* start, int n, int first, Rows* y, Sums& squares) {
  s_squaresBody(R, start, n, first, y, squares);
}

#if defined(__x86_64__)
__attribute__((target("avx2"))) void s_squaresWide(const double* R, const int* start, int n, int first,
                                                   Rows* y, Sums& squares) {
  s_squaresBody(R, start, n, first, y, squares);
}
#endif

SquaresFunction s_chooseSquares() {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2")) return s_squaresWide;
#endif
  return s_squaresBase;
}

}  // namespace

void s_formalSigmas(const double* R, const int* start, int n, int count, double* sigma) {
  static const SquaresFunction squaresOf = s_chooseSquares();
  thread_local std::vector<Rows> work;
  work.resize(static_cast<std::size_t>(n));
  for (int first = 0; first < count; first += kRows) {
    Sums squares = {};
    squaresOf(R, start, n, first, work.data(), squares);
    for (int k = 0; k < kRows && first + k < count; ++k)
      sigma[first + k] = std::isfinite(squares[k]) ? std::sqrt(squares[k]) : 0.0;
  }
}

void s_formalSigmas(const double* R, const int* start, int n, int last, const double* Q, int lead,
                    double* sigma) {
  struct Column {
    Four of;
  };
  thread_local std::vector<Column> work;
  work.resize(static_cast<std::size_t>(n + last));
  Column* const y = work.data();
  for (int first = 0; first < n; first += 4) {
    Four squares = {};
    for (int c = first; c < n + last; ++c) {
      const double* column = R + start[c];
      Four sum = {};
      for (int r = first; r < std::min(c, n); ++r) sum += column[r] * y[r].of;
      Four& here = y[c].of;
      here = -sum;
      if (c >= n) continue;
      const double inverse = column[c] == 0.0 ? 0.0 : 1.0 / column[c];
      here *= inverse;
      if (const int own = c - first; own < 4) here[own] = inverse;
      squares += here * here;
    }
    const Column* z = y + n;
    for (int i = 0; i < last; ++i) {
      const double* row = Q + static_cast<std::ptrdiff_t>(i) * lead;
      Four sum = {};
      for (int j = 0; j < last; ++j) sum += row[j] * z[j].of;
      squares += z[i].of * sum;
    }
    for (int k = 0; k < 4 && first + k < n; ++k)
      sigma[first + k] = squares[k] > 0.0 && std::isfinite(squares[k]) ? std::sqrt(squares[k]) : 0.0;
  }
}

}  // namespace tarvio
