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

/// A triangle, and the covariance of columns behind it that are not its own.
struct Problem {
  const double* R;
  const int* start;
  int n;
  int last = 0;
  const double* Q = nullptr;
  int lead = 0;
};

/// Sums of squares of rows first to first + kRows - 1 of R^-1, what they make of the last columns added.
/// \param y  [n + last], work space: column c of those rows
[[gnu::always_inline]] inline void s_squaresBody(const Problem& p, int first, Rows* y, Sums& squares) {
  Four total[kFours] = {};
  for (int c = first; c < p.n + p.last; ++c) {
    const double* column = p.R + p.start[c];
    Four sum[kFours] = {};
    for (int r = first; r < std::min(c, p.n); ++r)
      for (int k = 0; k < kFours; ++k) sum[k] += column[r] * y[r].part[k];
    if (c >= p.n) {
      for (int k = 0; k < kFours; ++k) y[c].part[k] = -sum[k];
      continue;
    }
    const double inverse = column[c] == 0.0 ? 0.0 : 1.0 / column[c];
    for (int k = 0; k < kFours; ++k) y[c].part[k] = -sum[k] * inverse;
    // A row begins in its own column.
    if (const int own = c - first; own < kRows) y[c].part[own / 4][own % 4] = inverse;
    for (int k = 0; k < kFours; ++k) total[k] += y[c].part[k] * y[c].part[k];
  }
  const Rows* z = y + p.n;
  for (int i = 0; i < p.last; ++i) {
    const double* row = p.Q + static_cast<std::ptrdiff_t>(i) * p.lead;
    Four sum[kFours] = {};
    for (int j = 0; j < i; ++j)  // the other half is the same
      for (int k = 0; k < kFours; ++k) sum[k] += row[j] * z[j].part[k];
    for (int k = 0; k < kFours; ++k) total[k] += z[i].part[k] * (2.0 * sum[k] + row[i] * z[i].part[k]);
  }
  std::memcpy(squares, total, sizeof squares);
}

using SquaresFunction = void (*)(const Problem&, int, Rows*, Sums&);

void s_squaresBase(const Problem& p, int first, Rows* y, Sums& squares) {
  s_squaresBody(p, first, y, squares);
}

#if defined(__x86_64__)
__attribute__((target("avx2"))) void s_squaresWide(const Problem& p, int first, Rows* y, Sums& squares) {
  s_squaresBody(p, first, y, squares);
}
#endif

SquaresFunction s_chooseSquares() {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2")) return s_squaresWide;
#endif
  return s_squaresBase;
}

void s_sigmas(const Problem& p, int count, double* sigma) {
  static const SquaresFunction squaresOf = s_chooseSquares();
  thread_local std::vector<Rows> work;
  work.resize(static_cast<std::size_t>(p.n + p.last));
  for (int first = 0; first < count; first += kRows) {
    Sums squares = {};
    squaresOf(p, first, work.data(), squares);
    for (int k = 0; k < kRows && first + k < count; ++k)
      sigma[first + k] = squares[k] > 0.0 && std::isfinite(squares[k]) ? std::sqrt(squares[k]) : 0.0;
  }
}

}  // namespace

void s_formalSigmas(const double* R, const int* start, int n, int count, double* sigma) {
  s_sigmas({R, start, n}, count, sigma);
}

void s_formalSigmas(const double* R, const int* start, int n, int last, const double* Q, int lead,
                    double* sigma) {
  s_sigmas({R, start, n, last, Q, lead}, n, sigma);
}

}  // namespace tarvio
