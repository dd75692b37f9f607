// The sweep that carries the filter: orthogonal triangularisation by Householder reflectors
// (Golub & Van Loan, Matrix Computations, 5.1 and 5.2; reflectors normalised to u[0] = 1).
//
// What is fast about it, none of which changes a result:
//  - A row whose element is exactly zero gets u = 0. In the filter the rows between the diagonal and
//    the new observation rows are such rows, so a reflector is its pivot and one range of rows.
//  - Reflectors are applied a panel at a time, four columns by four: the arithmetic of a column is that
//    of one reflector after the other, but the columns stay in the first cache.
//  - Four columns share each load of u. Every column keeps four partial sums whatever the width of
//    the vector unit, without fused operations, so all processors give the same digits.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "Common/CMat.h"
#include "Common/Fatal.h"
#include "Common/Staircase.h"
#include "Common/WideVectors.h"

namespace tarvio {

namespace {

constexpr int kPanel = 8;    ///< reflectors of a panel: 8 x 200 rows fit the first cache beside a column
constexpr int kColumns = 4;  ///< columns that one pass over u serves

// may_alias and the alignment of a double: loads from any place in a column.
typedef double Lanes __attribute__((vector_size(32), aligned(8), may_alias));

/// I + beta u u^T with u[pivot] = 1 and u zero outside the pivot and rows lo..hi-1.
struct Reflector {
  int m_pivot = 0, m_lo = 0, m_hi = 0;
  double m_beta = 0.0;
  const double* m_u = nullptr;  ///< indexed by row
};

// The loops over columns are unrolled: their sums and factors must stay in registers, or short ranges of rows
// cost more around the arithmetic than in it.
template <int N>
[[gnu::always_inline]] inline void s_applyTo(const Reflector& h, double* const* columns) {
  const double* u = h.m_u;
  const int lo = h.m_lo, hi = h.m_hi, full = lo + (hi - lo) / 4 * 4;
  double* column[N];
  Lanes sum[N];
#pragma GCC unroll 4
  for (int c = 0; c < N; ++c) {
    column[c] = columns[c];
    sum[c] = Lanes{0.0, 0.0, 0.0, 0.0};
  }
  for (int i = lo; i < full; i += 4) {
    const Lanes ui = *reinterpret_cast<const Lanes*>(u + i);
#pragma GCC unroll 4
    for (int c = 0; c < N; ++c) sum[c] += ui * *reinterpret_cast<const Lanes*>(column[c] + i);
  }
  double dot[N];
#pragma GCC unroll 4
  for (int c = 0; c < N; ++c)
    dot[c] = column[c][h.m_pivot] + ((sum[c][0] + sum[c][2]) + (sum[c][1] + sum[c][3]));
  for (int i = full; i < hi; ++i) {
#pragma GCC unroll 4
    for (int c = 0; c < N; ++c) dot[c] += u[i] * column[c][i];
  }
  double w[N];
  bool any = false;
#pragma GCC unroll 4
  for (int c = 0; c < N; ++c) {
    w[c] = h.m_beta * dot[c];
    column[c][h.m_pivot] += w[c];
    any = any || w[c] != 0.0;
  }
  if (!any) return;
  for (int i = lo; i < full; i += 4) {
    const Lanes ui = *reinterpret_cast<const Lanes*>(u + i);
#pragma GCC unroll 4
    for (int c = 0; c < N; ++c) *reinterpret_cast<Lanes*>(column[c] + i) += w[c] * ui;
  }
  for (int i = full; i < hi; ++i) {
#pragma GCC unroll 4
    for (int c = 0; c < N; ++c) column[c][i] += w[c] * u[i];
  }
}

/// Applies a panel of reflectors to columns first..last-1.
[[gnu::always_inline]] inline void s_panelBody(const Reflector* panel, int count, double* a, int ld,
                                               int first, int last) {
  int c = first;
  for (; c + kColumns <= last; c += kColumns) {
    double* const columns[kColumns] = {a + static_cast<long>(c) * ld, a + static_cast<long>(c + 1) * ld,
                                       a + static_cast<long>(c + 2) * ld, a + static_cast<long>(c + 3) * ld};
    for (int k = 0; k < count; ++k) s_applyTo<kColumns>(panel[k], columns);
  }
  double* const rest[kColumns] = {a + static_cast<long>(c) * ld, a + static_cast<long>(c + 1) * ld,
                                  a + static_cast<long>(c + 2) * ld};
  for (int k = 0; k < count; ++k) {
    if (last - c == 1) s_applyTo<1>(panel[k], rest);
    if (last - c == 2) s_applyTo<2>(panel[k], rest);
    if (last - c == 3) s_applyTo<3>(panel[k], rest);
  }
}

void s_panelBase(const Reflector* panel, int count, double* a, int ld, int first, int last) {
  s_panelBody(panel, count, a, ld, first, last);
}

GNX_WIDE void s_panelWide(const Reflector* panel, int count, double* a, int ld, int first, int last) {
  s_panelBody(panel, count, a, ld, first, last);
}

/// A small array by rows: every reflector passes over whole rows, so that all columns share its vector.
[[gnu::always_inline]] inline void s_rowsBody(double* a, int nrow, int ncol, int width) {
  double dot[kWidestRows], w[kWidestRows];
  for (int j = 0; j < std::min(ncol, nrow); ++j) {
    double* pivot = a + static_cast<long>(j) * width;
    std::fill_n(dot, width, 0.0);
    for (int r = j + 1; r < nrow; ++r) {
      const double* row = a + static_cast<long>(r) * width;
      const double element = row[j];
      for (int c = 0; c < width; ++c) dot[c] += element * row[c];
    }
    const double squares = pivot[j] * pivot[j] + dot[j];
    const double s = pivot[j] > 0.0 ? std::sqrt(squares) : -std::sqrt(squares);
    const double t = pivot[j] + s;
    if (s == 0.0) continue;
    const double beta = -t / s;
    for (int c = 0; c < width; ++c) w[c] = beta * (pivot[c] + dot[c] / t);
    std::fill_n(w, j + 1, 0.0);
    for (int c = 0; c < width; ++c) pivot[c] += w[c];
    pivot[j] = -s;
    for (int r = j + 1; r < nrow; ++r) {
      double* row = a + static_cast<long>(r) * width;
      const double u = row[j] / t;
      for (int c = 0; c < width; ++c) row[c] += u * w[c];
    }
  }
}

void s_rowsBase(double* a, int nrow, int ncol, int width) { s_rowsBody(a, nrow, ncol, width); }

GNX_WIDE void s_rowsWide(double* a, int nrow, int ncol, int width) { s_rowsBody(a, nrow, ncol, width); }

/// Makes the reflector that clears rows lo..hi-1 of a column, and puts -s on the pivot.
Reflector s_reflect(double* column, int pivot, ColumnRows rows, double* u) {
  Reflector h;
  h.m_pivot = pivot;
  h.m_u = u;
  h.m_lo = rows.lo;
  h.m_hi = rows.hi;
  while (h.m_hi > h.m_lo && column[h.m_hi - 1] == 0.0) --h.m_hi;
  while (h.m_lo < h.m_hi && column[h.m_lo] == 0.0) ++h.m_lo;

  double sum[4] = {column[pivot] * column[pivot], 0.0, 0.0, 0.0};
  const int full = h.m_lo + (h.m_hi - h.m_lo) / 4 * 4;
  for (int i = h.m_lo; i < full; i += 4) {
    for (int k = 0; k < 4; ++k) sum[k] += column[i + k] * column[i + k];
  }
  double squares = (sum[0] + sum[2]) + (sum[1] + sum[3]);
  for (int i = full; i < h.m_hi; ++i) squares += column[i] * column[i];

  // The sign of the pivot is taken for s: a + s then never cancels.
  const double s = column[pivot] > 0.0 ? std::sqrt(squares) : -std::sqrt(squares);
  const double t = column[pivot] + s;
  column[pivot] = -s;
  if (s == 0.0) return h;
  for (int i = h.m_lo; i < h.m_hi; ++i) u[i] = column[i] / t;
  h.m_beta = -t / s;
  return h;
}

/// Room for the vectors of a panel, by rows, kept between calls.
std::vector<double>& s_work(int nrow) {
  thread_local std::vector<double> work;
  const auto needed = static_cast<std::size_t>(kPanel) * static_cast<std::size_t>(nrow);
  if (work.size() < needed) work.resize(needed);
  return work;
}

[[noreturn]] void s_wrongArguments(const char* function) {
  std::printf("***ERROR(%s):Wrong input arguments!\n", function);
  s_exitByCode(function, __LINE__);
}

void s_warnNoSpace(const char* function) {
  std::printf("***WARNING(%s):no more space to save u!\n", function);
}

/// One reflector over rows r0..r1-1; with `normalised` u[r0] is 1, else a + s.
template <typename T>
void s_hougenu(T* a, int ld, int r0, int r1, int c, T* u, T* beta, bool normalised) {
  *beta = T(0);
  if (r0 >= r1) return;
  T* column = a + static_cast<long>(c) * ld;
  T squares = T(0);
  for (int i = r0; i < r1; ++i) squares += column[i] * column[i];
  const T s = column[r0] > T(0) ? std::sqrt(squares) : -std::sqrt(squares);
  const T t = column[r0] + s;
  column[r0] = -s;
  u[r0] = normalised ? T(1) : t;
  for (int i = r0 + 1; i < r1; ++i) {
    if (!normalised) {
      u[i] = column[i];
    } else if (t != T(0)) {
      u[i] = column[i] / t;
    }
    column[i] = T(0);
  }
  if (s != T(0)) *beta = normalised ? -t / s : T(-1) / (s * t);
}

}  // namespace

int CMat::CMat_Hougenu(double* a, int ld, int r0, int r1, int c, double* u, double* beta) {
  s_hougenu(a, ld, r0, r1, c, u, beta, true);
  return 1;
}

int CMat::CMat_sHougenu(float* a, int ld, int r0, int r1, int c, float* u, float* beta) {
  s_hougenu(a, ld, r0, r1, c, u, beta, true);
  return 1;
}

int CMat::CMat_Hougenu_old(double* a, int ld, int r0, int r1, int c, double* u, double* beta) {
  s_hougenu(a, ld, r0, r1, c, u, beta, false);
  return 1;
}

void CMat::CMat_Householder(double* a, int ld, int ncol, int nrow, int ntot, bool save) {
  if (ncol > ntot || nrow > ld) s_wrongArguments(__func__);
  static const auto applyPanel = s_forThisProcessor(s_panelWide, s_panelBase);
  const int last = std::min(ncol, nrow);
  if (last <= 0) return;
  std::vector<double>& work = s_work(nrow);
  const bool room = nrow < ld;
  if (save && !room) s_warnNoSpace(__func__);

  for (int start = 0; start < last; start += kPanel) {
    const int end = std::min(start + kPanel, last);
    Reflector panel[kPanel];
    for (int j = start; j < end; ++j) {
      const int k = j - start;
      double* column = a + static_cast<long>(j) * ld;
      // u is indexed by row, like the columns it meets
      panel[k] = s_reflect(column, j, {j + 1, nrow}, work.data() + static_cast<long>(k) * nrow);
      for (int i = panel[k].m_lo; i < panel[k].m_hi; ++i) column[i] = save ? panel[k].m_u[i] : 0.0;
      if (save && room) column[nrow] = panel[k].m_beta;
      applyPanel(panel + k, 1, a, ld, j + 1, end);
    }
    applyPanel(panel, end - start, a, ld, end, ntot);
  }
}

void s_triangulariseStaircase(double* a, int ld, int ncol, int ntot, const ColumnRows* rows) {
  static const auto applyPanel = s_forThisProcessor(s_panelWide, s_panelBase);
  if (ncol <= 0) return;
  const int nrow = rows[ncol - 1].hi;
  std::vector<double>& work = s_work(nrow);
  for (int start = 0; start < ncol; start += kPanel) {
    const int end = std::min(start + kPanel, ncol);
    Reflector panel[kPanel];
    for (int j = start; j < end; ++j) {
      const int k = j - start;
      panel[k] =
          s_reflect(a + static_cast<long>(j) * ld, j, rows[j], work.data() + static_cast<long>(k) * nrow);
      applyPanel(panel + k, 1, a, ld, j + 1, end);
    }
    applyPanel(panel, end - start, a, ld, end, ntot);
  }
}

void s_triangulariseRows(double* a, int nrow, int ncol, int width) {
  static const auto triangularise = s_forThisProcessor(s_rowsWide, s_rowsBase);
  triangularise(a, nrow, ncol, width);
}

void CMat::CMat_Householder_old(double* a, int ld, int ncol, int nrow, int ntot, bool save) {
  if (ncol > ntot || nrow > ld) s_wrongArguments(__func__);
  if (save && nrow >= ld) s_warnNoSpace(__func__);
  std::vector<double> u(static_cast<std::size_t>(std::max(nrow, 0)));
  for (int j = 0; j < std::min(ncol, nrow); ++j) {
    double beta = 0.0;
    double* column = a + static_cast<long>(j) * ld;
    CMat_Hougenu_old(a, ld, j, nrow, j, u.data(), &beta);
    for (int c = j + 1; c < ntot; ++c) {
      double* target = a + static_cast<long>(c) * ld;
      double w = 0.0;
      for (int i = j; i < nrow; ++i) w += u[static_cast<std::size_t>(i)] * target[i];
      w *= beta;
      for (int i = j; i < nrow; ++i) target[i] += w * u[static_cast<std::size_t>(i)];
    }
    if (!save) continue;
    std::copy(u.begin() + j + 1, u.end(), column + j + 1);
    if (nrow < ld) column[nrow] = beta;
  }
}

// The filter runs in double precision throughout; these two entries exist for their callers' linkage.
void CMat::CMat_sHouseholder(float*, int, int, int, int, bool) {}
void CMat::CMat_sSolveLinear(int, const float*, int, float*, int) {}

}  // namespace tarvio
