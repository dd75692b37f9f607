// Joins blocks of corrections to batches of one tag.

#include "corrections/ssr_joiner.h"

#include <algorithm>
#include <set>
#include <utility>

namespace gnx {

namespace {

// Biases that are not repeated: given up after so many of their intervals, not before so many seconds.
constexpr double kMissedUpdates = 3.0, kBiasAge_s = 60.0;

}  // namespace

bool SsrJoiner::belongs(const SsrBlock& block, const GpsTime& delivery) const {
  return m_waits && block.time == m_tag && block.kind != SsrKind::clock && !(m_clockDelivery < delivery);
}

void SsrJoiner::apply(const SsrBlock& block, const GpsTime& delivery) {
  m_delivery = std::max(m_delivery, delivery);
  switch (block.kind) {
    case SsrKind::orbit:
      applyOrbits(block);
      break;
    case SsrKind::clock:
      applyClocks(block);
      m_waits = true;
      m_tag = block.time;
      m_clockDelivery = delivery;
      break;
    case SsrKind::codeBias:
      applyBiases(block, m_code);
      break;
    case SsrKind::phaseBias:
      applyBiases(block, m_phase);
      break;
  }
}

bool SsrJoiner::join(CorrectionBatch& batch) {
  if (!std::exchange(m_waits, false)) return false;
  batch.tag = m_tag;
  batch.delivery = m_delivery;
  fillOrbitClock(batch);
  fillBiases(batch);
  return !batch.orbitClock.empty() || batch.newBiases;
}

GpsTime SsrJoiner::referenceOf(const SsrBlock& block) const {
  const bool middle = m_options.halfInterval && block.interval > 1;
  return middle ? block.time + 0.5 * block.interval : block.time;
}

void SsrJoiner::applyOrbits(const SsrBlock& block) {
  for (const SsrOrbit& o : block.orbits) {
    // The orbit of the issue before stays: clocks of that issue may still come.
    std::vector<Orbit>& kept = m_orbits[o.sat];
    std::erase_if(kept, [&](const Orbit& k) { return k.correction.iod == o.iod; });
    kept.insert(kept.begin(), {o, referenceOf(block), block.time});
    if (kept.size() > 2) kept.resize(2);
  }
}

void SsrJoiner::applyClocks(const SsrBlock& block) {
  // A satellite that a new block of its system no longer names has been withdrawn.
  std::set<char> systems;
  for (const SsrClock& c : block.clocks) systems.insert(c.sat[0]);
  for (const char system : systems) {
    if (m_systemClock[system] == block.time) continue;
    m_systemClock[system] = block.time;
    std::erase_if(m_clocks, [&](const auto& item) { return item.first[0] == system; });
  }
  for (const SsrClock& c : block.clocks) m_clocks[c.sat] = {c, referenceOf(block), block.time};
}

/// A batch may be given between the blocks of two systems: those of the others hold until their own come.
void SsrJoiner::applyBiases(const SsrBlock& block, BiasSet& set) {
  std::set<char> systems;
  for (const SsrSatBias& b : block.biases) systems.insert(b.sat[0]);
  for (const char system : systems)
    if (std::exchange(set.epochs[system], block.time) != block.time)
      std::erase_if(set.sats, [&](const auto& item) { return item.first[0] == system; });
  for (const SsrSatBias& b : block.biases) set.sats[b.sat] = b.biases;
  set.interval_s = block.interval;
  m_newBiases = true;
}

void SsrJoiner::fillOrbitClock(CorrectionBatch& batch) const {
  batch.orbitClock.clear();
  for (const auto& [sat, clock] : m_clocks) {
    const auto orbits = m_orbits.find(sat);
    if (orbits == m_orbits.end() || batch.tag - clock.epoch > m_options.longestClock_s) continue;
    const auto orbit =
        std::find_if(orbits->second.begin(), orbits->second.end(),
                     [issue = clock.correction.iod](const Orbit& o) { return o.correction.iod == issue; });
    if (orbit == orbits->second.end() || batch.tag - orbit->epoch > m_options.longestOrbit_s) continue;

    OrbitClockCorrection c =
        carriedTo(batch.tag, orbit->correction, orbit->reference, clock.correction, clock.reference);
    if (m_messages != nullptr) moveToHeldMessage(batch, c);
    batch.orbitClock.push_back(std::move(c));
  }
}

void SsrJoiner::moveToHeldMessage(const CorrectionBatch& batch, OrbitClockCorrection& c) const {
  if (m_messages->serves(c.sat, c.iod, batch.delivery)) return;
  const BroadcastEph* from = m_messages->find(c.sat, c.iod, batch.tag);
  const BroadcastEph* to = m_messages->pick(c.sat, batch.delivery);
  if (from == nullptr || to == nullptr) return;
  moveToMessage(c, *from, *to, batch.tag);
}

void SsrJoiner::fillBiases(CorrectionBatch& batch) {
  batch.newBiases = m_newBiases;
  batch.biases.clear();
  if (!m_newBiases) return;
  m_newBiases = false;
  // Of two sets with one tag the engine keeps the older, so tags go up.
  batch.biasTag = std::max(batch.tag, m_biasTag + 1.0);
  m_biasTag = batch.biasTag;
  std::map<SatName, SatBiases> joined;
  const auto longest_s = [](const BiasSet& set) {
    return std::max(kBiasAge_s, kMissedUpdates * set.interval_s);
  };
  // Code biases may name a time of long ago: a system has ceased when the others go on.
  GpsTime newest;
  for (const auto& [system, epoch] : m_code.epochs) newest = std::max(newest, epoch);
  for (const auto& [sat, biases] : m_code.sats)
    if (newest - m_code.epochs.at(sat[0]) <= longest_s(m_code)) joined[sat].code = biases;
  // Phase biases that ceased are not passed on under the tags of code biases that go on.
  for (const auto& [sat, biases] : m_phase.sats)
    if (batch.tag - m_phase.epochs.at(sat[0]) <= longest_s(m_phase)) joined[sat].phase = biases;
  for (auto& [sat, biases] : joined) {
    biases.sat = sat;
    batch.biases.push_back(std::move(biases));
  }
}

}  // namespace gnx
