#pragma once
/// \file signal.h
/// Signals by their RINEX 3 names: the carrier frequency of a band, signals that stand for each other, and
/// the pairs to which satellite clocks refer.
///
/// A signal is a band digit and an attribute, "1C"; the observation types of files put the kind of value in
/// front: "C1C" code, "L1C" phase, "D1C" Doppler, "S1C" signal strength.

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace gnx {

inline constexpr double kLightSpeed = 299792458.0;  ///< m/s

/// Frequency, Hz, of a band digit of RINEX 3 (GLONASS: of channel 0); nothing for an unknown one.
std::optional<double> carrierFrequency(char system, char band);

/// The two code signals whose ionosphere-free combination a satellite clock refers to, in order of
/// preference ("C1W", "C2W"); empty for an unknown system.
std::vector<std::pair<std::string, std::string>> clockReferences(char system);

/// Whether two signals of a band are data, pilot or combined forms of one another, so that their
/// carrier phases and code biases may stand for each other (1C and 1X of Galileo, 2L and 2X of GPS).
bool sameSignalFamily(char system, const std::string& a, const std::string& b);

}  // namespace gnx
