#pragma once
/// \file phase_offsets.h
/// Constant offsets of satellites in their narrow-lane ambiguities.
///
/// Integer clocks keep narrow-lane ambiguities integer for the satellite antenna offsets with which they
/// were estimated. Another offset model shifts each satellite by a constant: 1 cm of height is about a
/// tenth of a cycle. These files hold such shifts, as "gnx calibrate" measures them.

#include <filesystem>
#include <map>
#include <string>

#include "formats/records.h"

namespace gnx {

struct PhaseOffset {
  double cycles = 0.0;  ///< narrow-lane ambiguity minus an integer, within half a cycle
  double rms = 0.0;     ///< cycles, scatter of the differences it was taken from
  int arcs = 0;         ///< pairs of arcs that it was taken from; 0: unknown
};
using PhaseOffsets = std::map<SatName, PhaseOffset>;

/// CSV with the columns satellite, offset_cycles, rms_cycles, arcs; the last two may be absent.
/// Throws InputError: no file, a wrong header, a line that is none, a satellite twice.
PhaseOffsets readPhaseOffsets(const std::filesystem::path& file);
std::string phaseOffsetsText(const PhaseOffsets& offsets);

}  // namespace gnx
