// Signals of the multiple signal messages by their identifiers (RTCM 10403.3, tables 3.5-91 to 3.5-108).

#include <initializer_list>

#include "rtcm/msm_layout.h"

namespace gnx::rtcm {

namespace {

/// Signals of consecutive identifiers, two characters each.
struct Run {
  std::size_t first;
  std::string_view signals;
};

constexpr MsmSystem msmSystem(char letter, int base, int offset, std::initializer_list<Run> runs) {
  MsmSystem made{letter, base, offset, {}};
  for (const Run& run : runs) {
    for (std::size_t k = 0; 2 * k < run.signals.size(); ++k)
      made.signals[run.first + k] = run.signals.substr(2 * k, 2);
  }
  return made;
}

constexpr MsmSystem kSystems[] = {
    msmSystem('G', 1070, 0, {{2, "1C1P1W"}, {8, "2C2P2W"}, {15, "2S2L2X"}, {22, "5I5Q5X"}, {30, "1S1L1X"}}),
    msmSystem('R', 1080, 0, {{2, "1C1P"}, {8, "2C2P"}, {10, "4A4B4X"}, {13, "6A6B6X"}, {16, "3I3Q3X"}}),
    msmSystem('E', 1090, 0,
              {{2, "1C1A1B1X1Z"}, {8, "6C6A6B6X6Z"}, {14, "7I7Q7X"}, {18, "8I8Q8X"}, {22, "5I5Q5X"}}),
    msmSystem('S', 1100, 19, {{2, "1C"}, {22, "5I5Q5X"}}),
    msmSystem('J', 1110, 0, {{2, "1C"}, {9, "6S6L6X"}, {15, "2S2L2X"}, {22, "5I5Q5X"}, {30, "1S1L1X"}}),
    msmSystem('C', 1120, 0,
              {{2, "2I2Q2X"}, {8, "6I6Q6X"}, {14, "7I7Q7X"}, {22, "5D5P5X"}, {25, "7D"}, {30, "1D1P1X"}}),
    msmSystem('I', 1130, 0, {{8, "9A"}, {22, "5A"}}),
};

}  // namespace

const MsmSystem* msmSystemOfMessage(int message) {
  for (const MsmSystem& system : kSystems) {
    if (message > system.base && message <= system.base + 7) return &system;
  }
  return nullptr;
}

const MsmSystem* msmSystemOfLetter(char letter) {
  for (const MsmSystem& system : kSystems) {
    if (system.letter == letter) return &system;
  }
  return nullptr;
}

}  // namespace gnx::rtcm
