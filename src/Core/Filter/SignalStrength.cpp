// Level of the carrier-to-noise densities of a receiver, and what stands below it.

#include "Core/Filter/SignalStrength.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Core/Filter/FilterConfig.h"

namespace tarvio {

namespace {

constexpr double kRise_dB = 16.0;          ///< from the horizon to the zenith
constexpr double kUsualDeficit_dB = 7.0;   ///< blocks of satellites and antennas differ by so much
constexpr double kDecadeOfDoubt_dB = 3.0;  ///< of deficit for a factor of ten
constexpr double kMostDoubt = 100.0;
constexpr double kMemory_s = 600.0;
constexpr std::size_t kLeastSatellites = 3;

double s_atHorizon(const Ssat_t& sat) { return sat.m_snr[0] - kRise_dB * std::sin(sat.m_elev); }

}  // namespace

void SignalStrength::m_learn(const Station& sta, double t) {
  const Deploy& config = s_config();
  std::vector<double> levels[kSys];
  for (int isat = 0; isat < config.m_nsat; ++isat) {
    const Ssat_t& sat = sta.m_sat[isat];
    const int isys = config.m_sysOfRow(isat);
    if (isys >= 0 && sat.m_obs[0] != 0.0 && sat.m_snr[0] > 0.0 && sat.m_elev > 0.0)
      levels[isys].push_back(s_atHorizon(sat));
  }
  for (int isys = 0; isys < kSys; ++isys) {
    auto& level = levels[isys];
    if (level.size() < kLeastSatellites) continue;
    const auto upper = level.begin() + static_cast<std::ptrdiff_t>(level.size() * 3 / 4);
    std::nth_element(level.begin(), upper, level.end());
    const double share = m_level[isys] == 0.0 ? 1.0 : std::clamp((t - m_last[isys]) / kMemory_s, 0.0, 1.0);
    m_level[isys] += share * (*upper - m_level[isys]);
    m_last[isys] = t;
  }
}

double SignalStrength::m_doubt(const Ssat_t& sat, int isys) const {
  if (isys < 0 || m_level[isys] == 0.0 || !(sat.m_snr[0] > 0.0) || sat.m_elev <= 0.0) return 1.0;
  const double excess = m_level[isys] - s_atHorizon(sat) - kUsualDeficit_dB;
  return excess > 0.0 ? std::min(std::pow(10.0, excess / kDecadeOfDoubt_dB), kMostDoubt) : 1.0;
}

}  // namespace tarvio
