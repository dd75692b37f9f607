#pragma once
/// \file biases.h
/// Signal biases of satellites: in the sense of streams (to be added to observations, metres) and as the rows
/// of files (to be subtracted, seconds or cycles).

#include <string>
#include <vector>

#include "gnx/satellite.h"
#include "gnx/time.h"

namespace gnx {

/// A bias of one signal, to be added to the observation.
struct SsrBias {
  std::string signal;  ///< "1C"
  double value = 0.0;  ///< m
  int integerIndicator = 0, wideLaneIndicator = 0;
  int discontinuity = 0;  ///< counter of a phase bias; behind a step the integers are others. -1 = unknown
};

/// Biases of one satellite, metres, to be added to the observation; signals as the source names them.
struct SatBiases {
  SatName sat;
  std::vector<SsrBias> code, phase;
};

/// One row of a bias file as it stands: observable-specific biases are to be SUBTRACTED from
/// observations; a differential row is the bias of `signal` minus that of `second`.
struct BiasRow {
  SatName sat;
  std::string signal;   ///< "C1W", "L1C"
  std::string second;   ///< empty for an observable-specific bias
  GpsTime from, until;  ///< validity; open ends are far away
  double value = 0.0;   ///< s, or cycles
  bool cycles = false;
};

}  // namespace gnx
