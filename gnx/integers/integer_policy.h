#pragma once
/// \file integer_policy.h
/// When and for which satellites a run may resolve integers, judged by its products before it begins.
///
/// A wrong integer is worse than none: the position is then called fixed and is decimetres off. So integers
/// stay unresolved where products cannot carry them, and every reason is told in a sentence.

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "corrections/sources.h"
#include "integers/bias_datum.h"

namespace gnx {

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

struct PolicyQuestion {
  ProductFacts products{};        ///< empty for a stream
  double densestSparse_s = 60.0;  ///< clocks further apart are sparse
  bool mixedProducts = false;     ///< the user wants integers from products that do not belong together
  bool massCentre = true;         ///< the engine refers each frequency to the centre of mass
  bool headerWideLanes = false;   ///< of clocks that keep integers, estimated without offsets
  std::vector<WideLaneFraction> fractions{};
  std::map<SatName, std::string> blocks{};  ///< antenna block by satellite
};

IntegerPolicy decideIntegers(const PolicyQuestion& question);

/// "integers.json" of the run directory.
void writeIntegerPolicy(const std::filesystem::path& file, const IntegerPolicy& policy);

}  // namespace gnx
