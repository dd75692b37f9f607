#pragma once
/// \file stream_products.h
/// A stream of corrections turned into orbits, clocks and biases.

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "gnx/corrections.h"
#include "gnx/ephemeris.h"
#include "gnx/read.h"
#include "gnx/write.h"
#include "products/mass_centre.h"

namespace gnx {

/// Collects batch by batch, in order of their tags.
class ProductCollector {
 public:
  /// \param timeline  broadcast messages, all of the stream's time
  /// \param antennas  not null: orbits of the antenna are referred to the centre of mass
  ProductCollector(const EphemerisTimeline& timeline, const ProductPlan& plan, const MassCentre* antennas);
  void take(const CorrectionBatch& batch);
  StreamProducts finish();

 private:
  struct OpenBias {
    GpsTime from;
    double value = 0.0;  ///< m, to be added
    int discontinuity = 0;
    std::uint64_t set = 0;  ///< number of the set that named it last
  };

  bool wanted(const GpsTime& t) const;
  void takeOrbits(const CorrectionBatch& batch);
  void addOrbitEpoch(const CorrectionBatch& batch, std::int64_t epoch_ms);
  void takeClocks(const CorrectionBatch& batch);
  void takeBiases(const CorrectionBatch& batch);
  void note(const SatName& sat, const SsrBias& bias, char kind, const GpsTime& t);
  void close(const std::pair<SatName, std::string>& key, const OpenBias& bias, const GpsTime& until);

  const EphemerisTimeline& m_timeline;
  ProductPlan m_plan;
  const MassCentre* m_antennas;
  StreamProducts m_products;
  std::optional<CorrectionBatch> m_last;  ///< with orbits and clocks
  std::map<std::pair<SatName, std::string>, OpenBias> m_open;
  std::optional<GpsTime> m_biasTime;
  std::uint64_t m_set = 0;
};

/// The whole of a source.
StreamProducts collectProducts(CorrectionSource& source, const EphemerisTimeline& timeline,
                               const ProductPlan& plan, const MassCentre* antennas = nullptr);

std::int64_t toMilliseconds(const GpsTime& t);
GpsTime fromMilliseconds(std::int64_t ms);

}  // namespace gnx
