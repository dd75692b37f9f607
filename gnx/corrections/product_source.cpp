// Corrections made of orbit, clock and bias files against the messages that the engine holds.

#include <algorithm>
#include <cmath>
#include <set>

#include "corrections/orbit_interpolation.h"
#include "corrections/sources.h"
#include "gnx/error.h"
#include "gnx/read.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr double kLongestBatch = 30.0;  ///< s, default interval of the batches
constexpr double kSameTime = 1e-3;      ///< s
constexpr double kBiasPace = 30.0;      ///< s, biases that change follow no faster

/// The clock of one satellite at epochs that do not go back.
class ClockSeries {
 public:
  ClockSeries(std::vector<ClockPoint> points, double interval)
      : m_points(std::move(points)), m_interval(interval) {}

  std::optional<double> at(const GpsTime& t) const {
    const auto right =
        std::lower_bound(m_points.begin(), m_points.end(), t + -kSameTime,
                         [](const ClockPoint& p, const GpsTime& time) { return p.time < time; });
    if (right == m_points.end()) return std::nullopt;
    if (right->time - t <= kSameTime) return right->bias;
    if (right == m_points.begin()) return std::nullopt;
    const auto left = right - 1;
    const double span = right->time - left->time;
    if (span > 1.01 * m_interval) return std::nullopt;
    return left->bias + (right->bias - left->bias) * ((t - left->time) / span);
  }

 private:
  std::vector<ClockPoint> m_points;
  double m_interval;
};

/// Biases of codes alone serve clocks of any centre.
bool holdsPhases(const std::string& biasFile) {
  const std::vector<BiasRow> rows = readSinexBias({biasFile});
  return std::any_of(rows.begin(), rows.end(), [](const BiasRow& row) { return row.signal[0] == 'L'; });
}

class ProductSource : public CorrectionSource {
 public:
  ProductSource(const ProductOptions& options, const EphemerisTimeline& timeline, ProductFacts* facts);
  bool next(CorrectionBatch& batch) override;

 private:
  struct Satellite {
    SatName name;
    OrbitInterpolator orbit;
    ClockSeries clock;
  };

  void setSatellites(Sp3Product& orbits, std::map<SatName, std::vector<ClockPoint>>& clocks,
                     double clockInterval);
  void setEpochs(const std::map<SatName, std::vector<ClockPoint>>& clocks, double clockInterval);
  void tell(const Sp3Product& orbits, const ClockProduct& clocks, double clockInterval,
            ProductFacts& facts) const;
  void fillOrbitClock(CorrectionBatch& batch);
  void fillBiases(CorrectionBatch& batch);

  ProductOptions m_options;
  const EphemerisTimeline& m_timeline;
  std::vector<Satellite> m_satellites;
  std::shared_ptr<const ProductBiases> m_biases;
  std::int64_t m_index = 0, m_lastIndex = -1;  ///< epochs in units of the interval since 1970
  std::optional<GpsTime> m_biasTag;
};

ProductSource::ProductSource(const ProductOptions& options, const EphemerisTimeline& timeline,
                             ProductFacts* facts)
    : m_options(options), m_timeline(timeline) {
  if (options.sp3.empty()) throw UsageError("no orbit file; give one or more SP3 files");
  Sp3Product orbits = readSp3(options.sp3);
  ClockProduct clocks = readRinexClocks(options.clk);
  double clockInterval = clocks.interval;
  if (options.clk.empty()) {
    clocks.clocks = std::move(orbits.clocks);
    clockInterval = orbits.interval;
  }
  const bool any = std::any_of(clocks.clocks.begin(), clocks.clocks.end(),
                               [](const auto& c) { return !c.second.empty(); });
  if (!any) {
    throw InputError(options.clk.empty() ? options.sp3.front() : options.clk.front(), 0,
                     "holds no satellite clock; give a RINEX clock file with satellite clocks");
  }
  if (!(clockInterval > 0.0)) clockInterval = kLongestBatch;
  m_biases = std::make_shared<const ProductBiases>(
      options.bia, options.wideLaneBiases ? clocks.header : std::vector<std::string>());
  setEpochs(clocks.clocks, clockInterval);
  if (facts != nullptr) tell(orbits, clocks, clockInterval, *facts);
  setSatellites(orbits, clocks.clocks, clockInterval);
}

