// Foretells the engine's store of messages: what it takes and what is held at a time.

#include <algorithm>
#include <cmath>

#include "gnx/ephemeris.h"

namespace gnx {

namespace {

constexpr double kClockWindow = 21600.0;  ///< s, the engine's limit between message and wall clock
constexpr double kTocGrid = 300.0;        ///< s
constexpr double kSameTime = 0.01;        ///< s
constexpr double kEngineWindow = 8.0 * 3600.0;

/// Time of clock on the clock of the system, as the engine compares it.
GpsTime systemToc(const BroadcastEph& eph) { return eph.sat[0] == 'C' ? eph.toc + -kBdtOffset : eph.toc; }

bool isInav(const BroadcastEph& eph) { return eph.sat[0] == 'E' && (eph.code & 2) == 0; }

bool acceptable(const BroadcastEph& eph, const GpsTime& moment) {
  if (isInav(eph)) return false;
  if (std::fmod(secondsOfDay(systemToc(eph)), kTocGrid) != 0.0) return false;
  return std::fabs(systemToc(eph) - moment) <= kClockWindow;
}

}  // namespace

void moveClockToGrid(BroadcastEph& eph) {
  const double excess = std::fmod(secondsOfDay(eph.toc), kTocGrid);
  if (excess == 0.0 || eph.sat[0] == 'C') return;
  eph.toc = eph.toc + -excess;
  eph.af[0] -= excess * (eph.af[1] - excess * eph.af[2]);
  eph.af[1] -= 2.0 * excess * eph.af[2];
}

const BroadcastEph* MessageStore::take(const BroadcastEph& given, const GpsTime& received,
                                       const GpsTime& moment) {
  BroadcastEph eph = given;
  moveClockToGrid(eph);
  if (!acceptable(eph, moment)) return nullptr;
  std::vector<Held>& history = m_held[eph.sat];
  Held now = history.empty() ? Held{} : history.back();
  const auto message = std::make_shared<const BroadcastEph>(std::move(eph));
  if (now.newest == nullptr) {
    now.newest = message;
  } else {
    const double afterNewest = message->toc - now.newest->toc;
    const double afterOlder = now.older != nullptr ? message->toc - now.older->toc : kSameTime * 2.0;
    if (afterNewest > kSameTime) {
      now.older = now.newest;
      now.newest = message;
    } else if (afterNewest < -kSameTime && afterOlder > kSameTime) {
      now.older = message;
    } else {
      return nullptr;
    }
  }
  now.since = received;
  history.push_back(now);
  return message.get();
}

void MessageStore::forgetBefore(const GpsTime& t) {
  for (auto& [sat, history] : m_held) {
    const Held* last = at(history, t);
    if (last != nullptr) history.erase(history.begin(), history.begin() + (last - history.data()));
  }
}

const MessageStore::Held* MessageStore::at(const std::vector<Held>& held, const GpsTime& t) {
  const auto after = std::upper_bound(held.begin(), held.end(), t,
                                      [](const GpsTime& time, const Held& h) { return time < h.since; });
  return after == held.begin() ? nullptr : &*(after - 1);
}

const BroadcastEph* MessageStore::choose(const Held* held, int issue, const GpsTime& t) {
  if (held == nullptr) return nullptr;
  const BroadcastEph* chosen = nullptr;
  double best = kEngineWindow;
  for (const BroadcastEph* e : {held->newest.get(), held->older.get()}) {
    if (e == nullptr || issueOfData(*e) != issue) continue;
    const double distance = std::fabs(t - e->toe);
    if (distance >= best) continue;
    best = distance;
    chosen = e;
  }
  return chosen;
}

const BroadcastEph* MessageStore::chosenByEngine(const SatName& sat, int issue, const GpsTime& t) const {
  const auto found = m_held.find(sat);
  return found == m_held.end() ? nullptr : choose(at(found->second, t), issue, t);
}

bool MessageStore::serves(const SatName& sat, int issue, const GpsTime& t) const {
  const BroadcastEph* now = chosenByEngine(sat, issue, t);
  return now != nullptr && now == chosenByEngine(sat, issue, t + m_options.hold_s);
}

std::vector<SatName> MessageStore::satellites() const {
  std::vector<SatName> names;
  for (const auto& [sat, held] : m_held) {
    if (!held.empty()) names.push_back(sat);
  }
  return names;
}

const BroadcastEph* MessageStore::pick(const SatName& sat, const GpsTime& t) const {
  const auto found = m_held.find(sat);
  if (found == m_held.end()) return nullptr;
  const Held* settled = at(found->second, t + -m_options.settled_s);
  if (settled == nullptr) return nullptr;
  const GpsTime later = t + m_options.hold_s;
  const Held* now = at(found->second, t);
  const Held* then = at(found->second, later);

  const BroadcastEph* forNow = nullptr;
  for (const BroadcastEph* e : {settled->newest.get(), settled->older.get()}) {
    if (e == nullptr || std::fabs(t - e->toe) > m_options.longest_s) continue;
    const int issue = issueOfData(*e);
    if (choose(now, issue, t) != e) continue;
    if (choose(then, issue, later) == e) return e;
    if (forNow == nullptr) forNow = e;
  }
  return forNow;
}

}  // namespace gnx
