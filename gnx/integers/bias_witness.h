#pragma once
/// \file bias_witness.h
/// What the observations of a station say about the biases of its corrections, under a deployment.

#include <map>
#include <string>
#include <vector>

#include "gnx/read.h"
#include "integers/integer_policy.h"
#include "integers/wide_lane_fractions.h"

namespace gnx {

class BiasWitness {
 public:
  /// \param start     header, and the signals that have biases
  /// \param messages  for elevations; must outlive the witness
  BiasWitness(const Deployment& deployment, const StreamStart& start, const GpsTime& first,
              const MessageStore& messages);

  /// \param biases  valid at the epoch
  void add(const ObsEpoch& epoch, const std::vector<SatBiases>& biases) { m_lanes.add(epoch, biases); }
  /// Completes a question by what was seen, and decides it.
  IntegerPolicy judge(PolicyQuestion question) const;
  /// Of the satellites' phase centres; empty when orbits refer to the antennas.
  const PhaseCentreHeights& heights() const { return m_heights; }

 private:
  BiasWitness(const Deployment& deployment, const StreamStart& start, const TableTime& day,
              const MessageStore& messages, const std::vector<AntexBlock>& antennas);

  bool m_massCentre;
  PhaseCentreHeights m_heights;
  std::map<SatName, std::string> m_blocks;  ///< antenna block by satellite
  WideLaneFractions m_lanes;
};

}  // namespace gnx
