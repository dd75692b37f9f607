// Foretells the engine's store of messages: deliveries in order, and what is held at a time.

#include "corrections/ephemeris_timeline.h"

#include <algorithm>
#include <cmath>

#include "corrections/broadcast_orbit.h"
#include "formats/leap_seconds.h"

namespace gnx {

namespace {

constexpr double kClockWindow = 21600.0;  ///< s, the engine's limit between message and wall clock
constexpr double kTocGrid = 300.0;        ///< s
constexpr double kSameTime = 0.01;        ///< s
constexpr double kEngineWindow = 8.0 * 3600.0;
constexpr double kPlausible = 4.0 * 3600.0;

/// Time of clock on the clock of the system, as the engine compares it.
GpsTime systemToc(const BroadcastEph& eph) { return eph.sat[0] == 'C' ? eph.toc + -kBdtOffset : eph.toc; }

/// Refers the clock polynomial to the point of the grid before its own time of clock: the same polynomial,
/// which the engine takes. Times of BeiDou make its issue of data, so they stay.
void moveClockToGrid(BroadcastEph& eph) {
  const double excess = std::fmod(secondsOfDay(eph.toc), kTocGrid);
  if (excess == 0.0 || eph.sat[0] == 'C') return;
  eph.toc = eph.toc + -excess;
  eph.af[0] -= excess * (eph.af[1] - excess * eph.af[2]);
  eph.af[1] -= 2.0 * excess * eph.af[2];
}

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

bool acceptable(const BroadcastEph& eph, const GpsTime& moment) {
  if (isInav(eph)) return false;
  if (std::fmod(secondsOfDay(systemToc(eph)), kTocGrid) != 0.0) return false;
  return std::fabs(systemToc(eph) - moment) <= kClockWindow;
}

}  // namespace

EphemerisTimeline::EphemerisTimeline(NavData messages, const GpsTime& start, const Options& options)
    : m_messages(std::move(messages)), m_start(start), m_options(options) {
  std::vector<Delivery> all;
  for (BroadcastEph& e : m_messages.keplerian) {
    moveClockToGrid(e);
    all.push_back({sentAt(e), &e, nullptr});
    if (!isInav(e)) m_all[e.sat].push_back(&e);
  }
  for (const GlonassEph& e : m_messages.glonass) all.push_back({sentAt(e), nullptr, &e});
  std::stable_sort(all.begin(), all.end(),
                   [](const Delivery& a, const Delivery& b) { return a.time < b.time; });

  for (const Delivery& d : all) {
    const GpsTime moment = std::max(d.time, start);
    if (start - d.time > m_options.history_s) continue;
    if (d.eph != nullptr) deliver(d.time, *d.eph, moment);
    else if (std::fabs(d.glonass->toe - moment) <= kClockWindow) m_deliveries.push_back(d);
  }
}

void EphemerisTimeline::deliver(const GpsTime& time, const BroadcastEph& eph, const GpsTime& moment) {
  std::vector<Held>& history = m_held[eph.sat];
  Held now = history.empty() ? Held{} : history.back();
  if (!acceptable(eph, moment)) return;
  if (now.newest == nullptr) {
    now.newest = &eph;
  } else {
    const double afterNewest = eph.toc - now.newest->toc;
    const double afterOlder = now.older != nullptr ? eph.toc - now.older->toc : kSameTime * 2.0;
    if (afterNewest > kSameTime) {
      now.older = now.newest;
      now.newest = &eph;
    } else if (afterNewest < -kSameTime && afterOlder > kSameTime) {
      now.older = &eph;
    } else {
      return;
    }
  }
  now.since = time;
  history.push_back(now);
  m_deliveries.push_back({time, &eph, nullptr});
}

const EphemerisTimeline::Held* EphemerisTimeline::at(const std::vector<Held>& held, const GpsTime& t) {
  const auto after = std::upper_bound(held.begin(), held.end(), t,
                                      [](const GpsTime& time, const Held& h) { return time < h.since; });
  return after == held.begin() ? nullptr : &*(after - 1);
}

const BroadcastEph* EphemerisTimeline::choose(const Held* held, int issue, const GpsTime& t) {
  if (held == nullptr) return nullptr;
  const BroadcastEph* chosen = nullptr;
  double best = kEngineWindow;
  for (const BroadcastEph* e : {held->newest, held->older}) {
    if (e == nullptr || issueOfData(*e) != issue) continue;
    const double distance = std::fabs(t - e->toe);
    if (distance >= best) continue;
    best = distance;
    chosen = e;
  }
  return chosen;
}

const BroadcastEph* EphemerisTimeline::chosenByEngine(const SatName& sat, int issue, const GpsTime& t) const {
  const auto found = m_held.find(sat);
  return found == m_held.end() ? nullptr : choose(at(found->second, t), issue, t);
}

const BroadcastEph* EphemerisTimeline::find(const SatName& sat, int issue, const GpsTime& t) const {
  const auto found = m_all.find(sat);
  if (found == m_all.end()) return nullptr;
  const BroadcastEph* nearest = nullptr;
  double best = kEngineWindow;
  for (const BroadcastEph* e : found->second) {
    if (issueOfData(*e) != issue || std::fabs(t - e->toe) >= best) continue;
    best = std::fabs(t - e->toe);
    nearest = e;
  }
  return nearest;
}

bool EphemerisTimeline::serves(const SatName& sat, int issue, const GpsTime& t) const {
  const BroadcastEph* now = chosenByEngine(sat, issue, t);
  return now != nullptr && now == chosenByEngine(sat, issue, t + m_options.hold_s);
}

std::vector<SatName> EphemerisTimeline::satellites() const {
  std::vector<SatName> names;
  for (const auto& [sat, held] : m_held) {
    if (!held.empty()) names.push_back(sat);
  }
  return names;
}

const BroadcastEph* EphemerisTimeline::pick(const SatName& sat, const GpsTime& t) const {
  const auto found = m_held.find(sat);
  if (found == m_held.end()) return nullptr;
  const Held* settled = at(found->second, t + -m_options.settled_s);
  if (settled == nullptr) return nullptr;
  const GpsTime later = t + m_options.hold_s;
  const Held* now = at(found->second, t);
  const Held* then = at(found->second, later);

  const BroadcastEph* forNow = nullptr;
  for (const BroadcastEph* e : {settled->newest, settled->older}) {
    if (e == nullptr || std::fabs(t - e->toe) > m_options.longest_s) continue;
    const int issue = issueOfData(*e);
    if (choose(now, issue, t) != e) continue;
    if (choose(then, issue, later) == e) return e;
    if (forNow == nullptr) forNow = e;
  }
  return forNow;
}

}  // namespace gnx
