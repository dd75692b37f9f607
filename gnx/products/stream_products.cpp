// Gathers batches of corrections into epochs of orbits and clocks and spans of biases.

#include "products/stream_products.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "corrections/galileo_messages.h"
#include "corrections/sources.h"
#include "deployment/antex_file.h"
#include "formats/ssr_text.h"
#include "gnx/corrections.h"
#include "gnx/error.h"
#include "gnx/read.h"
#include "gnx/signal.h"

namespace gnx {

namespace {

constexpr double kLongestUse_s = 120.0;  ///< as long as the engine uses a batch
constexpr std::int64_t kSecond_ms = 1000;

std::int64_t toMilliseconds(double seconds) { return std::llround(seconds * 1e3); }

/// The first multiple of the interval not before a time.
std::int64_t multipleFrom(std::int64_t time, std::int64_t interval) {
  return (time + interval - 1) / interval * interval;
}

}  // namespace

std::int64_t toMilliseconds(const GpsTime& t) {
  return t.seconds * kSecond_ms + std::llround(t.fraction * 1e3);
}

GpsTime fromMilliseconds(std::int64_t ms) {
  return {ms / kSecond_ms, static_cast<double>(ms % kSecond_ms) * 1e-3};
}

ProductCollector::ProductCollector(const EphemerisTimeline& timeline, const ProductPlan& plan,
                                   const MassCentre* antennas)
    : m_timeline(timeline), m_plan(plan), m_antennas(antennas) {
  m_products.orbitInterval_s = plan.orbitInterval_s;
}

bool ProductCollector::wanted(const GpsTime& t) const {
  return !(m_plan.from && t < *m_plan.from) && !(m_plan.to && *m_plan.to < t);
}

void ProductCollector::take(const CorrectionBatch& batch) {
  takeBiases(batch);
  if (batch.orbitClock.empty()) return;
  takeOrbits(batch);
  if (wanted(batch.tag)) takeClocks(batch);
  m_last = batch;
}

/// Epochs since the last batch stand on that one, carried on by its rates; an epoch of this batch's own on
/// it.
void ProductCollector::takeOrbits(const CorrectionBatch& batch) {
  const std::int64_t interval = toMilliseconds(m_plan.orbitInterval_s), now = toMilliseconds(batch.tag);
  if (m_last) {
    const std::int64_t before = toMilliseconds(m_last->tag);
    for (std::int64_t epoch = multipleFrom(before + 1, interval); epoch < now; epoch += interval) {
      if (static_cast<double>(epoch - before) * 1e-3 > kLongestUse_s) break;
      addOrbitEpoch(*m_last, epoch);
    }
  }
  if (now % interval == 0) addOrbitEpoch(batch, now);
}

void ProductCollector::addOrbitEpoch(const CorrectionBatch& batch, std::int64_t epoch_ms) {
  const GpsTime t = fromMilliseconds(epoch_ms);
  if (!wanted(t)) return;
  const double age = t - batch.tag;
  for (OrbitClockCorrection c : batch.orbitClock) {
    const BroadcastEph* eph = m_timeline.find(c.sat, c.iod, t);
    if (eph == nullptr) continue;  // counted with the clocks
    for (std::size_t k = 0; k < 3; ++k) c.deph[k] += c.ddeph[k] * age;
    const SatState state = applyCorrection(evaluateBroadcast(*eph, t), c, age);
    ProductPoint point{state.position, state.clock};
    if (m_antennas != nullptr) {
      const auto offset = m_antennas->offset(c.sat, state.position, t);
      if (!offset) {
        ++m_products.withoutAntenna;
        continue;
      }
      for (std::size_t i = 0; i < 3; ++i) point.position[i] -= (*offset)[i];
    }
    m_products.orbits[epoch_ms][c.sat] = point;
    m_products.satellites.insert(c.sat);
  }
}

void ProductCollector::takeClocks(const CorrectionBatch& batch) {
  const std::int64_t now = toMilliseconds(batch.tag), interval = toMilliseconds(m_plan.clockInterval_s);
  const bool due = interval == 0 || now % interval == 0;
  for (const OrbitClockCorrection& c : batch.orbitClock) {
    const BroadcastEph* eph = m_timeline.find(c.sat, c.iod, batch.tag);
    if (eph == nullptr) {
      ++m_products.withoutMessage;
    } else if (due) {
      m_products.clocks[now][c.sat] = broadcastClock(*eph, batch.tag) + c.dclk[0] / kLightSpeed;
      m_products.satellites.insert(c.sat);
    }
  }
}

void ProductCollector::takeBiases(const CorrectionBatch& batch) {
  if (!batch.newBiases || !wanted(batch.tag)) return;
  if (m_biasTime && batch.tag - *m_biasTime < m_plan.biasInterval_s - 1e-3) return;
  m_biasTime = batch.tag;
  ++m_set;
  for (const SatBiases& sat : batch.biases) {
    for (const SsrBias& bias : sat.code) note(sat.sat, bias, 'C', batch.tag);
    for (const SsrBias& bias : sat.phase) note(sat.sat, bias, 'L', batch.tag);
  }
  std::erase_if(m_open, [&](const auto& entry) {  // a set is full: what it does not name has ended
    if (entry.second.set == m_set) return false;
    close(entry.first, entry.second, batch.tag);
    return true;
  });
}

void ProductCollector::note(const SatName& sat, const SsrBias& bias, char kind, const GpsTime& t) {
  const std::pair<SatName, std::string> key{sat, kind + bias.signal};
  const auto [entry, fresh] = m_open.try_emplace(key, OpenBias{t, bias.value, bias.discontinuity, m_set});
  OpenBias& open = entry->second;
  open.set = m_set;
  if (fresh) return;
  if (open.discontinuity != bias.discontinuity) ++m_products.discontinuities;
  open.discontinuity = bias.discontinuity;
  if (open.value == bias.value) return;
  close(key, open, t);
  open.from = t;
  open.value = bias.value;
}

void ProductCollector::close(const std::pair<SatName, std::string>& key, const OpenBias& bias,
                             const GpsTime& until) {
  BiasRow row;
  row.sat = key.first;
  row.signal = key.second;
  row.from = bias.from;
  row.until = until;
  row.value = -bias.value / kLightSpeed;
  m_products.biases.push_back(std::move(row));
}

StreamProducts ProductCollector::finish() {
  if (m_last) {
    const GpsTime end = m_plan.to ? std::min(m_last->tag, *m_plan.to) : m_last->tag;
    for (const auto& [key, bias] : m_open) close(key, bias, end + kLongestUse_s);
  }
  m_open.clear();
  return std::move(m_products);
}

StreamProducts collectProducts(CorrectionSource& source, const EphemerisTimeline& timeline,
                               const ProductPlan& plan, const MassCentre* antennas) {
  ProductCollector collector(timeline, plan, antennas);
  for (CorrectionBatch batch; source.next(batch);) collector.take(batch);
  return collector.finish();
}

namespace {

/// Epoch and update interval of the first clocks of a stream.
std::pair<GpsTime, double> firstClocks(const std::string& file) {
  SsrTextReader reader(file);
  for (SsrBlock block; reader.next(block);)
    if (block.kind == SsrKind::clock) return {block.time, std::max(1, block.interval)};
  throw InputError(file, 0, "holds no CLOCK block of corrections");
}

}  // namespace

StreamProducts streamProducts(const std::vector<std::string>& ssr, const std::vector<std::string>& nav,
                              const std::filesystem::path& antex, const ProductPlan& given) {
  if (ssr.empty()) throw UsageError("no file of corrections; give one or more SSR text files");
  const auto [firstClock, clockInterval] = firstClocks(ssr.front());
  ProductPlan plan = given;
  if (plan.orbitInterval_s == 0.0) plan.orbitInterval_s = clockInterval;
  const GpsTime first = plan.from.value_or(firstClock);
  NavData messages = readRinexNav(nav);
  chooseGalileoMessages(ssr, messages);
  const EphemerisTimeline timeline(std::move(messages), first);
  SsrTextOptions stream;
  stream.files = ssr;
  const auto source = makeSsrTextSource(stream);
  std::optional<MassCentre> antennas;
  if (!antex.empty()) antennas.emplace(readAntex(antex), first);
  return collectProducts(*source, timeline, plan, antennas ? &*antennas : nullptr);
}

}  // namespace gnx
