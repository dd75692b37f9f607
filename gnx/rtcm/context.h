#pragma once
// What the decoders of the message families share.

#include <map>
#include <optional>

#include "gnx/rtcm.h"
#include "rtcm/stream_time.h"

namespace gnx::rtcm {

struct Context {
  RtcmDecoder::Sink sink;
  RtcmCounts counts;
  StreamTime time;
  std::map<SatName, int> channels;  ///< of GLONASS satellites
  /// Issues of the Galileo messages seen last, by their low eight bits, which is all that some corrections
  /// name.
  std::map<SatName, std::map<int, int>> galileoIssues;

  void drop(RtcmDrop reason) { ++counts.drops[static_cast<std::size_t>(reason)]; }
  void give(RtcmRecord record) const {
    if (sink) sink(record);
  }
  void learn(const GlonassEph& eph) { channels[eph.sat] = eph.channel; }
  void learn(const BroadcastEph& eph) {
    if (eph.sat.starts_with('E')) galileoIssues[eph.sat][eph.iode % 256] = eph.iode;
  }
  /// Counts a time that could not be placed.
  void dropTime() { drop(time.known() ? RtcmDrop::impossibleTime : RtcmDrop::unknownTime); }
};

/// "G05".
inline SatName satelliteName(char system, int number) {
  SatName name{system, static_cast<char>('0' + number / 10 % 10), static_cast<char>('0' + number % 10)};
  return name;
}

}  // namespace gnx::rtcm
