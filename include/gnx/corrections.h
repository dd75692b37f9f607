#pragma once
/// \file corrections.h
/// Corrections of broadcast orbits and clocks: as a stream sends them, block by block, and as the engine
/// wants them, complete sets of one common time.

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gnx/biases.h"
#include "gnx/ephemeris.h"
#include "gnx/satellite.h"
#include "gnx/time.h"

namespace gnx {

// ---- blocks of a stream ----

/// One satellite of a correction block. Signs of RTCM SSR: position = broadcast -
/// (radial, along, cross), clock = broadcast + c0; biases are added to the observation.
struct SsrOrbit {
  SatName sat;
  int iod = 0;                    ///< issue of data of the broadcast message, issueOfData
  std::array<double, 3> delta{};  ///< radial, along-track, cross-track, m
  std::array<double, 3> rate{};   ///< m/s
};
struct SsrClock {
  SatName sat;
  int iod = 0;
  std::array<double, 3> c{};  ///< m, m/s, m/s^2
};
struct SsrSatBias {
  SatName sat;
  double yaw = 0.0, yawRate = 0.0;  ///< degrees, degrees/s; phase biases only
  std::vector<SsrBias> biases;
};

enum class SsrKind { orbit, clock, codeBias, phaseBias };

/// One block of a correction stream.
struct SsrBlock {
  SsrKind kind = SsrKind::orbit;
  GpsTime time;
  int interval = 0;  ///< update interval, s
  std::string source;
  std::vector<SsrOrbit> orbits;
  std::vector<SsrClock> clocks;
  std::vector<SsrSatBias> biases;
  long line = 0;
};

// ---- sets for the engine ----

/// Orbit and clock correction of one satellite, both valid at the batch's tag, both referring to
/// the broadcast message of issue `iod`. Signs of RTCM SSR.
struct OrbitClockCorrection {
  SatName sat;
  int iod = 0;                    ///< issueOfData
  std::array<double, 3> deph{};   ///< radial, along-track, cross-track at the tag, m
  std::array<double, 3> ddeph{};  ///< m/s
  std::array<double, 3> dclk{};   ///< m, m/s, m/s^2, about the tag
};

/// What is handed over at one moment. The engine uses the one batch nearest in time and nothing
/// else, so a batch holds every satellite that has both an orbit and a clock.
struct CorrectionBatch {
  GpsTime delivery;  ///< when the host has it
  GpsTime tag;       ///< reference time, common to orbits and clocks
  std::vector<OrbitClockCorrection> orbitClock;
  bool newBiases = false;  ///< `biases` is a full new set
  GpsTime biasTag;         ///< later than that of any set before
  std::vector<SatBiases> biases;
};

/// A stream of batches in order of delivery.
class CorrectionSource {
 public:
  virtual ~CorrectionSource() = default;
  /// False at the end.
  virtual bool next(CorrectionBatch& batch) = 0;
};

// ---- arithmetic ----

/// Position, velocity and clock as the engine corrects them, `age` seconds (never negative) from the
/// tag: the orbit as at the tag, the clock polynomial in the absolute age.
SatState applyCorrection(const SatState& broadcast, const OrbitClockCorrection& correction, double age);

/// An orbit and a clock of a stream, each with the time to which its rates refer, carried to a common time:
/// the engine applies no rates of orbits and measures the age of clocks from that one time.
OrbitClockCorrection carriedTo(const GpsTime& tag, const SsrOrbit& orbit, const GpsTime& orbitReference,
                               const SsrClock& clock, const GpsTime& clockReference);

/// Makes a correction of one broadcast message at `tag` that of another one: the corrected orbit and clock
/// stay where they are. For messages that the engine refused, does not have yet or has no more.
void moveToMessage(OrbitClockCorrection& correction, const BroadcastEph& from, const BroadcastEph& to,
                   const GpsTime& tag);

}  // namespace gnx
