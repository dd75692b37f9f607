#pragma once
/// \file stream_tape.h
/// The last minutes of a shared stream in a file, so that a fleet that was killed begins with messages and
/// corrections and does not wait for casters to repeat them.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <span>
#include <string>

#include "gnx/time.h"

namespace gnx {

/// Two files that follow each other, "NAME.0" and "NAME.1": one is written, the other is what was before. A
/// piece is its time (64 bits, ms), its length (32 bits) and its bytes; what a broken run left unfinished at
/// the end is left out.
class StreamTape {
 public:
  using Take = std::function<void(const GpsTime& arrival, std::span<const std::uint8_t> bytes)>;

  /// \throws InputError for a place that cannot be written
  explicit StreamTape(const std::filesystem::path& file);
  /// What came in the last minutes before `now`. Before the first write.
  void replay(const GpsTime& now, const Take& take) const;
  /// It outlives this process at once.
  void write(const GpsTime& arrival, std::span<const std::uint8_t> bytes);

 private:
  std::filesystem::path part(int number) const;
  void open();

  std::filesystem::path m_file;
  int m_part = 0;
  std::ofstream m_out;
  GpsTime m_begun;
};

}  // namespace gnx
