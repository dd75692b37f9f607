#pragma once
/// \file input_checks.h
/// Holds the inputs of a run against each other before the engine starts: spans, intervals, systems, signals,
/// stations, antenna, ocean loading, what orbits refer to; and against the solution afterwards.

#include <string>
#include <vector>

#include "run/input_survey.h"
#include "run/replay.h"

namespace gnx {

/// Refuses what cannot give a result, and returns sentences about what gives another one than may be meant.
/// \param options  with the antenna and the date of the observations
/// \throws InputError, UsageError
std::vector<std::string> checkInputs(const std::vector<InputFile>& files, const ReplayOptions& options,
                                     const Deployment& deployment);

/// Where the run's station is taken to be; all zero when nothing tells.
Vector3 knownPlace(const std::vector<InputFile>& files, const RunPlan& plan);

/// The site of an ocean loading file (BLQ) that is nearest by the positions of its comments.
struct LoadingSite {
  double apart_km = 1e9;
  std::string name;  ///< "" when the file tells no position
};
inline constexpr double kLoadingServes_km = 10.0;  ///< the engine takes no site further away
LoadingSite nearestSite(const std::filesystem::path& blq, const Vector3& place);

/// Sentences about a run that has ended: files that end before it, a reference that lies elsewhere.
std::vector<std::string> checkResult(const std::vector<InputFile>& files, const RunPlan& plan,
                                     const std::vector<SolutionEpoch>& epochs);

}  // namespace gnx
