#pragma once
/// \file solution_json.h
/// Solutions as lines of JSON; docs/live.md describes the members.

#include <map>
#include <optional>
#include <string>

#include "gnx/solution.h"

namespace gnx {

/// What a live run knows besides the solution.
struct LiveFacts {
  double latency_s = 0.0;                  ///< of the observations: their arrival minus their time
  std::optional<double> message_s;         ///< since the last broadcast message
  std::map<std::string, double> silent_s;  ///< since the last bytes of each source
  std::string corrections;                 ///< source in use
};

/// One line, ended. \param sky  with the satellites one by one
std::string solutionJson(const Solution& solution, const LiveFacts& facts, bool sky = true);

}  // namespace gnx
