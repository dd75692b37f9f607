#pragma once
/// \file input_survey.h
/// What the files of a run are and which time they cover, by their headers and, of clocks and messages, by a
/// quick look at their rows.

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "gnx/deployment.h"
#include "gnx/read.h"
#include "run/run_plan.h"

namespace gnx {

/// One file as it was understood.
struct InputFile {
  std::string path, option;  ///< "--sp3"
  std::optional<GpsTime> first, last;
  double interval_s = 0.0;  ///< 0 = not known
  std::set<char> systems;   ///< letters
  ObsHeader header;         ///< of observations
};

/// Files of a plan, which exist, in the order of their options.
std::vector<InputFile> surveyInputs(const RunPlan& plan);

/// Refuses a file that is of another kind than its option takes, and names the option that takes it.
/// \throws InputError
void requireKind(const std::string& file, const std::string& option);

/// "an SP3 file of orbits"; "" for files of bytes and of no kind that is known.
std::string kindOfText(const std::string& file);

/// The same of the files from which a deployment is made.
void requireKinds(const DeploymentOptions& deploy);

/// One line a file: option, name, span, interval, systems.
std::string inputTable(const std::vector<InputFile>& files);

}  // namespace gnx
