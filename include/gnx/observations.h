#pragma once
/// \file observations.h
/// What a receiver observed.

#include <array>
#include <map>
#include <string>
#include <vector>

#include "gnx/geodesy.h"
#include "gnx/satellite.h"
#include "gnx/time.h"

namespace gnx {

/// One signal of a satellite in an epoch. Absent values are 0.
struct SignalObs {
  std::array<char, 3> code{};  ///< band digit and attribute, "1C", NUL-terminated
  double phase = 0.0;          ///< cycles
  double range = 0.0;          ///< pseudorange, m
  double doppler = 0.0;        ///< Hz
  double snr = 0.0;            ///< dB-Hz
  int lli = 0;                 ///< loss-of-lock indicator of the phase
};

struct SatObs {
  SatName sat;
  std::vector<SignalObs> signals;
};

/// All observations of a moment on the receiver's clock.
struct ObsEpoch {
  GpsTime time;
  std::vector<SatObs> sats;
};

/// What a receiver's file or stream says about itself.
struct ObsHeader {
  double version = 0.0;
  std::string marker, receiver, antenna;           ///< antenna: 20 characters with radome
  Vector3 position{};                              ///< approximate, m
  Vector3 antennaDelta{};                          ///< height, east, north, m
  std::map<char, std::vector<std::string>> types;  ///< "C1C", ... by system letter
  double interval = 0.0;                           ///< s, 0 when not given
};

}  // namespace gnx
