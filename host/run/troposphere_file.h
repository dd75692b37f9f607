#pragma once
/// \file troposphere_file.h
/// Zenith delays of a run as SINEX TRO 2.00, the format in which analysis centres exchange them.

#include <filesystem>
#include <string>
#include <vector>

#include "gnx/solution.h"
#include "run/run_plan.h"

namespace gnx {

/// Total zenith delay and its sigma.
struct ZenithDelay {
  GpsTime time;
  double total_m = 0.0, sigma_m = 0.0;
};

/// Takes the delays of a run at the pace of the file.
class ZenithDelays {
 public:
  void take(const Solution& solution);
  const std::vector<ZenithDelay>& all() const { return m_delays; }
  /// Of the station, the last one solved, m.
  const Vector3& position() const { return m_position; }

 private:
  std::vector<ZenithDelay> m_delays;
  Vector3 m_position{};
};

/// What the file says of its station.
struct TroposphereSite {
  std::string name;               ///< marker, nine characters at most
  std::string antenna, receiver;  ///< types
  std::string frame;
  double cutoff_deg = 0.0;
};

/// "" without a delay.
std::string troposphereText(const TroposphereSite& site, const ZenithDelays& delays, const GpsTime& written);

}  // namespace gnx
