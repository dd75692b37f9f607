// Finds and makes frames.

#include "rtcm/frames.h"

#include <algorithm>
#include <array>

#include "gnx/error.h"

namespace gnx::rtcm {

namespace {

constexpr std::uint8_t kPreamble = 0xD3;
constexpr std::size_t kHead = 3, kChecksum = 3, kLongestPayload = 1023;
constexpr std::size_t kPiece = 4096;  ///< bytes that are looked at together, so that memory stays bounded

constexpr std::array<std::uint32_t, 256> makeTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < 256; ++i) {
    std::uint32_t crc = i << 16;
    for (int bit = 0; bit < 8; ++bit) {
      crc <<= 1;
      if ((crc & 0x1000000U) != 0) crc ^= 0x1864CFBU;
    }
    table[i] = crc;
  }
  return table;
}
constexpr std::array<std::uint32_t, 256> kTable = makeTable();

}  // namespace

std::uint32_t crc24q(std::span<const std::uint8_t> bytes) {
  std::uint32_t crc = 0;
  for (const std::uint8_t byte : bytes) crc = (crc << 8 & 0xFFFFFFU) ^ kTable[(crc >> 16) ^ byte];
  return crc;
}

std::vector<std::uint8_t> frameOf(std::span<const std::uint8_t> payload) {
  if (payload.size() > kLongestPayload) throw UsageError("a message is longer than 1023 bytes; split it");
  std::vector<std::uint8_t> frame{kPreamble, static_cast<std::uint8_t>(payload.size() >> 8),
                                  static_cast<std::uint8_t>(payload.size() & 0xFFU)};
  frame.insert(frame.end(), payload.begin(), payload.end());
  const std::uint32_t crc = crc24q(frame);
  for (const int shift : {16, 8, 0}) frame.push_back(static_cast<std::uint8_t>(crc >> shift & 0xFFU));
  return frame;
}

void FrameScanner::feed(std::span<const std::uint8_t> bytes, RtcmCounts& counts, const Take& take) {
  counts.bytes += static_cast<std::int64_t>(bytes.size());
  while (!bytes.empty()) {
    const auto piece = bytes.first(std::min(bytes.size(), kPiece));
    m_bytes.insert(m_bytes.end(), piece.begin(), piece.end());
    bytes = bytes.subspan(piece.size());
    scan(counts, take, false);
  }
}

void FrameScanner::flush(RtcmCounts& counts, const Take& take) { scan(counts, take, true); }

void FrameScanner::scan(RtcmCounts& counts, const Take& take, bool last) {
  std::size_t at = 0;
  while (at < m_bytes.size()) {
    const std::size_t there = m_bytes.size() - at;
    const bool starts = m_bytes[at] == kPreamble && (there < 2 || (m_bytes[at + 1] & 0xFCU) == 0);
    if (starts) {
      const std::size_t length =
          there < kHead ? 0 : static_cast<std::size_t>((m_bytes[at + 1] & 3U) << 8 | m_bytes[at + 2]);
      const std::size_t whole = kHead + length + kChecksum;
      if (there >= kHead && there >= whole) {
        const auto frame = std::span<const std::uint8_t>(m_bytes).subspan(at, whole);
        if (crc24q(frame) == 0) {
          ++counts.frames;
          take(frame.subspan(kHead, length));
          at += whole;
          continue;
        }
        ++counts.drops[static_cast<std::size_t>(RtcmDrop::badChecksum)];
      } else if (!last) {
        break;
      }
    }
    ++counts.skipped;
    ++at;
  }
  m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(at));
}

}  // namespace gnx::rtcm
