#pragma once
/// \file live_status.h
/// How a live run fares, for those who look from outside: metrics, health, the last solution. Written by the
/// run, read by the thread of the pages.

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "flow/source.h"
#include "gnx/live.h"
#include "gnx/solution.h"
#include "http/request.h"
#include "live/position_history.h"
#include "live/solution_json.h"
#include "live/state_changes.h"
#include "live/stream_watch.h"

namespace gnx {

/// The connection of a source; streams of files and recordings have none.
struct ConnectionView {
  std::string url;
  bool connected = false;
  std::int64_t connections = 0, lost_bytes = 0;
};

/// All that a page shows of one moment.
struct LiveView {
  std::optional<Solution> solution;  ///< of the last epoch
  LiveFacts facts;
  std::string why;                                    ///< there is nothing better
  double patience_s = 5.0;                            ///< so long without a position is usual
  std::optional<double> sinceEpoch_s, sinceSolved_s;  ///< by the machine's clock
  std::int64_t epochs = 0, positions = 0, fixed = 0, changeCount = 0;
  LiveCounts counts;
  std::vector<StateChange> changes;  ///< the newest first
  std::vector<StreamState> streams;
  std::map<std::string, ConnectionView> connections;  ///< by name of the stream
};

class LiveStatus {
 public:
  /// A solution, and how long it took from the arrival of the observations.
  void take(const Solution& solution, const LiveFacts& facts, double processing_s);
  void take(const LiveCounts& counts);
  /// Whatever the run is told.
  void take(const RecordedEvent& event);
  /// A source is read from now on; it must outlive its removal.
  void add(const Source& source);
  void remove(const Source& source);

  /// The text form of Prometheus, version 0.0.4.
  HttpAnswer metrics() const;
  /// 200 while positions come, 503 with the reason otherwise.
  HttpAnswer health() const;
  /// The last line of JSON; 503 before the first.
  HttpAnswer solution() const;

  LiveView view() const;
  /// The positions of the run, one object of JSON.
  std::string historyJson() const;
  /// The last epoch as a point of the history and as a line of JSON; "" before the first.
  std::string epochJson() const;

 private:
  using Clock = std::chrono::steady_clock;
  double sinceSolved_s() const;
  double patience_s(double least) const;

  mutable std::mutex m_mutex;
  std::string m_json, m_why = "no observations and corrections have come yet";
  std::optional<Clock::time_point> m_taken, m_solved;
  std::optional<Solution> m_last;
  LiveFacts m_facts;
  double m_interval_s = 0.0, m_intervalBefore_s = 0.0;  ///< between the last epochs
  TrackPoint m_point;
  PositionHistory m_history;
  StateChanges m_changes;
  StreamWatch m_streams;
  SolutionState m_state = SolutionState::none;
  CorrectionAges m_ages;
  double m_latency_s = 0.0, m_processing_s = 0.0, m_engine_s = 0.0;  ///< the last two are sums
  std::int64_t m_solutions = 0, m_positions = 0, m_fixed = 0;
  LiveCounts m_counts;
  std::map<std::string, const Source*> m_sources;
};

}  // namespace gnx
