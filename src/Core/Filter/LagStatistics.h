#pragma once
/// \file LagStatistics.h
/// White and slow errors of a kind of observation from differences over several time lags.
///
/// Half the mean squared difference of a stationary error over a lag l is white^2 + slow^2 (1 - exp(-l/tau))
/// when a white error and one of first-order Markov type come together (structure function; Gelb 1974,
/// Applied Optimal Estimation, ch. 3.6). Constants, such as ambiguities, drop out.

#include <array>

#include "Config/NoiseSettings.h"

namespace tarvio {

class LagStatistics {
 public:
  static constexpr int kLags = 6;
  /// Lags as shares of the time constant.
  static constexpr std::array<double, kLags> kShare = {1.0 / 24, 1.0 / 8, 1.0 / 4, 1.0 / 2, 1.0, 2.0};

  /// \param halfSquare  half of a squared difference, m^2 at full weight of elevation
  /// \param weight  how many independent differences it is worth
  void m_add(int lag, double halfSquare, double weight);
  /// White and slow part that agree best with the differences and, as far as those are few, with `prior`.
  NoiseLevel m_fit(const NoiseLevel& prior) const;
  double m_weight(int lag) const { return m_count[static_cast<std::size_t>(lag)]; }

  static double s_expected(const NoiseLevel& level, int lag);

 private:
  std::array<double, kLags> m_sum{}, m_count{};
};

/// Sigma that makes independent epochs, `interval` seconds apart, as informative in the long run as those
/// with a slow error are: white^2 + slow^2 (1 + r)/(1 - r), r = exp(-interval/tau).
double s_effectiveSigma(const NoiseLevel& level, double interval_s, double tau_s);
/// Sigma of a single epoch.
double s_instantSigma(const NoiseLevel& level);

}  // namespace tarvio
