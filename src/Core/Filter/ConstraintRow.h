#pragma once
/// \file ConstraintRow.h
/// A fix as a condition on the ambiguity columns.

namespace tarvio {

constexpr double kConstraintWeight = 10000.0;  ///< 1e-4 cycles, or metres in a narrow-lane row

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

}  // namespace tarvio
