// Integer least squares through the host's search, factorisation and decorrelation of a covariance,
// bootstrapped failure rate.
//
// References: Teunissen (1995), J. Geodesy 70, 65-82; de Jonge & Tiberius (1996), The LAMBDA method
// for integer ambiguity estimation: implementation aspects, LGR-Series 12, Delft.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "Core/Ambfix/Pflambda.h"
#include "GNX_IO.h"

namespace tarvio {

namespace {

constexpr double kSwapGain = 1.0e-6;  ///< cycles^2 that a permutation must gain
constexpr double kNoThreshold = 9999.0;
constexpr double kFailedRate = 2.0;

/// Room that is kept between calls: the search runs thousands of times in an epoch.
struct Workspace {
  std::vector<double> q, x, candidates, l, d;
};

Workspace& s_workspace() {
  thread_local Workspace w;
  return w;
}

int s_solveOne(double q, double* x, double* xsecond, double* s) {
  const double value = *x, best = std::round(value), d = best - value;
  s[0] = d * d / q;
  s[1] = (1.0 - std::fabs(d)) * (1.0 - std::fabs(d)) / q;
  if (xsecond) *xsecond = best + (d > 0.0 ? -1.0 : 1.0);
  *x = best;
  return 0;
}

/// Column j minus round(l_ij) times column i, for all i > j.
void s_gauss(std::size_t n, std::size_t j, double* L, double* Z) {
  double* column = L + j * n;
  for (std::size_t i = j + 1; i < n; ++i) {
    // Within a half of zero nothing is to be done, and that is nearly always.
    if (!(std::fabs(column[i]) >= 0.5)) continue;
    const double mu = std::floor(column[i] + 0.5);
    if (mu == 0.0) continue;
    const double* other = L + i * n;
    for (std::size_t k = i; k < n; ++k) column[k] -= mu * other[k];
    if (!Z) continue;
    for (std::size_t k = 0; k < n; ++k) Z[k + j * n] -= mu * Z[k + i * n];
  }
}

/// Exchanges j and j+1; `delta` is the conditional variance that j has in front of j+1.
void s_permute(std::size_t n, std::size_t j, double delta, double* L, double* D, double* Z) {
  const double l = L[j + 1 + j * n], eta = D[j] / delta, lambda = D[j + 1] * l / delta;
  D[j] = eta * D[j + 1];
  D[j + 1] = delta;
  for (std::size_t k = 0; k < j; ++k) {
    const double a = L[j + k * n], b = L[j + 1 + k * n];
    L[j + k * n] = b - l * a;
    L[j + 1 + k * n] = eta * a + lambda * b;
  }
  L[j + 1 + j * n] = lambda;
  std::swap_ranges(L + j * n + j + 2, L + j * n + n, L + (j + 1) * n + j + 2);
  if (Z) std::swap_ranges(Z + j * n, Z + j * n + n, Z + (j + 1) * n);
}

}  // namespace

int ambslv_(int n, const double* Q, double* x, double* xsecond, double* s) {
  if (n < 1) return -1;
  if (n == 1) return s_solveOne(*Q, x, xsecond, s);
  const auto size = static_cast<std::size_t>(n);
  Workspace& w = s_workspace();
  // The host's search gets copies: what it does to its input is its own affair.
  w.q.assign(Q, Q + size * size);
  w.x.assign(x, x + size);
  w.candidates.assign(2 * size, 0.0);
  double norms[2] = {};
  if (const int failed = GNX_IO::lambda(n, 2, w.x.data(), w.q.data(), w.candidates.data(), norms))
    return failed;
  const bool swapped = !(norms[1] > norms[0]);
  std::copy_n(w.candidates.begin() + (swapped ? n : 0), n, x);
  if (xsecond) std::copy_n(w.candidates.begin() + (swapped ? 0 : n), n, xsecond);
  s[0] = norms[swapped];
  s[1] = norms[!swapped];
  return 0;
}

int ambslv(int n, const double* Q, double* x, double* s) { return ambslv_(n, Q, x, nullptr, s); }

bool s_factorise(int n, const double* Q, double* L, double* D) {
  const auto size = static_cast<std::size_t>(std::max(n, 0));
  // Row i of the factor replaces row i of the copy; rows above are the covariance still to come.
  double* a = L;
  std::copy_n(Q, size * size, a);
  for (std::size_t j = 1; j < size; ++j) std::fill_n(a + j * size, j, 0.0);
  for (std::size_t i = size; i-- > 0;) {
    D[i] = a[i + i * size];
    if (!(D[i] > 0.0)) return false;
    const double root = std::sqrt(D[i]);
    for (std::size_t j = 0; j <= i; ++j) a[i + j * size] /= root;
    for (std::size_t k = 0; k < i; ++k) {
      const double lik = a[i + k * size];
      for (std::size_t j = k; j < i; ++j) a[j + k * size] -= lik * a[i + j * size];
    }
    for (std::size_t j = 0; j < i; ++j) a[i + j * size] /= root;
    a[i + i * size] = 1.0;
  }
  return true;
}

int LD(int n, const double* Q, double* L, double* D) {
  if (s_factorise(n, Q, L, D)) return 0;
  std::fprintf(stderr, "%s : LD factorization error\n", "PflambdaSearch.cpp");
  return 1;
}

bool s_decorrelate(int n, double* L, double* D, double* Z) {
  const auto size = static_cast<std::size_t>(n);
  // Every permutation lowers a product of leading variances; the count guards against input whose
  // rounding is larger than the gain asked for.
  long left = 10'000L + 1000L * n * n;
  int j = n - 2, treated = n - 2;
  while (j >= 0) {
    const auto p = static_cast<std::size_t>(j);
    if (j <= treated) s_gauss(size, p, L, Z);
    const double l = L[p + 1 + p * size];
    const double delta = D[p] + l * l * D[p + 1];
    if (!std::isfinite(delta)) return false;
    if (delta + kSwapGain >= D[p + 1]) {
      --j;
      continue;
    }
    if (--left < 0) return false;
    s_permute(size, p, delta, L, D, Z);
    treated = j;
    j = n - 2;
  }
  return true;
}

double s_ratioThreshold(double mu) { return mu == 0.0 ? kNoThreshold : 1.0 / mu; }

void s_pf_lookup_u(const RatioTable& table, double* Q, int n, double sigma, double pfmin, int, double* mu,
                   double* pf) {
  const auto size = static_cast<std::size_t>(std::max(n, 0));
  for (std::size_t i = 0; i < size * size; ++i) Q[i] *= sigma * sigma;
  Workspace& w = s_workspace();
  w.l.resize(size * size);
  w.d.resize(size);
  *pf = kFailedRate;
  if (LD(n, Q, w.l.data(), w.d.data()) == 0 && s_decorrelate(n, w.l.data(), w.d.data(), nullptr)) {
    // The variances of the factor are those of the transformed covariance: no second factorisation.
    double success = 1.0;
    for (const double d : w.d) {
      const double z = 0.5 / std::sqrt(d);
      success *= 2.0 * (0.5 * std::erfc(-z * 0.7071067811865476)) - 1.0;
    }
    *pf = 1.0 - success;
  }
  *mu = 1.0;
  if (pfmin > *pf) return;
  const double u = table.get_u(n, *pf);
  *mu = u != 0.0 ? 1.0 / u : 0.0;
}

}  // namespace tarvio
