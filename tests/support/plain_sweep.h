#pragma once
/// \file plain_sweep.h
/// The steps of the filter in their plain form, one orthogonal triangularisation of everything in the order
/// of the columns, as what the structured forms are held against.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "Common/CMat.h"
#include "Core/Filter/SrifFilter.h"

namespace gnx_test {

/// An array by columns.
struct Array {
  Array(int nrow, int ncol)
      : rows(nrow), columns(ncol), data(static_cast<std::size_t>(nrow) * static_cast<std::size_t>(ncol)) {}
  double& at(int r, int c) {
    return data[static_cast<std::size_t>(c) * static_cast<std::size_t>(rows) + static_cast<std::size_t>(r)];
  }
  double at(int r, int c) const { return const_cast<Array*>(this)->at(r, c); }
  void triangularise() {
    const int n = std::min(rows, columns);
    tarvio::CMat::CMat_Householder(data.data(), rows, n, rows, columns, false);
  }

  int rows, columns;
  std::vector<double> data;
};

/// The filter's array as far as it means something, right-hand side last.
inline Array arrayOf(const tarvio::SrifFilter& f, int rowsBelow = 0) {
  Array a(f.imtx + rowsBelow, f.imtx + 1);
  for (int c = 0; c <= f.imtx; ++c) std::copy_n(f.infs + f.iptx[c], a.rows, a.data.data() + c * a.rows);
  return a;
}

/// Old and new values side by side, the old ones eliminated. \param before  the filter before the time
/// update, solved \param epochs  span since the last epoch, s
inline Array plainTimeUpdate(const tarvio::SrifFilter& f, const Array& before,
                             const std::vector<tarvio::SrifPamt>& records) {
  const int n = f.npi, m = f.imtx;
  const double now = f.mjd + f.sod / 86400.0;
  Array a(2 * n, n + m + 1);
  for (int c = 0; c <= m; ++c)
    for (int r = 0; r < std::min(n, c + 1); ++r) a.at(r, c < n ? c : n + c) = before.at(r, c);
  for (int k = 0; k < n; ++k) {
    const tarvio::SrifPamt& record = records[static_cast<std::size_t>(k)];
    double information = record.qinv / std::sqrt(f.dintv), phi = record.phi,
           moved = record.iupd ? record.dx : 0.0;
    if (record.tpiece != 0.0 && now - record.ptime1 < -0.02 / 86400.0) {
      information = 100000.0;
      moved = 0.0;
    } else if (record.tpiece != 0.0) {
      information = record.qinv / std::sqrt(record.tpiece);
    }
    a.at(n + k, k) = -information * phi;
    a.at(n + k, n + k) = information;
    a.at(n + k, n + m) = -information * phi * moved;
  }
  a.triangularise();
  Array after = before;
  for (int c = 0; c <= m; ++c)
    for (int r = 0; r < n; ++r) after.at(r, c) = a.at(n + r, n + c);
  return after;
}

/// The others' information after columns have left.
inline Array plainDeletion(const Array& before, const std::vector<int>& gone) {
  const int k = static_cast<int>(gone.size());
  Array a(before.rows, before.columns);
  int place = 0;
  const auto take = [&](int column) {
    std::copy_n(before.data.data() + column * before.rows, before.rows, a.data.data() + place++ * a.rows);
  };
  for (const int column : gone) take(column);
  for (int c = 0; c < before.columns; ++c)
    if (!std::binary_search(gone.begin(), gone.end(), c)) take(c);
  a.triangularise();
  Array after(before.rows - k, before.columns - k);
  for (int c = 0; c < after.columns; ++c)
    for (int r = 0; r < after.rows; ++r) after.at(r, c) = a.at(r + k, c + k);
  return after;
}

/// Norm of a column.
inline double norm(const Array& a, int c) {
  double sum = 0.0;
  for (int r = 0; r < a.rows; ++r) sum = std::hypot(sum, a.at(r, c));
  return sum;
}

/// Triangles with right-hand side, the sign of a row free, by the norms of their columns. \param before  of
/// the right-hand side from which this one came, whose rounding it has
inline void expectSameTriangle(const Array& got, const Array& want, double relative, double before) {
  ASSERT_EQ(got.columns, want.columns);
  const int n = want.columns - 1;
  for (int c = 0; c <= n; ++c) {
    const double limit = relative * norm(want, c) + (c == n ? 1.0e-3 * relative * before : 0.0);
    for (int r = 0; r < n; ++r) {
      const double sign = (got.at(r, r) < 0.0) == (want.at(r, r) < 0.0) ? 1.0 : -1.0;
      ASSERT_NEAR(sign * got.at(r, c), r <= c ? want.at(r, c) : 0.0, limit) << r << ' ' << c << " of " << n;
    }
  }
}

}  // namespace gnx_test
