#pragma once
/// \file replay.h
/// A run of the engine over files: prepares the run directory, starts the worker, collects the
/// solutions, writes the result files and the summary.

#include <array>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "deployment/deployment.h"
#include "engine/collector.h"
#include "gnx/account.h"
#include "run/run_plan.h"
#include "run/statistics.h"

namespace gnx {

struct ReplayOptions {
  std::filesystem::path outDir = "out/replay";     ///< run directory and results
  std::filesystem::path deployment;                ///< made by 'gnx init'; "" = written from `deploy`
  DeploymentOptions deploy;                        ///< used when `deployment` is empty
  RunPlan plan;                                    ///< files and choices
  std::optional<std::array<double, 3>> reference;  ///< marker, m; a referenceFile of `plan` goes before it
  std::string program;                             ///< the executable, "" = this one
  bool report = false;                             ///< keep the residuals that a report shows
  std::string solutionName;                        ///< pattern of further solution files, "" = none
  bool nmea = false;                               ///< also write NMEA sentences
  bool quiet = false;                              ///< no progress, no summary on standard output
  EpochListener onEpoch;                           ///< follows the run; empty = nobody does
};

struct ReplayResult {
  std::vector<SolutionEpoch> epochs;
  RunSummary summary;
  RunAccount account;          ///< empty when the run broke off
  std::size_t epochsRead = 0;  ///< epochs of the observation files in the chosen time
  std::string notes;           ///< what the worker has to say about signals and files
  std::string events;          ///< how many there were of each, "" without any
};

/// Prepares the directory, runs the worker in it, collects what it sends, writes the results. Prints nothing.
/// \throws InputError, UsageError, EngineError. Results written so far stay;
/// "exit.txt" tells how the engine ended.
ReplayResult runReplay(const ReplayOptions& options);

/// What the worker process does inside the run directory. Throws as above.
void runWorker();

}  // namespace gnx
