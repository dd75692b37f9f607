// Fractions of ambiguities: means on a cycle and the confidence in a rounding.

#include <algorithm>
#include <cmath>
#include <vector>

#include "Common/ComStat.h"
#include "Core/Qc/Qc.h"

namespace tarvio {

namespace {

/// Difference to a proxy brought to the nearest half cycle on a grid of 1/wrap.
double s_wrapped(double value, double proxy, double wrap) {
  const double d = (value - proxy) * wrap;
  return (d - std::floor(d + 0.5)) / wrap;
}

/// Direction of the weighted mean on the circle.
double s_circularMean(double wrap, const double* values, const int* flags, const double* weights, int n) {
  double sine = 0.0, cosine = 0.0;
  for (int i = 0; i < n; ++i) {
    if (flags[i] != kQcUsed) continue;
    const double angle = 2.0 * kPi * wrap * values[i];
    sine += weights[i] * std::sin(angle);
    cosine += weights[i] * std::cos(angle);
  }
  return std::atan2(sine, cosine) / (2.0 * kPi * wrap);
}

/// The element to which the others are nearest in the weighted first norm: a proxy that a minority of
/// wrong fractions cannot move.
double s_bestProxy(double wrap, const double* values, const int* flags, const double* weights, int n) {
  double best = 1.0e9, proxy = 0.0;
  for (int k = 0; k < n; ++k) {
    if (flags[k] != kQcUsed) continue;
    double sum = 0.0;
    for (int i = 0; i < n; ++i) {
      if (flags[i] == kQcUsed) sum += weights[i] * std::fabs(s_wrapped(values[i], values[k], wrap));
    }
    if (sum < best) {
      best = sum;
      proxy = values[k];
    }
  }
  return proxy;
}

struct FractionResult {
  int m_excluded = 0;
  double m_mean = 0.0, m_sigmean = kNone, m_sigma = kNone;
};

/// Trims fractions about a proxy until the worst no longer changes the variance.
FractionResult s_fraction(double wrap, double proxy, const double* values, int* flags, const double* weights,
                          int n) {
  constexpr double kAccepted = 0.15, kRejected = 0.3;  // cycles
  std::vector<double> wrapped(static_cast<std::size_t>(std::max(n, 0)));
  for (int i = 0; i < n; ++i) wrapped[static_cast<std::size_t>(i)] = s_wrapped(values[i], proxy, wrap);

  FractionResult result;
  int used = Qc::Qc_getMean(wrapped.data(), flags, weights, n, &result.m_excluded, &result.m_mean,
                            &result.m_sigmean, &result.m_sigma);
  while (used > 2 && !(kAccepted > 3.0 * result.m_sigma)) {
    int worst = -1;
    double worstScore = 0.0;
    for (int i = 0; i < n; ++i) {
      const double score =
          std::fabs(wrapped[static_cast<std::size_t>(i)] - result.m_mean) * std::sqrt(weights[i]);
      if (flags[i] != kQcUsed || !(score > worstScore)) continue;
      worstScore = score;
      worst = i;
    }
    if (worst < 0) break;
    flags[worst] = kQcTrimmed;
    FractionResult rest;
    const int left = Qc::Qc_getMean(wrapped.data(), flags, weights, n, &rest.m_excluded, &rest.m_mean,
                                    &rest.m_sigmean, &rest.m_sigma);
    if (chitst(0, left - 1, result.m_sigma, rest.m_sigma, 0.99)) {
      flags[worst] = kQcUsed;  // the variance is that of the whole: nobody is an outlier
      break;
    }
    result = rest;
    used = left;
  }
  if (used == 0 || result.m_sigma > kRejected) {
    std::fill(flags, flags + std::max(n, 0), static_cast<int>(kQcTrimmed));
    return FractionResult{std::max(n, 0), 0.0, kNone, kNone};
  }
  result.m_mean = s_wrapped(result.m_mean + proxy, 0.0, wrap);
  return result;
}

void s_hand(const FractionResult& result, int* out, double* mean, double* sigmean, double* sigma) {
  *out = result.m_excluded;
  *mean = result.m_mean;
  *sigmean = result.m_sigmean;
  *sigma = result.m_sigma;
}

}  // namespace

void Qc::Qc_getFcbMean(double wrap, const double* values, int* flags, const double* weights, int n, int* out,
                       double* mean, double* sigmean, double* sigma) {
  const double proxy = s_circularMean(wrap, values, flags, weights, n);
  s_hand(s_fraction(wrap, proxy, values, flags, weights, n), out, mean, sigmean, sigma);
}

void Qc::Qc_proxEstFrc(double wrap, const double* values, int* flags, const double* weights, int n, int* out,
                       double* mean, double* sigmean, double* sigma) {
  const double proxy = s_bestProxy(wrap, values, flags, weights, n);
  s_hand(s_fraction(wrap, proxy, values, flags, weights, n), out, mean, sigmean, sigma);
}

void Qc::Qc_prob_resol(int wrap, double value, double sigma, double devLimit, double sigLimit,
                       double* decision) {
  *decision = 0.0;
  if (wrap < 1) return;
  double limit = devLimit < 0.001 ? 0.15 : devLimit;
  const double widest = sigLimit < 0.001 ? 0.15 : sigLimit;
  if (wrap == 2) limit /= 2.0;
  const double nearest = std::round(wrap * value) / wrap;
  const double d = std::fabs(nearest - value);
  if (!(d <= limit) || !(sigma >= 0.0 && sigma <= widest)) return;

  const auto tail = [sigma](double x) {
    const double argument = x / (sigma * std::sqrt(2.0));
    return argument > 15.0 ? 0.0 : Qc_erfc(argument);
  };
  double sum = 0.0;
  for (int k = 1; k <= 50 && sigma > 0.0; ++k) {
    const double term = tail(k - d) - tail(k + d);
    sum += term;
    if (term < 1.0e-9) break;
  }
  const double near = 1.0 - d / limit;
  *decision = near * near * 3.0 * (widest - sigma) / std::max(sum, 1.0e-9);
}

}  // namespace tarvio
