// Means of code residuals by satellite, and their size as a whole.

#include "Core/Filter/CodeResiduals.h"

#include <algorithm>
#include <cmath>

namespace tarvio {

namespace {

constexpr double kMemory_s = 60.0;        ///< of a mean
constexpr double kMemoryOfAll_s = 120.0;  ///< of the size of all
constexpr double kForgotten_s = 300.0;    ///< a satellite that was away for longer begins anew
constexpr double kUsual = 3.0;            ///< sigmas of a mean that its code's errors explain
constexpr double kMedianSquare = 0.455;   ///< median of the squares of a normal variable
constexpr std::size_t kLeastOfEpoch = 8;  ///< codes that tell something about all

}  // namespace

void CodeResiduals::m_add(int isat, int slot, long arc, double t, double residual, const NoiseLevel& level) {
  if (slot < 0 || slot >= kFreq) return;
  Mean& mean = m_mean[isat][slot];
  if (mean.arc != arc || t <= mean.t || t - mean.t > kForgotten_s) mean = {arc, t, t, 0.0, 0.0, 0};
  const double share = std::max(std::min(1.0, (t - mean.t) / kMemory_s), 1.0 / (mean.count + 1));
  mean.value += share * (residual - mean.value);
  ++mean.count;
  mean.t = t;
  const double step = mean.count > 1 ? (t - mean.since) / (mean.count - 1) : kMemory_s;
  const double independent =
      std::clamp(kMemory_s / std::max(step, 1e-3), 1.0, static_cast<double>(mean.count));
  mean.sigma = std::sqrt(level.white * level.white / independent + level.slow * level.slow);
  if (const double instant = std::hypot(level.white, level.slow); instant > 0.0)
    m_epoch.push_back(std::fabs(residual) / instant);
}

void CodeResiduals::m_endEpoch(double t) {
  if (m_epoch.size() >= kLeastOfEpoch) {
    const auto middle = m_epoch.begin() + static_cast<std::ptrdiff_t>(m_epoch.size() / 2);
    std::nth_element(m_epoch.begin(), middle, m_epoch.end());
    const double share = std::clamp((t - m_last) / kMemoryOfAll_s, 0.0, 1.0);
    m_meanSquare += share * (*middle * *middle / kMedianSquare - m_meanSquare);
    m_last = t;
  }
  m_epoch.clear();
}

double CodeResiduals::m_doubt(int isat, int slot, long arc, double t) const {
  if (slot < 0 || slot >= kFreq) return 1.0;
  const Mean& mean = m_mean[isat][slot];
  if (mean.arc != arc || mean.count < 1 || t - mean.t > kForgotten_s || !(mean.sigma > 0.0)) return 1.0;
  const double apart = std::fabs(mean.value) / mean.sigma / kUsual;
  return apart > 1.0 ? apart * apart : 1.0;
}

double CodeResiduals::m_scale() const { return std::sqrt(std::max(1.0, m_meanSquare)); }

}  // namespace tarvio
