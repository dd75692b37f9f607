#pragma once
/// \file solution_of.h
/// The engine's record of an epoch as a Solution.

#include "GNX_SDK_ext.h"
#include "gnx/solution.h"

namespace gnx {

Solution solutionOf(const GNX_EXT::Result& result);

}  // namespace gnx
