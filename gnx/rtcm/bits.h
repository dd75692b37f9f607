#pragma once
// Fields of bits, the most significant first, packed without gaps.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace gnx::rtcm {

/// Reads fields one after the other. Behind the end everything is 0 and overrun() tells.
class BitReader {
 public:
  explicit BitReader(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

  /// Unsigned, up to 57 bits.
  std::uint64_t u(int bits) {
    const auto width = static_cast<std::size_t>(bits);
    if (left() < width) {
      m_at = m_bytes.size() * 8;
      m_overrun = true;
      return 0;
    }
    std::uint64_t value = 0;
    const std::size_t end = m_at + width;
    const std::size_t lastByte = width == 0 ? m_at / 8 : (end + 7) / 8;
    for (std::size_t b = m_at / 8; b < lastByte; ++b) value = value << 8 | m_bytes[b];
    value >>= lastByte * 8 - std::min(lastByte * 8, end);
    m_at = end;
    return width == 0 ? 0 : value & (~std::uint64_t{0} >> (64 - width));
  }
  int number(int bits) { return static_cast<int>(u(bits)); }
  bool flag() { return u(1) != 0; }
  /// Two's complement.
  std::int64_t i(int bits) {
    const std::uint64_t value = u(bits);
    const std::uint64_t sign = std::uint64_t{1} << (bits - 1);
    return static_cast<std::int64_t>(value & (sign - 1)) - static_cast<std::int64_t>(value & sign);
  }
  /// Sign and magnitude.
  std::int64_t s(int bits) {
    const bool negative = flag();
    const auto magnitude = static_cast<std::int64_t>(u(bits - 1));
    return negative ? -magnitude : magnitude;
  }
  std::string text(int characters) {
    std::string result;
    for (int c = 0; c < characters; ++c) {
      const auto value = static_cast<char>(u(8));
      if (value >= ' ' && value <= '~') result += value;
    }
    return result;
  }

  std::size_t left() const { return m_bytes.size() * 8 - m_at; }
  bool overrun() const { return m_overrun; }

 private:
  std::span<const std::uint8_t> m_bytes;
  std::size_t m_at = 0;
  bool m_overrun = false;
};

/// Writes fields one after the other; the last byte is filled with zeros.
class BitWriter {
 public:
  void u(std::uint64_t value, int bits) {
    for (int b = bits - 1; b >= 0; --b) {
      if (m_free == 0) {
        m_bytes.push_back(0);
        m_free = 8;
      }
      --m_free;
      m_bytes.back() = static_cast<std::uint8_t>(m_bytes.back() | ((value >> b & 1U) << m_free));
    }
  }
  void number(int value, int bits) { u(static_cast<std::uint64_t>(value), bits); }
  void i(std::int64_t value, int bits) { u(static_cast<std::uint64_t>(value), bits); }
  void s(std::int64_t value, int bits) {
    u(value < 0 ? 1 : 0, 1);
    u(static_cast<std::uint64_t>(value < 0 ? -value : value), bits - 1);
  }
  const std::vector<std::uint8_t>& bytes() const { return m_bytes; }

 private:
  std::vector<std::uint8_t> m_bytes;
  unsigned m_free = 0;  ///< bits of the last byte
};

}  // namespace gnx::rtcm
