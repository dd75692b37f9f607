#pragma once
/// \file wide_lane_fractions.h
/// Fractions of the wide-lanes of a run's observations, freed of the biases that come with the corrections.
///
/// Codes and phases of two frequencies give the wide-lane ambiguity by themselves (Melbourne-Wuebbena),
/// whatever orbit, clock and troposphere are. With biases that fit, its fraction is the same for all
/// satellites of a system: the receiver's. Directions on a circle are averaged, so cycle slips do no harm.

#include <complex>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "gnx/adapt.h"
#include "gnx/ephemeris.h"
#include "gnx/integers.h"

namespace gnx {

class WideLaneFractions {
 public:
  /// \param heights   of phase centres; a satellite without two of them has no offset
  /// \param position  of the receiver, for elevations; all zero: satellites of every elevation count
  WideLaneFractions(SignalPlan signals, const MessageStore& messages, PhaseCentreHeights heights,
                    const std::array<double, 3>& position);

  /// \param biases  valid at the epoch
  void add(const ObsEpoch& epoch, const std::vector<SatBiases>& biases);
  /// Satellites with ten minutes of observations and more.
  std::vector<WideLaneFraction> result() const;

 private:
  struct Sum {
    std::complex<double> direction;  ///< of the arcs that have ended
    double arcSum = 0.0, arcWeight = 0.0, geometryFree = 0.0;
    GpsTime last;
    double offset = 0.0, seconds = 0.0;
  };

  static std::complex<double> meanOfArc(const Sum& sum);
  std::optional<double> weight(const SatName& sat, const GpsTime& t) const;

  SignalPlan m_signals;
  const MessageStore& m_messages;
  PhaseCentreHeights m_heights;
  std::array<double, 3> m_position;
  std::map<SatName, Sum> m_sums;
  std::optional<GpsTime> m_last;
};

}  // namespace gnx
