// Sweeps of rotations, four of them on four columns at a time.

#include "Common/GivensSweeps.h"

#include <algorithm>
#include <cmath>

#include "Common/WideVectors.h"

namespace tarvio {

namespace {

constexpr int kSweeps = 4, kColumns = 4;

typedef double Lanes __attribute__((vector_size(32), aligned(8)));

/// N sweeps on four columns. \param table  of the group, a pair by row and sweep \param carry  by column,
/// from the first sweep of the group on
template <int N>
[[gnu::always_inline]] inline void s_fourBody(const double* table, int last, double* const* columns,
                                              double* const* carry) {
  Lanes carried[N];
#pragma GCC unroll 4
  for (int p = 0; p < N; ++p) carried[p] = Lanes{carry[0][p], carry[1][p], carry[2][p], carry[3][p]};
  double *a = columns[0], *b = columns[1], *c = columns[2], *d = columns[3];
  for (int row = last; row >= 0; --row) {
    const double* pair = table + static_cast<long>(row) * 2 * kSweeps;
    Lanes x{a[row], b[row], c[row], d[row]};
#pragma GCC unroll 4
    for (int p = 0; p < N; ++p) {
      const double cosine = pair[2 * p], sine = pair[2 * p + 1];
      const Lanes kept = sine * x - cosine * carried[p];
      carried[p] = cosine * x + sine * carried[p];
      x = kept;
    }
    a[row] = x[0];
    b[row] = x[1];
    c[row] = x[2];
    d[row] = x[3];
  }
  for (int p = 0; p < N; ++p)
    for (int k = 0; k < kColumns; ++k) carry[k][p] = carried[p][k];
}

[[gnu::always_inline]] inline void s_fourOf(int sweeps, const double* table, int last, double* const* columns,
                                            double* const* carry) {
  switch (sweeps) {
    case 1:
      return s_fourBody<1>(table, last, columns, carry);
    case 2:
      return s_fourBody<2>(table, last, columns, carry);
    case 3:
      return s_fourBody<3>(table, last, columns, carry);
    default:
      return s_fourBody<4>(table, last, columns, carry);
  }
}

void s_fourBase(int sweeps, const double* table, int last, double* const* columns, double* const* carry) {
  s_fourOf(sweeps, table, last, columns, carry);
}

GNX_WIDE void s_fourWide(int sweeps, const double* table, int last, double* const* columns,
                         double* const* carry) {
  s_fourOf(sweeps, table, last, columns, carry);
}

template <int N>
void s_oneOf(const double* table, int last, double* column, double* carry) {
  double carried[N];
  std::copy_n(carry, N, carried);
  for (int row = last; row >= 0; --row) {
    const double* pair = table + static_cast<long>(row) * 2 * kSweeps;
    double x = column[row];
#pragma GCC unroll 4
    for (int p = 0; p < N; ++p) {
      const double kept = pair[2 * p + 1] * x - pair[2 * p] * carried[p];
      carried[p] = pair[2 * p] * x + pair[2 * p + 1] * carried[p];
      x = kept;
    }
    column[row] = x;
  }
  std::copy_n(carried, N, carry);
}

void s_one(int sweeps, const double* table, int last, double* column, double* carry) {
  switch (sweeps) {
    case 1:
      return s_oneOf<1>(table, last, column, carry);
    case 2:
      return s_oneOf<2>(table, last, column, carry);
    case 3:
      return s_oneOf<3>(table, last, column, carry);
    default:
      return s_oneOf<4>(table, last, column, carry);
  }
}

}  // namespace

void GivensSweeps::m_begin(int rows) {
  m_rows = rows;
  m_count = 0;
  m_begins.clear();
}

/// \return the carried element behind the sweep
double GivensSweeps::m_add(const double* x, int last, double head) {
  const int place = m_count % kFused;
  const auto group = static_cast<std::size_t>(m_count / kFused);
  // Never empty: an array without rows has no address to count from.
  const auto size = static_cast<std::size_t>(std::max(m_rows, 1)) * 2 * kFused;
  if (place == 0) m_begins.push_back(last);
  m_begins.back() = std::max(m_begins.back(), last);
  if (m_table.size() < (group + 1) * size) m_table.resize((group + 1) * size);
  double* pairs = m_table.data() + group * size + 2 * place;
  for (int row = last + 1; row < m_rows; ++row) {
    pairs[static_cast<long>(row) * 2 * kFused] = 0.0;
    pairs[static_cast<long>(row) * 2 * kFused + 1] = 1.0;
  }
  double squares = head * head, below = head;
  for (int row = last; row >= 0; --row) {
    double* pair = pairs + static_cast<long>(row) * 2 * kFused;
    squares += x[row] * x[row];
    const double norm = std::sqrt(squares);
    // Nothing to clear so far: the row stays.
    pair[0] = norm > 0.0 ? x[row] / norm : 0.0;
    pair[1] = norm > 0.0 ? below / norm : 1.0;
    below = norm;
  }
  ++m_count;
  return below;
}

void GivensSweeps::m_clear(const std::vector<Column>& columns) {
  const std::size_t count = columns.size();
  for (std::size_t begin = 0; begin < count; begin += kFused) {
    const std::size_t end = std::min(begin + kFused, count), group = begin / kFused;
    for (std::size_t i = begin; i < end; ++i) {
      const Column& own = columns[i];
      m_applyGroup(group, static_cast<int>(i - begin), &own, 1);
      own.m_carry[i] = m_add(own.m_rows, own.m_last, own.m_carry[i]);
    }
    m_applyGroup(group, static_cast<int>(end - begin), columns.data() + end, count - end);
  }
}

void GivensSweeps::m_apply(const Column* columns, std::size_t count) const {
  for (std::size_t begin = 0; begin < count; begin += kColumns) {
    const std::size_t number = std::min<std::size_t>(kColumns, count - begin);
    for (int sweep = 0; sweep < m_count; sweep += kFused)
      m_applyGroup(static_cast<std::size_t>(sweep / kFused), std::min(kFused, m_count - sweep),
                   columns + begin, number);
  }
}

void GivensSweeps::m_applyGroup(std::size_t group, int count, const Column* columns,
                                std::size_t number) const {
  static_assert(kFused == kSweeps);
  static const auto four = s_forThisProcessor(s_fourWide, s_fourBase);
  if (count == 0) return;
  const int begin = m_begins[group];
  const double* table = m_table.data() + group * static_cast<std::size_t>(m_rows) * 2 * kFused;
  const auto carryOf = [&](const Column& column, double* nothing) {
    return column.m_carry ? column.m_carry + group * kFused : nothing;
  };
  std::size_t i = 0;
  for (; i + kColumns <= number; i += kColumns) {
    double nothing[kColumns][kSweeps] = {};
    double *rows[kColumns], *carry[kColumns];
    int last = -1;
    for (std::size_t k = 0; k < kColumns; ++k) {
      rows[k] = columns[i + k].m_rows;
      carry[k] = carryOf(columns[i + k], nothing[k]);
      last = std::max(last, columns[i + k].m_last);
    }
    four(count, table, std::min(last, begin), rows, carry);
  }
  for (; i < number; ++i) {
    double nothing[kSweeps] = {};
    s_one(count, table, std::min(columns[i].m_last, begin), columns[i].m_rows, carryOf(columns[i], nothing));
  }
}

}  // namespace tarvio