void ProductSource::tell(const Sp3Product& orbits, const ClockProduct& clocks, double clockInterval,
                         ProductFacts& facts) const {
  facts.clockInterval_s = clockInterval;
  facts.broadcastClocks = m_options.clk.empty() && orbits.broadcastClocks;
  std::set<GpsTime> epochs;
  for (const auto& [sat, points] : clocks.clocks)
    for (const ClockPoint& p : points) epochs.insert(p.time);
  facts.clockEpochs.assign(epochs.begin(), epochs.end());
  facts.biases = m_biases;
  for (const std::string& file : m_options.sp3)
    facts.origins.push_back(productOrigin(file, "orbits", orbits.agency));
  for (const std::string& file : m_options.clk)
    facts.origins.push_back(productOrigin(file, "clocks", clocks.agency));
  for (const std::string& file : m_options.bia)
    if (holdsPhases(file))
      facts.origins.push_back(productOrigin(file, "phase biases", sinexBiasAgency(file)));
  if (clockInterval > m_options.interval_s + kSameTime)
    facts.notes.push_back(printed("clocks every %.0f s are interpolated linearly to %.0f s", clockInterval,
                                  m_options.interval_s));
  if (m_options.wideLaneBiases && !m_biases->hasWideLanes())
    facts.notes.push_back(
        "the clock files hold no wide-lane biases; ambiguities cannot be fixed with them, leave --wl-biases "
        "out and give phase biases with --bia");
}

/// Batches stand on whole multiples of the interval, from the last one at or before the first
/// epoch wanted to the last clock.
void ProductSource::setEpochs(const std::map<SatName, std::vector<ClockPoint>>& clocks,
                              double clockInterval) {
  if (m_options.interval_s <= 0.0) m_options.interval_s = std::min(clockInterval, kLongestBatch);
  GpsTime first = clocks.begin()->second.front().time, last = first;
  for (const auto& [sat, points] : clocks) {
    if (points.empty()) continue;
    first = std::min(first, points.front().time);
    last = std::max(last, points.back().time);
  }
  if (m_options.from) first = std::max(first, *m_options.from);
  if (m_options.until) last = std::min(last, *m_options.until);
  const auto index = [&](const GpsTime& t) {
    return (static_cast<double>(t.seconds) + t.fraction) / m_options.interval_s;
  };
  m_index = static_cast<std::int64_t>(std::floor(index(first) + 1e-6));
  m_lastIndex = static_cast<std::int64_t>(std::floor(index(last) + 1e-6));
}

void ProductSource::setSatellites(Sp3Product& orbits, std::map<SatName, std::vector<ClockPoint>>& clocks,
                                  double clockInterval) {
  std::optional<GpsTime> first, last;
  for (const auto& [sat, points] : orbits.orbits) {
    if (points.empty()) continue;
    first = first ? std::min(*first, points.front().time) : points.front().time;
    last = last ? std::max(*last, points.back().time) : points.back().time;
  }
  for (auto& [sat, points] : orbits.orbits) {
    const auto clock = clocks.find(sat);
    if (points.empty() || clock == clocks.end() || m_options.systems.find(sat[0]) == std::string::npos)
      continue;
    m_satellites.push_back(
        {sat, OrbitInterpolator(std::move(points), orbits.interval, *first, *last, m_options.extrapolation_s),
         ClockSeries(std::move(clock->second), clockInterval)});
  }
}

bool ProductSource::next(CorrectionBatch& batch) {
  while (m_index <= m_lastIndex) {
    const double since = static_cast<double>(m_index++) * m_options.interval_s;
    batch.tag = GpsTime{} + std::round(since * 1e3) / 1e3;
    batch.delivery = batch.tag;
    fillOrbitClock(batch);
    if (batch.orbitClock.empty()) continue;
    fillBiases(batch);
    return true;
  }
  return false;
}

void ProductSource::fillOrbitClock(CorrectionBatch& batch) {
  batch.orbitClock.clear();
  for (Satellite& s : m_satellites) {
    const BroadcastEph* eph = m_timeline.store().pick(s.name, batch.tag);
    if (eph == nullptr) continue;
    const auto clock = s.clock.at(batch.tag);
    if (!clock) continue;
    const auto orbit = s.orbit.difference(*eph, batch.tag);
    if (!orbit) continue;
    OrbitClockCorrection c;
    c.sat = s.name;
    c.iod = issueOfData(*eph);
    c.deph = orbit->value;
    c.ddeph = orbit->rate;
    c.dclk[0] = clockCorrection(*clock, *eph, batch.tag);
    batch.orbitClock.push_back(std::move(c));
  }
}

void ProductSource::fillBiases(CorrectionBatch& batch) {
  batch.newBiases = false;
  batch.biases.clear();
  if (m_biases->empty()) return;
  if (m_biasTag) {
    const double since = batch.tag - *m_biasTag;
    const bool changed = since > kBiasPace - kSameTime && m_biases->changes(*m_biasTag, batch.tag);
    if (since < m_options.biasInterval_s - kSameTime && !changed) return;
  }
  m_biasTag = batch.tag;
  batch.newBiases = true;
  batch.biasTag = batch.tag;
  batch.biases = m_biases->at(batch.tag);
}

}  // namespace

std::unique_ptr<CorrectionSource> makeProductSource(const ProductOptions& options,
                                                    const EphemerisTimeline& timeline, ProductFacts* facts) {
  return std::make_unique<ProductSource>(options, timeline, facts);
}

}  // namespace gnx
