#pragma once
/// \file station_post.h
/// One station as its fleet holds it: its worker, which is started again when it dies, its own sources, and
/// what waits for it meanwhile.

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "fleet/fleet_options.h"
#include "fleet/worker_process.h"
#include "flow/back_off.h"
#include "flow/source.h"

namespace gnx {

/// What all stations of a fleet have in common.
struct FleetContext {
  std::filesystem::path out;  ///< absolute
  const RunClock& clock;
  std::function<std::filesystem::path(const LiveRunOptions&)> deploymentOf;
  std::function<std::vector<Posted>(const std::string& stream)> kept;  ///< of a shared stream
  std::function<void(const std::string& sentence)> say;
  bool lines = false;  ///< whether reports hold lines of JSON
  /// What a worker knows, packed, for other machines; none: they want nothing.
  std::function<void(const std::string& station, std::string state)> keep{};
  /// What another machine knew of a station, to go on with; once, before its first worker starts.
  std::function<std::optional<std::string>(const std::string& station)> known{};
};

class StationPost {
 public:
  using Clock = std::chrono::steady_clock;

  /// \param numbers  of its sources, in their order
  StationPost(FleetStation station, std::vector<int> numbers, const FleetContext& context);

  /// Starts the worker when it is time to.
  void start();
  /// Sends and receives. `take` is called with reports.
  void work(const std::function<void(const StationReport&)>& take);
  /// Frames of a shared stream. What comes before the worker is there, the stream keeps.
  void post(const Posted& posted);
  /// Bytes of a source of its own; they wait while there is no worker.
  void post(const Arrival& arrival);
  /// The worker writes everything and ends.
  void finish();
  bool ended() const { return !m_worker; }

  const FleetStation& station() const { return m_station; }
  const std::vector<int>& numbers() const { return m_numbers; }
  int descriptor() const { return m_worker ? m_worker->descriptor() : -1; }
  bool waits() const { return m_worker && m_worker->waits(); }
  pid_t process() const { return m_worker ? m_worker->process() : 0; }
  int restarts() const { return m_restarts; }
  /// Pieces of streams for which there was no room.
  std::int64_t lost() const { return m_lost + (m_worker ? m_worker->lost() : 0); }
  std::size_t waitingBytes() const { return m_worker ? m_worker->waitingBytes() : m_backlogBytes; }

 private:
  void greet();
  void recall() const;
  void take(StationFrame kind, FrameReader& content, const std::function<void(const StationReport&)>& take);
  bool hangs();
  void bury(std::string why);
  std::filesystem::path log() const { return m_context.out / m_station.name / "engine.log"; }

  FleetStation m_station;
  std::vector<int> m_numbers;
  const FleetContext& m_context;
  std::unique_ptr<WorkerProcess> m_worker;
  std::deque<Posted> m_backlog;
  std::size_t m_backlogBytes = 0;
  BackOff m_pauses;
  Clock::time_point m_due{}, m_started{}, m_moved{};
  std::uint64_t m_taken = 0;  ///< bytes that the worker had taken at m_moved
  std::string m_failed;       ///< what the worker said at its end
  std::int64_t m_lost = 0;
  int m_restarts = 0;
  bool m_finishing = false;
};

}  // namespace gnx
