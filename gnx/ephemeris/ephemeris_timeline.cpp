// Messages of a recorded stretch of time in the order in which a receiver has them.

#include <algorithm>
#include <cmath>
#include <limits>

#include "gnx/ephemeris.h"

namespace gnx {

namespace {

constexpr double kClockWindow = 21600.0;  ///< s, the engine's limit between message and wall clock
constexpr double kEngineWindow = 8.0 * 3600.0;
constexpr double kPlausible = 4.0 * 3600.0;
constexpr double kHistory = 4.0 * 3600.0;  ///< s before the start

GpsTime sentAt(const BroadcastEph& eph) {
  if (eph.transmission.seconds != 0 && std::fabs(eph.transmission - eph.toc) <= kPlausible)
    return eph.transmission;
  switch (eph.sat[0]) {
    case 'G':
      return eph.toc + -7200.0;  // sent from two hours before its time of clock on
    case 'E':
      return eph.toc + 1200.0;  // computed first, sent after
    default:
      return eph.toc + 60.0;
  }
}

GpsTime sentAt(const GlonassEph& eph) {
  const bool plausible = std::fabs(eph.frame - eph.toe) <= 3600.0 && eph.frame < eph.toe;
  return plausible ? eph.frame : eph.toe + -900.0;
}

bool isInav(const BroadcastEph& eph) { return eph.sat[0] == 'E' && (eph.code & 2) == 0; }

}  // namespace

EphemerisTimeline::EphemerisTimeline(NavData messages, const GpsTime& start)
    : m_messages(std::move(messages)), m_start(start) {
  std::vector<Delivery> all;
  for (BroadcastEph& e : m_messages.keplerian) {
    moveClockToGrid(e);
    all.push_back({sentAt(e), &e, nullptr});
    if (!isInav(e)) m_all[e.sat].push_back({all.back().time, &e});
  }
  for (const GlonassEph& e : m_messages.glonass) all.push_back({sentAt(e), nullptr, &e});
  std::stable_sort(all.begin(), all.end(),
                   [](const Delivery& a, const Delivery& b) { return a.time < b.time; });

  for (const Delivery& d : all) {
    const GpsTime moment = std::max(d.time, start);
    if (start - d.time > kHistory) continue;
    const bool taken = d.eph != nullptr ? m_store.take(*d.eph, d.time, moment) != nullptr
                                        : std::fabs(d.glonass->toe - moment) <= kClockWindow;
    if (taken) m_deliveries.push_back(d);
  }
}

const BroadcastEph* EphemerisTimeline::find(const SatName& sat, int issue, const GpsTime& t) const {
  constexpr GpsTime kEver{std::numeric_limits<std::int64_t>::max(), 0.0};
  return findSent(sat, issue, t, kEver);
}

const BroadcastEph* EphemerisTimeline::findSent(const SatName& sat, int issue, const GpsTime& t,
                                                const GpsTime& by) const {
  const auto found = m_all.find(sat);
  if (found == m_all.end()) return nullptr;
  const BroadcastEph* nearest = nullptr;
  double best = kEngineWindow;
  for (const auto& [sent, e] : found->second) {
    if (issueOfData(*e) != issue || std::fabs(t - e->toe) >= best || by < sent) continue;
    best = std::fabs(t - e->toe);
    nearest = e;
  }
  return nearest;
}

}  // namespace gnx
