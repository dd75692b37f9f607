#pragma once
// Lock time indicators: for how long at least a phase was tracked without loss.

#include <cstdint>

namespace gnx::rtcm {

enum class LockTable { legacy, msm, msmExtended };

/// Lock time of an indicator: at least `least` and less than `below`, ms.
struct LockTime {
  std::int64_t least = 0, below = 0;
};
LockTime lockTime(LockTable table, int indicator);
/// The indicator of the extended table for a lock time.
int extendedIndicator(std::int64_t lock_ms);

/// Follows one phase and finds where it lost lock.
class PhaseArc {
 public:
  struct Observed {
    std::int64_t time = 0;  ///< ms
    LockTime lock;
    bool halfCycle = false;  ///< half a cycle is not resolved
  };
  /// Somebody has observed it at that time, ms.
  void begin(std::int64_t time) { m_last = {time, {}, false}, m_any = true; }
  /// Whether the phase cannot be the continuation of what was observed before.
  bool slips(const Observed& now);

 private:
  Observed m_last;
  bool m_any = false;
};

}  // namespace gnx::rtcm
