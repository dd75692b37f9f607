// Corrections of zero for runs on broadcast orbits and clocks.

#include <algorithm>
#include <cmath>

#include "corrections/broadcast_orbit.h"
#include "corrections/sources.h"
#include "formats/input_error.h"

namespace gnx {

namespace {

constexpr double kAfterLast = 4.0 * 3600.0;  ///< s, use of the last message

/// The health words flag whole satellites; the lowest bit of QZSS is that of a signal not used here.
bool isHealthy(const BroadcastEph& eph) { return (eph.sat[0] == 'J' ? eph.health & ~1 : eph.health) == 0; }

class ZeroSource : public CorrectionSource {
 public:
  ZeroSource(const EphemerisTimeline& timeline, const ZeroOptions& options)
      : m_timeline(timeline), m_interval(options.interval_s), m_satellites(timeline.satellites()) {
    if (!(m_interval > 0.0 && m_interval < 120.0)) {
      throw UsageError(
          "zero corrections need an interval above 0 and below 120 s, the age at which they are dropped");
    }
    const GpsTime from = options.from.value_or(timeline.start());
    const GpsTime last =
        timeline.deliveries().empty() ? from : std::max(from, timeline.deliveries().back().time);
    m_until = options.until.value_or(last + kAfterLast);
    m_index = static_cast<std::int64_t>(std::floor((from - GpsTime{}) / m_interval));
  }

  bool next(CorrectionBatch& batch) override {
    batch.orbitClock.clear();
    batch.biases.clear();
    batch.newBiases = false;
    batch.tag = GpsTime{} + static_cast<double>(m_index) * m_interval;
    batch.delivery = batch.tag;
    if (m_until < batch.tag) return false;
    ++m_index;
    for (const SatName& sat : m_satellites) {
      const BroadcastEph* eph = m_timeline.pick(sat, batch.tag);
      if (eph == nullptr || !isHealthy(*eph)) continue;
      OrbitClockCorrection c;
      c.sat = sat;
      c.iod = issueOfData(*eph);
      batch.orbitClock.push_back(std::move(c));
    }
    return true;
  }

 private:
  const EphemerisTimeline& m_timeline;
  double m_interval;
  std::vector<SatName> m_satellites;
  GpsTime m_until;
  std::int64_t m_index = 0;
};

}  // namespace

std::unique_ptr<CorrectionSource> makeZeroSource(const EphemerisTimeline& timeline,
                                                 const ZeroOptions& options) {
  return std::make_unique<ZeroSource>(timeline, options);
}

}  // namespace gnx
