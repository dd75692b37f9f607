#pragma once
/// \file live_run.h
/// A live run from its start to a signal that ends it: over sources, over files at a pace, over a recording.

#include <cstddef>
#include <functional>
#include <string>

#include "live/live_options.h"

namespace gnx {

/// How a run ended.
struct LiveEnd {
  bool threadsEnded = true;  ///< else the process had better end at once
  bool told = false;         ///< by a signal
  std::size_t positions = 0;
  std::string why;  ///< the last epoch has none
};

/// Runs until the sources end or SIGTERM or SIGINT comes.
/// \param reload  gives the choices anew at SIGHUP
/// \throws InputError, UsageError, EngineError
LiveEnd runLive(const LiveRunOptions& options, const std::function<LiveRunOptions()>& reload);

}  // namespace gnx
