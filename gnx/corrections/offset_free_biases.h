#pragma once
/// \file offset_free_biases.h
/// Phase biases that were estimated from observations as they come, without satellite antenna offsets.
///
/// The engine refers codes and phases of each frequency to the satellite's centre of mass by that frequency's
/// own offset. Offsets that differ between two frequencies move the Melbourne-Wuebbena combination by
///     2 f1 f2 / (f1^2 - f2^2) (z1 - z2) cos(nadir) / L,   L = c/(f1 - f2),
/// 0.1 to 0.5 cycle for Galileo E1 and E5a. Wide-lane biases without offsets in them, such as those in the
/// headers of integer clocks, are that much off in such a model, each satellite block by its own amount.

#include <map>
#include <memory>

#include "corrections/correction_source.h"

namespace gnx {

/// Distance of the phase centre from the centre of mass towards the Earth, m, by band digit.
using PhaseCentreHeights = std::map<SatName, std::map<char, double>>;

/// What the offsets of two bands add to the wide-lane, cycles, in the middle of the nadir angles under which
/// satellites are seen; 0 unless both are known.
double wideLaneOfOffsets(char system, const std::map<char, double>& heights, char first, char second);

/// Makes up for the offsets of the first two bands with phase biases, as a change of the wide-lane
/// that leaves the ionosphere-free phase unchanged. A satellite without two such bands stays as it is.
void makeUpForOffsets(SatBiases& biases, const std::map<char, double>& heights);

/// The batches of another source with their phase biases made up for.
std::unique_ptr<CorrectionSource> makeOffsetFreeSource(std::unique_ptr<CorrectionSource> source,
                                                       PhaseCentreHeights heights);

}  // namespace gnx
