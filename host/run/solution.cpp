// Solutions of the engine as records of a run.

#include "run/solution.h"

#include <cmath>

namespace gnx {

SolutionEpoch epochOf(const Solution& solution, const SolutionEpoch* before) {
  SolutionEpoch e;
  e.time = solution.time;
  for (std::size_t i = 0; i < 3; ++i) e.xyz[i] = std::round(solution.position[i] * 1e4) / 1e4;
  e.pdop = std::round(solution.dop.position * 1e2) / 1e2;
  if (!solution.solved() && before != nullptr) {
    e.xyz = before->xyz;
    e.pdop = before->pdop;
  }
  e.rows = solution.rows;
  e.satellites = solution.satelliteCounts;
  e.sigma0 = std::round(solution.sigma0 * 1e3) / 1e3;
  e.status = static_cast<int>(solution.state);
  e.fixed = solution.fixed;
  e.ratio = std::round(solution.ratio * 1e3) / 1e3;
  const auto& c = solution.covariance;
  e.covariance = {c[0][0], c[1][1], c[2][2], c[0][1], c[1][2], c[0][2]};
  e.milliseconds = solution.milliseconds;
  return e;
}

}  // namespace gnx
