/// \file householder_bench.cpp
/// The measurement update of the filter: a triangle of n parameters, m new observation rows under it.
/// The plain sweep without skipping, panels and shared loads stands beside it.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

#include "Common/CMat.h"

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
BENCHMARK(s_solve)->Arg(154)->Arg(251);

}  // namespace
