/// \file householder_bench.cpp
/// The measurement update of the filter: a triangle of n parameters, m new observation rows under it.
/// The plain sweep without skipping, panels and shared loads stands beside it; so does the update by
/// structure, on rows of satellites in view with slant ionosphere and ambiguities.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

#include "Common/CMat.h"
#include "Core/Filter/MeasurementSweep.h"

namespace {

using tarvio::CMat;

std::vector<double> s_epoch(int n, int rows, int ld) {
  std::mt19937_64 engine(1);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  std::vector<double> a(static_cast<std::size_t>(ld) * static_cast<std::size_t>(n + 1), 0.0);
  for (int c = 0; c <= n; ++c) {
    double* column = a.data() + static_cast<long>(c) * ld;
    for (int r = 0; r < n && r <= c; ++r) column[r] = uniform(engine) + (r == c ? 3.0 : 0.0);
    for (int r = n; r < n + rows; ++r) {
      if (c < 20 || c == n || c % rows == r - n) column[r] = uniform(engine);
    }
  }
  return a;
}

template <auto Sweep>
void s_sweep(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0)), rows = static_cast<int>(state.range(1));
  const int ld = n + rows + 2;
  const std::vector<double> epoch = s_epoch(n, rows, ld);
  std::vector<double> work = epoch;
  for (auto _ : state) {
    work = epoch;
    Sweep(work.data(), ld, n, n + rows, n + 1, true);
    benchmark::DoNotOptimize(work.data());
  }
}

/// A triangle of np ordinary parameters, ionosphere and ambiguities, and the rows of an epoch.
struct Sky {
  Sky(int satellites, int frequencies) : nobs(2 * satellites * frequencies) {
    n = np + satellites * (1 + frequencies);
    ld = n + nobs + 2;
    a = s_epoch(n, 1, ld);
    std::mt19937_64 engine(2);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    const auto at = [&](int row, int column) -> double& {
      return a[static_cast<std::size_t>(column * ld + n + row)];
    };
    for (int c = 0; c <= n; ++c) at(0, c) = 0.0;
    int row = 0;
    for (int s = 0; s < satellites; ++s)
      for (int k = 0; k < 2 * frequencies; ++k, ++row) {
        for (int p = 0; p < np; ++p) at(row, p) = uniform(engine);
        at(row, np + s) = uniform(engine);
        if (k < frequencies) at(row, np + satellites + frequencies * s + k) = uniform(engine);
        at(row, n) = uniform(engine);
      }
  }

  const int np = 10, nobs;
  int n = 0, ld = 0;
  std::vector<double> a;
};

void s_update(benchmark::State& state, bool byStructure) {
  const Sky sky(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  std::vector<double> work, misfit(static_cast<std::size_t>(sky.nobs));
  tarvio::MeasurementSweep sweep;
  for (auto _ : state) {
    work = sky.a;
    if (byStructure) sweep.m_run(work.data(), sky.ld, sky.np, sky.n, sky.nobs, misfit.data());
    else CMat::CMat_Householder(work.data(), sky.ld, sky.n, sky.n + sky.nobs, sky.n + 1, true);
    benchmark::DoNotOptimize(work.data());
  }
}
void s_updatePlain(benchmark::State& state) { s_update(state, false); }
void s_updateByStructure(benchmark::State& state) { s_update(state, true); }

void s_solve(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const std::vector<double> r = s_epoch(n, 1, n + 1);
  std::vector<double> b(static_cast<std::size_t>(n), 1.0);
  for (auto _ : state) {
    std::fill(b.begin(), b.end(), 1.0);
    CMat::CMat_SolveLinear(n, r.data(), n + 1, b.data(), 0);
    benchmark::DoNotOptimize(b.data());
  }
}

// 45 satellites on two frequencies, all rows and the rows of one fixing level; 58 on three.
BENCHMARK(s_sweep<CMat::CMat_Householder>)->Args({154, 180})->Args({154, 40})->Args({251, 348});
BENCHMARK(s_sweep<CMat::CMat_Householder_old>)->Args({154, 180})->Args({251, 348});
BENCHMARK(s_updatePlain)
    ->Args({15, 2})
    ->Args({20, 2})
    ->Args({25, 2})
    ->Args({15, 3})
    ->Args({45, 2})
    ->Args({40, 3})
    ->Args({45, 3});
BENCHMARK(s_updateByStructure)
    ->Args({15, 2})
    ->Args({20, 2})
    ->Args({25, 2})
    ->Args({15, 3})
    ->Args({45, 2})
    ->Args({40, 3})
    ->Args({45, 3});
BENCHMARK(s_solve)->Arg(154)->Arg(251);

}  // namespace
