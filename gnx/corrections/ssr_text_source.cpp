// Corrections of recorded streams: blocks joined to batches of one tag and delivered at their time.

#include <algorithm>
#include <cmath>

#include "corrections/sources.h"
#include "formats/ssr_text.h"
#include "gnx/corrections.h"
#include "gnx/error.h"
#include "gnx/read.h"
#include "gnx/signal.h"
#include "text/csv_reader.h"
#include "text/fields.h"

namespace gnx {

namespace {

// Phase biases that are not repeated: given up after so many of their intervals, not before so many seconds.
constexpr double kMissedUpdates = 3.0, kPhaseBiasAge_s = 60.0;

/// Delivery times of blocks from a table "block_no,type,epoch_tow_s,receive_tow_s".
class Availability {
 public:
  explicit Availability(const std::string& path) : m_path(path) {
    if (path.empty()) return;
    TextReader reader(path);
    std::string_view line;
    while (reader.next(line)) {
      if (trim(line).empty() || line.find_first_of("0123456789") != 0) continue;  // title line
      readRow(reader, line);
    }
    if (m_rows.empty())
      reader.failAtEnd("holds no delivery time; rows of block number, type, epoch, reception are expected");
  }

  /// Delay of a block, s; nothing when the table does not hold it.
  std::optional<double> delay(long number, const GpsTime& epoch) const {
    const auto found = m_rows.find(number);
    if (found == m_rows.end()) return std::nullopt;
    const Row& row = found->second;
    if (std::fabs(wrapped(row.epoch - secondsOfWeek(epoch, nullptr))) > 0.5) {
      throw InputError(m_path, row.line,
                       "epoch is not that of block " + std::to_string(number) +
                           " of the corrections; give the table that belongs to the file");
    }
    return std::max(0.0, wrapped(row.received - row.epoch));
  }

 private:
  struct Row {
    double epoch = 0.0, received = 0.0;
    long line = 0;
  };

  static double wrapped(double seconds) { return seconds - 604800.0 * std::round(seconds / 604800.0); }

  void readRow(const TextReader& reader, std::string_view line) {
    std::vector<std::string_view> cell;
    splitCells(line, cell);
    cell.resize(std::max<std::size_t>(cell.size(), 4));
    const auto number = parseInt(cell[0]);
    const auto epoch = parseReal(cell[2]), received = parseReal(cell[3]);
    if (!number || !epoch || !received || std::fabs(*epoch) > 1e6 || std::fabs(*received) > 1e6 ||
        !reader.terminated()) {
      reader.fail("row", "is not block number, type, epoch and reception in seconds of week");
    }
    m_rows[*number] = {*epoch, *received, reader.line()};
  }

  std::string m_path;
  std::map<long, Row> m_rows;
};

class SsrTextSource : public CorrectionSource {
 public:
  SsrTextSource(const SsrTextOptions& options, const EphemerisTimeline* timeline)
      : m_options(options), m_timeline(timeline), m_availability(options.availability) {
    if (options.files.empty()) throw UsageError("no file of corrections; give one or more SSR text files");
  }
  bool next(CorrectionBatch& batch) override;

 private:
  struct Orbit {
    SsrOrbit correction;
    GpsTime reference;  ///< of the rates
    GpsTime epoch;
  };
  struct Clock {
    SsrClock correction;
    GpsTime reference, epoch;
  };
  using BiasSet = std::map<SatName, std::vector<SsrBias>>;

  bool peek();
  void apply();
  void applyOrbits(const SsrBlock& block);
  void applyClocks(const SsrBlock& block);
  void applyBiases(const SsrBlock& block, BiasSet& set, GpsTime& epoch);
  GpsTime referenceOf(const SsrBlock& block) const;
  void fillOrbitClock(CorrectionBatch& batch) const;
  void fillBiases(CorrectionBatch& batch);
  void moveToHeldMessage(const CorrectionBatch& batch, OrbitClockCorrection& c) const;

  SsrTextOptions m_options;
  const EphemerisTimeline* m_timeline;
  Availability m_availability;
  std::unique_ptr<SsrTextReader> m_reader;
  std::size_t m_file = 0;

