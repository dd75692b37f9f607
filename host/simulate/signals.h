#pragma once
/// \file signals.h
/// Carrier frequencies of the simulated signals, RINEX 3.04 names: band digit and attribute, "1C".

#include <map>
#include <string>
#include <vector>

namespace gnx {

/// Signals by system letter; the first two of a system are the pair to which its clocks refer.
using SignalTable = std::map<char, std::vector<std::string>>;

/// Hz; 0 for a band that the system does not have.
double carrierFrequency(char system, const std::string& signal);

/// GPS 1C 2W 5Q, Galileo 1C 5Q 7Q, BeiDou 2I 6I 5P, QZSS 1C 2L 5Q.
SignalTable defaultSignals();

/// "G:1C,2W E:1C,5Q" over the default of the systems that it does not name.
/// \throws UsageError for an unknown system or band, or a system with fewer than two signals.
SignalTable parseSignalTable(const std::string& text);

}  // namespace gnx
