#pragma once
/// \file run_console.h
/// A run with its summary on the console, as the commands `replay` and `demo` want it.

#include <string>

#include "run/replay.h"

namespace gnx {

/// Where a run is: time, rate, share and time left as far as the end is known, present accuracy.
std::string progressLine(const RunProgress& progress, double elapsed_s);

/// Runs, prints what was understood of the inputs, the summary and the account unless quiet, and warnings in
/// any case, writes the report when asked.
/// \throws EndWithStatus for a run with few positions, or one that was interrupted
void runOnConsole(const ReplayOptions& options);

}  // namespace gnx
