#pragma once
/// \file ssr_writer.h
/// Correction streams as text, in the block layout of common caster clients.
///
/// ssr_text.h describes the blocks. The indicators of phase biases are those of dispersive and
/// Melbourne-Wuebbena consistency.

#include <filesystem>
#include <fstream>
#include <string>

#include "formats/records.h"

namespace gnx {

/// Update-interval indicator (RTCM DF391) of the longest tabulated interval not above `seconds`.
int updateIntervalIndicator(int seconds);

/// A block as text, every line ended.
std::string ssrText(const SsrBlock& block);

/// Writes blocks one after the other. Throws InputError when the file cannot be written.
class SsrWriter {
 public:
  explicit SsrWriter(const std::filesystem::path& path);
  void write(const SsrBlock& block);

 private:
  std::filesystem::path m_path;
  std::ofstream m_out;
};

}  // namespace gnx
