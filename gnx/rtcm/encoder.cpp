// The encoder: records to frames.

#include "rtcm/ephemerides.h"
#include "rtcm/frames.h"
#include "rtcm/msm_encoder.h"
#include "rtcm/ssr.h"
#include "rtcm/station.h"

namespace gnx {

struct RtcmEncoder::Impl {
  int station = 0;
  rtcm::MsmEncoder observations;
};

namespace {

std::vector<std::uint8_t> framesOf(const std::vector<rtcm::BitWriter>& payloads) {
  std::vector<std::uint8_t> bytes;
  for (const rtcm::BitWriter& payload : payloads) {
    const std::vector<std::uint8_t> frame = rtcm::frameOf(payload.bytes());
    bytes.insert(bytes.end(), frame.begin(), frame.end());
  }
  return bytes;
}

}  // namespace

RtcmEncoder::RtcmEncoder(int station) : m_impl(std::make_unique<Impl>()) { m_impl->station = station; }
RtcmEncoder::~RtcmEncoder() = default;
RtcmEncoder::RtcmEncoder(RtcmEncoder&&) noexcept = default;
RtcmEncoder& RtcmEncoder::operator=(RtcmEncoder&&) noexcept = default;

std::vector<std::uint8_t> RtcmEncoder::observations(const ObsEpoch& epoch) {
  return framesOf(m_impl->observations.encode(m_impl->station, epoch));
}

std::vector<std::uint8_t> RtcmEncoder::ephemeris(const BroadcastEph& eph) const {
  return framesOf({rtcm::encodeKepler(eph)});
}
std::vector<std::uint8_t> RtcmEncoder::ephemeris(const GlonassEph& eph) const {
  return framesOf({rtcm::encodeGlonassEphemeris(eph)});
}
std::vector<std::uint8_t> RtcmEncoder::corrections(const RtcmSsr& ssr) const {
  return framesOf(rtcm::encodeSsr(ssr));
}
std::vector<std::uint8_t> RtcmEncoder::position(const RtcmPosition& position) const {
  return framesOf({rtcm::encodePosition(position)});
}

void RtcmEncoder::learn(const GlonassEph& eph) { m_impl->observations.learn(eph); }

}  // namespace gnx
