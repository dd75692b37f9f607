#pragma once
/// \file simulation.h
/// A whole simulation as ordinary files, with its truth beside them.
///
/// Written into the chosen folder:
///
/// | file                 | content                                                                    |
/// |----------------------|----------------------------------------------------------------------------|
/// | observations.rnx     | RINEX 3.04 observations                                                    |
/// | navigation.rnx       | RINEX 3.04 broadcast messages, in order of transmission                    |
/// | corrections.ssr      | orbit, clock, code and phase bias corrections as text (ssr_writer.h)       |
/// | truth.csv            | by epoch: marker position, tide, receiver clock, zenith delays             |
/// | truth_satellites.csv | by epoch and satellite: angles, range, delays, wind-up, integer ambiguities |
/// | truth_biases.csv     | by satellite and signal: code and phase bias of the satellite, m           |
///
/// The same options give the same files, byte for byte.

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "simulate/constellation.h"
#include "simulate/faults.h"
#include "simulate/observer.h"

namespace gnx {

struct SimulationOptions {
  SkyOptions sky;
  ObserverOptions observer;
  FaultList faults;
  double interval = 30.0;                                         ///< of the observations, s
  int clockInterval = 30, orbitInterval = 30, biasInterval = 30;  ///< of the corrections, whole s
  bool satelliteTruth = true;                                     ///< write truth_satellites.csv
  bool rtcm = false;                                              ///< write stream.rtcm3
  std::string marker = "SIMU", receiver = "SIMULATED", antenna = "";
};

struct SimulationFiles {
  std::filesystem::path observations, navigation, corrections, truth, satelliteTruth, biasTruth, stream;
};

/// Hands over all corrections of the span, in order of time. Orbits come before the clocks of the same time,
/// and clocks refer to the messages of the last orbit block.
void forEachCorrection(const SimulationOptions& options, const Constellation& sky,
                       const std::function<void(const SsrBlock&)>& take);

/// All messages, in order of transmission.
std::vector<BroadcastEph> allMessages(const Constellation& sky);

/// Runs the simulation; `directory` is made when it does not exist.
/// \throws UsageError for options that make no sense, InputError when a file cannot be written.
SimulationFiles simulate(const SimulationOptions& options, const std::filesystem::path& directory);

}  // namespace gnx
