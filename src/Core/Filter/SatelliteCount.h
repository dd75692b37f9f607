#pragma once
/// \file SatelliteCount.h
/// How many satellites are in an epoch's solution.

#include "Records/Station.h"

namespace tarvio {

struct SatelliteCount {
  int perSystem[kSys] = {};
  int total = 0;
};

/// Satellites with a code residual on the first slot.
SatelliteCount s_countSatellites(const Station& sta);

}  // namespace tarvio
