// Any bytes to the decoder of RTCM streams: as they are, and as the content of a frame, which a fuzzer would
// hardly ever give the right checksum.

#include "gnx/rtcm.h"
#include "rtcm/frames.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::uint8_t> bytes(data, size);
  gnx::RtcmDecoder decoder([](const gnx::RtcmRecord&) {}, gnx::fromWeek(2404, 504000.0));
  decoder.feed(bytes);
  decoder.flush();
  decoder.feed(gnx::rtcm::frameOf(bytes.first(std::min<std::size_t>(size, 1023))));
  decoder.flush();
  return 0;
}
