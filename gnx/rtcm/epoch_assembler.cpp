// Epochs from the messages of all systems.

#include <cmath>
#include <utility>

#include "rtcm/observations.h"

namespace gnx::rtcm {

namespace {

constexpr std::size_t kMostStations = 32;  ///< in one stream; the one unused longest gives way
constexpr std::int64_t kLate_ms = 10000;   ///< further back it is another time line, not a late message
constexpr double kLegacyStep_cycles = 1500.0;
constexpr int kSlip = 1, kHalfCycle = 2;

}  // namespace

EpochAssembler::Station& EpochAssembler::stationOf(int number) {
  if (!m_stations.contains(number) && m_stations.size() >= kMostStations) {
    auto oldest = m_stations.begin();
    for (auto s = m_stations.begin(); s != m_stations.end(); ++s) {
      if (s->second.used < oldest->second.used) oldest = s;
    }
    m_stations.erase(oldest);
  }
  Station& station = m_stations[number];
  station.used = ++m_uses;
  return station;
}

bool EpochAssembler::begin(int number, const GpsTime& time, Context& context) {
  Station& station = stationOf(number);
  if (station.open && station.epoch.time == time) return true;
  if (station.open) close(number, station, false, context);
  const std::int64_t now = millisecondsOf(time);
  if (station.closed && now <= *station.closed) {
    if (now > *station.closed - kLate_ms) return false;
    station.arcs.clear();
  }
  station.epoch.time = time;
  station.open = true;
  return true;
}

void EpochAssembler::add(int number, const ReceivedSignal& signal, Context& context) {
  Station& station = stationOf(number);
  const auto [place, isNew] = station.places.try_emplace(signal.sat, station.epoch.sats.size());
  if (isNew) station.epoch.sats.push_back({signal.sat, {}});
  SatObs& sat = station.epoch.sats[place->second];
  for (const SignalObs& there : sat.signals) {
    if (there.code == signal.obs.code) return context.drop(RtcmDrop::repeated);
  }
  SignalObs obs = signal.obs;
  if (obs.phase != 0.0) {
    const auto [entry, fresh] = station.arcs.try_emplace(signal.sat + obs.code.data());
    Arc& arc = entry->second;
    if (fresh && m_known) arc.lock.begin(*m_known);
    const bool slip = arc.lock.slips(signal.lock);
    obs.lli = (slip ? kSlip : 0) | (signal.lock.halfCycle ? kHalfCycle : 0);
    if (signal.legacy && signal.phaseRange != 0.0 && obs.range != 0.0) {
      const double difference = obs.phase * (1.0 - obs.range / signal.phaseRange);
      if (slip) {
        arc.moved = 0.0;
      } else if (arc.difference != 0.0) {
        arc.moved -= kLegacyStep_cycles * std::round((difference - arc.difference) / kLegacyStep_cycles);
      }
      arc.difference = difference;
      obs.phase += arc.moved;
    }
  }
  sat.signals.push_back(obs);
}

void EpochAssembler::end(int number, bool more, Context& context) {
  Station& station = stationOf(number);
  if (!more && station.open) close(number, station, true, context);
}

void EpochAssembler::close(int number, Station& station, bool complete, Context& context) {
  station.closed = millisecondsOf(station.epoch.time);
  station.open = false;
  station.places.clear();
  RtcmEpoch record{number, std::exchange(station.epoch, {}), complete};
  if (!record.epoch.sats.empty()) context.give(std::move(record));
}

void EpochAssembler::phasesKnownAt(std::int64_t time) {
  m_known = time;
  for (auto& [number, station] : m_stations)
    for (auto& [signal, arc] : station.arcs) arc.lock.begin(time);
}

void EpochAssembler::flush(Context& context) {
  for (auto& [number, station] : m_stations) {
    if (station.open) close(number, station, false, context);
  }
}

}  // namespace gnx::rtcm
