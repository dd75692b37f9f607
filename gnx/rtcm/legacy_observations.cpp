// Observation messages 1001 to 1004 of GPS and 1009 to 1012 of GLONASS.

#include <cmath>

#include "rtcm/carriers.h"
#include "rtcm/layout.h"
#include "rtcm/observations.h"

namespace gnx::rtcm {

namespace {

enum class Item {
  satellite,
  code1,
  channel,
  range1,
  phase1,
  lock1,
  modulus,
  snr1,
  code2,
  range2,
  phase2,
  lock2,
  snr2,
  count
};
using enum Item;
constexpr double kRange = 0.02, kPhase = 0.0005, kSnr = 0.25;
constexpr Form kComplement = Form::complement;

/// Widths of GPS; the channel is sent by GLONASS alone.
constexpr Field<Item> kFields[] = {{satellite, 6},
                                   {code1, 1},
                                   {channel, 5},
                                   {range1, 24, Form::natural, kRange},
                                   {phase1, 20, kComplement, kPhase},
                                   {lock1, 7},
                                   {modulus, 8},
                                   {snr1, 8, Form::natural, kSnr},
                                   {code2, 2},
                                   {range2, 14, kComplement, kRange},
                                   {phase2, 20, kComplement, kPhase},
                                   {lock2, 7},
                                   {snr2, 8, Form::natural, kSnr}};

constexpr std::int64_t kNoPhase = -(1 << 19), kNoRange2 = -(1 << 13);
constexpr double kLightMs = kLightSpeed / 1000.0;
constexpr int kChannelZero = 7, kLastChannel = 20;
constexpr const char* kGpsSecond[] = {"2X", "2P", "2D", "2W"};
constexpr const char* kGlonassSecond[] = {"2C", "2P", "2P", "2P"};

/// One of the four messages of a system.
struct Kind {
  bool glonass, second, extended;
  bool has(Item item) const {
    if (item == channel) return glonass;
    if (item == modulus || item == snr1 || item == snr2) return extended && (item != snr2 || second);
    return second || (item != code2 && item != range2 && item != phase2 && item != lock2);
  }
};

Kind kindOf(int message) {
  const int place = message > 1008 ? message - 1009 : message - 1001;
  return {message > 1008, place >= 2, place % 2 == 1};
}

std::vector<Field<Item>> layoutOf(const Kind& kind) {
  std::vector<Field<Item>> layout;
  for (Field<Item> field : kFields) {
    if (kind.glonass && field.item == range1) ++field.bits;  // its modulus is twice as long
    if (kind.glonass && field.item == modulus) --field.bits;
    if (kind.has(field.item)) layout.push_back(field);
  }
  return layout;
}

/// Empty for a number that no satellite has.
SatName nameOfSatellite(const Kind& kind, int number) {
  if (kind.glonass) return number >= 1 && number <= 24 ? satelliteName('R', number) : SatName{};
  if (number >= 1 && number <= 32) return satelliteName('G', number);
  return number >= 40 && number <= 58 ? satelliteName('S', number - 20) : SatName{};
}

class LegacyMessage {
 public:
  LegacyMessage(int number, BitReader bits, EpochAssembler& epochs, Context& context)
      : m_kind(kindOf(number)), m_bits(bits), m_epochs(epochs), m_context(context) {}
  void decode();

 private:
  void decodeSatellite(const Content<Item>& content);
  void add(const SatName& sat, const char* code, double range, double phaseRange, double snr, int lock);

  Kind m_kind;
  BitReader m_bits;
  EpochAssembler& m_epochs;
  Context& m_context;
  int m_station = 0, m_channel = 0;
  bool m_channelKnown = true;
  GpsTime m_time;
};

void LegacyMessage::decode() {
  m_bits.u(12);
  m_station = m_bits.number(12);
  const auto ms = static_cast<std::int64_t>(m_bits.u(m_kind.glonass ? 27 : 30));
  const bool more = m_bits.flag();
  const int satellites = m_bits.number(5);
  m_bits.u(4);  // smoothing
  const std::vector<Field<Item>> layout = layoutOf(m_kind);
  std::vector<Content<Item>> contents(static_cast<std::size_t>(satellites));
  for (Content<Item>& content : contents) content.read(m_bits, layout);
  if (m_bits.overrun()) return m_context.drop(RtcmDrop::tooShort);
  const auto time = m_kind.glonass ? m_context.time.ofMoscowDay(ms) : m_context.time.ofWeek(ms);
  if (!time) return m_context.dropTime();
  m_time = *time;
  if (!m_epochs.begin(m_station, m_time, m_context)) return m_context.drop(RtcmDrop::late);
  m_context.time.advance(m_time);
  for (const Content<Item>& content : contents) decodeSatellite(content);
  m_epochs.end(m_station, more, m_context);
}

void LegacyMessage::decodeSatellite(const Content<Item>& content) {
  const SatName sat = nameOfSatellite(m_kind, content.integer(satellite));
  if (sat.empty()) return m_context.drop(RtcmDrop::unknownSatellite);
  if (!m_kind.extended) return m_context.drop(RtcmDrop::ambiguousRange);
  if (m_kind.glonass) {
    m_channelKnown = content.integer(channel) <= kLastChannel;
    m_channel = content.integer(channel) - kChannelZero;
    if (m_channelKnown) m_context.channels[sat] = m_channel;
  }
  const double modulo = content.value(modulus) * kLightMs * (m_kind.glonass ? 2.0 : 1.0);
  const double range = content.value(range1) + modulo;
  const auto phaseRange = [&](Item item) {
    return content.number(item) == kNoPhase ? 0.0 : range + content.value(item);
  };
  const bool precise = content.integer(code1) != 0;
  add(sat,
      !precise         ? "1C"
      : m_kind.glonass ? "1P"
                       : "1W",
      range, phaseRange(phase1), content.value(snr1), content.integer(lock1));
  if (!m_kind.second) return;
  // Senders write a satellite without a second frequency as a difference of 0 beside an invalid phase.
  const bool noPhase = content.number(phase2) == kNoPhase;
  const bool noRange = content.number(range2) == kNoRange2 ||
                       (content.number(range2) == 0 && noPhase && content.number(snr2) == 0);
  if (noPhase && noRange) return;
  const auto code = static_cast<std::size_t>(content.integer(code2));
  add(sat, m_kind.glonass ? kGlonassSecond[code] : kGpsSecond[code],
      noRange ? 0.0 : range + content.value(range2), phaseRange(phase2), content.value(snr2),
      content.integer(lock2));
}

void LegacyMessage::add(const SatName& sat, const char* code, double range, double phaseRange, double snr,
                        int lock) {
  ReceivedSignal signal;
  signal.sat = sat;
  signal.obs.code = {code[0], code[1], '\0'};
  signal.obs.range = range, signal.obs.snr = snr;
  signal.phaseRange = phaseRange, signal.legacy = true;
  signal.lock = {millisecondsOf(m_time), lockTime(LockTable::legacy, lock), false};
  const auto carrier = carrierOf(sat.front(), code[0], m_channel);
  if (phaseRange != 0.0 && !m_channelKnown) m_context.drop(RtcmDrop::unknownChannel);
  if (phaseRange != 0.0 && m_channelKnown && carrier) signal.obs.phase = phaseRange * *carrier / kLightSpeed;
  m_epochs.add(m_station, signal, m_context);
}

}  // namespace

void decodeLegacy(int message, BitReader bits, EpochAssembler& epochs, Context& context) {
  LegacyMessage(message, bits, epochs, context).decode();
}

}  // namespace gnx::rtcm
