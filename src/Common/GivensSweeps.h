#pragma once
/// \file GivensSweeps.h
/// Sweeps of Givens rotations from the bottom of a triangle to its top.
///
/// A sweep carries one row upwards and rotates it with every row it meets, so that one column becomes zero in
/// all of them: the carried row takes everything that the triangle knew through that column. The triangle
/// stays one, since the carried row never has anything left of the row it meets. Three steps of a
/// square-root filter are such sweeps: a parameter leaves the state (the carried row begins with nothing and
/// is dropped), old values give way to new ones (it begins with what the noise says and is dropped), and
/// columns move from the back of the state to its front (it is kept).
///
/// All rotations of a sweep follow from the column alone: with h_i the norm of the carried element and the
/// column from row i down, cosine and sine in row i are x_i / h_i and h_(i+1) / h_i. Sweeps are applied four
/// at a time to four columns, without fused operations or sums across lanes: all processors give the same
/// digits.

#include <cstddef>
#include <vector>

namespace tarvio {

class GivensSweeps {
 public:
  /// A column and what the carried rows have in it.
  struct Column {
    double* m_rows = nullptr;
    int m_last = -1;            ///< last row that may have something; the next three can be read and are zero
    double* m_carry = nullptr;  ///< by sweep; null: the carried rows begin with nothing and are dropped
  };

  /// Forgets all sweeps. \param rows  of the arrays to come
  void m_begin(int rows);
  /// Makes a sweep for each column, in their order: it clears the column as the sweeps before left it, into
  /// m_carry of its own number, which is not negative. The columns' contents are lost.
  void m_clear(const std::vector<Column>& columns);
  /// All sweeps on the columns, neighbours of about the same length.
  void m_apply(const Column* columns, std::size_t count) const;

 private:
  static constexpr int kFused = 4;
  double m_add(const double* x, int last, double head);
  void m_applyGroup(std::size_t group, int count, const Column* columns, std::size_t number) const;

  int m_rows = 0, m_count = 0;
  std::vector<int> m_begins;    ///< by group: the lowest row that its sweeps change
  std::vector<double> m_table;  ///< by group of sweeps, row and sweep: cosine and sine
};

}  // namespace tarvio
