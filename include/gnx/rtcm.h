#pragma once
/// \file rtcm.h
/// Byte streams of RTCM 3: a decoder from bytes to records, and an encoder for observations, broadcast
/// messages and corrections.
///
/// The decoder has no clock, no file and no connection of its own: the same bytes with the same reference
/// times give the same records. Any byte may come in any order; what cannot be used is dropped and counted,
/// and memory stays bounded.

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "gnx/records.h"

namespace gnx {

// ---- records ----

/// All observations of an epoch of one station. Phases have the sign of the pseudorange. Bit 0 of the
/// loss-of-lock indicator: the phase lost lock since the signal's observation before; bit 1: half a cycle is
/// not resolved.
struct RtcmEpoch {
  int station = 0;
  ObsEpoch epoch;
  bool complete = true;  ///< false: the sender announced more of this epoch that did not come
};

/// Where a reference station's antenna is (1005, 1006).
struct RtcmPosition {
  int station = 0;
  Vector3 position{};   ///< antenna reference point, Earth-fixed, m
  double height = 0.0;  ///< of that point above the marker, m; 0 in 1005
};

/// Its antenna and receiver (1007, 1008, 1033); "" where a message does not tell.
struct RtcmEquipment {
  int station = 0, setup = 0;
  std::string antenna, antennaSerial, receiver, firmware, receiverSerial;
};

/// Code-phase biases of GLONASS (1230), m, by signal.
struct RtcmGlonassBias {
  int station = 0;
  bool aligned = false;  ///< pseudoranges and phase ranges are aligned already
  std::map<std::string, double> bias;
};

/// A block of corrections and what its message says of itself. A combined message gives two blocks, a
/// high-rate clock one of clocks that holds the sum. Issues are those of issueOfData(), for GLONASS the
/// quarter hour of the Moscow day; -1 = the message has an issue that names no broadcast message.
struct RtcmSsr {
  SsrBlock block;
  int provider = 0, solution = 0, issue = 0;  ///< issue: of the set of corrections
  bool regional = false;                      ///< orbits: regional datum
  bool dispersive = false, wideLane = false;  ///< phase biases: consistency with original signals, with codes
  bool more = false;                          ///< more satellites of this message and epoch follow
};

/// Accuracies of corrections, m.
struct RtcmAccuracy {
  GpsTime time;
  std::map<SatName, double> sigma;
};

/// A layer of the ionosphere in spherical harmonics; coefficients in TECU in the order of the message: by
/// order m, then degree n.
struct RtcmLayer {
  double height = 0.0;  ///< m
  int degree = 0, order = 0;
  std::vector<double> cosine, sine;
};
struct RtcmIonosphere {
  GpsTime time;
  int interval = 0, provider = 0, solution = 0;
  double quality = 0.0;  ///< TECU
  std::vector<RtcmLayer> layers;
};

using RtcmRecord = std::variant<RtcmEpoch, BroadcastEph, GlonassEph, RtcmSsr, RtcmAccuracy, RtcmIonosphere,
                                RtcmPosition, RtcmEquipment, RtcmGlonassBias>;

// ---- accounts ----

/// Why something was dropped.
enum class RtcmDrop {
  badChecksum,       ///< a frame whose checksum is wrong, or a byte that looked like the start of one
  tooShort,          ///< a message shorter than its content
  unknownMessage,    ///< a number that is not decoded
  unknownTime,       ///< the date is not known yet
  impossibleTime,    ///< a time that no clock shows
  impossibleValue,   ///< content that cannot be true
  wrongWeek,         ///< a broadcast message of another week than the reference time's
  unknownSignal,     ///< a cell of a signal without a name
  unknownSatellite,  ///< a number that no satellite has
  invalidCell,       ///< a satellite or signal that the sender marks as invalid
  unknownChannel,    ///< phases of GLONASS satellites whose channel is not known yet
  ambiguousRange,    ///< pseudoranges without whole milliseconds
  late,              ///< observations of an epoch that is closed
  repeated,          ///< a signal that the epoch has already
  withoutOrbit,      ///< clocks without the orbit that they belong to
  withoutClock,      ///< high-rate clocks without the clock that they refine
  count
};
const char* nameOf(RtcmDrop reason);

struct RtcmCounts {
  std::int64_t bytes = 0;    ///< all that were fed
  std::int64_t skipped = 0;  ///< outside frames
  std::int64_t frames = 0;   ///< with the right checksum
  /// By message number; 4076 as 4076000 plus the subtype.
  std::map<int, std::int64_t> messages{};
  std::array<std::int64_t, static_cast<std::size_t>(RtcmDrop::count)> drops{};

