/// \file lambda.cpp
/// Integer least squares: the m integer vectors z nearest to a float vector a in the metric Q^-1.
///
/// Steps: (1) Q = L^T D L with symmetric pivoting, the smallest conditional variance last;
/// (2) decorrelation by integer Gauss transformations and permutations, a column being reduced when
/// its pair is looked at, not before (reducing less, only what the permutation depends on, lets the
/// other elements grow beyond double precision at some twenty strongly correlated ambiguities); (3)
/// depth-first search from the last, most precise ambiguity, nearest integers first, with a bound that
/// shrinks as better candidates are found.
///
/// Invariants: L is unit lower triangular, L^T D L is the covariance of the transformed floats z;
/// a - a0 = M z with M integer and unimodular, a0 the rounded floats. Squared norms are the same
/// before and after the transformation.
///
/// References: Teunissen (1995), J. Geodesy 70, 65-82; Chang, Yang, Zhou (2005), J. Geodesy 79,
/// 552-565 (pivoting, lazy reduction, search).

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <span>
#include <vector>

#include "GNX_IO.h"

namespace GNX_IO {
namespace {

enum Status { kSolved = 0, kBadInput = -1, kNotPositiveDefinite = -2, kSearchTooLong = -3 };

/// Largest problem; ambiguities of one epoch stay far below.
constexpr int kMaxDimension = 512;
/// Visited nodes after which a search is given up, some 15 ms. Arcs of useful length need 100 to
/// 10,000; forty ambiguities of a single epoch, all dominated by four common unknowns, may need more.
constexpr long kMaxNodes = 1'000'000;
/// A conditional variance below this part of its variance is rounding noise of a singular matrix.
constexpr double kSingular = 1e-14;
/// Permutations must gain this much, else rounding could swap a pair for ever.
constexpr double kSwapMargin = 1e-9;

/// Room for one problem, kept between calls of a thread so that repeated searches do not allocate.
struct Workspace {
  std::size_t n = 0, m = 0;
  std::vector<double> L, M;  // n x n, column-major
  std::vector<double> D, z;  // conditional variances, transformed floats
  std::vector<double> conditional, integer, step, residual, partial, weight;  // per level of the search
  std::vector<double> sums;          // n + 1 a level: z_k + sum_{j >= i} l_jk residual_j at place i
  std::vector<std::size_t> changed;  // per level: residuals above this one are still in its sums
  std::vector<double> candidates;    // m columns of n
  std::vector<double> norms;         // m

