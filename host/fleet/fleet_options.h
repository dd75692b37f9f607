#pragma once
/// \file fleet_options.h
/// The stations of a fleet and the streams that they share, as a file says them; docs/fleet.md describes it.

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "live/live_options.h"
#include "live/source_plan.h"

namespace gnx {

/// A stream that several stations use; it is read and decoded once.
struct FleetStream {
  std::string name;
  StreamUrl url;
  int roles = 0;  ///< of LiveRole: what stations take from it
  bool operator==(const FleetStream& other) const {
    return name == other.name && url.text == other.url.text && roles == other.roles;
  }
};

/// A source of a station.
struct FleetSource {
  PlannedSource planned;
  std::string stream;  ///< name of the shared stream, "" = the station's own
  bool operator==(const FleetSource&) const = default;
};

struct FleetStation {
  std::string name;
  std::vector<std::string> words;  ///< its options as those of a live run
  LiveRunOptions options;
  std::vector<FleetSource> sources;
  /// Whether a worker that runs with the other one may go on.
  bool operator==(const FleetStation& other) const {
    return name == other.name && words == other.words && sources == other.sources;
  }
};

/// How machines work together.
struct ClusterOptions {
  std::string url;           ///< of servers, separated by commas; "" = this machine alone
  std::string node;          ///< name of this machine's part; "" = host and process
  std::string credentials;   ///< file of the servers' user, "" = none
  int replicas = 1;          ///< of what the servers keep
  int keepHours = 24;        ///< so long they keep solutions
  int keepMegabytes = 1024;  ///< and not more of them
  int stateMegabytes = 256;  ///< of states, with which stations move
};

struct FleetOptions {
  std::filesystem::path out = "out/fleet";
  std::string http, credentials;
  std::vector<FleetStream> streams;
  std::vector<FleetStation> stations;
  ClusterOptions cluster;
  std::optional<GpsTime> start;  ///< clock at the start; none: the machine's
  double speed = 1.0;            ///< of a clock that begins at `start`
  bool quiet = false;
};

/// The options that a station may have, and who makes choices of them.
struct StationOptions {
  std::vector<std::string> names, deployed;  ///< all; those that a deployment holds
  std::function<LiveRunOptions(const std::vector<std::string>& words)> read;
};

/// \throws InputError that names the station, the field, the cause and the remedy
FleetOptions readFleet(const std::filesystem::path& file, const StationOptions& known);

}  // namespace gnx
