#pragma once
/// \file ssr_writer.h
/// Correction streams as text, in the block layout of common caster clients.
///
/// A block is a header line "> ORBIT 2026 11 21 00 00 00.0 5 86 SIM" (kind, GPS time, update-interval
/// indicator of RTCM SSR, number of lines, source) and one line a satellite:
///
///     ORBIT       sat IOD radial along cross [m]  rates of the three [m/s]
///     CLOCK       sat IOD c0 [m] c1 [m/s] c2 [m/s^2]
///     CODE_BIAS   sat n (signal bias [m]) * n
///     PHASE_BIAS  second line: dispersive and Melbourne-Wuebbena consistency indicators; then
///                 sat yaw [deg] rate [deg/s] n (signal bias [m] integer wide-lane discontinuity) * n

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
