#pragma once
/// \file live_status.h
/// How a live run fares, for those who look from outside: metrics, health, the last solution. Written by the
/// run, read by the thread of the pages.

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "flow/source.h"
#include "gnx/live.h"
#include "gnx/solution.h"
#include "http/request.h"
#include "live/solution_json.h"

namespace gnx {

class LiveStatus {
 public:
  /// A solution, and how long it took from the arrival of the observations.
  void take(const Solution& solution, const LiveFacts& facts, double processing_s);
  void take(const LiveCounts& counts);
  /// A source is read from now on; it must outlive its removal.
  void add(const Source& source);
  void remove(const Source& source);

  /// The text form of Prometheus, version 0.0.4.
  HttpAnswer metrics() const;
  /// 200 while positions come, 503 with the reason otherwise.
  HttpAnswer health() const;
  /// The last line of JSON; 503 before the first.
  HttpAnswer solution() const;

 private:
  using Clock = std::chrono::steady_clock;
  double sinceSolved_s() const;

  mutable std::mutex m_mutex;
  std::string m_json, m_why = "no observations and corrections have come yet";
  std::optional<Clock::time_point> m_solved;
  SolutionState m_state = SolutionState::none;
  CorrectionAges m_ages;
  double m_latency_s = 0.0, m_processing_s = 0.0, m_engine_s = 0.0;  ///< the last two are sums
  std::int64_t m_solutions = 0, m_positions = 0, m_fixed = 0;
  LiveCounts m_counts;
  std::map<std::string, const Source*> m_sources;
};

}  // namespace gnx
