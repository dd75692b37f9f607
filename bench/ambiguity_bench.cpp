/// \file ambiguity_bench.cpp
/// The steps of one level of integer resolution by number of ambiguities: covariance from the triangle
/// (beside the full inverse), factorisation, decorrelation, search, failure rate, and the partial
/// resolution of a level that fails (beside the search of all subsets).

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "Common/CMat.h"
#include "Core/Ambfix/Pflambda.h"
#include "Core/Ambfix/SubsetSearch.h"
#include "support/subset_problems.h"

namespace {

using gnx_test::AmbiguityProblem;

/// An epoch after a quarter of an hour; one satellite is off by a fraction that nobody knows of.
AmbiguityProblem s_epoch(int n, unsigned seed) {
  std::mt19937 random(seed);
  return gnx_test::drawProblem(n, 0.4, 0.02, 0.05, 1, random);
}

/// R of `n` parameters, the last `nc` of them ambiguities.
std::vector<double> s_triangle(int n) {
  std::mt19937 random(3);
  std::normal_distribution<double> normal;
  const auto size = static_cast<std::size_t>(n);
  std::vector<double> r(size * size, 0.0);
  for (std::size_t c = 0; c < size; ++c)
    for (std::size_t i = 0; i <= c; ++i) r[c * size + i] = normal(random) + (i == c ? 20.0 : 0.0);
  return r;
}

void CovarianceFromOwnTriangle(benchmark::State& state) {
  const int nc = static_cast<int>(state.range(0)), n = 19 + nc + nc / 2;
  const auto size = static_cast<std::size_t>(nc);
  const std::vector<double> r = s_triangle(n);
  std::vector<double> packed(size * (size + 1) / 2), Q(size * size);
  for (auto _ : state) {
    const int first = n - nc;
    tarvio::CMat::CMat_InverUU(r.data() + static_cast<long>(first) * (n + 1), packed.data(), n, nc, 'W');
    std::fill(Q.begin(), Q.end(), 0.0);
    const double* column = packed.data();
    for (std::size_t k = 0; k < size; column += ++k)
      for (std::size_t j = 0; j <= k; ++j)
        for (std::size_t i = 0; i <= j; ++i) Q[j * size + i] += column[j] * column[i];
    benchmark::DoNotOptimize(Q.data());
  }
}
BENCHMARK(CovarianceFromOwnTriangle)->Arg(40)->Arg(90)->Unit(benchmark::kMicrosecond);

void CovarianceByFullInverse(benchmark::State& state) {
  const int nc = static_cast<int>(state.range(0)), n = 19 + nc + nc / 2;
  const std::vector<double> r = s_triangle(n);
  std::vector<double> normal(r.size());
  for (auto _ : state) {
    tarvio::CMat::CMat_Matmul("TN", n, n, n, 1.0, r.data(), n, r.data(), n, 0.0, normal.data(), n);
    tarvio::CMat::CMat_Inverse(normal.data(), n, n);
    benchmark::DoNotOptimize(normal.data());
  }
}
BENCHMARK(CovarianceByFullInverse)->Arg(40)->Arg(90)->Unit(benchmark::kMicrosecond);

void Factorisation(benchmark::State& state) {
  const AmbiguityProblem p = s_epoch(static_cast<int>(state.range(0)), 1);
  std::vector<double> L(p.Q.size()), D(p.x.size());
  for (auto _ : state) benchmark::DoNotOptimize(tarvio::LD(p.n, p.Q.data(), L.data(), D.data()));
}
BENCHMARK(Factorisation)->Arg(10)->Arg(20)->Arg(44)->Unit(benchmark::kMicrosecond);

void FactorisationAndDecorrelation(benchmark::State& state) {
  const AmbiguityProblem p = s_epoch(static_cast<int>(state.range(0)), 1);
  std::vector<double> L(p.Q.size()), D(p.x.size());
  for (auto _ : state) {
    tarvio::LD(p.n, p.Q.data(), L.data(), D.data());
    benchmark::DoNotOptimize(tarvio::s_decorrelate(p.n, L.data(), D.data(), nullptr));
  }
}
BENCHMARK(FactorisationAndDecorrelation)->Arg(10)->Arg(20)->Arg(44)->Unit(benchmark::kMicrosecond);

void Search(benchmark::State& state) {
  const AmbiguityProblem p = s_epoch(static_cast<int>(state.range(0)), 1);
  std::vector<double> x, second(p.x.size());
  double s[2];
  for (auto _ : state) {
    x = p.x;
    benchmark::DoNotOptimize(tarvio::ambslv_(p.n, p.Q.data(), x.data(), second.data(), s));
  }
}
BENCHMARK(Search)->Arg(10)->Arg(20)->Arg(44)->Unit(benchmark::kMicrosecond);

/// Ten epochs a round: one alone says little about a search.
template <typename Resolve>
void s_failingLevels(benchmark::State& state, Resolve resolve) {
  std::vector<AmbiguityProblem> epochs;
  for (unsigned seed = 1; seed <= 10; ++seed)
    epochs.push_back(s_epoch(static_cast<int>(state.range(0)), seed));
  long searches = 0, levels = 0;
  for (auto _ : state) {
    for (const AmbiguityProblem& p : epochs) searches += resolve(p);
    levels += 10;
  }
  state.counters["searches"] = static_cast<double>(searches) / static_cast<double>(levels);
  state.counters["levels"] = benchmark::Counter(static_cast<double>(levels), benchmark::Counter::kIsRate);
}

constexpr double kLimit = 3.0;  ///< of the ratio

void PartialResolution(benchmark::State& state) {
  s_failingLevels(state, [](const AmbiguityProblem& p) {
    const std::vector<int> sorted = gnx_test::byVariance(p);
    const std::vector<int> worst(sorted.rbegin(), sorted.rend());
    std::vector<double> best = p.x, second(p.x.size());
    double s[2];
    tarvio::ambslv_(p.n, p.Q.data(), best.data(), second.data(), s);
    tarvio::SubsetProblem problem;
    problem.n = p.n;
    problem.Q = p.Q.data();
    problem.x = p.x.data();
    problem.worst = worst.data();
    problem.maxdrop = std::max(8, (p.n + 2) / 3);
    problem.crit = kLimit;
    problem.best = best.data();
    problem.second = second.data();
    tarvio::SubsetSearch search(problem);
    benchmark::DoNotOptimize(search.run());
    return 1 + search.searches();
  });
}
BENCHMARK(PartialResolution)->Arg(10)->Arg(20)->Arg(32)->Arg(44)->Unit(benchmark::kMillisecond);

void AllSubsets(benchmark::State& state) {
  s_failingLevels(
      state, [](const AmbiguityProblem& p) { return gnx_test::plainSubsets(p, kLimit, nullptr).searches; });
}
BENCHMARK(AllSubsets)->Arg(10)->Arg(20)->Arg(26)->Unit(benchmark::kMillisecond);

}  // namespace