  SsrBlock m_block;  ///< read, not yet applied
  bool m_waiting = false;
  GpsTime m_blockDelivery;
  GpsTime m_delivery;                              ///< of everything applied
  std::map<SatName, std::vector<Orbit>> m_orbits;  ///< newest first, at most two, of different issues
  std::map<SatName, Clock> m_clocks;
  std::map<char, GpsTime> m_systemClock;  ///< epoch of the latest clocks of a system
  BiasSet m_code, m_phase;
  GpsTime m_codeEpoch, m_phaseEpoch, m_biasTag;
  double m_phaseInterval_s = 0.0;
  bool m_newBiases = false;
};

/// Makes the next block wait in m_block.
bool SsrTextSource::peek() {
  while (!m_waiting) {
    if (!m_reader) {
      if (m_file == m_options.files.size()) return false;
      m_reader = std::make_unique<SsrTextReader>(m_options.files[m_file++]);
    }
    if (!m_reader->next(m_block)) {
      m_reader.reset();
      continue;
    }
    const auto delay =
        m_file == 1 ? m_availability.delay(m_reader->blockNumber(), m_block.time) : std::nullopt;
    m_blockDelivery = m_block.time + delay.value_or(m_options.latency_s);
    m_waiting = true;
  }
  return true;
}

GpsTime SsrTextSource::referenceOf(const SsrBlock& block) const {
  const bool middle = m_options.halfInterval && block.interval > 1;
  return middle ? block.time + 0.5 * block.interval : block.time;
}

void SsrTextSource::apply() {
  m_waiting = false;
  m_delivery = std::max(m_delivery, m_blockDelivery);
  switch (m_block.kind) {
    case SsrKind::orbit:
      applyOrbits(m_block);
      break;
    case SsrKind::clock:
      applyClocks(m_block);
      break;
    case SsrKind::codeBias:
      applyBiases(m_block, m_code, m_codeEpoch);
      break;
    case SsrKind::phaseBias:
      applyBiases(m_block, m_phase, m_phaseEpoch);
      m_phaseInterval_s = m_block.interval;
      break;
  }
}

void SsrTextSource::applyOrbits(const SsrBlock& block) {
  for (const SsrOrbit& o : block.orbits) {
    // The orbit of the issue before stays: clocks of that issue may still come.
    std::vector<Orbit>& kept = m_orbits[o.sat];
    std::erase_if(kept, [&](const Orbit& k) { return k.correction.iod == o.iod; });
    kept.insert(kept.begin(), {o, referenceOf(block), block.time});
    if (kept.size() > 2) kept.resize(2);
  }
}

void SsrTextSource::applyClocks(const SsrBlock& block) {
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

void SsrTextSource::applyBiases(const SsrBlock& block, BiasSet& set, GpsTime& epoch) {
  if (epoch != block.time) set.clear();
  epoch = block.time;
  for (const SsrSatBias& b : block.biases) set[b.sat] = b.biases;
  m_newBiases = true;
}

bool SsrTextSource::next(CorrectionBatch& batch) {
  while (peek()) {
    const bool clock = m_block.kind == SsrKind::clock;
    apply();
    if (!clock) continue;
    batch.tag = m_block.time;
    const GpsTime clockDelivery = m_blockDelivery;
    while (peek() && m_block.time == batch.tag && m_block.kind != SsrKind::clock &&
           !(clockDelivery < m_blockDelivery)) {
      apply();
    }
    batch.delivery = m_delivery;
    fillOrbitClock(batch);
    fillBiases(batch);
    if (!batch.orbitClock.empty() || batch.newBiases) return true;
  }
  return false;
}

void SsrTextSource::fillOrbitClock(CorrectionBatch& batch) const {
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
    if (m_timeline) moveToHeldMessage(batch, c);
    batch.orbitClock.push_back(std::move(c));
  }
}

void SsrTextSource::moveToHeldMessage(const CorrectionBatch& batch, OrbitClockCorrection& c) const {
  if (m_timeline->store().serves(c.sat, c.iod, batch.delivery)) return;
  const BroadcastEph* from = m_timeline->find(c.sat, c.iod, batch.tag);
  const BroadcastEph* to = m_timeline->store().pick(c.sat, batch.delivery);
  if (from == nullptr || to == nullptr) return;
  moveToMessage(c, *from, *to, batch.tag);
}

void SsrTextSource::fillBiases(CorrectionBatch& batch) {
  batch.newBiases = m_newBiases;
  batch.biases.clear();
  if (!m_newBiases) return;
  m_newBiases = false;
  // Of two sets with one tag the engine keeps the older, so tags go up.
  batch.biasTag = std::max(batch.tag, m_biasTag + 1.0);
  m_biasTag = batch.biasTag;
  std::map<SatName, SatBiases> joined;
  for (const auto& [sat, biases] : m_code) joined[sat].code = biases;
  // Phase biases that ceased are not passed on under the tags of code biases that go on.
  if (batch.tag - m_phaseEpoch <= std::max(kPhaseBiasAge_s, kMissedUpdates * m_phaseInterval_s))
    for (const auto& [sat, biases] : m_phase) joined[sat].phase = biases;
  for (auto& [sat, biases] : joined) {
    biases.sat = sat;
    batch.biases.push_back(std::move(biases));
  }
}

}  // namespace

std::unique_ptr<CorrectionSource> makeSsrTextSource(const SsrTextOptions& options,
                                                    const EphemerisTimeline* timeline) {
  return std::make_unique<SsrTextSource>(options, timeline);
}

std::vector<std::pair<GpsTime, std::vector<SatBiases>>> streamBiases(
    const std::vector<std::string>& ssrFiles) {
  SsrTextOptions options;
  options.files = ssrFiles;
  SsrTextSource source(options, nullptr);
  std::vector<std::pair<GpsTime, std::vector<SatBiases>>> sets;
  for (CorrectionBatch batch; source.next(batch);)
    if (batch.newBiases) sets.emplace_back(batch.biasTag, std::move(batch.biases));
  return sets;
}

std::map<char, std::set<std::string>> correctedSignals(const std::vector<std::string>& biasFiles,
                                                       const std::vector<std::string>& ssrFiles) {
  std::map<char, std::set<std::string>> signals;
  for (const BiasRow& row : readSinexBias(biasFiles)) {
    for (const std::string& signal : {row.signal, row.second}) {
      if (!signal.empty() && signal[0] == 'C') signals[row.sat[0]].insert(signal.substr(1));
    }
  }
  for (const std::string& file : ssrFiles) {
    SsrTextReader reader(file);
    for (SsrBlock block; reader.next(block);) {
      if (block.kind != SsrKind::codeBias) continue;
      for (const SsrSatBias& sat : block.biases) {
        for (const SsrBias& b : sat.biases) signals[sat.sat[0]].insert(b.signal);
      }
    }
  }
  return signals;
}

}  // namespace gnx
