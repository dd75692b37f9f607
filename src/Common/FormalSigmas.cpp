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
/// Rows of R^-1 at a time: as many sums as fit into registers; few for the rest of a triangle.
constexpr int kMany = 8, kFew = 2;  ///< fours
constexpr int kRows = 4 * kMany;
template <int kFours>
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
  const double* trailing = nullptr;
  const double* Q = nullptr;
};

/// Sums of squares of rows first to first + 4 kFours - 1 of R^-1, what they make of the last columns added.
/// \param y  [n + last], work space: column c of those rows
template <int kFours>
[[gnu::always_inline]] inline void s_squaresBody(const Problem& p, int first, Rows<kFours>* y,
                                                 Sums& squares) {
  Four total[kFours] = {};
  for (int c = first; c < p.n + p.last; ++c) {
    const double* column =
        c < p.n ? p.R + p.start[c] : p.trailing + static_cast<std::ptrdiff_t>(c - p.n) * p.n;
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
    if (const int own = c - first; own < 4 * kFours) y[c].part[own / 4][own % 4] = inverse;
    for (int k = 0; k < kFours; ++k) total[k] += y[c].part[k] * y[c].part[k];
  }
  const Rows<kFours>* z = y + p.n;
  for (int i = 0; i < p.last; ++i) {
    const double* row = p.Q + static_cast<std::ptrdiff_t>(i) * p.last;
    Four sum[kFours] = {};
    for (int j = 0; j < i; ++j)  // the other half is the same
      for (int k = 0; k < kFours; ++k) sum[k] += row[j] * z[j].part[k];
    for (int k = 0; k < kFours; ++k) total[k] += z[i].part[k] * (2.0 * sum[k] + row[i] * z[i].part[k]);
  }
  std::memcpy(squares, total, sizeof total);
}

template <int kFours>
using SquaresFunction = void (*)(const Problem&, int, Rows<kFours>*, Sums&);

template <int kFours>
void s_squaresBase(const Problem& p, int first, Rows<kFours>* y, Sums& squares) {
  s_squaresBody(p, first, y, squares);
}

#if defined(__x86_64__)
template <int kFours>
__attribute__((target("avx2"))) void s_squaresWide(const Problem& p, int first, Rows<kFours>* y,
                                                   Sums& squares) {
  s_squaresBody(p, first, y, squares);
}
#endif

template <int kFours>
SquaresFunction<kFours> s_chooseSquares() {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2")) return s_squaresWide<kFours>;
#endif
  return s_squaresBase<kFours>;
}

/// Of the next rows from `first` on. \return their number
template <int kFours>
int s_squares(const Problem& p, int first, Sums& squares) {
  static const SquaresFunction<kFours> squaresOf = s_chooseSquares<kFours>();
  thread_local std::vector<Rows<kFours>> work;
  work.resize(static_cast<std::size_t>(p.n + p.last));
  squaresOf(p, first, work.data(), squares);
  return 4 * kFours;
}

void s_sigmas(const Problem& p, int count, double* sigma) {
  for (int first = 0; first < count;) {
    Sums squares = {};
    const int next = first + (count - first > 4 * kFew ? s_squares<kMany>(p, first, squares)
                                                       : s_squares<kFew>(p, first, squares));
    for (int k = 0; first < std::min(next, count); ++k, ++first)
      sigma[first] = squares[k] > 0.0 && std::isfinite(squares[k]) ? std::sqrt(squares[k]) : 0.0;
    first = next;
  }
}

}  // namespace

void s_formalSigmas(const double* R, const int* start, int n, int count, double* sigma) {
  s_sigmas({R, start, n}, count, sigma);
}

void s_formalSigmas(const double* R, const int* start, int n, int last, const double* trailing,
                    const double* Q, double* sigma) {
  s_sigmas({R, start, n, last, trailing, Q}, n, sigma);
}

}  // namespace tarvio
