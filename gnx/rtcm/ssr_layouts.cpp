// Numbers, widths and signals of correction messages (RTCM 10403.3, 3.5.12; IGS SSR v1.00).

#include <algorithm>
#include <array>

#include "rtcm/ssr_layout.h"

namespace gnx::rtcm {

namespace {

using enum SsrPart;

constexpr int kIgs = 4076, kIonosphere = 1264, kIgsIonosphere = 201;
constexpr int kDraftCountBits = 4, kChecksumBits = 24, kSbasOfIgs = 19, kSbasOfRtcm = 20;

/// A system in the messages of RTCM and in the subtypes of the IGS.
struct System {
  char letter;
  int first, phase;  ///< message numbers: of orbits, the five others behind it; of phase biases
  int igsFirst;      ///< subtype of orbits
  int epochBits, satelliteBits, leadBits, issueBits;
};
constexpr System kSystems[] = {{'G', 1057, 1265, 21, 20, 6, 0, 8},
                               {'R', 1063, 1266, 41, 17, 5, 0, 8},
                               {'E', 1240, 1267, 61, 20, 6, 0, 10},
                               {'J', 1246, 1268, 81, 20, 4, 0, 8},
                               {'S', 1252, 1269, 121, 20, 6, 9, kChecksumBits},
                               {'C', 1258, 1270, 101, 20, 6, 10, 8}};
constexpr SsrPart kParts[] = {orbit, clock, codeBias, combined, accuracy, highRateClock};
constexpr SsrPart kIgsParts[] = {orbit, clock, combined, highRateClock, codeBias, phaseBias, accuracy};

SsrLayout standard(const System& system, int message, SsrPart part) {
  SsrLayout layout;
  layout.message = message, layout.system = system.letter, layout.part = part;
  layout.epochBits = system.epochBits, layout.satelliteBits = system.satelliteBits;
  layout.leadBits = system.leadBits, layout.issueBits = system.issueBits;
  layout.satelliteOffset = system.letter == 'S' ? kSbasOfRtcm : 0;
  return layout;
}

std::optional<SsrPart> partOf(const System& system, int message) {
  if (message == system.phase) return phaseBias;
  const int place = message - system.first;
  if (place < 0 || place >= static_cast<int>(std::size(kParts))) return std::nullopt;
  return kParts[place];
}

std::vector<SsrLayout> igsLayouts(int subtype) {
  SsrLayout layout;
  layout.message = kIgs, layout.subtype = subtype;
  if (subtype == kIgsIonosphere) {
    layout.part = ionosphere;
    return {layout};
  }
  for (const System& system : kSystems) {
    const int place = subtype - system.igsFirst;
    if (place < 0 || place >= static_cast<int>(std::size(kIgsParts))) continue;
    layout.system = system.letter, layout.part = kIgsParts[place];
    layout.satelliteOffset = system.letter == 'S' ? kSbasOfIgs : 0;
    return {layout};
  }
  return {};
}

using Signals = std::array<std::string_view, 20>;
struct SignalTable {
  char system;
  Signals signals;
};
constexpr SignalTable kSignals[] = {
    {'G', {"1C", "1P", "1W", "", "",   "2C", "2D", "2S", "2L", "2X",
           "2P", "2W", "",   "", "5I", "5Q", "5X", "1S", "1L", "1X"}},
    {'R', {"1C", "1P", "2C", "2P", "4A", "4B", "4X", "6A", "6B", "6X", "3I", "3Q", "3X"}},
    {'E',
     {"1A", "1B", "1C", "1X", "1Z", "5I", "5Q", "5X", "7I", "7Q", "7X", "8I", "8Q", "8X", "6A", "6B", "6C",
      "6X", "6Z"}},
    {'J',
     {"1C", "1S", "1L", "2S", "2L", "2X", "5I", "5Q", "5X", "6S", "6L", "6X", "1X", "1Z", "5D", "5P", "5Z",
      "6E", "6Z"}},
    {'S', {"1C", "5I", "5Q", "5X"}},
    {'C', {"2I", "2Q", "2X", "6I", "6Q", "6X", "7I", "7Q", "7X", "1D", "1P", "1X", "5D", "5P", "5X"}}};
/// Where the IGS says something else.
struct IgsSignal {
  char system;
  int indicator;
  std::string_view signal;
};
constexpr IgsSignal kIgsSignals[] = {{'G', 3, "1S"}, {'G', 4, "1L"}, {'R', 6, "6A"},  {'R', 7, "6B"},
                                     {'R', 8, "3I"}, {'R', 9, "3Q"}, {'C', 15, "1A"}, {'C', 18, "6A"}};

const Signals* signalsOf(char system) {
  for (const SignalTable& table : kSignals) {
    if (table.system == system) return &table.signals;
  }
  return nullptr;
}

}  // namespace

std::vector<SsrLayout> ssrLayouts(int message, int subtype) {
  if (message == kIgs) return igsLayouts(subtype);
  SsrLayout layout;
  layout.message = message;
  if (message == kIonosphere) {
    layout.part = ionosphere;
    return {layout};
  }
  for (const System& system : kSystems) {
    const auto part = partOf(system, message);
    if (!part) continue;
    layout = standard(system, message, *part);
    std::vector<SsrLayout> layouts{layout};
    if (system.letter == 'J') layouts.push_back(layout), layouts.back().countBits = kDraftCountBits;
    if (system.letter == 'C' && layout.hasOrbit())
      layouts.push_back(layout), layouts.back().issueBits = kChecksumBits;
    if (system.letter == 'G' && (*part == codeBias || *part == combined))
      layouts.push_back(layout), layouts.back().anonymous = true;
    return layouts;
  }
  return {};
}

std::optional<SsrLayout> ssrLayout(char letter, SsrPart part) {
  for (const System& system : kSystems) {
    if (system.letter != letter) continue;
    if (part == phaseBias) return standard(system, system.phase, part);
    const auto place = std::find(std::begin(kParts), std::end(kParts), part);
    if (place == std::end(kParts)) return std::nullopt;
    return standard(system, system.first + static_cast<int>(place - std::begin(kParts)), part);
  }
  return std::nullopt;
}

std::string_view ssrSignal(char system, int indicator, bool igs) {
  for (const IgsSignal& signal : kIgsSignals) {
    if (igs && signal.system == system && signal.indicator == indicator) return signal.signal;
  }
  const Signals* signals = signalsOf(system);
  const auto place = static_cast<std::size_t>(indicator);
  return signals != nullptr && place < signals->size() ? (*signals)[place] : std::string_view{};
}

std::optional<int> ssrIndicator(char system, std::string_view signal) {
  const Signals* signals = signalsOf(system);
  if (signals == nullptr || signal.empty()) return std::nullopt;
  const auto place = std::find(signals->begin(), signals->end(), signal);
  if (place == signals->end()) return std::nullopt;
  return static_cast<int>(place - signals->begin());
}

}  // namespace gnx::rtcm
