// Corrections of zero for runs on broadcast orbits and clocks.

#include <algorithm>
#include <cmath>

#include "corrections/sources.h"
#include "gnx/corrections.h"
#include "gnx/signal.h"

namespace gnx {

namespace {

constexpr double kAfterLast = 4.0 * 3600.0;  ///< s, use of the last message
constexpr double kInterval = 30.0;  ///< s, well below the 120 s at which the engine drops corrections

/// The health words flag whole satellites; the lowest bit of QZSS is that of a signal not used here.
bool isHealthy(const BroadcastEph& eph) { return (eph.sat[0] == 'J' ? eph.health & ~1 : eph.health) == 0; }

class ZeroSource : public CorrectionSource {
 public:
  explicit ZeroSource(const EphemerisTimeline& timeline)
      : m_timeline(timeline), m_satellites(timeline.store().satellites()) {
    const GpsTime from = timeline.start();
    const GpsTime last =
        timeline.deliveries().empty() ? from : std::max(from, timeline.deliveries().back().time);
    m_until = last + kAfterLast;
    m_index = static_cast<std::int64_t>(std::floor((from - GpsTime{}) / kInterval));
  }

  bool next(CorrectionBatch& batch) override {
    batch.orbitClock.clear();
    batch.biases.clear();
    batch.newBiases = false;
    batch.tag = GpsTime{} + static_cast<double>(m_index) * kInterval;
    batch.delivery = batch.tag;
    if (m_until < batch.tag) return false;
    ++m_index;
    for (const SatName& sat : m_satellites) {
      const BroadcastEph* eph = m_timeline.store().pick(sat, batch.tag);
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
  std::vector<SatName> m_satellites;
  GpsTime m_until;
  std::int64_t m_index = 0;
};

}  // namespace

std::unique_ptr<CorrectionSource> makeZeroSource(const EphemerisTimeline& timeline) {
  return std::make_unique<ZeroSource>(timeline);
}

}  // namespace gnx
