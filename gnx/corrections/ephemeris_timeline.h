#pragma once
/// \file ephemeris_timeline.h
/// When the broadcast messages of a run reach the engine, what its store then holds, and to which
/// message a correction should refer.

#include <map>
#include <vector>

#include "formats/records.h"
#include "formats/rinex_nav.h"

namespace gnx {

/// All broadcast messages of a run in order of delivery.
///
/// A message is delivered when it was sent (transmission time; where that is not given or more than four
/// hours from the time of clock, a time usual for the system). The engine's store is followed message
/// by message, so only messages that it takes are delivered:
///
/// - Galileo F/NAV only (bit value 2 of the data source): I/NAV carries the same issue of data, but
///   another clock;
/// - time of clock on the 300-s grid of the system's own time, and within six hours of the moment of
/// delivery. GPS
///   uploads out of turn have theirs 16 s or more off the grid: their clock polynomials are referred to the
///   grid point before;
/// - two messages a satellite, the newest by time of clock; a second one of the same time of clock is
///   dropped, an older one replaces the older of two only when it lies between them.
///
/// The pointers handed out are valid as long as the timeline.
class EphemerisTimeline {
 public:
  struct Options {
    double history_s = 4.0 * 3600.0;  ///< what was sent in this time before the start is there at the start
    double settled_s = 60.0;          ///< corrections follow a new message after this time
    double hold_s = 60.0;             ///< and refer to messages that stay in the store so long
    double longest_s = 4.0 * 3600.0;  ///< and whose time of ephemeris is not further away than this
  };

  /// One of the two pointers is null. `time` may lie before the start: deliver at the start.
  struct Delivery {
    GpsTime time;
    const BroadcastEph* eph = nullptr;
    const GlonassEph* glonass = nullptr;
  };

  /// \param start  first epoch of the run
  EphemerisTimeline(NavData messages, const GpsTime& start, const Options& options);
  EphemerisTimeline(NavData messages, const GpsTime& start)
      : EphemerisTimeline(std::move(messages), start, {}) {}
  EphemerisTimeline(const EphemerisTimeline&) = delete;
  EphemerisTimeline& operator=(const EphemerisTimeline&) = delete;

  /// First epoch of the run.
  const GpsTime& start() const { return m_start; }
  const std::vector<Delivery>& deliveries() const { return m_deliveries; }

  /// The message to which corrections for time t should refer; null when there is none. Where two
  /// messages share an issue of data it is the one that the engine takes, at t and for hold_s after it.
  const BroadcastEph* pick(const SatName& sat, const GpsTime& t) const;
  /// The message that the engine takes at t for a correction of an issue of data; null when it finds
  /// none: of those in the store the nearest in time of ephemeris, less than eight hours away.
  const BroadcastEph* chosenByEngine(const SatName& sat, int issue, const GpsTime& t) const;
  /// The message of an issue of data nearest to t, whether the engine holds it or not, less than eight
  /// hours away; of Galileo's two kinds the one that the engine takes. Null when the files have none.
  const BroadcastEph* find(const SatName& sat, int issue, const GpsTime& t) const;
  /// Whether a correction given at t for an issue of data finds its message, then and for hold_s.
  bool serves(const SatName& sat, int issue, const GpsTime& t) const;
  /// Satellites of which the engine is given Keplerian messages.
  std::vector<SatName> satellites() const;

 private:
  /// Content of the store from `since` on; `older` may be null.
  struct Held {
    GpsTime since;
    const BroadcastEph* newest = nullptr;
    const BroadcastEph* older = nullptr;
  };

  void deliver(const GpsTime& time, const BroadcastEph& eph, const GpsTime& moment);
  static const Held* at(const std::vector<Held>& held, const GpsTime& t);
  static const BroadcastEph* choose(const Held* held, int issue, const GpsTime& t);

  NavData m_messages;
  GpsTime m_start;
  Options m_options;
  std::vector<Delivery> m_deliveries;
  std::map<SatName, std::vector<Held>> m_held;
  std::map<SatName, std::vector<const BroadcastEph*>> m_all;  ///< in the order of the files
};

}  // namespace gnx
