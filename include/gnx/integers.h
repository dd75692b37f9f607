#pragma once
/// \file integers.h
/// When and for which satellites a run may resolve integers, judged by its corrections before it begins.
///
/// A wrong integer is worse than none: the position is then called fixed and is decimetres off. So integers
/// stay unresolved where corrections cannot carry them, and every reason is told in a sentence.
///
/// No format of biases tells whether phase biases were estimated with the antenna offsets of the satellites
/// or without. Offsets that differ between two frequencies move wide-lanes by up to 2.2 cycles, each block of
/// satellites by its own amount, so the wide-lane fractions of a run agree under one of the two hypotheses
/// only, unless all satellites in sight have the same offsets.

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "gnx/satellite.h"
#include "gnx/time.h"

namespace gnx {

/// Wide-lane fraction of a satellite's observations, freed of the biases of the corrections. With biases that
/// fit it is the same for all satellites of a system: the receiver's.
struct WideLaneFraction {
  SatName sat;
  double cycles = 0.0;        ///< mean fraction, within half a cycle, observations as they are
  double offsetCycles = 0.0;  ///< what satellite antenna offsets add to it
  double seconds = 0.0;       ///< of observations behind it
};

/// How phase biases were estimated.
enum class BiasDatum {
  withOffsets,     ///< they fit observations that are referred to the centre of mass
  withoutOffsets,  ///< they fit observations as they are
  noMatter,        ///< offsets move all wide-lanes of a system alike
  unknown          ///< the observations do not tell
};

/// Fractions about their common value, cycles.
struct Scatter {
  double rms = 0.0;
  std::map<SatName, double> residuals;
};

/// The two hypotheses.
struct DatumEvidence {
  BiasDatum datum = BiasDatum::unknown;
  Scatter with, without;
};

/// The judgement.
struct IntegerPolicy {
  bool resolved = true;
  double clockInterval_s = 0.0;      ///< above 0: integers at the epochs of these clocks alone
  std::vector<GpsTime> clockEpochs;  ///< in order
  DatumEvidence evidence;
  std::map<std::string, double> blocksWith, blocksWithout;  ///< scatter by antenna block, cycles
  bool makeUpForOffsets = false;      ///< biases know no offsets, the engine's model does
  std::map<SatName, double> misfits;  ///< left float: wide-lane fraction beside the others', cycles
  std::vector<std::string> remarks;   ///< sentences

  bool resolvesAt(const GpsTime& t) const;
};

/// The judgement as a JSON file.
void writeIntegerPolicy(const std::filesystem::path& file, const IntegerPolicy& policy);

}  // namespace gnx
