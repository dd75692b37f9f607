#pragma once
/// \file sources.h
/// The sources of corrections. A timeline that a source is given must outlive it.

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "corrections/bias_table.h"
#include "corrections/product_origin.h"
#include "gnx/adapt.h"
#include "gnx/corrections.h"
#include "gnx/ephemeris.h"

namespace gnx {

/// Precise products: orbits, clocks, biases.
struct ProductOptions {
  std::vector<std::string> sp3;  ///< files of neighbouring days together
  std::vector<std::string> clk;  ///< RINEX clock files; none: the clocks of the SP3 files
  std::vector<std::string> bia;  ///< bias SINEX files
  bool wideLaneBiases = false;   ///< phase biases from the clock file's header
  std::string systems = "GECJ";
  std::optional<GpsTime> from, until;  ///< epochs of interest; none: all of the product
  double interval_s = 0.0;             ///< of the batches; 0: that of the clocks, at most 30
  double biasInterval_s = 300.0;       ///< between sets of biases that stay the same
  double extrapolation_s = 900.0;      ///< of orbits beyond the product: many end at 23:45
};

/// What the files of a product are like.
struct ProductFacts {
  std::vector<std::string> notes{};    ///< remarks for the user
  std::vector<ProductOrigin> origins;  ///< orbits, clocks, phase biases
  double clockInterval_s = 0.0;
  bool broadcastClocks = false;                 ///< of no use for integers
  std::vector<GpsTime> clockEpochs;             ///< in order
  std::shared_ptr<const ProductBiases> biases;  ///< never null behind makeProductSource
};

/// Turns products into corrections relative to the messages that the timeline picks, one batch an
/// epoch on whole multiples of the interval, tagged and delivered at that epoch (final products have
/// no latency). Orbits: orbit_interpolation.h. Clocks are taken at their epochs; in between they are
/// interpolated linearly (5-minute clocks of GPS lose 2 to 5 cm by that, docs/accuracy.md; the engine drops
/// corrections after 120 s), never across a gap. Clock rates are 0: the engine applies a rate to the absolute
/// age, which does harm ahead of the tag. A satellite without orbit, clock or message is left out of the
/// batch. `facts` may be null. Throws InputError, UsageError.
std::unique_ptr<CorrectionSource> makeProductSource(const ProductOptions& options,
                                                    const EphemerisTimeline& timeline,
                                                    ProductFacts* facts = nullptr);

/// A recorded stream of state-space corrections in text form (formats/ssr_text.h).
struct SsrTextOptions {
  std::vector<std::string> files;  ///< one after the other in time
  std::string availability;        ///< CSV with the delivery time of each block of the first file, "" = none
  double latency_s = 0.0;          ///< where it says nothing
  double longestOrbit_s = 300.0;   ///< corrections of an orbit are used so long
  double longestClock_s = 60.0;    ///< and those of a clock in the batches of other systems' clocks
  bool halfInterval = true;        ///< polynomials refer to the middle of the update interval (RTCM 10403.3)
};

/// One batch for every CLOCK block, tagged with its epoch: all satellites whose latest clock has an
/// orbit of the same issue of data, the orbit moved to the tag by its rates. Blocks of the same epoch
/// behind the CLOCK block belong to it. Biases come with the batch that follows them, always the full
/// set, with tags that never repeat.
///
/// With a timeline, corrections to a message that the engine does not hold (refused as duplicates, or
/// not received yet) are moved to the message that it does hold. Throws InputError.
std::unique_ptr<CorrectionSource> makeSsrTextSource(const SsrTextOptions& options,
                                                    const EphemerisTimeline* timeline = nullptr);

/// The biases of recorded streams in full sets, read as far as they are asked for.
class StreamBiases {
 public:
  explicit StreamBiases(const std::vector<std::string>& ssrFiles);
  /// The set that became valid last until a time; null: none since the call before. Times must rise.
  const std::vector<SatBiases>* until(const GpsTime& time);

 private:
  void read();

  std::unique_ptr<CorrectionSource> m_source;  ///< none behind the last set
  GpsTime m_nextFrom;
  std::vector<SatBiases> m_next, m_last;
};

/// Broadcast orbits and clocks as they are: zero corrections for every healthy satellite, every 30 s from the
/// timeline's start to four hours after its last message.
std::unique_ptr<CorrectionSource> makeZeroSource(const EphemerisTimeline& timeline);

/// The batches of another source with their phase biases made up for (makeUpForOffsets).
std::unique_ptr<CorrectionSource> makeOffsetFreeSource(std::unique_ptr<CorrectionSource> source,
                                                       PhaseCentreHeights heights);

/// Signals with a code bias in bias files or in the first day of SSR text files, by system letter ("1C",
/// "2W").
std::map<char, std::set<std::string>> correctedSignals(const std::vector<std::string>& biasFiles,
                                                       const std::vector<std::string>& ssrFiles);

}  // namespace gnx
