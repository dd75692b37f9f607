#pragma once
/// \file narrow_lanes.h
/// Constant narrow-lane offsets of satellites from the float solution of a run.

#include <filesystem>
#include <optional>
#include <vector>

#include "corrections/phase_offsets.h"
#include "formats/records.h"

namespace gnx {

/// A float narrow-lane ambiguity between two satellites of one system, biases of the corrections removed.
struct NarrowLane {
  GpsTime time;
  SatName satellite, reference;
  double cycles = 0.0;
};

/// The narrow-lanes that a run with --fix left in "diagnostics.log" of its directory, in order of time.
/// Damaged lines are passed over. Throws InputError when there are none.
std::vector<NarrowLane> readNarrowLanes(const std::filesystem::path& directory,
                                        const std::optional<GpsTime>& from, const std::optional<GpsTime>& to);

/// Offsets by satellite, the circular mean of each system 0.
///
/// Floats of arcs younger than `settled_s` are left out; the others weigh with their age, for a float
/// ambiguity's error is one of convergence. Each pair of satellites gives a circular mean; the offsets
/// maximise the weighted sum of cos 2pi(pair - a + b), found by iterating x <- Hx/|Hx| from ones on the
/// Hermitian matrix of the pairs (phase synchronisation, Singer 2011). Satellites that no pair connects
/// to the largest group of their system have no offset.
PhaseOffsets narrowLaneOffsets(const std::vector<NarrowLane>& floats, double settled_s = 5400.0);

}  // namespace gnx
