#pragma once
/// \file TiedColumns.h
/// Ambiguities that fixes tie to each other: of a system whose differences are integers one column is left,
/// the others differ from it by constants.

#include <utility>
#include <vector>

#include "Core/Filter/ConstraintRow.h"

namespace tarvio {

/// Constraints F x = t solved for as many columns as there are independent rows, by elimination with the
/// largest coefficient of a row as pivot: a tied column is a combination of free ones, and a constant.
class TiedColumns {
 public:
  /// \param first, count  columns first to first + count - 1 are ambiguities
  TiedColumns(const std::vector<ConstraintRow>& rows, int first, int count);

  /// Columns that remain, counted from `first`, ascending.
  const std::vector<int>& m_free() const { return m_freeColumns; }
  /// What a matrix whose columns multiply the ambiguities is for the free ones alone.
  /// \param R, start  element (row, column) at R[start[column] + row], column counted from `first`
  /// \param rows      of the matrix
  /// \param out       rows by free columns, one column after the other
  void m_fold(const double* R, const int* start, int rows, std::vector<double>& out) const;

 private:
  using Term = std::pair<int, double>;  // column from `first`, coefficient
  struct Tie {
    int column = 0;
    std::size_t begin = 0, end = 0;  // its terms in m_terms
  };
  void m_add(int column, double coefficient);
  void m_substitute();
  void m_tie();
  void m_collect(Tie& tie, double divisor);

  std::vector<Tie> m_ties;
  std::vector<Term> m_terms;  // of all ties
  std::vector<int> m_tieOf;   // by column, -1: free
  std::vector<int> m_freeColumns;
  std::vector<double> m_row;   // row in work, by column
  std::vector<int> m_touched;  // its columns
};

}  // namespace tarvio
