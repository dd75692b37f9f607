#pragma once
/// \file stream_products.h
/// A stream of corrections turned into orbits, clocks and biases.
///
/// Orbit: the broadcast message that a correction names, moved by the correction; the reference point is that
/// of the stream. Clock: the engine's evaluation of the message (broadcast_orbit.h: without periodic
/// relativity, BeiDou moved to the pair B1I/B3I) plus the correction, so that the same corrections come back
/// when the product is turned into a stream again. Biases change their sign: streams add, files subtract.

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "corrections/correction_source.h"
#include "corrections/ephemeris_timeline.h"
#include "formats/sinex_bias.h"
#include "products/mass_centre.h"

namespace gnx {

struct ProductPlan {
  double orbitInterval_s = 30.0;  ///< epochs on whole multiples
  double clockInterval_s = 0.0;   ///< epochs on whole multiples; 0 = those of the stream
  double biasInterval_s = 30.0;   ///< biases change no faster
  std::optional<GpsTime> from{}, to{};
};

/// Position and clock of a satellite at an epoch.
struct ProductPoint {
  Vector3 position{};  ///< Earth-fixed, m
  double clock = 0.0;  ///< s
};

struct StreamProducts {
  double orbitInterval_s = 0.0;
  std::map<std::int64_t, std::map<SatName, ProductPoint>> orbits;  ///< by epoch, ms since 1970, GPS time
  std::map<std::int64_t, std::map<SatName, double>> clocks;        ///< s; likewise
  std::vector<BiasRow> biases;                                     ///< s, to be subtracted
  std::set<SatName> satellites;                                    ///< of orbits and clocks
  long withoutMessage = 0;   ///< corrections whose broadcast message is not in the files
  long withoutAntenna = 0;   ///< orbits of satellites without antenna offsets, left out
  long discontinuities = 0;  ///< of phase biases: a file tells of them by a new value alone
};

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
