// The measurement update in the order ionosphere and ambiguities, ordinary parameters.
//
// Columns of the array: own ones 0..own-1, then np ordinary ones, then the right-hand side. Rows: 0..own-1
// the triangle of the own columns, then the np rows of the ordinary parameters, then a row for each own
// column that observations know, in the order of the columns, then rows that know ordinary parameters alone.

#include "Core/Filter/MeasurementSweep.h"

#include <algorithm>
#include <cmath>

namespace tarvio {

namespace {

constexpr std::size_t kMostColumns = 16;  ///< of a satellite; a triangle of more is as good as the whole

/// Place of the next element that is not zero, `end` without one.
int s_nextNonZero(const double* values, int begin, int end) {
  constexpr int kStride = 8;
  for (; begin + kStride <= end; begin += kStride) {
    double sum = 0.0;
    for (int i = 0; i < kStride; ++i) sum += std::fabs(values[begin + i]);
    if (sum != 0.0) break;
  }
  while (begin < end && values[begin] == 0.0) ++begin;
  return begin;
}

std::size_t s_at(int i) { return static_cast<std::size_t>(i); }

}  // namespace

bool MeasurementSweep::m_run(double* infs, int ld, int np, int n, int nobs, double* misfit) {
  m_infs = infs;
  m_ld = ld;
  m_np = np;
  m_n = n;
  m_nobs = nobs;
  m_own = n - np;
  if (!m_findSatellites()) return false;
  m_layOut();
  for (std::size_t i = 0; i < m_count; ++i) m_triangulariseRows(m_satellites[i]);
  m_sweep();
  m_takeBack(misfit);
  return true;
}

int MeasurementSweep::m_rootOf(int column) {
  while (m_parent[s_at(column)] != column) {
    int& parent = m_parent[s_at(column)];
    column = parent = m_parent[s_at(parent)];
  }
  return column;
}

/// Groups rows by the own columns that they share.
bool MeasurementSweep::m_findSatellites() {
  m_parent.resize(s_at(m_own));
  m_firstColumn.assign(s_at(m_nobs), -1);
  m_entry.assign(s_at(m_own), -1);
  for (int column = 0; column < m_own; ++column) {
    m_parent[s_at(column)] = column;
    const double* rows = m_infsColumn(m_np + column) + m_n;
    for (int row = s_nextNonZero(rows, 0, m_nobs); row < m_nobs; row = s_nextNonZero(rows, row + 1, m_nobs)) {
      m_entry[s_at(column)] = 0;
      int& first = m_firstColumn[s_at(row)];
      if (first < 0) first = column;
      else m_parent[s_at(m_rootOf(column))] = m_rootOf(first);
    }
  }

  m_count = 0;
  m_place.assign(s_at(m_own), -1);
  const auto satelliteOf = [&](int column) -> Satellite& {
    int& place = m_place[s_at(m_rootOf(column))];
    if (place < 0) {
      place = static_cast<int>(m_count++);
      if (m_satellites.size() < m_count) m_satellites.emplace_back();
      m_satellites[s_at(place)].rows.clear();
      m_satellites[s_at(place)].columns.clear();
    }
    return m_satellites[s_at(place)];
  };
  for (int column = 0; column < m_own; ++column)
    if (m_entry[s_at(column)] == 0) satelliteOf(column).columns.push_back(column);
  m_free.clear();
  for (int row = 0; row < m_nobs; ++row) {
    const int first = m_firstColumn[s_at(row)];
    if (first < 0) m_free.push_back(row);
    else satelliteOf(first).rows.push_back(row);
  }
  return m_np + 1 + static_cast<int>(kMostColumns) <= kWidestRows - 4 &&
         std::all_of(m_satellites.begin(), m_satellites.begin() + static_cast<std::ptrdiff_t>(m_count),
                     [](const Satellite& s) { return s.columns.size() <= kMostColumns; });
}

/// Gives every row its place and brings the triangle there; rows of observations begin as zeros as far as a
/// column's reflectors will look.
void MeasurementSweep::m_layOut() {
  m_extent.resize(s_at(m_n));
  for (std::size_t i = 0; i < m_count; ++i) {
    const Satellite& satellite = m_satellites[i];
    for (std::size_t k = 0; k < satellite.columns.size(); ++k)
      m_entry[s_at(satellite.columns[k])] = k < satellite.rows.size() ? 0 : -1;
  }
  int next = m_n;
  for (int column = 0; column < m_own; ++column) {
    if (m_entry[s_at(column)] == 0) m_entry[s_at(column)] = next++;
    m_extent[s_at(column)] = {m_own, next};
  }
  m_next = next;
  const int rows = m_n + m_nobs;
  for (int p = 0; p < m_np; ++p) m_extent[s_at(m_own + p)] = {m_own + p + 1, rows};
  m_lead =
      (rows + 3) / 4 * 4 + 4;  // columns that begin at the same place of a page would push each other out
  if (m_lead % 64 == 0) m_lead += 4;
  m_array.resize(s_at(m_lead) * s_at(m_n + 1));

  for (int column = 0; column < m_own; ++column) {
    const double* from = m_infsColumn(m_np + column);
    double* to = m_column(column);
    std::copy_n(from + m_np, column + 1, to);
    std::copy_n(from, m_np, to + m_own);
    std::fill(to + m_n, to + m_extent[s_at(column)].hi, 0.0);
  }
  for (int p = 0; p <= m_np; ++p) {
    const bool last = p == m_np;
    const double* from = m_infsColumn(last ? m_n : p);
    double* to = m_column(m_own + p);
    if (last) std::copy_n(from + m_np, m_own, to);
    else std::fill_n(to, m_own, 0.0);
    std::copy_n(from, m_np, to + m_own);
    for (std::size_t i = 0; i < m_free.size(); ++i) to[m_next + static_cast<int>(i)] = from[m_n + m_free[i]];
  }
  m_next += static_cast<int>(m_free.size());
}

void MeasurementSweep::m_triangulariseRows(const Satellite& satellite) {
  const int columns = static_cast<int>(satellite.columns.size()),
            rows = static_cast<int>(satellite.rows.size());
  const int used = columns + m_np + 1, width = (used + 3) / 4 * 4;
  m_local.assign(s_at(rows) * s_at(width), 0.0);
  for (int c = 0; c < used; ++c) {
    const int column = c < columns ? m_np + satellite.columns[s_at(c)] : c < used - 1 ? c - columns : m_n;
    const double* from = m_infsColumn(column) + m_n;
    for (int r = 0; r < rows; ++r) m_local[s_at(r * width + c)] = from[satellite.rows[s_at(r)]];
  }
  s_triangulariseRows(m_local.data(), rows, columns, width);
  for (int r = 0; r < rows; ++r) {
    const double* row = m_local.data() + r * width;
    const int place = r < columns ? m_entry[s_at(satellite.columns[s_at(r)])] : m_next++;
    for (int c = r; c < columns; ++c) m_column(satellite.columns[s_at(c)])[place] = row[c];
    for (int p = 0; p <= m_np; ++p) m_column(m_own + p)[place] = row[columns + p];
  }
}

void MeasurementSweep::m_sweep() {
  s_triangulariseStaircase(m_array.data(), m_lead, m_n, m_n + 1, m_extent.data());
  for (int p = 0; p < m_np; ++p) {
    double* column = m_column(m_own + p);
    std::fill(column + m_own + p + 1, column + m_n, 0.0);
    if (column[m_own + p] >= 0.0) continue;
    for (int c = p; c <= m_np; ++c) m_column(m_own + c)[m_own + p] *= -1.0;
  }
  m_bringForward();
}

/// The rows of the ordinary parameters are carried through those of the own columns.
void MeasurementSweep::m_bringForward() {
  m_sweeps.m_begin(m_own);
  m_moving.clear();
  for (int p = 0; p < m_np; ++p)
    m_moving.push_back({m_column(m_own + p), m_own - 1, m_column(m_own + p) + m_own});
  m_sweeps.m_clear(m_moving);
  m_carrying.clear();
  for (int column = 0; column < m_own; ++column) {
    double* rows = m_column(column);
    std::fill_n(rows + m_own, m_np, 0.0);
    std::fill(rows + column + 1, rows + std::min(column + 4, m_own), 0.0);
    m_carrying.push_back({rows, column, rows + m_own});
  }
  m_carrying.push_back({m_column(m_n), m_own - 1, m_column(m_n) + m_own});
  m_sweeps.m_apply(m_carrying.data(), m_carrying.size());
}

void MeasurementSweep::m_takeBack(double* misfit) {
  for (int column = 0; column < m_own; ++column) {
    double* to = m_infs + static_cast<std::ptrdiff_t>(m_np + column) * m_ld;
    const double* from = m_column(column);
    std::copy_n(from + m_own, m_np, to);
    std::copy_n(from, column + 1, to + m_np);
  }
  for (int p = 0; p < m_np; ++p)
    std::copy_n(m_column(m_own + p) + m_own, p + 1, m_infs + static_cast<std::ptrdiff_t>(p) * m_ld);
  double* rhs = m_infs + static_cast<std::ptrdiff_t>(m_n) * m_ld;
  const double* from = m_column(m_n);
  std::copy_n(from + m_own, m_np, rhs);
  std::copy_n(from, m_own, rhs + m_np);
  std::copy_n(from + m_n, m_nobs, misfit);
}

}  // namespace tarvio
