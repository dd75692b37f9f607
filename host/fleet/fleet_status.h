#pragma once
/// \file fleet_status.h
/// How a fleet fares, for those who look from outside: metrics with a label for the station, health, a row a
/// station. Written by the fleet, read by the thread of the pages.

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "fleet/cluster/cluster_node.h"
#include "fleet/station_frames.h"
#include "flow/source.h"
#include "http/request.h"

namespace gnx {

/// What the fleet knows of a station besides its reports.
struct WorkerState {
  bool here = false;     ///< it is this machine's
  bool running = false;  ///< it has a worker
  int restarts = 0;
  std::int64_t lost = 0;  ///< pieces of streams for which there was no room
  std::size_t waitingBytes = 0;
  std::string node{};  ///< whose it is, "" without other machines
};

/// How a station fares, at a moment.
struct StationRow {
  std::string name;
  WorkerState state;
  StationReport report;
  std::optional<double> sinceEpoch_s, sincePosition_s;
  bool healthy() const;
  /// "fixed", "float", ...; "no worker", "waits", "elsewhere"
  std::string word() const;
};

class FleetStatus {
 public:
  void take(const std::string& station, StationReport report);
  void take(const std::string& station, const WorkerState& state);
  void remove(const std::string& station);
  /// A source is read from now on; it must outlive its removal. \param station  "" for a shared stream
  void add(const std::string& station, const Source& source);
  void remove(const Source& source);
  void take(const ClusterNode::Counts& counts);

  std::vector<StationRow> rows() const;
  /// The text form of Prometheus, version 0.0.4.
  HttpAnswer metrics() const;
  /// 200 while all stations of this machine have positions, 503 with their names otherwise.
  HttpAnswer health() const;

 private:
  using Clock = std::chrono::steady_clock;
  struct Entry {
    WorkerState state;
    StationReport report;
    std::optional<Clock::time_point> came, solved;
  };
  struct Read {
    std::string station;
    const Source* source = nullptr;
  };

  mutable std::mutex m_mutex;
  std::map<std::string, Entry> m_stations;
  std::vector<Read> m_sources;
  std::optional<ClusterNode::Counts> m_cluster;
};

}  // namespace gnx
