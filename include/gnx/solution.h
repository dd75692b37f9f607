#pragma once
/// \file solution.h
/// All that an epoch gave: position and covariance, state and why, clocks, atmosphere, satellites, integers,
/// ages, account. Earth-fixed metres in the frame of the orbits, GPS time.

#include <array>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "gnx/geodesy.h"
#include "gnx/satellite.h"
#include "gnx/time.h"

namespace gnx {

/// What a position rests on, in ascending order.
enum class SolutionState {
  none = 0,           ///< no position of this epoch
  codes = 1,          ///< pseudoranges alone
  floating = 2,       ///< phases with real-valued ambiguities
  extraWideLane = 3,  ///< extra-wide-lane integers
  wideLane = 4,       ///< wide-lane integers
  fixed = 5,          ///< integers of the last level determine the position
};
/// "none", "codes", "float", "extra-wide-lane", "wide-lane", "fixed"
const char* nameOf(SolutionState state);
std::ostream& operator<<(std::ostream& out, SolutionState state);

/// Why an epoch has no higher state.
enum class SolutionReason {
  none,           ///< it is fixed
  noObservation,  ///< nothing came in that can be used
  noProduct,      ///< no satellite has both orbit and clock
  noPosition,     ///< the codes gave no receiver position
  fewSatellites,  ///< no system has enough satellites with residuals
  arrayFull,      ///< the filter has no room
  noRow,          ///< the combination makes no row of what there is
  codesOnly,      ///< the configuration uses no phases
  integersOff,    ///< no integers are asked for, or the corrections cannot carry them
  oldBiases,      ///< phase biases have ceased to arrive
  noCandidate,    ///< no ambiguity may enter the last level: young arcs, low satellites, missing biases
  uncertain,      ///< the integers of the last level are not certain enough
  undetermined,   ///< the integers that are certain do not determine the position
};

/// A level of the integer resolution.
enum class IntegerLevel {
  extraWideLane,  ///< two close frequencies, wavelengths of metres
  wideLane,       ///< wavelengths of about 0.8 m
  last,           ///< narrow-lane or first frequency, 0.1 to 0.2 m
};

/// What became of a code or phase value and how it fits.
struct ValueFate {
  std::string fate;              ///< "used", "lowelev", ...: words of describeReason; "absent"
  double residual_m = 0.0;       ///< observed minus computed, with the integers of the epoch
  double floatResidual_m = 0.0;  ///< the same without them
  double sigma_m = 0.0;          ///< with which the filter took it; 0: no row of its own
};

/// An ambiguity of a frequency.
struct AmbiguitySolution {
  double wavelength_m = 0.0;  ///< unit of the value
  double value = 0.0;         ///< of the solution
  double arc_s = 0.0;         ///< since its arc began
  int arcStart = 0;           ///< 1 new, 2 gap, 3 or 4 slip, 5 restart, 6 or 7 outlier treatment
};

/// A frequency of a satellite.
struct BandSolution {
  std::string band;    ///< the engine's name of the frequency: "L1"
  std::string signal;  ///< observed: "1C"
  double snr_dBHz = 0.0;
  ValueFate code, phase;
  std::optional<AmbiguitySolution> ambiguity;
};

/// Slant delay of the first band.
struct IonosphereSolution {
  double delay_m = 0.0, sigma_m = 0.0;
};

/// A satellite of which at least one value came in.
struct SatelliteSolution {
  SatName sat;
  double azimuth_deg = 0.0, elevation_deg = 0.0;
  std::vector<BandSolution> bands;  ///< in the order of the configuration
  std::optional<IonosphereSolution> ionosphere;
};

/// An ambiguity between two satellites that took part in a level.
struct IntegerSolution {
  IntegerLevel level = IntegerLevel::last;
  SatName satellite, reference;
  std::vector<std::string> bands;  ///< two for the difference of two bands; none when combined
  double value = 0.0;              ///< cycles, biases removed, before the integers of the level
  std::optional<int> integer;      ///< when fixed
};

/// What a level came to.
struct LevelSolution {
  int fixed = 0;       ///< satellites, references included
  double ratio = 0.0;  ///< of the search
};

/// A receiver clock: of the reference system, or the offset of another system from that one.
struct ClockSolution {
  char system = 0;  ///< letter; B is BeiDou-2, C BeiDou-3
  bool isOffset = false;
  double value_m = 0.0, sigma_m = 0.0;
};

/// The total is the sum of the first three.
struct ZenithDelaySolution {
  double aprioriHydrostatic_m = 0.0, aprioriWet_m = 0.0;
  double correction_m = 0.0;  ///< to the wet delay
  double sigma_m = 0.0;       ///< of the correction, 0 when the delay is not estimated
};

/// Dilutions of precision.
struct Dop {
  double geometry = 0.0, position = 0.0, horizontal = 0.0, vertical = 0.0;
};

/// Epoch minus time of the corrections in use, s; nothing where there are none.
struct CorrectionAges {
  std::optional<double> orbitClock_s, phaseBias_s, codeBias_s;
};

/// What became of the values of a system in this epoch: values = sum of the counts.
struct EpochAccount {
  char system = 0;                   ///< G R E C J S; ? for satellites of no system
  int values = 0;                    ///< code and phase values that came in
  std::map<std::string, int> fates;  ///< by the words of ValueFate::fate
};

/// Earth-fixed x, y, z, m. A type of its own, so that it prints: "3582104.7625 532590.1800 5232755.1407".
struct Position : Vector3 {};
std::ostream& operator<<(std::ostream& out, const Position& position);

/// All that an epoch gave.
struct Solution {
  GpsTime time;  ///< of the observations
  SolutionState state = SolutionState::none;
  SolutionReason reason = SolutionReason::none;
  std::string why;                       ///< the reason as a sentence; "" for a fixed epoch
  Position position{};                   ///< of the station (marker), m; zeros without one
  std::array<Vector3, 3> covariance{};   ///< of the position, m^2, by rows
  int rows = 0;                          ///< twice the satellites, as the engine prints them
  std::array<int, 6> satelliteCounts{};  ///< used, of G, R, E, C (BeiDou-3), B (BeiDou-2), J
  int fixed = 0;                         ///< satellites with integers of the last level, references included
  double ratio = 0.0;                    ///< of the last level's search
  double sigma0 = 0.0;                   ///< of unit weight
  Dop dop;
  std::vector<ClockSolution> clocks;  ///< the reference system's first
  ZenithDelaySolution zenith;
  CorrectionAges ages;
  std::array<LevelSolution, 3> levels{};  ///< by IntegerLevel
  std::vector<SatelliteSolution> satellites;
  std::vector<IntegerSolution> integers;
  std::vector<EpochAccount> account;
  double milliseconds = 0.0;  ///< time of the engine's call

  /// Whether there is a position of this epoch.
  bool solved() const { return state != SolutionState::none; }
};

}  // namespace gnx
