#pragma once
/// \file solution.h
/// Solutions of a run as records.

#include <array>
#include <vector>

#include "gnx/records.h"
#include "gnx/solution.h"

namespace gnx {

/// Status of an epoch whose ambiguities are fixed.
inline constexpr int kFixedStatus = 5;

/// One epoch of a run.
struct SolutionEpoch {
  GpsTime time;
  std::array<double, 3> xyz{};      ///< antenna reference position of the station (marker), m
  int rows = 0;                     ///< total as printed: twice the satellites
  std::array<int, 6> satellites{};  ///< G, R, E, C, B, J
  double pdop = 0.0;
  double sigma0 = 0.0;
  int status = 0;  ///< 0 nothing, 1 code, 2 phase float, 5 fixed (03, 04 levels)
  int fixed = 0;
  double ratio = 0.0;
  /// Covariance of the position, m^2: xx, yy, zz, xy, yz, zx; zeros when not known.
  std::array<double, 6> covariance{};
  double milliseconds = 0.0;  ///< time of the engine's call; 0 when not measured
};

/// The solution of an epoch as a record of a run. Of an epoch without one the position is that of the epoch
/// before. Coordinates have the four decimals of the engine's solution lines.
/// \param before  null for the first
SolutionEpoch epochOf(const Solution& solution, const SolutionEpoch* before);

}  // namespace gnx
