#pragma once
/// \file correction_source.h
/// Corrections in the form in which a host hands them to the engine.

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "formats/records.h"

namespace gnx {

/// Orbit and clock correction of one satellite, both valid at the batch's tag, both referring to
/// the broadcast message of issue `iod`. Signs of RTCM SSR (records.h).
struct OrbitClockCorrection {
  SatName sat;
  int iod = 0;                    ///< IODE (G, J), IODnav (E); BDS: round(fmod(toe_BDT,86400)/1800)+1
  std::array<double, 3> deph{};   ///< radial, along-track, cross-track at the tag, m
  std::array<double, 3> ddeph{};  ///< m/s
  std::array<double, 3> dclk{};   ///< m, m/s, m/s^2, about the tag
};

/// Biases of one satellite, metres, to be added to the observation; signals as the source names them.
struct SatBiases {
  SatName sat;
  std::vector<SsrBias> code, phase;
};

/// What is handed over at one moment. The engine uses the one batch nearest in time and nothing
/// else, so a batch holds every satellite that has both an orbit and a clock.
struct CorrectionBatch {
  GpsTime delivery;  ///< when the host has it
  GpsTime tag;       ///< reference time, common to orbits and clocks
  std::vector<OrbitClockCorrection> orbitClock;
  bool newBiases = false;  ///< `biases` is a full new set
  GpsTime biasTag;
  std::vector<SatBiases> biases;
};

/// A stream of batches in order of delivery.
class CorrectionSource {
 public:
  virtual ~CorrectionSource() = default;
  /// False at the end.
  virtual bool next(CorrectionBatch& batch) = 0;
};

}  // namespace gnx
