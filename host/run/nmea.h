#pragma once
/// \file nmea.h
/// Solutions as sentences of NMEA 0183, each ended by CR LF. Times are UTC, heights ellipsoidal.

#include <string>

#include "gnx/solution.h"
#include "run/solution.h"

namespace gnx {

/// Position and quality: 4 fixed, 5 float, 1 codes only.
std::string ggaSentence(const SolutionEpoch& epoch);
/// Standard deviations: ellipse, latitude, longitude, height.
std::string gstSentence(const SolutionEpoch& epoch);
/// Satellites in use, a sentence a system and twelve of them, and dilutions of precision.
std::string gsaSentences(const Solution& solution);
/// Time and date.
std::string zdaSentence(const GpsTime& time);
/// Position, speed and course, which come from the position before; empty fields without one.
/// \param before  of at most five seconds ago; null: none
std::string rmcSentence(const SolutionEpoch& epoch, const SolutionEpoch* before);

}  // namespace gnx
