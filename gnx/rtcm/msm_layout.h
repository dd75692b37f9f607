#pragma once
// Layouts of the multiple signal messages, for reading and writing.

#include <array>
#include <string_view>

namespace gnx::rtcm {

/// Bits of the fields of a message of one type; 0 = absent.
struct MsmLayout {
  int wholeRange, information, rangeFraction, rate;  // of a satellite
  int range, phase, lock, halfCycle, snr, fineRate;  // of a signal
  int rangeScale, phaseScale, snrScale;              // negative powers of 2: ms, ms, dB-Hz
};
/// By type, 1 to 7.
inline constexpr std::array<MsmLayout, 8> kMsmLayouts = {{{},
                                                          {0, 0, 10, 0, 15, 0, 0, 0, 0, 0, 24, 29, 0},
                                                          {0, 0, 10, 0, 0, 22, 4, 1, 0, 0, 24, 29, 0},
                                                          {0, 0, 10, 0, 15, 22, 4, 1, 0, 0, 24, 29, 0},
                                                          {8, 0, 10, 0, 15, 22, 4, 1, 6, 0, 24, 29, 0},
                                                          {8, 4, 10, 14, 15, 22, 4, 1, 6, 15, 24, 29, 0},
                                                          {8, 0, 10, 0, 20, 24, 10, 1, 10, 0, 29, 31, 4},
                                                          {8, 4, 10, 14, 20, 24, 10, 1, 10, 15, 29, 31, 4}}};

inline constexpr int kNoWholeRange = 255, kMostCells = 64;
inline constexpr double kFineRate = 1e-4;  ///< m/s

/// A system's message numbers, satellites and signals.
struct MsmSystem {
  char letter;
  int base;    ///< number of its message of type 1 minus 1
  int offset;  ///< satellite number of identifier 0: satellites of SBAS count from PRN 120 = S20
  std::array<std::string_view, 33> signals;  ///< by identifier, "" = none
};
/// Null for a number or letter of no system.
const MsmSystem* msmSystemOfMessage(int message);
const MsmSystem* msmSystemOfLetter(char letter);

}  // namespace gnx::rtcm
