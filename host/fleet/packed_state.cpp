// A state behind its size, by zlib, which holds a checksum of it.

#include "fleet/packed_state.h"

#include <zlib.h>

#include <cstdint>
#include <cstring>

namespace gnx {

namespace {

constexpr std::uint64_t kLargest = std::uint64_t{64} << 20;  ///< of a state; a damaged size asks for no more

Bytef* bytesAt(std::string& text, std::size_t offset) {
  return reinterpret_cast<Bytef*>(text.data()) + offset;
}

}  // namespace

std::string packedState(const std::string& bytes) {
  const std::uint64_t size = bytes.size();
  uLongf length = compressBound(static_cast<uLong>(size));
  std::string packed(sizeof size + length, '\0');
  std::memcpy(packed.data(), &size, sizeof size);
  compress2(bytesAt(packed, sizeof size), &length, reinterpret_cast<const Bytef*>(bytes.data()),
            static_cast<uLong>(size), Z_BEST_SPEED);
  packed.resize(sizeof size + length);
  return packed;
}

std::optional<std::string> unpackedState(const std::string& packed) {
  std::uint64_t size = 0;
  if (packed.size() < sizeof size) return std::nullopt;
  std::memcpy(&size, packed.data(), sizeof size);
  if (size > kLargest) return std::nullopt;
  std::string bytes(size, '\0');
  uLongf length = static_cast<uLongf>(size);
  const auto* content = reinterpret_cast<const Bytef*>(packed.data()) + sizeof size;
  const int status =
      uncompress(bytesAt(bytes, 0), &length, content, static_cast<uLong>(packed.size() - sizeof size));
  if (status != Z_OK || length != size) return std::nullopt;
  return bytes;
}

}  // namespace gnx
