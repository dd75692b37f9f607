#pragma once
/// \file bias_datum.h
/// Whether phase biases were estimated with the antenna offsets of the satellites or without.
///
/// No format of biases tells. Offsets that differ between two frequencies move wide-lanes by up to 2.2 cycles
/// (offset_free_biases.h), each block of satellites by its own amount, so the fractions of a run agree under
/// one of the two hypotheses only, unless all satellites in sight have the same offsets.

#include <map>
#include <string>
#include <vector>

#include "integers/wide_lane_fractions.h"

namespace gnx {

enum class BiasDatum {
  withOffsets,     ///< biases fit observations that are referred to the centre of mass
  withoutOffsets,  ///< biases fit observations as they are
  noMatter,        ///< offsets move all wide-lanes of a system alike
  unknown          ///< the observations do not tell
};

/// Fractions about their common value, cycles.
struct Scatter {
  double rms = 0.0;
  std::map<SatName, double> residuals;
};

/// Residuals about the value on which most satellites of each system agree within a quarter of a cycle.
Scatter scatterOf(const std::vector<WideLaneFraction>& fractions, bool withOffsets);

struct DatumEvidence {
  BiasDatum datum = BiasDatum::unknown;
  Scatter with, without;
};

/// Decides by the sums of squared residuals, each satellite's fraction being good to a tenth of a cycle: the
/// better hypothesis has to be ninety times as likely as the other, unless the fractions agree under both.
DatumEvidence decideDatum(const std::vector<WideLaneFraction>& fractions);

/// RMS of the residuals by antenna block, cycles. Satellites of unknown block are left out.
std::map<std::string, double> scatterByBlock(const Scatter& scatter,
                                             const std::map<SatName, std::string>& blocks);

}  // namespace gnx
