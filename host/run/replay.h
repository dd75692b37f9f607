#pragma once
/// \file replay.h
/// A run of the engine over files: prepares the run directory, feeds an engine of its own process, writes the
/// result files and the summary.

#include <array>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "gnx/account.h"
#include "gnx/deployment.h"
#include "run/run_plan.h"
#include "run/station_result.h"
#include "run/statistics.h"
#include "run/track_files.h"

namespace gnx {

/// How far a run is.
struct RunProgress {
  GpsTime time;
  std::size_t epochs = 0;  ///< of the observation files
  double share = 0.0;      ///< read so far, 0..1; 0 when the end is not known
  double sigma_m = 0.0;    ///< formal 3D sigma of the last position; 0 without one
  bool fixed = false;      ///< integers are in it
};

struct ReplayOptions {
  std::filesystem::path outDir = "out/replay";      ///< run directory and results
  std::filesystem::path deployment;                 ///< made by 'gnx init'; "" = written from `deploy`
  DeploymentOptions deploy;                         ///< used when `deployment` is empty
  RunPlan plan;                                     ///< files and choices
  std::optional<std::array<double, 3>> reference;   ///< marker, m; a referenceFile of `plan` goes before it
  std::string referenceSinex;                       ///< file with the marker's coordinates, "" = none
  std::string referenceStation;                     ///< its name in that file
  bool report = false;                              ///< keep the residuals that a report shows
  std::string solutionName;                         ///< pattern of further solution files, "" = none
  bool nmea = false;                                ///< also write NMEA sentences
  std::vector<TrackFormat> tracks;                  ///< files for maps
  std::filesystem::path resumeFrom;                 ///< state of an earlier run to go on with, "" = none
  std::filesystem::path keepState;                  ///< file for the state at the end, "" = none
  bool troposphere = false;                         ///< also write the zenith delays as SINEX TRO
  bool quiet = false;                               ///< no progress, no summary on standard output
  std::function<void(const RunProgress&)> onEpoch;  ///< follows the run; empty = nobody does
  /// Is told what was understood of the inputs, and warnings about them, before the engine starts.
  std::function<void(const std::string& table, const std::vector<std::string>& warnings)> onInputs;
};

struct ReplayResult {
  std::vector<SolutionEpoch> epochs;
  RunSummary summary;
  std::optional<StationResult> station;  ///< of one that stands still
  RunAccount account;                    ///< empty when the run broke off
  std::size_t epochsRead = 0;            ///< epochs of the observation files in the chosen time
  std::string notes;                     ///< what there is to say about signals and files
  std::string events;                    ///< how many there were of each, "" without any
  std::vector<std::string> warnings;     ///< sentences about the result, beside those of onInputs
  int signal = 0;                        ///< that ended the run early, 0 for none
};

/// Prepares the directory, runs the engine in it, writes the results. Prints nothing.
/// \throws InputError, UsageError, EngineError. Results up to there stay;
/// "exit.txt" tells how the run ended.
ReplayResult runReplay(const ReplayOptions& options);

}  // namespace gnx
