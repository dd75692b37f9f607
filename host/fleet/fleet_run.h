#pragma once
/// \file fleet_run.h
/// Many stations on this machine: streams are read and decoded once, each station has a worker.

#include <functional>

#include "fleet/fleet_options.h"

namespace gnx {

/// Runs until SIGTERM or SIGINT comes.
/// \param reload  gives the choices anew at SIGHUP
/// \throws InputError, UsageError
/// \return whether every thread has ended; else the process had better end at once
bool runFleet(const FleetOptions& options, const std::function<FleetOptions()>& reload);

}  // namespace gnx
