// Tables of lock time indicators and what follows from them.

#include "rtcm/lock_time.h"

#include <array>
#include <limits>

namespace gnx::rtcm {

namespace {

constexpr std::int64_t kEver = std::numeric_limits<std::int64_t>::max();

/// Legacy indicators from `from` on: factor times indicator minus offset, s.
struct Piece {
  int from, factor, offset;
};
constexpr Piece kLegacy[] = {{120, 32, 3096}, {96, 16, 1176}, {72, 8, 408},
                             {48, 4, 120},    {24, 2, 24},    {0, 1, 0}};
constexpr int kLastLegacy = 127, kLastMsm = 15, kLastExtended = 704;

std::int64_t legacyLeast(int indicator) {
  if (indicator >= kLastLegacy) return 937000;
  for (const Piece& piece : kLegacy) {
    if (indicator >= piece.from) return 1000LL * (piece.factor * indicator - piece.offset);
  }
  return 0;
}
std::int64_t msmLeast(int indicator) { return indicator == 0 ? 0 : std::int64_t{1} << (indicator + 4); }
std::int64_t extendedLeast(int indicator) {
  if (indicator < 64) return indicator;
  if (indicator >= kLastExtended) return 67108864;
  const int k = indicator / 32 - 1;
  return (std::int64_t{1} << k) * (indicator - 32 * k);
}

}  // namespace

LockTime lockTime(LockTable table, int indicator) {
  const auto least = table == LockTable::legacy ? legacyLeast
                     : table == LockTable::msm  ? msmLeast
                                                : extendedLeast;
  const int last = table == LockTable::legacy ? kLastLegacy
                   : table == LockTable::msm  ? kLastMsm
                                              : kLastExtended;
  return {least(indicator), indicator >= last ? kEver : least(indicator + 1)};
}

int extendedIndicator(std::int64_t lock_ms) {
  int low = 0, high = kLastExtended;  // the last one whose least time is not above
  while (low < high) {
    const int middle = (low + high + 1) / 2;
    if (extendedLeast(middle) <= lock_ms) {
      low = middle;
    } else {
      high = middle - 1;
    }
  }
  return low;
}

bool PhaseArc::slips(const Observed& now) {
  const Observed before = m_last;
  const bool any = m_any;
  m_last = now;
  m_any = true;
  if (!any) return false;
  if (before.halfCycle && !now.halfCycle) return true;
  const std::int64_t passed = now.time - before.time;
  if (now.lock.least >= passed) return now.lock.least < before.lock.least;
  const bool twiceZero = now.lock.least == 0 && before.lock.least == 0;
  return twiceZero || now.lock.least < before.lock.least || now.lock.below <= passed;
}

}  // namespace gnx::rtcm
