#pragma once
/// \file ephemeris.h
/// Broadcast messages, their orbits and clocks, and the store in which the engine keeps them.

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gnx/geodesy.h"
#include "gnx/satellite.h"
#include "gnx/time.h"

namespace gnx {

/// Keplerian broadcast message (GPS, Galileo, BeiDou, QZSS). Radians, metres, seconds.
struct BroadcastEph {
  SatName sat;
  GpsTime toc, toe, transmission;  ///< BeiDou too in GPS time (BDT + 14 s); transmission {0, 0} = unknown
  std::array<double, 3> af{};      ///< clock polynomial about toc
  int iode = 0, iodc = 0, health = 0, accuracy = 0;
  int code = 0;  ///< GPS: codes on L2; Galileo: data source bits
  int l2flag = 0;
  double crs = 0, deltaN = 0, m0 = 0, cuc = 0, e = 0, cus = 0, sqrtA = 0, cic = 0, omega0 = 0, cis = 0,
         i0 = 0, crc = 0, omega = 0, omegaDot = 0, idot = 0;
  double tgd[2] = {0, 0};  ///< GPS, QZSS: TGD; Galileo: E5a/E1, E5b/E1; BeiDou: TGD1, TGD2
  long line = 0;           ///< line in the file, for messages
};

/// GLONASS broadcast message. Metres, seconds, PZ-90.
struct GlonassEph {
  SatName sat;
  GpsTime toe, frame;
  double tau = 0, gamma = 0;  ///< tau: clock bias with the sign of the clock value (-TauN)
  std::array<double, 3> position{}, velocity{}, acceleration{};
  int health = 0, channel = 0, age = 0;
  long line = 0;
};

/// A record of a version 4 file that the engine's messages do not hold: ephemerides of other kinds (CNAV,
/// CNV1 to CNV3, SBAS, NavIC), offsets of system times (STO), Earth orientation (EOP), ionosphere (ION).
struct NavRecord {
  std::string kind;            ///< "EPH", "STO", "EOP", "ION"
  std::string source;          ///< satellite, or the letter of the system where the satellite is not told
  std::string message;         ///< "CNV2", "CNVX", ...
  std::string subtype;         ///< since 4.02, "" without
  GpsTime time;                ///< of clock, of reference or of transmission, first of the record
  std::string offset;          ///< STO: what it relates, "GPUT"
  std::vector<double> values;  ///< as they stand, three of the first line, then four a line; blank: NaN
  long line = 0;               ///< line in the file, for messages
};

/// Messages in the order of the files.
struct NavData {
  std::vector<BroadcastEph> keplerian;  ///< GPS, QZSS LNAV; Galileo I/NAV and F/NAV; BeiDou D1, D2
  std::vector<GlonassEph> glonass;
  std::vector<std::string> notes;  ///< messages left out because their content cannot be true
  std::vector<NavRecord> others{};
};

/// Upper bounds of the ranges of the user range accuracy indices, m (IS-GPS-200, 20.3.3.3.1.3).
inline constexpr std::array<double, 15> kAccuracyLimits_m = {
    2.4, 3.4, 4.85, 6.85, 9.65, 13.65, 24.0, 48.0, 96.0, 192.0, 384.0, 768.0, 1536.0, 3072.0, 6144.0};

// ---- orbits and clocks ----

/// Earth-fixed position (m) and velocity (m/s), clock offset (s).
struct SatState {
  Vector3 position{}, velocity{};
  double clock = 0.0;
};

/// Evaluates a message at GPS time t as the engine does. No limit on the distance from the time of ephemeris.
///
/// Corrections are differences to a broadcast message, so both ends must evaluate it alike: what is
/// computed here and what the engine computes cancel to rounding (1e-6 m), constants and conventions of the
/// engine included. References: IS-GPS-200, 20.3.3.4.3; BDS-SIS-ICD B1I, 5.2.4.12 (geostationary).
/// Differences to those documents, all of them the engine's: the rate of inclination has cic on the cosine
/// and cis on the sine; the periodic relativistic clock term is left to the model of the observations; clocks
/// of BeiDou, which refer to B3I, are moved to the pair B1I/B3I.
SatState evaluateBroadcast(const BroadcastEph& eph, const GpsTime& t);

/// Its clock offset alone, s.
double broadcastClock(const BroadcastEph& eph, const GpsTime& t);

/// The number by which a correction names a message: IODE (G, J), IODnav (E); BeiDou: half hours of
/// the day of toe in BDT, plus one.
int issueOfData(const BroadcastEph& eph);

/// Unit vectors radial, along-track, cross-track (rows): along = v/|v|, cross = r x v, radial =
/// along x cross. Radial is exactly that only on a circular orbit; it is the convention of RTCM SSR.
std::array<Vector3, 3> orbitAxes(const SatState& state);

/// Components of a vector along the axes.
Vector3 toAxes(const std::array<Vector3, 3>& axes, const Vector3& v);

// ---- what the engine holds ----

/// Refers the clock polynomial of a message to the point of the 300-s grid before its own time of clock: the
/// same polynomial in a form that the engine takes. GPS uploads out of turn are 16 s off the grid; as they
/// stand their satellites would be without a message for up to two hours. Times of BeiDou make its issue of
/// data, so they stay.
void moveClockToGrid(BroadcastEph& eph);

/// Follows the engine's store message by message: what it takes, what it holds at a time, and to which of
/// its messages a correction should refer.
///
/// The engine takes
/// - no Galileo message without the F/NAV bit (bit value 2 of the data source): I/NAV carries the same issue
///   of data, but another clock;
/// - messages whose time of clock is on the 300-s grid of the system's own time, and within six hours of the
///   moment of delivery;
/// - two messages a satellite, the newest by time of clock; a second one of the same time of clock is
///   dropped, an older one replaces the older of two only when it lies between them.
///
/// Pointers handed out are valid as long as the store holds the message.
class MessageStore {
 public:
  struct Options {
    double settled_s = 60.0;          ///< corrections follow a new message after this time
    double hold_s = 60.0;             ///< and refer to messages that stay in the store so long
    double longest_s = 4.0 * 3600.0;  ///< and whose time of ephemeris is not further away than this
  };

