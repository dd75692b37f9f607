#pragma once
/// \file fleet_worker.h
/// The process of one station of a fleet.

#include <functional>
#include <string>
#include <vector>

#include "live/live_options.h"

namespace gnx {

/// Serves the fleet at the other end of a socket until it is told to finish or the fleet is gone.
/// \return exit status of the process
int serveFleet(int descriptor,
               const std::function<LiveRunOptions(const std::vector<std::string>& words)>& optionsOf);

}  // namespace gnx
