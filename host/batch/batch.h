#pragma once
/// \file batch.h
/// Many stations and days: runs side by side, each a process, none of them twice.

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "batch/batch_record.h"

namespace gnx {

struct BatchChoices {
  std::filesystem::path directory = "out/batch";
  int jobs = 1;             ///< runs side by side
  bool continuous = false;  ///< each day goes on where the station's day before has ended
  /// Of so many parts, the one that is to be done here: chains of days are dealt out in turn.
  int part = 0, parts = 1;
};

/// How far a batch is.
struct BatchProgress {
  std::size_t runs = 0, done = 0, failed = 0, running = 0;
  std::size_t finished = 0;  ///< of those done, in this session
};

struct BatchWatch {
  std::function<void(const BatchProgress&)> onProgress;
  /// Is told of runs that have failed.
  std::function<void(const BatchRun&, const BatchRecord&)> onFailure;
};

struct BatchResult {
  std::vector<std::optional<BatchRecord>> records;  ///< by run; nothing for those that were not run
  int signal = 0;                                   ///< that ended the batch early, 0 for none
};

/// Runs that depend on each other, in order; the chains are independent.
std::vector<std::vector<std::size_t>> chainsOf(const std::vector<BatchRun>& runs, bool continuous);

/// What was done already is read back. Prints nothing.
/// \throws InputError when a directory cannot be written
BatchResult runBatch(const std::vector<BatchRun>& runs, const BatchChoices& choices, const BatchWatch& watch);

}  // namespace gnx
