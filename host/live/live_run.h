#pragma once
/// \file live_run.h
/// A live run from its start to a signal that ends it: over sources, over files at a pace, over a recording.

#include <functional>
#include <string>

#include "live/live_options.h"

namespace gnx {

/// Runs until the sources end or SIGTERM or SIGINT comes.
/// \param reload  gives the choices anew at SIGHUP
/// \throws InputError, UsageError, EngineError
/// \return whether every thread has ended; else the process had better end at once
bool runLive(const LiveRunOptions& options, const std::function<LiveRunOptions()>& reload);

}  // namespace gnx