  MessageStore() : MessageStore(Options{}) {}
  explicit MessageStore(const Options& options) : m_options(options) {}

  /// Takes a message, its clock moved to the grid.
  /// \param received  when it came; messages come in this order
  /// \param moment    what the engine's clock shows then, later than `received` for messages from before the
  ///                  start
  /// \return the message as it is to be handed over; null when the engine refuses it
  const BroadcastEph* take(const BroadcastEph& eph, const GpsTime& received, const GpsTime& moment);

  /// The message to which corrections for time t should refer; null when there is none. Where two
  /// messages share an issue of data it is the one that the engine takes, at t and for hold_s after it.
  const BroadcastEph* pick(const SatName& sat, const GpsTime& t) const;
  /// The message that the engine takes at t for a correction of an issue of data; null when it finds
  /// none: of those in the store the nearest in time of ephemeris, less than eight hours away.
  const BroadcastEph* chosenByEngine(const SatName& sat, int issue, const GpsTime& t) const;
  /// Whether a correction given at t for an issue of data finds its message, then and for hold_s.
  bool serves(const SatName& sat, int issue, const GpsTime& t) const;
  /// Satellites of which there are messages.
  std::vector<SatName> satellites() const;

  /// Forgets what was held before a time and is no more.
  void forgetBefore(const GpsTime& t);

 private:
  using Message = std::shared_ptr<const BroadcastEph>;
  /// Content from `since` on; `older` may be null.
  struct Held {
    GpsTime since;
    Message newest, older;
  };

  static const Held* at(const std::vector<Held>& held, const GpsTime& t);
  static const BroadcastEph* choose(const Held* held, int issue, const GpsTime& t);

  Options m_options;
  std::map<SatName, std::vector<Held>> m_held;
};

/// All broadcast messages of a recorded stretch of time in the order in which a receiver has them, and what
/// the engine's store holds by them.
///
/// A message is delivered when it was sent (transmission time; where that is not given or more than four
/// hours from the time of clock, a time usual for the system). Only messages that the engine takes are
/// delivered.
class EphemerisTimeline {
 public:
  /// One of the two pointers is null. `time` may lie before the start: deliver at the start.
  struct Delivery {
    GpsTime time;
    const BroadcastEph* eph = nullptr;
    const GlonassEph* glonass = nullptr;
  };

  /// \param start  first epoch of the run; what was sent in the four hours before it is there at the start
  EphemerisTimeline(NavData messages, const GpsTime& start);
  EphemerisTimeline(const EphemerisTimeline&) = delete;
  EphemerisTimeline& operator=(const EphemerisTimeline&) = delete;

  /// First epoch of the run.
  const GpsTime& start() const { return m_start; }
  const std::vector<Delivery>& deliveries() const { return m_deliveries; }
  const MessageStore& store() const { return m_store; }

  /// The message of an issue of data nearest to t, whether the engine holds it or not, less than eight
  /// hours away; of Galileo's two kinds the one that the engine takes. Null when the files have none.
  const BroadcastEph* find(const SatName& sat, int issue, const GpsTime& t) const;
  /// The same of the messages that were sent by a time.
  const BroadcastEph* findSent(const SatName& sat, int issue, const GpsTime& t, const GpsTime& by) const;

 private:
  NavData m_messages;
  GpsTime m_start;
  MessageStore m_store;
  std::vector<Delivery> m_deliveries;
  struct Sent {
    GpsTime time;
    const BroadcastEph* eph = nullptr;
  };
  std::map<SatName, std::vector<Sent>> m_all;  ///< in the order of the files
};

}  // namespace gnx
