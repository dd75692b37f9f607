#pragma once
/// Ambiguity problems like those of an epoch, and partial resolution in its plain form: every subset of
/// every round is searched. What the fast form must reproduce to the bit.

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <vector>

#include "Common/ComStat.h"
#include "Core/Ambfix/Pflambda.h"
#include "Core/Ambfix/SubsetSearch.h"

namespace gnx_test {

struct AmbiguityProblem {
  int n = 0;
  std::vector<double> Q;  ///< n x n
  std::vector<double> x;
  double sigma = 1.0;
};

/// Between-satellite ambiguities: what all share (receiver position, zenith delay: `spread` cycles; the
/// reference satellite: `reference`), and what each arc has of its own (about `own`, some much worse).
/// `faulty` of them are off their integer by a fraction that the covariance does not know.
inline AmbiguityProblem drawProblem(int n, double spread, double reference, double own, int faulty,
                                    std::mt19937& random) {
  std::normal_distribution<double> normal;
  std::uniform_real_distribution<double> uniform;
  const auto size = static_cast<std::size_t>(n);
  AmbiguityProblem p{n, std::vector<double>(size * size, reference * reference), std::vector<double>(size)};
  for (double& x : p.x) x = std::round(20.0 * normal(random));
  const double common = reference * normal(random);
  for (double& x : p.x) x += common;
  std::vector<double> g(size);
  for (int shared = 0; shared < 4; ++shared) {
    for (double& v : g) v = spread * normal(random);
    const double amount = normal(random);
    for (std::size_t i = 0; i < size; ++i) {
      p.x[i] += g[i] * amount;
      for (std::size_t j = 0; j < size; ++j) p.Q[j * size + i] += g[i] * g[j];
    }
  }
  for (std::size_t i = 0; i < size; ++i) {
    double sigma = own * std::exp(0.4 * normal(random));
    if (uniform(random) < 0.15) sigma *= 2.0 + 8.0 * uniform(random);
    p.x[i] += sigma * normal(random);
    p.Q[i * (size + 1)] += sigma * sigma;
  }
  for (int f = 0; f < faulty; ++f)
    p.x[static_cast<std::size_t>(uniform(random) * n)] += 0.2 + 0.6 * uniform(random);
  return p;
}

/// Rows by rising variance, as the search of a level orders them.
inline std::vector<int> byVariance(const AmbiguityProblem& p) {
  std::vector<int> rows(p.x.size());
  std::iota(rows.begin(), rows.end(), 0);
  std::ranges::stable_sort(rows, {}, [&](int i) { return p.Q[static_cast<std::size_t>(i * (p.n + 1))]; });
  return rows;
}

/// The search over subsets of a problem whose best and second best integers are known; `worst` and the
/// vectors must outlive it.
inline tarvio::SubsetProblem subsetProblem(const AmbiguityProblem& p, const std::vector<int>& worst,
                                           const std::vector<double>& best, const std::vector<double>& second,
                                           double crit) {
  tarvio::SubsetProblem problem;
  problem.n = p.n;
  problem.Q = p.Q.data();
  problem.x = p.x.data();
  problem.worst = worst.data();
  problem.maxdrop = std::min(p.n, std::max(8, (p.n + 2) / 3));
  problem.crit = crit;
  problem.sigma = p.sigma;
  problem.best = best.data();
  problem.second = second.data();
  return problem;
}

/// Rows by falling variance.
inline std::vector<int> worstFirst(const AmbiguityProblem& p) {
  const std::vector<int> sorted = byVariance(p);
  return {sorted.rbegin(), sorted.rend()};
}

struct PlainResult {
  bool accepted = false;
  double ratio = 0.0;
  std::vector<int> rows;
  std::vector<double> integers;
  long searches = 0;
};

/// \param table  null: the limit of the ratio is `crit`
inline PlainResult plainSubsets(const AmbiguityProblem& p, double crit, const tarvio::RatioTable* table) {
  const int maxdrop = std::min(p.n, std::max(8, (p.n + 2) / 3));
  const std::vector<int> sorted = byVariance(p);
  PlainResult result;
  for (int k = 1; k <= maxdrop && p.n - k >= 1; ++k) {
    double best = 0.0, bestRate = 1.0e9;
    std::vector<int> comb(static_cast<std::size_t>(k), -1);
    while (tarvio::chos(k, maxdrop, comb.data())) {
      std::vector<int> rows;
      for (int i = 0; i < p.n; ++i) {
        const auto gone = [&](int c) { return sorted[static_cast<std::size_t>(p.n - 1 - c)] == i; };
        if (std::none_of(comb.begin(), comb.end(), gone)) rows.push_back(i);
      }
      const auto n = rows.size();
      std::vector<double> Q(n * n), x(n);
      for (std::size_t j = 0; j < n; ++j) {
        x[j] = p.x[static_cast<std::size_t>(rows[j])];
        for (std::size_t i = 0; i < n; ++i)
          Q[j * n + i] = p.Q[static_cast<std::size_t>(rows[j] * p.n + rows[i])];
      }
      double s[2] = {};
      ++result.searches;
      if (tarvio::ambslv_(static_cast<int>(n), Q.data(), x.data(), nullptr, s) != 0) continue;
      const double ratio = s[1] / s[0];
      if (table) {
        double mu = 0.0, rate = 0.0;
        tarvio::s_pf_lookup_u(*table, Q.data(), static_cast<int>(n), p.sigma, 0.001, -1, &mu, &rate);
        if (!(ratio > (mu == 0.0 ? 9999.0 : 1.0 / mu)) || !(bestRate > rate)) continue;
        bestRate = rate;
      } else if (!(ratio > best)) {
        continue;
      }
      best = ratio;
      result.rows = rows;
      result.integers = x;
    }
    result.ratio = best;
    result.accepted = table ? 1.0 > bestRate : best > crit;
    if (result.accepted) break;
  }
  return result;
}

}  // namespace gnx_test
