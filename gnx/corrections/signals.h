#pragma once
/// \file signals.h
/// Carrier frequencies by RINEX band and the pairs of signals to which satellite clocks refer.

#include <optional>
#include <string>
#include <vector>

namespace gnx {

/// Frequency, Hz, of a band digit of RINEX 3 (GLONASS: of channel 0); nothing for an unknown one.
std::optional<double> carrierFrequency(char system, char band);

/// The two code signals whose ionosphere-free combination a satellite clock refers to, in order of
/// preference ("C1W", "C2W"); empty for an unknown system.
std::vector<std::pair<std::string, std::string>> clockReferences(char system);

}  // namespace gnx
