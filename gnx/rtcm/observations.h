#pragma once
// Observation messages: their families, and the epochs that are put together from them.

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "gnx/rtcm.h"
#include "rtcm/bits.h"
#include "rtcm/context.h"
#include "rtcm/lock_time.h"

namespace gnx::rtcm {

/// What a message says of a signal. Absent values are 0.
struct ReceivedSignal {
  SatName sat;
  SignalObs obs;
  double phaseRange = 0.0;  ///< m
  PhaseArc::Observed lock;
  bool legacy = false;  ///< phases are moved by whole 1500 cycles to stay near their codes
};

/// Puts the messages of an epoch together, station by station, and marks phases that lost lock.
class EpochAssembler {
 public:
  /// Begins or continues the epoch of a station; false when it is closed already.
  bool begin(int station, const GpsTime& time, Context& context);
  void add(int station, const ReceivedSignal& signal, Context& context);
  /// The sender's word on whether more of this epoch follows.
  void end(int station, bool more, Context& context);
  /// Hands over all that is open.
  void flush(Context& context);
  /// Every phase was observed at that time, ms, and not since.
  void phasesKnownAt(std::int64_t time);

 private:
  struct Arc {
    PhaseArc lock;
    double difference = 0.0;  ///< phase minus code, cycles
    double moved = 0.0;       ///< cycles that the sender's moves took away
  };
  struct Station {
    ObsEpoch epoch;
    std::map<SatName, std::size_t> places;  ///< of satellites in the epoch
    bool open = false;
    std::optional<std::int64_t> closed;  ///< ms, the last epoch handed over
    std::map<std::string, Arc> arcs;     ///< by satellite and signal
    std::uint64_t used = 0;
  };
  Station& stationOf(int number);
  void close(int number, Station& station, bool complete, Context& context);

  std::optional<std::int64_t> m_known;  ///< ms, phases of which nothing else is known
  std::map<int, Station> m_stations;
  std::uint64_t m_uses = 0;
};

void decodeLegacy(int message, BitReader bits, EpochAssembler& epochs, Context& context);
void decodeMsm(int message, BitReader bits, EpochAssembler& epochs, Context& context);

}  // namespace gnx::rtcm
