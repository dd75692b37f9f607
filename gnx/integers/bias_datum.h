#pragma once
/// \file bias_datum.h
/// Whether phase biases were estimated with the antenna offsets of the satellites or without.

#include <map>
#include <string>
#include <vector>

#include "gnx/integers.h"

namespace gnx {

/// Residuals about the value on which most satellites of each system agree within a quarter of a cycle.
Scatter scatterOf(const std::vector<WideLaneFraction>& fractions, bool withOffsets);

/// Decides by the sums of squared residuals, each satellite's fraction being good to a tenth of a cycle: the
/// better hypothesis has to be ninety times as likely as the other, unless the fractions agree under both.
DatumEvidence decideDatum(const std::vector<WideLaneFraction>& fractions);

/// RMS of the residuals by antenna block, cycles. Satellites of unknown block are left out.
std::map<std::string, double> scatterByBlock(const Scatter& scatter,
                                             const std::map<SatName, std::string>& blocks);

}  // namespace gnx
