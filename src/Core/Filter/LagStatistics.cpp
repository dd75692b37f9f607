// Structure function of an error and the two parts that it is made of.

#include "Core/Filter/LagStatistics.h"

#include <algorithm>
#include <cmath>

namespace tarvio {

namespace {

constexpr double kPriorWeight = 12.0;   ///< differences that the prior is worth
constexpr double kLongestMemory = 2e3;  ///< differences; older ones fade
constexpr double kWildest = 25.0;       ///< times the expectation: a slip or an outlier counts as that much

/// Share of the slow error that differs over a lag.
const std::array<double, LagStatistics::kLags> kGrown = [] {
  std::array<double, LagStatistics::kLags> grown{};
  for (std::size_t lag = 0; lag < grown.size(); ++lag)
    grown[lag] = 1.0 - std::exp(-LagStatistics::kShare[lag]);
  return grown;
}();

}  // namespace

double LagStatistics::s_expected(const NoiseLevel& level, int lag) {
  return level.white * level.white + level.slow * level.slow * kGrown[static_cast<std::size_t>(lag)];
}

void LagStatistics::m_add(int lag, double halfSquare, double weight) {
  const auto l = static_cast<std::size_t>(lag);
  if (m_count[l] > kPriorWeight) halfSquare = std::min(halfSquare, kWildest * m_sum[l] / m_count[l]);
  m_sum[l] += weight * halfSquare;
  m_count[l] += weight;
  if (m_count[l] <= kLongestMemory) return;
  m_sum[l] *= kLongestMemory / m_count[l];
  m_count[l] = kLongestMemory;
}

NoiseLevel LagStatistics::m_fit(const NoiseLevel& prior) const {
  // Least squares for a = white^2, b = slow^2, neither below zero; a mean of n squares has the relative
  // variance 2/n. The prior speaks of each part by itself: were it given for the lags instead, a white error
  // larger than expected, seen at the short lags first, would take the place of the slow one at the long lags
  // that nothing is known of yet.
  const double a0 = prior.white * prior.white, b0 = prior.slow * prior.slow, size = a0 + b0;
  if (!(size > 0.0)) return prior;
  const double trust = kPriorWeight / (size * size);
  double n11 = trust, n12 = 0.0, n22 = trust, r1 = trust * a0, r2 = trust * b0;
  for (int lag = 0; lag < kLags; ++lag) {
    const auto l = static_cast<std::size_t>(lag);
    if (!(m_count[l] > 0.0)) continue;
    const double g = kGrown[l], value = m_sum[l] / m_count[l];
    const double usual = (kPriorWeight * s_expected(prior, lag) + m_sum[l]) / (kPriorWeight + m_count[l]);
    const double w = m_count[l] / (usual * usual);
    n11 += w;
    n12 += w * g;
    n22 += w * g * g;
    r1 += w * value;
    r2 += w * g * value;
  }
  const double det = n11 * n22 - n12 * n12;
  double a = (r1 * n22 - r2 * n12) / det, b = (r2 * n11 - r1 * n12) / det;
  if (a < 0.0) a = 0.0, b = r2 / n22;
  if (b < 0.0) a = r1 / n11, b = 0.0;
  return {std::sqrt(std::max(a, 0.0)), std::sqrt(std::max(b, 0.0))};
}

double s_effectiveSigma(const NoiseLevel& level, double interval_s, double tau_s) {
  const double r = std::exp(-std::max(interval_s, 1e-3) / tau_s);
  return std::sqrt(level.white * level.white + level.slow * level.slow * (1.0 + r) / (1.0 - r));
}

double s_instantSigma(const NoiseLevel& level) { return std::hypot(level.white, level.slow); }

}  // namespace tarvio
