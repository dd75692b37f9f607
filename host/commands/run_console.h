#pragma once
/// \file run_console.h
/// A run with its summary on the console, as the commands `replay` and `demo` want it.

#include "run/replay.h"

namespace gnx {

/// Runs, prints the summary and the account unless quiet, warns of a run with few positions, writes the
/// report when asked.
void runOnConsole(const ReplayOptions& options);

}  // namespace gnx
