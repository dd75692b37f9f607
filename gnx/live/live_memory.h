#pragma once
/// \file live_memory.h
/// What a live run knows beside its engine, as bytes for the run that goes on.

#include <string>
#include <vector>

#include "gnx/ephemeris.h"

namespace gnx {

struct LiveMemory {
  LiveMemory() = default;
  /// \throws Error for bytes that are none of this version
  explicit LiveMemory(const std::string& bytes);
  std::string bytes() const;
  void add(const BroadcastEph& eph) { messages.push_back(eph); }
  void add(const GlonassEph& eph) { glonass.push_back(eph); }

  int switches = 0;         ///< of the source of corrections
  std::string corrections;  ///< name of the source in use
  std::vector<BroadcastEph> messages;
  std::vector<GlonassEph> glonass;
};

}  // namespace gnx
