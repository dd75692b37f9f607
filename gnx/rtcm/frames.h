#pragma once
// Frames in a stream of bytes: preamble, length, payload, checksum.

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "gnx/rtcm.h"

namespace gnx::rtcm {

/// CRC-24Q. Over a whole frame with its checksum it is 0.
std::uint32_t crc24q(std::span<const std::uint8_t> bytes);

/// A payload of at most 1023 bytes between preamble and checksum.
std::vector<std::uint8_t> frameOf(std::span<const std::uint8_t> payload);

/// Finds frames. Behind a wrong checksum the search goes on at the very next byte: the true frame may begin
/// inside the presumed one.
class FrameScanner {
 public:
  using Take = std::function<void(std::span<const std::uint8_t> payload)>;

  void feed(std::span<const std::uint8_t> bytes, RtcmCounts& counts, const Take& take);
  /// No more bytes will complete what was begun: whole frames inside it are taken, the rest is dropped.
  void flush(RtcmCounts& counts, const Take& take);
  /// Whether bytes wait for the rest of their frame.
  bool begun() const { return !m_bytes.empty(); }

 private:
  void scan(RtcmCounts& counts, const Take& take, bool last);

  std::vector<std::uint8_t> m_bytes;  ///< less than a frame between calls
};

}  // namespace gnx::rtcm
