// Keeps what the engine holds, and what it held a while ago: corrections may still refer to it.

#include "live/live_messages.h"

#include <algorithm>
#include <cmath>

namespace gnx {

namespace {

constexpr std::size_t kKept = 4;  ///< messages of a satellite
constexpr double kMessageAge_s = 8.0 * 3600.0, kForget_s = 3600.0;

}  // namespace

bool LiveMessages::take(const BroadcastEph& eph, const GpsTime& now) {
  if (now - m_forgotten > kForget_s) m_store.forgetBefore((m_forgotten = now) + -kMessageAge_s);
  const BroadcastEph* taken = m_store.take(eph, now, now);
  std::vector<BroadcastEph>& recent = m_recent[eph.sat];
  const auto same = [&](const BroadcastEph& e) {
    return e.toe == eph.toe && issueOfData(e) == issueOfData(eph);
  };
  if (taken == nullptr && std::ranges::any_of(recent, same)) return false;
  recent.push_back(taken != nullptr ? *taken : eph);
  if (recent.size() > kKept) recent.erase(recent.begin());
  return taken != nullptr;
}

bool LiveMessages::take(const GlonassEph& eph) {
  const auto [last, fresh] = m_glonass.try_emplace(eph.sat, eph);
  if (!fresh && last->second.toe == eph.toe) return false;
  last->second = eph;
  return true;
}

const BroadcastEph* LiveMessages::find(const SatName& sat, int issue, const GpsTime& t) const {
  const auto found = m_recent.find(sat);
  if (found == m_recent.end()) return nullptr;
  const BroadcastEph* nearest = nullptr;
  double best = kMessageAge_s;
  for (const BroadcastEph& e : found->second) {
    if (issueOfData(e) != issue || std::fabs(t - e.toe) >= best) continue;
    best = std::fabs(t - e.toe);
    nearest = &e;
  }
  return nearest;
}

}  // namespace gnx
