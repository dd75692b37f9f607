#pragma once
/// \file issue_bridge.h
/// Corrections across the change of a broadcast message. Providers go over to a new message as soon as they
/// have it, a user may get it minutes later. Corrections of the new one are of no use until then; those of
/// the last one go on by their rates.

#include <functional>
#include <map>

#include "corrections/ssr_joiner.h"

namespace gnx {

class IssueBridge {
 public:
  static constexpr double kUsual_s = 180.0;
  explicit IssueBridge(double longest_s) : m_longest_s(longest_s) {}
  /// Replaces corrections whose message is not known. Those that cannot be replaced are left to `otherwise`,
  /// which says whether they stay; without it they are taken out.
  using Otherwise = std::function<bool(OrbitClockCorrection&)>;
  void apply(CorrectionBatch& batch, const MessageBook& messages, const Otherwise& otherwise = nullptr);
  /// Satellites replaced and taken out so far.
  long bridged() const { return m_bridged; }
  long without() const { return m_without; }

 private:
  struct Last {
    OrbitClockCorrection correction;
    GpsTime tag;
  };
  double m_longest_s;
  std::map<SatName, Last> m_last;
  long m_bridged = 0, m_without = 0;
};

}  // namespace gnx
