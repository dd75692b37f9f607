#pragma once
/// \file integer_policy.h
/// What is known before a run begins, and the judgement on its integers.

#include <map>
#include <string>
#include <vector>

#include "corrections/sources.h"
#include "gnx/integers.h"

namespace gnx {

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

}  // namespace gnx
