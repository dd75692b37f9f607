#pragma once
/// \file Staircase.h
/// Triangularisation of an array whose non-zeros are known beforehand: column j has some in its pivot row j
/// and in one range of rows below, and the ranges only grow downwards from column to column.

namespace tarvio {

/// Rows below the pivot in which a column may have something: lo..hi-1.
struct ColumnRows {
  int lo = 0, hi = 0;
};

/// Triangularises columns 0..ncol-1 and carries the transformation through columns up to ntot-1. Rows of a
/// column outside its range are neither read nor written; what is left below the pivots has no meaning.
/// \param rows  by column, ncol of them
void s_triangulariseStaircase(double* a, int ld, int ncol, int ntot, const ColumnRows* rows);

/// Triangularises the first ncol columns of a small array by rows: element (r, c) is a[r * width + c]. What
/// is left below the diagonal has no meaning.
/// \param width  a multiple of 4, at most kWidestRows
constexpr int kWidestRows = 64;
void s_triangulariseRows(double* a, int nrow, int ncol, int width);

}  // namespace tarvio
