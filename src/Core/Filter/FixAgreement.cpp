// Holds the integers of successive epochs against each other.

#include "Core/Filter/FixAgreement.h"

#include <cmath>
#include <map>

namespace tarvio {

namespace {

constexpr double kMemory_s = 300.0;   ///< an integer that no search has found for longer counts as unknown
constexpr double kTolerance_s = 0.5;  ///< of time tags

}  // namespace

bool FixAgreement::m_holds(int isat, double arc, double t) const {
  const Held& held = m_held[isat];
  return held.isys >= 0 && held.arc == arc && std::fabs(t - held.last) <= kMemory_s;
}

int FixAgreement::m_update(int isys, const Found (&found)[kMaxSat], double t) {
  std::map<long, int> votes;  // datum of the search to that of the system
  for (int isat = 0; isat < kMaxSat; ++isat)
    if (found[isat].is && m_holds(isat, found[isat].arc, t))
      ++votes[m_held[isat].integer - found[isat].integer];
  long datum = 0;
  int most = 0;
  for (const auto& [value, count] : votes)
    if (count > most) most = count, datum = value;
  int changed = 0;
  for (int isat = 0; isat < kMaxSat; ++isat) {
    if (!found[isat].is) continue;
    Held& held = m_held[isat];
    const long integer = found[isat].integer + datum;
    const bool known = m_holds(isat, found[isat].arc, t);
    if (known && held.integer != integer) ++changed;
    if (!known || held.integer != integer) held.since = t;
    held.isys = isys;
    held.integer = integer;
    held.arc = found[isat].arc;
    held.last = t;
  }
  return changed;
}

bool FixAgreement::m_agrees(int isat, double arc, double t, double seconds) const {
  return m_isHeld(isat, arc, t) && t - m_held[isat].since >= seconds - kTolerance_s;
}

bool FixAgreement::m_isHeld(int isat, double arc, double t) const { return m_holds(isat, arc, t); }

}  // namespace tarvio
