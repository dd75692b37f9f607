#pragma once
/// \file galileo_messages.h
/// Galileo sends two kinds of messages with the same issues of data and clocks of their own. The engine holds
/// one of them, F/NAV; streams that carry I/NAV alone have corrections of I/NAV, which then stands in for the
/// other.

#include <optional>
#include <utility>
#include <vector>

#include "gnx/deployment.h"
#include "gnx/ephemeris.h"

namespace gnx {

class GalileoMessages {
 public:
  explicit GalileoMessages(GalileoKind kind) : m_kind(kind) {}
  /// Whether a message is to be taken; one of I/NAV may wait until it is known whether F/NAV comes.
  bool take(const BroadcastEph& eph, const GpsTime& now) {
    if (m_kind != GalileoKind::automatic) return isFnav(eph) == (m_kind == GalileoKind::fnav);
    if (isFnav(eph)) {
      m_fnav = true;
      m_waiting.clear();
    } else if (!m_fnav) {
      if (!m_first) m_first = now;
      m_waiting.push_back(eph);
      declare(m_waiting.back());
    }
    return isFnav(eph);
  }
  /// As the engine takes it: I/NAV stands in for F/NAV.
  static void declare(BroadcastEph& eph) { eph.code |= kFnav; }
  /// Those of I/NAV that are taken for F/NAV.
  std::vector<BroadcastEph> standIns(const GpsTime& now) {
    if (m_fnav || !m_first || now - *m_first < kPatience_s) return {};
    return std::exchange(m_waiting, {});
  }
  /// When it will be known.
  std::optional<GpsTime> deadline() const {
    return m_waiting.empty() ? std::nullopt : std::optional(*m_first + kPatience_s);
  }

 private:
  static constexpr int kFnav = 2;              ///< bit of the data source
  static constexpr double kPatience_s = 10.0;  ///< both kinds come within a burst of a caster

  static bool isFnav(const BroadcastEph& eph) { return (eph.code & kFnav) != 0; }

  GalileoKind m_kind;
  bool m_fnav = false;
  std::optional<GpsTime> m_first;  ///< of I/NAV
  std::vector<BroadcastEph> m_waiting;
};

}  // namespace gnx