  std::int64_t dropped(RtcmDrop reason) const { return drops[static_cast<std::size_t>(reason)]; }
};

// ---- decoder ----

/// Decodes: observations 1001 to 1004, 1009 to 1012 and MSM4 to MSM7; stations 1005 to 1008, 1033, 1230;
/// broadcast messages 1019, 1020, 1042, 1044, 1045, 1046; corrections 1057 to 1068, 1240 to 1270 and 4076.
class RtcmDecoder {
 public:
  using Sink = std::function<void(const RtcmRecord&)>;

  /// \param reference  a moment within half a week of the first message, GPS time; for GLONASS within half a
  ///                   day. Without it messages are dropped until one comes that tells its date (1013, 1029,
  ///                   1042, 1045, 1046).
  explicit RtcmDecoder(Sink sink, std::optional<GpsTime> reference = std::nullopt);
  ~RtcmDecoder();
  RtcmDecoder(RtcmDecoder&&) noexcept;
  RtcmDecoder& operator=(RtcmDecoder&&) noexcept;

  /// Bytes as they come; records go to the sink before this returns.
  void feed(std::span<const std::uint8_t> bytes);
  /// The stream is silent: hands over what is complete so far. A frame that was begun is searched for whole
  /// ones, epochs that wait for more are closed.
  void flush();
  /// Whether a frame has begun whose rest has not come yet.
  bool inFrame() const;
  /// Sets the time next to which messages are placed; without it that is the latest of the stream.
  void setReference(const GpsTime& now);
  /// Tells of broadcast messages from elsewhere: channels of GLONASS, issues of Galileo of which a correction
  /// names only a part.
  void learn(const GlonassEph& eph);
  void learn(const BroadcastEph& eph);

  /// What is known of the phases is of that time: those that have lost lock since are marked.
  void phasesKnownAt(const GpsTime& time);

  const RtcmCounts& counts() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

// ---- encoder ----

/// Bytes of whole frames. Values beyond the range of their fields throw a UsageError or, in observations,
/// are sent as invalid.
class RtcmEncoder {
 public:
  explicit RtcmEncoder(int station = 0);
  ~RtcmEncoder();
  RtcmEncoder(RtcmEncoder&&) noexcept;
  RtcmEncoder& operator=(RtcmEncoder&&) noexcept;

  /// MSM7, one or more messages a system. Phases are moved by whole cycles to their codes, anew when a loss
  /// of lock is marked. GLONASS phases need the channel, by learn().
  std::vector<std::uint8_t> observations(const ObsEpoch& epoch);
  /// 1019, 1042, 1044, 1045, 1046.
  std::vector<std::uint8_t> ephemeris(const BroadcastEph& eph) const;
  /// 1020.
  std::vector<std::uint8_t> ephemeris(const GlonassEph& eph) const;
  /// Orbits, clocks, code or phase biases, a message a system.
  std::vector<std::uint8_t> corrections(const RtcmSsr& ssr) const;
  /// 1006.
  std::vector<std::uint8_t> position(const RtcmPosition& position) const;
  void learn(const GlonassEph& eph);

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace gnx
