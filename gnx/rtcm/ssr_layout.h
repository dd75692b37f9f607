#pragma once
// Layouts of correction messages, of RTCM and of the IGS.

#include <optional>
#include <string_view>
#include <vector>

namespace gnx::rtcm {

/// What a message corrects. combined: orbit and clock of each satellite.
enum class SsrPart { orbit, clock, codeBias, combined, accuracy, highRateClock, phaseBias, ionosphere };

/// One layout of a message.
struct SsrLayout {
  int message = 0;
  int subtype = 0;  ///< of message 4076; 0 in the messages of RTCM
  char system = 'G';
  SsrPart part = SsrPart::orbit;
  int epochBits = 20;
  int countBits = 6;
  int satelliteBits = 6;
  int satelliteOffset = 0;  ///< satellite number of identifier 0
  int leadBits = 0;         ///< in front of the issue: the time of ephemeris, in parts
  int issueBits = 8;
  bool anonymous = false;  ///< a draft without issue, provider and solution

  bool igs() const { return subtype != 0; }
  bool hasOrbit() const { return part == SsrPart::orbit || part == SsrPart::combined; }
  bool hasClock() const { return part == SsrPart::clock || part == SsrPart::combined; }
  /// Bits that name no broadcast message by its issue, but by a checksum.
  bool namesByChecksum() const { return issueBits > 10; }
};

/// Layouts that senders use under a number, the standard's first; they differ in length. Empty for another
/// number.
std::vector<SsrLayout> ssrLayouts(int message, int subtype);
/// The standard's one for a part of a system's corrections; nothing when there is none.
std::optional<SsrLayout> ssrLayout(char system, SsrPart part);

/// Signal of an indicator, "1C"; "" = none.
std::string_view ssrSignal(char system, int indicator, bool igs);
/// The indicator of a signal; nothing when it has none.
std::optional<int> ssrIndicator(char system, std::string_view signal);

}  // namespace gnx::rtcm
