#pragma once
/// \file station_frames.h
/// What a fleet and the worker of a station say to each other over a pair of sockets.
///
/// | frame  | from   | content                                                       |
/// |--------|--------|---------------------------------------------------------------|
/// | plan   | fleet  | a StationPlan, once                                           |
/// | begin  | fleet  | a source is there: number, name, roles, rank                  |
/// | bytes  | fleet  | number of a source of the station alone, time of arrival, bytes |
/// | record | fleet  | number of a shared source, time of arrival, a record of it    |
/// | finish | fleet  | nothing; the worker writes everything and ends                |
/// | report | worker | a StationReport, each epoch                                   |
/// | state  | worker | what it knows, packed, every minute, if the plan asks for it  |
/// | failed | worker | why it ends                                                   |

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "fleet/rtcm_fields.h"
#include "frames/frames.h"
#include "gnx/live.h"
#include "gnx/solution.h"

namespace gnx {

enum class StationFrame : std::uint32_t { plan = 1, begin, bytes, record, finish, report, state, failed };

struct StationPlan {
  std::string name, directory, deployment;
  std::vector<std::string> words;  ///< options of a live run
  GpsTime clock;                   ///< what the fleet's clock showed
  std::int64_t steady_ns = 0;      ///< when it did so by the machine's steady clock
  double speed = 1.0;              ///< of the fleet's clock
  bool lines = false;              ///< whether reports hold lines of JSON
  bool states = false;             ///< whether the fleet gets what the worker keeps
};

template <class Archive>
void fields(Archive& a, StationPlan& p) {
  a(p.name, p.directory, p.deployment, p.words, p.clock, p.steady_ns, p.speed, p.lines, p.states);
}

/// How a station fares, told with each epoch.
struct StationReport {
  GpsTime time;
  SolutionState state = SolutionState::none;
  std::string why;
  double latitude_deg = 0.0, longitude_deg = 0.0, height_m = 0.0;  ///< of the last position
  double sigma_m = 0.0;  ///< of the last position, root of the sum of its variances
  CorrectionAges ages;
  int satellites = 0, fixedSatellites = 0;
  double latency_s = 0.0;                     ///< from the time of the observations to their solution
  double engine_s = 0.0, processing_s = 0.0;  ///< sums over all epochs
  std::int64_t epochs = 0, positions = 0, fixed = 0;
  LiveCounts counts;
  std::string corrections, gga, line;
};

template <class Archive>
void fields(Archive& a, StationReport& r) {
  a(r.time, r.state, r.why, r.latitude_deg, r.longitude_deg, r.height_m, r.sigma_m, r.ages, r.satellites,
    r.fixedSatellites, r.latency_s, r.engine_s, r.processing_s, r.epochs, r.positions, r.fixed, r.counts,
    r.corrections, r.gga, r.line);
}

/// Adds a frame to bytes that are sent together.
template <class... T>
void addFrame(std::string& bytes, StationFrame kind, const T&... values) {
  FrameWriter content;
  content(values...);
  const FrameHead head{static_cast<std::uint32_t>(kind), static_cast<std::uint32_t>(content.bytes().size())};
  bytes.append(reinterpret_cast<const char*>(&head), sizeof head);
  bytes += content.bytes();
}

/// Frames that are sent to one worker or to many, and when their content came.
struct Posted {
  GpsTime time;
  std::shared_ptr<const std::string> frames;
};

}  // namespace gnx
