/// Search of one level's integers, their acceptance, and the way out by leaving some of them open.

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "Core/Ambfix/RatioScreen.h"
#include "Core/Ambfix/SrifAmbfix_raw.h"
#include "Core/Ambfix/SubsetSearch.h"
#include "Core/Filter/FilterConfig.h"

namespace tarvio {

namespace {

constexpr double kTableRate = 0.001;  ///< failure rate below which every ratio above 1 passes
constexpr int kAlwaysDroppable = 8;

/// Threshold of the full set.
double s_threshold(double crit, const RatioTable& table, std::vector<double> scaled, int n, double sigma) {
  if (!table.u) return crit;
  double mu = 0.0, rate = 0.0;
  s_pf_lookup_u(table, scaled.data(), n, sigma, kTableRate, -1, &mu, &rate);
  return s_ratioThreshold(mu);
}

/// Whether the full set fails its ratio test, as far as that shows without a search of its best vectors; two
/// vectors then take their place. It counts as searched; its ratio is not told: that of the last subsets is.
bool s_surelyFails(const std::vector<double>& Q, const double* x, int n, double threshold,
                   std::vector<double>& best, std::vector<double>& second) {
  thread_local RatioScreen screen;
  if (n < 2 || threshold < RatioScreen::kWorthwhile || !screen.m_load(n, Q.data(), x)) return false;
  if (screen.m_judge(threshold, std::numeric_limits<double>::infinity()) != RatioScreen::Verdict::fails)
    return false;
  screen.m_improve(RatioScreen::kFullSetVisits);
  return screen.m_vectors(best.data(), second.data());
}

/// \return whether any of the integers is one: a host's search may hand back anything, and what is no count
/// of cycles is no fix.
bool s_flag(const std::vector<int>& rows, const std::vector<double>& integers, const int* idx, int* ifix,
            int* flags) {
  constexpr double kMost = std::numeric_limits<int>::max();
  bool any = false;
  for (std::size_t k = 0; k < rows.size(); ++k) {
    if (!(std::fabs(integers[k]) < kMost)) continue;
    const int isat = idx[rows[k]];
    ifix[isat] = static_cast<int>(std::round(integers[k]));
    flags[isat] = 1;
    any = true;
  }
  return any;
}

}  // namespace

int SrifAmbfix_raw::s_raw_ddsrch_lambda(double crit, const double* Q, int ldq, double sigma, const double* x,
                                        const int* idx, const int*, int n, int* ifix, int* flags,
                                        double* ratio) {
  std::fill_n(flags, kMaxSat, 0);
  if (n < 1) return 0;
  const auto size = static_cast<std::size_t>(n);
  std::vector<double> compact(size * size), best(x, x + n), second(size);
  std::vector<int> worst(size);
  std::iota(worst.begin(), worst.end(), 0);
  for (std::size_t j = 0; j < size; ++j)
    std::copy_n(Q + j * static_cast<std::size_t>(ldq), n, compact.data() + j * size);

  double ignored = 0.0;
  double& outcome = ratio ? *ratio : ignored;
  outcome = 0.0;
  const RatioTable& table = s_config().m_ratioTable;
  const double threshold = s_threshold(crit, table, compact, n, sigma);
  if (!s_surelyFails(compact, x, n, threshold, best, second)) {
    double s[2] = {};
    if (ambslv_(n, compact.data(), best.data(), second.data(), s) != 0) return 0;
    outcome = s[1] / s[0];
    if (outcome > threshold) return s_flag(worst, best, idx, ifix, flags) ? 1 : 0;
    if (n < 2) return 0;
  }

  std::stable_sort(worst.begin(), worst.end(), [&](int a, int b) {
    return compact[static_cast<std::size_t>(a) * (size + 1)] <
           compact[static_cast<std::size_t>(b) * (size + 1)];
  });
  std::reverse(worst.begin(), worst.end());

  SubsetProblem problem;
  problem.n = n;
  problem.Q = compact.data();
  problem.x = x;
  problem.worst = worst.data();
  problem.maxdrop = std::min(n, std::max(kAlwaysDroppable, (n + 2) / 3));
  problem.crit = crit;
  problem.sigma = sigma;
  problem.table = table.u ? &table : nullptr;
  problem.best = best.data();
  problem.second = second.data();
  const SubsetResult result = SubsetSearch(problem).run();
  outcome = result.ratio;
  return result.accepted && s_flag(result.rows, result.integers, idx, ifix, flags) ? 1 : 0;
}

}  // namespace tarvio
