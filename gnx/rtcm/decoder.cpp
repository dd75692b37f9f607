// The decoder: frames to families of messages.

#include "rtcm/ephemerides.h"
#include "rtcm/frames.h"
#include "rtcm/msm_layout.h"
#include "rtcm/observations.h"
#include "rtcm/ssr.h"
#include "rtcm/station.h"

namespace gnx {

using rtcm::BitReader;

struct RtcmDecoder::Impl {
  rtcm::Context context;
  rtcm::FrameScanner frames;
  rtcm::EpochAssembler epochs;
  rtcm::SsrMemory corrections;

  void take(std::span<const std::uint8_t> payload);
  bool takeObservations(int message, const BitReader& bits);
  bool takeStation(int message, const BitReader& bits);
  bool takeEphemeris(int message, const BitReader& bits);
  bool takeCorrections(int message, std::span<const std::uint8_t> payload);
};

const char* nameOf(RtcmDrop reason) {
  constexpr std::array<const char*, static_cast<std::size_t>(RtcmDrop::count)> names = {
      "bad checksum", "too short",       "unknown message",
      "unknown time", "impossible time", "impossible value",
      "wrong week",   "unknown signal",  "unknown satellite",
      "invalid cell", "unknown channel", "ambiguous range",
      "late",         "repeated",        "without orbit",
      "without clock"};
  return names.at(static_cast<std::size_t>(reason));
}

RtcmDecoder::RtcmDecoder(Sink sink, std::optional<GpsTime> reference) : m_impl(std::make_unique<Impl>()) {
  m_impl->context.sink = std::move(sink);
  if (reference) m_impl->context.time.set(*reference);
}
RtcmDecoder::~RtcmDecoder() = default;
RtcmDecoder::RtcmDecoder(RtcmDecoder&&) noexcept = default;
RtcmDecoder& RtcmDecoder::operator=(RtcmDecoder&&) noexcept = default;

void RtcmDecoder::feed(std::span<const std::uint8_t> bytes) {
  m_impl->frames.feed(bytes, m_impl->context.counts, [this](auto payload) { m_impl->take(payload); });
}

void RtcmDecoder::flush() {
  m_impl->frames.flush(m_impl->context.counts, [this](auto payload) { m_impl->take(payload); });
  m_impl->epochs.flush(m_impl->context);
}

bool RtcmDecoder::inFrame() const { return m_impl->frames.begun(); }
void RtcmDecoder::setReference(const GpsTime& now) { m_impl->context.time.set(now); }
void RtcmDecoder::learn(const GlonassEph& eph) { m_impl->context.learn(eph); }
void RtcmDecoder::learn(const BroadcastEph& eph) { m_impl->context.learn(eph); }
void RtcmDecoder::phasesKnownAt(const GpsTime& time) {
  m_impl->epochs.phasesKnownAt(rtcm::millisecondsOf(time));
}
const RtcmCounts& RtcmDecoder::counts() const { return m_impl->context.counts; }

void RtcmDecoder::Impl::take(std::span<const std::uint8_t> payload) {
  if (payload.size() < 2) return;  // a filler
  BitReader bits(payload);
  const int message = bits.number(12);
  bits.u(3);
  ++context.counts.messages[message == 4076 ? 4076000 + bits.number(8) : message];
  const BitReader whole(payload);
  const bool known = takeObservations(message, whole) || takeStation(message, whole) ||
                     takeEphemeris(message, whole) || takeCorrections(message, payload);
  if (!known) context.drop(RtcmDrop::unknownMessage);
}

bool RtcmDecoder::Impl::takeObservations(int message, const BitReader& bits) {
  const bool legacy = (message >= 1001 && message <= 1004) || (message >= 1009 && message <= 1012);
  if (legacy) rtcm::decodeLegacy(message, bits, epochs, context);
  if (!legacy && rtcm::msmSystemOfMessage(message) == nullptr) return false;
  if (!legacy) rtcm::decodeMsm(message, bits, epochs, context);
  return true;
}

bool RtcmDecoder::Impl::takeStation(int message, const BitReader& bits) {
  switch (message) {
    case 1005:
    case 1006:
      rtcm::decodePosition(message, bits, context);
      return true;
    case 1007:
    case 1008:
    case 1033:
      rtcm::decodeEquipment(message, bits, context);
      return true;
    case 1013:
    case 1029:
      rtcm::decodeDate(bits, context);
      return true;
    case 1230:
      rtcm::decodeGlonassBias(bits, context);
      return true;
    default:
      return false;
  }
}

bool RtcmDecoder::Impl::takeEphemeris(int message, const BitReader& bits) {
  switch (message) {
    case 1020:
      rtcm::decodeGlonassEphemeris(bits, context);
      return true;
    case 1019:
    case 1042:
    case 1044:
    case 1045:
    case 1046:
      rtcm::decodeKepler(message, bits, context);
      return true;
    default:
      return false;
  }
}

bool RtcmDecoder::Impl::takeCorrections(int message, std::span<const std::uint8_t> payload) {
  const bool correction = (message >= 1057 && message <= 1068) || (message >= 1240 && message <= 1270);
  if (!correction && message != 4076) return false;
  BitReader bits(payload);
  bits.u(15);
  if (rtcm::ssrLayouts(message, bits.number(8)).empty()) return false;
  rtcm::decodeSsr(message, payload, corrections, context);
  return true;
}

}  // namespace gnx