  void resize(int dimension, int count) {
    n = static_cast<std::size_t>(dimension);
    m = static_cast<std::size_t>(count);
    L.assign(n * n, 0.0);
    M.assign(n * n, 0.0);
    for (std::vector<double>* v : {&D, &z, &conditional, &integer, &step, &residual, &weight})
      v->assign(n, 0.0);
    partial.assign(n + 1, 0.0);
    sums.assign(n * (n + 1), 0.0);
    changed.assign(n, n - 1);
    candidates.assign(n * m, 0.0);
    norms.assign(m, 0.0);
  }
  double& l(std::size_t row, std::size_t column) { return L[row + column * n]; }
  std::span<double> column(std::vector<double>& matrix, std::size_t j) { return {&matrix[j * n], n}; }
};

/// Copies the lower triangle of Q and the fractions of a; M := identity.
/// \returns false for input that is not finite, or floats beyond the integers of a double.
bool load(Workspace& w, const double* a, const double* Q) {
  constexpr double kLargestInteger = 9007199254740992.0;  // 2^53
  for (std::size_t j = 0; j < w.n; ++j) {
    if (!std::isfinite(a[j]) || std::fabs(a[j]) > kLargestInteger) return false;
    for (std::size_t i = j; i < w.n; ++i) {
      const double q = Q[i + j * w.n];
      if (!std::isfinite(q)) return false;
      w.l(i, j) = q;
    }
    // Working with fractions keeps the digits that large carrier-phase counts would take.
    w.z[j] = a[j] - std::round(a[j]);
    w.M[j + j * w.n] = 1.0;
  }
  return true;
}

/// Exchanges two variables of a symmetric matrix held as its lower triangle (i > j).
void swapSymmetric(Workspace& w, std::size_t i, std::size_t j) {
  for (std::size_t k = 0; k < j; ++k) std::swap(w.l(i, k), w.l(j, k));
  for (std::size_t k = j + 1; k < i; ++k) std::swap(w.l(k, j), w.l(i, k));
  for (std::size_t k = i + 1; k < w.n; ++k) std::swap(w.l(k, i), w.l(k, j));
  std::swap(w.l(i, i), w.l(j, j));
}

/// Exchanges the variables i and j everywhere but in the factor.
void swapVariables(Workspace& w, std::size_t i, std::size_t j) {
  std::swap(w.z[i], w.z[j]);
  std::ranges::swap_ranges(w.column(w.M, i), w.column(w.M, j));
}

/// Q = L^T D L in place. Rows already factorised belong to L, the leading block still to the
/// remaining covariance.
bool factorise(Workspace& w) {
  std::vector<double>& variance = w.conditional;  // free until the search
  for (std::size_t i = 0; i < w.n; ++i) variance[i] = w.l(i, i);
  for (std::size_t i = w.n; i-- > 0;) {
    std::size_t pivot = i;
    for (std::size_t j = 0; j < i; ++j) {
      if (w.l(j, j) < w.l(pivot, pivot)) pivot = j;
    }
    if (pivot != i) {
      swapSymmetric(w, i, pivot);
      swapVariables(w, i, pivot);
      std::swap(variance[i], variance[pivot]);
    }
    const double d = w.l(i, i);
    if (!(d > kSingular * variance[i]) || !std::isfinite(d)) return false;
    w.D[i] = d;
    for (std::size_t j = 0; j < i; ++j) {
      const double ratio = w.l(i, j) / d;
      for (std::size_t k = j; k < i; ++k) w.l(k, j) -= ratio * w.l(i, k);
    }
    for (std::size_t j = 0; j < i; ++j) w.l(i, j) /= d;
    w.l(i, i) = 1.0;
  }
  return true;
}

/// z_j := z_j - round(l_ij) z_i, for i > j.
void gauss(Workspace& w, std::size_t i, std::size_t j) {
  const double mu = std::round(w.l(i, j));
  if (mu == 0.0) return;
  for (std::size_t k = i; k < w.n; ++k) w.l(k, j) -= mu * w.l(k, i);
  // a = M z: what z_j loses to z_i, column i of M takes over from column j.
  for (std::size_t k = 0; k < w.n; ++k) w.M[k + i * w.n] += mu * w.M[k + j * w.n];
  w.z[j] -= mu * w.z[i];
}

/// Exchanges the neighbours j and j+1 and updates the factor; `delta` is the conditional variance
/// that variable j takes to the place j+1.
void permute(Workspace& w, std::size_t j, double delta) {
  const double l = w.l(j + 1, j);
  const double eta = w.D[j] / delta;
  const double lambda = w.D[j + 1] * l / delta;
  w.D[j] = eta * w.D[j + 1];
  w.D[j + 1] = delta;
  for (std::size_t k = 0; k < j; ++k) {
    const double a = w.l(j, k), b = w.l(j + 1, k);
    w.l(j, k) = b - l * a;
    w.l(j + 1, k) = eta * a + lambda * b;
  }
  w.l(j + 1, j) = lambda;
  for (std::size_t k = j + 2; k < w.n; ++k) std::swap(w.l(k, j), w.l(k, j + 1));
  swapVariables(w, j, j + 1);
}

/// Orders the conditional variances as far as integer transformations allow: largest first.
bool decorrelate(Workspace& w) {
  // The product of leading conditional variances falls with every permutation by the margin at
  // least, which bounds their number; the count only guards against overflowed input.
  long permutationsLeft = 10'000L + 1000L * static_cast<long>(w.n * w.n);
  const std::size_t lastPair = w.n >= 2 ? w.n - 2 : 0;
  std::size_t pairsLeft = w.n - 1;  // pairs (j, j+1) with j < pairsLeft are still to be looked at
  while (pairsLeft > 0) {
    const std::size_t j = pairsLeft - 1;
    for (std::size_t i = j + 1; i < w.n; ++i) gauss(w, i, j);
    const double delta = w.D[j] + w.l(j + 1, j) * w.l(j + 1, j) * w.D[j + 1];
    if (!std::isfinite(delta)) return false;
    if (delta >= w.D[j + 1] * (1.0 - kSwapMargin)) {
      --pairsLeft;
      continue;
    }
    if (--permutationsLeft < 0) return false;
    permute(w, j, delta);
    pairsLeft = std::min(j + 1, lastPair) + 1;  // the pair behind is disturbed
  }
  return true;
}

/// The nearest integer, of two the even one, without a call of the mathematical library: the sum takes the
/// fraction off, as a double beyond 2^52 has none. For |value| < 2^51.
double nearest(double value) {
  constexpr double kNoFraction = 6755399441055744.0;  // 1.5 * 2^52
  return (value + kNoFraction) - kNoFraction;
}

/// Sets level k to the integer nearest to its conditional estimate. Of the sums only what has changed
/// since the level was entered last is formed anew, which is little: a search moves near the bottom.
void enterLevel(Workspace& w, std::size_t k) {
  const double* column = &w.L[k * w.n];
  double* sum = &w.sums[k * (w.n + 1)];
  const std::size_t changed = w.changed[k];
  for (std::size_t i = changed; i > k; --i) sum[i] = sum[i + 1] + column[i] * w.residual[i];
  w.changed[k] = k + 1;
  if (k > 0) w.changed[k - 1] = std::max(w.changed[k - 1], changed);
  const double estimate = sum[k + 1];
  w.conditional[k] = estimate;
  w.integer[k] = nearest(estimate);
  w.residual[k] = w.integer[k] - estimate;
  w.step[k] = w.residual[k] <= 0.0 ? 1.0 : -1.0;
}

/// The next nearest integer: the sequence alternates around the conditional estimate.
void advance(Workspace& w, std::size_t k) {
  w.integer[k] += w.step[k];
  w.residual[k] = w.integer[k] - w.conditional[k];
  w.step[k] = -w.step[k] - std::copysign(1.0, w.step[k]);
}

/// Depth-first search; candidates stay unsorted.
Status search(Workspace& w) {
  std::size_t found = 0, worst = 0, k = w.n - 1;
  double bound = std::numeric_limits<double>::infinity();
  w.partial[w.n] = 0.0;
  for (std::size_t level = 0; level < w.n; ++level) {
    w.sums[level * (w.n + 1) + w.n] = w.z[level];
    w.weight[level] = 1.0 / w.D[level];
  }
  enterLevel(w, k);
  for (long nodes = 0; nodes < kMaxNodes; ++nodes) {
    const double norm = w.partial[k + 1] + w.residual[k] * w.residual[k] * w.weight[k];
    if (norm < bound) {
      if (k > 0) {
        w.partial[k] = norm;
        enterLevel(w, --k);
        continue;
      }
      const std::size_t place = found < w.m ? found++ : worst;
      std::ranges::copy(w.integer, w.column(w.candidates, place).begin());
      w.norms[place] = norm;
      if (found == w.m) {
        worst = static_cast<std::size_t>(std::ranges::max_element(w.norms) - w.norms.begin());
        bound = w.norms[worst];
      }
      advance(w, k);
    } else {
      if (++k == w.n) return found == w.m ? kSolved : kBadInput;
      advance(w, k);
    }
  }
  return kSearchTooLong;
}

/// Candidates in ascending order of their norm, back in the given variables.
void deliver(Workspace& w, const double* a, double* F, double* s) {
  for (std::size_t rank = 0; rank < w.m; ++rank) {
    const auto best = static_cast<std::size_t>(std::ranges::min_element(w.norms) - w.norms.begin());
    s[rank] = w.norms[best];
    w.norms[best] = std::numeric_limits<double>::infinity();
    const std::span<double> z = w.column(w.candidates, best);
    for (std::size_t i = 0; i < w.n; ++i) {
      double sum = std::round(a[i]);
      for (std::size_t k = 0; k < w.n; ++k) sum += w.M[i + k * w.n] * z[k];
      F[i + rank * w.n] = std::round(sum);
    }
  }
}

/// The workspace of this thread. Not inlined: the address of a thread's own object is looked up by a call,
/// which a compiler is free to repeat at every use, within the search too.
[[gnu::noinline]] Workspace& workspace() {
  thread_local Workspace own;
  return own;
}

}  // namespace

int lambda(int n, int m, const double* a, const double* Q, double* F, double* s) {
  constexpr int kMaxCandidates = 1024;
  if (n < 1 || n > kMaxDimension || m < 1 || m > kMaxCandidates) return kBadInput;
  if (a == nullptr || Q == nullptr || F == nullptr || s == nullptr) return kBadInput;
  try {
    Workspace& w = workspace();
    w.resize(n, m);
    if (!load(w, a, Q)) return kBadInput;
    if (!factorise(w) || !decorrelate(w)) return kNotPositiveDefinite;
    const Status status = search(w);
    if (status == kSolved) deliver(w, a, F, s);
    return status;
  } catch (const std::exception&) {
    return kBadInput;  // no memory
  }
}

}  // namespace GNX_IO
