#pragma once
/// \file MeasurementSweep.h
/// Measurement update of the square root [R z; A b] that uses what the rows of an epoch look like.
///
/// An observation row knows the ordinary parameters, which all rows share, and the ionosphere and ambiguities
/// of its own satellite. Triangularised in the order of the columns, the shared ones come first and every row
/// is full after them. Here they come last:
///
///   1. The rows of a satellite are triangularised among themselves, its own columns first: one row a column
///      is left that knows it, the rest know the ordinary parameters alone.
///   2. The triangle of ionosphere and ambiguities takes these rows and the ordinary parameters' rows in: at
///   a
///      column only those rows take part whose satellites it has come to.
///   3. What is left is triangularised in the ordinary parameters; behind them stands the misfit.
///   4. Sweeps of rotations bring the ordinary parameters back to the front.
///
/// The outcome is the triangle of the plain sweep, but for the signs of its rows, and another basis of the
/// same misfit.

#include <vector>

#include "Common/GivensSweeps.h"
#include "Common/Staircase.h"

namespace tarvio {

class MeasurementSweep {
 public:
  /// \param infs  column c begins at c * ld; the triangle in rows 0..n-1, the epoch's rows behind it, which
  /// stay as they are; right-hand side in column n
  /// \param np  columns that all rows may know
  /// \param misfit  out, nobs values
  /// \return false, and nothing is done, when rows hang together by more columns than a satellite has
  bool m_run(double* infs, int ld, int np, int n, int nobs, double* misfit);

 private:
  /// Rows that share columns behind the ordinary ones, and those columns.
  struct Satellite {
    std::vector<int> rows, columns;
  };
  bool m_findSatellites();
  int m_rootOf(int column);
  void m_layOut();
  void m_triangulariseRows(const Satellite& satellite);
  void m_sweep();
  void m_bringForward();
  void m_takeBack(double* misfit);

  double* m_column(int c) { return m_array.data() + static_cast<std::ptrdiff_t>(c) * m_lead; }
  const double* m_infsColumn(int c) const { return m_infs + static_cast<std::ptrdiff_t>(c) * m_ld; }

  double* m_infs = nullptr;
  int m_ld = 0, m_np = 0, m_n = 0, m_nobs = 0;
  int m_own = 0;  ///< columns behind the ordinary ones
  std::vector<int> m_parent, m_place, m_firstColumn;
  std::vector<Satellite> m_satellites;
  std::size_t m_count = 0;     ///< satellites in use
  std::vector<int> m_free;     ///< rows that know ordinary parameters alone
  std::vector<int> m_entry;    ///< by own column: row of the array that a satellite's rows have for it
  int m_lead = 0, m_next = 0;  ///< rows of the array; the next one for ordinary parameters alone
  std::vector<double> m_array, m_local;
  std::vector<ColumnRows> m_extent;
  GivensSweeps m_sweeps;
  std::vector<GivensSweeps::Column> m_moving, m_carrying;
};

}  // namespace tarvio
