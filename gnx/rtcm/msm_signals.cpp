// Signals of the multiple signal messages by their identifiers (RTCM 10403.3, tables 3.5-91 to 3.5-108).

#include "rtcm/msm_layout.h"

namespace gnx::rtcm {

namespace {

constexpr MsmSystem kSystems[] = {
    {'G', 1070, 0, {"",   "",   "1C", "1P", "1W", "",   "",   "", "2C", "2P", "2W",
                    "",   "",   "",   "",   "2S", "2L", "2X", "", "",   "",   "",
                    "5I", "5Q", "5X", "",   "",   "",   "",   "", "1S", "1L", "1X"}},
    {'R', 1080, 0, {"",   "",   "1C", "1P", "",   "",   "",   "",   "2C", "2P", "4A",
                    "4B", "4X", "6A", "6B", "6X", "3I", "3Q", "3X", "",   "",   "",
                    "",   "",   "",   "",   "",   "",   "",   "",   "",   "",   ""}},
    {'E', 1090, 0, {"",   "",   "1C", "1A", "1B", "1X", "1Z", "",   "6C", "6A", "6B",
                    "6X", "6Z", "",   "7I", "7Q", "7X", "",   "8I", "8Q", "8X", "",
                    "5I", "5Q", "5X", "",   "",   "",   "",   "",   "",   "",   ""}},
    {'S', 1100, 19, {"", "", "1C", "", "", "",   "",   "",   "", "", "", "", "", "", "", "", "",
                     "", "", "",   "", "", "5I", "5Q", "5X", "", "", "", "", "", "", "", ""}},
    {'J', 1110, 0, {"",   "",   "1C", "", "",   "",   "",   "", "",   "6S", "6L",
                    "6X", "",   "",   "", "2S", "2L", "2X", "", "",   "",   "",
                    "5I", "5Q", "5X", "", "",   "",   "",   "", "1S", "1L", "1X"}},
    {'C', 1120, 0, {"",   "",   "2I", "2Q", "2X", "",   "", "", "6I", "6Q", "6X",
                    "",   "",   "",   "7I", "7Q", "7X", "", "", "",   "",   "",
                    "5D", "5P", "5X", "7D", "",   "",   "", "", "1D", "1P", "1X"}},
    {'I', 1130, 0, {"", "", "", "", "", "",   "", "", "9A", "", "", "", "", "", "", "", "",
                    "", "", "", "", "", "5A", "", "", "",   "", "", "", "", "", "", ""}}};

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
