// White and slow errors told apart by differences over several lags.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "Core/Filter/LagStatistics.h"

namespace tarvio {
namespace {

constexpr double kTau = 120.0;

std::vector<double> series(const NoiseLevel& level, double interval, int count, std::mt19937& random) {
  std::normal_distribution<double> normal;
  const double r = std::exp(-interval / kTau);
  std::vector<double> values;
  double slow = level.slow * normal(random);
  for (int i = 0; i < count; ++i, slow = r * slow + level.slow * std::sqrt(1.0 - r * r) * normal(random))
    values.push_back(slow + level.white * normal(random));
  return values;
}

LagStatistics learn(const NoiseLevel& truth, double interval, int count, int arcs) {
  std::mt19937 random(7);
  LagStatistics statistics;
  for (int arc = 0; arc < arcs; ++arc) {
    const std::vector<double> x = series(truth, interval, count, random);
    for (int lag = 0; lag < LagStatistics::kLags; ++lag) {
      const double span = kTau * LagStatistics::kShare[static_cast<std::size_t>(lag)];
      const auto step = static_cast<std::size_t>(std::lround(span / interval));
      if (std::fabs(static_cast<double>(step) * interval - span) > 0.01 * span) continue;
      for (std::size_t i = step; i < x.size(); ++i)
        statistics.m_add(lag, 0.5 * (x[i] - x[i - step]) * (x[i] - x[i - step]), interval / span);
    }
  }
  return statistics;
}

TEST(LagStatistics, TellsWhiteFromSlow) {
  for (const double interval : {5.0, 30.0}) {
    for (const NoiseLevel truth : {NoiseLevel{0.6, 0.4}, NoiseLevel{0.03, 0.5}, NoiseLevel{0.5, 0.0}}) {
      const NoiseLevel found =
          learn(truth, interval, static_cast<int>(3600 / interval), 20).m_fit({0.3, 0.25});
      EXPECT_NEAR(found.white, truth.white, 0.1) << interval << ' ' << truth.white << ' ' << truth.slow;
      EXPECT_NEAR(found.slow, truth.slow, truth.slow > 0.0 ? 0.15 : 0.2)
          << interval << ' ' << truth.white << ' ' << truth.slow;
    }
  }
}

TEST(LagStatistics, BeginsWithThePriorAndIsNotCarriedAwayByASlip) {
  const NoiseLevel prior = {0.3, 0.25};
  EXPECT_NEAR(LagStatistics().m_fit(prior).white, 0.3, 1e-6);
  EXPECT_NEAR(LagStatistics().m_fit(prior).slow, 0.25, 1e-6);
  LagStatistics statistics = learn({0.3, 0.2}, 30.0, 120, 20);
  statistics.m_add(2, 1e6, 1.0);
  EXPECT_LT(s_instantSigma(statistics.m_fit(prior)), 0.45);
}

/// The short lags come first. A receiver whose white error is larger than expected has told nothing yet of
/// slow ones: they must not be taken for absent.
TEST(LagStatistics, AWhiteErrorBeyondThePriorLeavesTheSlowOne) {
  LagStatistics statistics;
  for (int i = 0; i < 40; ++i) statistics.m_add(0, 0.6 * 0.6, 1.0);
  const NoiseLevel found = statistics.m_fit({0.3, 0.25});
  EXPECT_GT(found.white, 0.45);
  EXPECT_GT(found.slow, 0.24);
}

/// The mean over an hour scatters as the effective sigma says, however short the interval is.
TEST(LagStatistics, EffectiveSigmaIsWhatAveragesShow) {
  std::mt19937 random(11);
  for (const double interval : {1.0, 30.0}) {
    const NoiseLevel level = {0.3, 0.2};
    const int count = static_cast<int>(7200 / interval);
    double squares = 0.0;
    constexpr int kTrials = 300;
    for (int trial = 0; trial < kTrials; ++trial) {
      double sum = 0.0;
      for (const double value : series(level, interval, count, random)) sum += value;
      squares += sum * sum / count / count;
    }
    const double expected = s_effectiveSigma(level, interval, kTau) / std::sqrt(count);
    EXPECT_NEAR(std::sqrt(squares / kTrials) / expected, 1.0, 0.12) << interval;
  }
}

}  // namespace
}  // namespace tarvio
