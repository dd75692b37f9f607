#pragma once
/// \file live_options.h
/// The choices of a live run, from the command line or a file.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "gnx/deployment.h"
#include "gnx/live.h"

namespace gnx {

/// Settings of the run that were given; a deployment holds the others.
struct GivenSettings {
  std::optional<Mode> mode;
  std::optional<double> interval_s;
  std::optional<std::string> stationName;
  std::optional<GalileoKind> galileo;

  RunSettings over(RunSettings settings) const;
};

struct LiveRunOptions {
  std::vector<std::string> obs, eph, ssr;  ///< URLs, in order of preference
  std::filesystem::path deployment;        ///< "" = made in `out` by the choices of `deploy`
  DeploymentOptions deploy;
  GivenSettings given;
  std::filesystem::path out = "out/live";
  std::vector<std::string> json, nmea;     ///< URLs
  std::string http;                        ///< where pages are served, "HOST:PORT"; "" = none
  std::vector<std::string> solutionNames;  ///< patterns of solution files
  std::string record, play;                ///< directories, "" = none
  double speed = 1.0;                      ///< of play, and of a clock that begins at `start`
  std::optional<GpsTime> start;            ///< clock of the run at its start; none: the machine's
  std::string credentials;                 ///< file, "" = none
  LiveOptions assembly;
  bool quiet = false;
};

/// The words of a command line that stand for a JSON object: {"obs": ["a", "b"], "wait": 2, "fix": true} is
/// --obs a --obs b --wait 2 --fix. \param name  of the file, for messages
/// \throws InputError
std::vector<std::string> wordsOfJson(const std::string& text, const std::string& name);

}  // namespace gnx
