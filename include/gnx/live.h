#pragma once
/// \file live.h
/// Streams as they come: bytes in, events for an Engine out.
///
/// The assembler has no clock and no connection of its own. Whoever has both tells it what came when, and
/// when time has passed; the same calls give the same events, so a run that is recorded can be played again.

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "gnx/deployment.h"
#include "gnx/read.h"
#include "gnx/rtcm.h"

namespace gnx {

/// What is taken from a stream; roles of one stream are added.
enum class LiveRole : int { observations = 1, ephemerides = 2, corrections = 4 };

struct LiveSource {
  std::string name;  ///< for sentences
  int roles = 0;     ///< of LiveRole
  int rank = 0;      ///< of several sources of observations or corrections the lowest that works is taken
  bool has(LiveRole role) const { return (roles & static_cast<int>(role)) != 0; }
};

struct LiveOptions {
  double wait_s = 0.0;        ///< so long an epoch waits for corrections of its own time
  double startWait_s = 60.0;  ///< so long the start waits for code biases
  double burstEnd_s = 0.5;    ///< a stream that is silent for so long has sent all of an epoch
  double failover_s = 8.0;    ///< a source that brings nothing new for so long gives way to the next one
  double back_s = 60.0;       ///< a better one that has worked for so long is taken again
  double bridge_s = 180.0;    ///< so long corrections of the last message go on when the new one has not come
};

/// What was left out, and why.
enum class LiveDrop {
  lateEpoch,       ///< another epoch of its time or a later one was handed over before
  otherTime,       ///< an epoch far from the time of the run
  otherStation,    ///< an epoch of another station in the stream
  standby,         ///< of a source that is not in use
  oldCorrection,   ///< corrections of more than two minutes ago or of the future
  withoutMessage,  ///< a satellite's correction whose broadcast message has not come
  refusedMessage,  ///< broadcast messages that are held already, or too old
  backlog,         ///< came before the start and found no room
  count
};
const char* nameOf(LiveDrop reason);

struct LiveCounts {
  std::int64_t epochs = 0;            ///< handed over
  std::int64_t incompleteEpochs = 0;  ///< of these, without messages that were announced
  std::int64_t missingEpochs = 0;     ///< that did not come, by the interval of those before
  std::int64_t batches = 0;           ///< of corrections, handed over
  std::int64_t messages = 0;          ///< broadcast, handed over
  std::int64_t bridged = 0;           ///< satellites' corrections that went on with the message before
  std::int64_t switches = 0;          ///< from one source of corrections or observations to another
  std::array<std::int64_t, static_cast<std::size_t>(LiveDrop::count)> drops{};

  std::int64_t dropped(LiveDrop reason) const { return drops[static_cast<std::size_t>(reason)]; }
};

class LiveAssembler {
 public:
  struct Sinks {
    std::function<void(const Event&)> event;      ///< the first one is the StreamStart
    std::function<void()> restart;                ///< the observations are of another receiver from now on
    std::function<void(const std::string&)> say;  ///< what happens, in sentences
  };

  /// \param reference  a moment within half a week of the first message
  LiveAssembler(const Deployment& deployment, const LiveOptions& options, const GpsTime& reference,
                Sinks sinks);
  ~LiveAssembler();
  LiveAssembler(const LiveAssembler&) = delete;
  LiveAssembler& operator=(const LiveAssembler&) = delete;

  /// A source of that number is there from now on.
  void addSource(int number, const LiveSource& source);
  void removeSource(int number);

  /// Bytes of a source, and when they came.
  void take(int number, const GpsTime& arrival, std::span<const std::uint8_t> bytes);
  /// A record of a source that somebody else decodes, for several stations at once.
  void take(int number, const GpsTime& arrival, const RtcmRecord& record);
  /// The clock shows this time.
  void tick(const GpsTime& now);
  /// When a tick is wanted if nothing comes before.
  std::optional<GpsTime> deadline() const;
  /// What is known beside the engine, for a run that goes on with its state (Engine::state()): broadcast
  /// messages, and which source of corrections was in use.
  std::string memory() const;
  /// Goes on with that, before the StreamStart. Phases that have lost lock since `last`, the epoch of the
  /// state, are marked. \throws Error for bytes that are no memory of this version
  void recall(const std::string& memory, const GpsTime& last);
  /// Begins anew, for another engine: the next event is a StreamStart, the broadcast messages that are known
  /// follow.
  void beginAnew();
  /// Hands over what waits.
  void finish();

  bool started() const;
  const LiveCounts& counts() const;
  /// Of a source's decoder; null for a number without a source.
  const RtcmCounts* decoded(int number) const;
  /// Name of the source of corrections in use; "" without one.
  std::string correctionSource() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace gnx
