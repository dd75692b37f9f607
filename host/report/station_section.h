#pragma once
/// \file station_section.h
/// The station on the page of a run: receiver, antenna, final coordinate with its uncertainty.

#include <string>
#include <utility>
#include <vector>

#include "run/run_files.h"

namespace gnx {

/// The marker, or what the name of the first file of observations says of it.
std::string stationName(const RunFiles& run);
/// Names and values, as far as the run has told them.
std::vector<std::pair<std::string, std::string>> stationFacts(const RunFiles& run);

}  // namespace gnx
