#pragma once
/// \file ConstraintRows.h
/// Fixes as pseudo-observations.

#include <vector>

#include "Core/Filter/ConstraintRow.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

/// Writes the rows below the triangle, sets m_solstat, re-triangularises and solves; while the fixed solution
/// is kept beside the triangle, the rows go there. No rows: nothing happens. \return false when there is no
/// room for so many; the status log says so the first time
bool s_foldRows(SrifFilter* filter, const std::vector<ConstraintRow>& rows, int solstat);

}  // namespace tarvio
