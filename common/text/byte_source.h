#pragma once
/// \file byte_source.h
/// The bytes of a file or of standard input, unpacked.

#include <cstddef>
#include <memory>
#include <string>

namespace gnx {

/// Reads bytes in order. What packed them is recognised by their first bytes, never by the name.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  /// Up to `room` bytes; 0 at the end and at damage.
  virtual std::size_t read(char* to, std::size_t room) = 0;
  /// What is wrong with the packed data, "" as long as nothing is.
  const std::string& damage() const { return m_damage; }

 protected:
  std::string m_damage;
};

/// Opens a file: plain, .gz, .Z, .bz2, .xz, .zst, or a .zip of one file. "-" is standard input, which is kept
/// in a temporary file at the first call, so that it can be read several times as any other.
/// \throws InputError when it cannot be opened
std::unique_ptr<ByteSource> openBytes(const std::string& path);

}  // namespace gnx
