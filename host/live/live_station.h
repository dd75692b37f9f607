#pragma once
/// \file live_station.h
/// One station of a live run: what its sources bring, in order, becomes solutions. No clock and no connection
/// of its own, so that a recording gives the same.

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "gnx/engine.h"
#include "gnx/live.h"
#include "live/correction_alarm.h"
#include "live/solution_json.h"
#include "live/station_state.h"
#include "record/recording.h"
#include "run/event_file.h"

namespace gnx {

struct StationContext {
  const Deployment& deployment;
  LiveOptions assembly;
  std::filesystem::path directory;  ///< of the engine
  GpsTime reference;                ///< within half a week of the first message
  std::function<void(const Solution&, const LiveFacts&)> take;
  std::function<void(const std::string&)> say;
  std::string identity{};       ///< of sources and deployment, for states
  Place place = Place::worker;  ///< of the engine
};

class LiveStation {
 public:
  explicit LiveStation(StationContext context);
  ~LiveStation();
  LiveStation(const LiveStation&) = delete;
  LiveStation& operator=(const LiveStation&) = delete;

  /// \throws EngineError when the engine cannot start; one that ends later is started again
  void take(const RecordedEvent& event);
  /// A record of a source that somebody else decodes.
  void take(int source, const GpsTime& arrival, const RtcmRecord& record);
  std::optional<GpsTime> deadline() const;
  /// What is known now, to go on with; nothing before the first position.
  std::optional<StationState> state();
  /// Goes on with that, before the first record.
  void resume(const StationState& state);
  const std::string& identity() const { return m_context.identity; }
  /// Hands over what waits and ends the engine.
  void finish();
  const LiveCounts& counts() const { return m_assembler->counts(); }
  /// What was decoded, handed over and left out, lines ended.
  std::string account() const;

 private:
  struct Stream {
    LiveSource source;
    std::optional<GpsTime> heard;
  };
  bool ready(const GpsTime& arrival);
  void feed(const Event& event);
  LiveFacts facts(const Solution& solution) const;
  void engineEnded(const EngineError& error);
  void noteEvent(const EngineEvent& event);
  void tellIntegers(const Solution& solution);

  StationContext m_context;
  EventFile m_events;
  CorrectionAlarm m_alarm;
  std::map<int, Stream> m_streams;
  std::unique_ptr<LiveAssembler> m_assembler;
  std::unique_ptr<Engine> m_engine;
  GpsTime m_now;
  std::optional<GpsTime> m_message, m_retry;
  std::optional<GpsTime> m_epoch;       ///< of the last solution of this engine
  std::optional<StationState> m_known;  ///< to go on with when the engine is started anew
  double m_pause_s = 1.0;
  bool m_solved = false;
  std::string m_withoutIntegers;  ///< why, as it was told last
};

}  // namespace gnx
