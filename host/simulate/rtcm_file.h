#pragma once
/// \file rtcm_file.h
/// A simulation as one stream of RTCM 3.

#include <filesystem>

#include "simulate/simulation.h"

namespace gnx {

/// Writes messages, corrections and observations in order of time; at equal times in this order. The elements
/// of broadcast messages are rounded to the steps of their fields, and the corrections moved to these
/// messages, so that corrected orbits and clocks are those of the other files. \param observations  the
/// observation file of the simulation
void writeRtcm(const std::filesystem::path& file, const std::filesystem::path& observations,
               const SimulationOptions& options, const Constellation& sky);

}  // namespace gnx
