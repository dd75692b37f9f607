#pragma once
/// \file ConstraintRows.h
/// Fixes as pseudo-observations below the triangle.

#include <vector>

#include "Core/Filter/SrifFilter.h"

namespace tarvio {

/// One constraint: sum of coefficient times parameter = target, in cycles or metres.
struct ConstraintRow {
  struct Term {
    int column;
    double coefficient;
  };
  Term terms[4];
  int count = 0;
  double target = 0.0;

  void m_add(int column, double coefficient) { terms[count++] = {column, coefficient}; }
};

/// Writes the rows below the triangle, sets m_solstat, re-triangularises and solves. No rows: nothing
/// happens. \return false when there is no room for so many; the status log says so the first time
bool s_foldRows(SrifFilter* filter, const std::vector<ConstraintRow>& rows, int solstat);

}  // namespace tarvio
