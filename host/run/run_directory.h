#pragma once
/// \file run_directory.h
/// The directory of a run before the engine starts: results of the last run set aside, the deployment, the
/// plan for the worker.

#include <filesystem>

#include "run/input_survey.h"
#include "run/reference_path.h"
#include "run/replay.h"

namespace gnx {

/// A run that is ready to start.
struct PreparedRun {
  std::filesystem::path dir;  ///< absolute
  RunPlan plan;               ///< as "run.json" tells the worker
  ReferencePath path;         ///< of a moving receiver; empty without one
  std::vector<InputFile> files;
  std::vector<std::string> warnings;  ///< sentences about inputs that give another result than may be meant
};

/// Checks the choices, completes them from the observation file and fills the directory.
/// \throws InputError, UsageError
PreparedRun prepareRun(const ReplayOptions& options);

}  // namespace gnx
