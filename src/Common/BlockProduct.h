#pragma once
/// \file BlockProduct.h
/// Products of matrices by rows whose sizes are padded: rows to kBlockRows, columns to kBlockColumns, zeros
/// in between. Every element is summed in the order of the factor's rows without fused operations, so that
/// all processors give the same digits.

#include <cstddef>

namespace tarvio {

constexpr std::size_t kBlockRows = 4, kBlockColumns = 8;

constexpr std::size_t s_padded(std::size_t n) {
  return (n + kBlockColumns - 1) / kBlockColumns * kBlockColumns;
}

/// A matrix by rows, `lead` doubles from one to the next.
struct RowMatrix {
  double* data;
  std::size_t lead;
  double* row(std::size_t r) const { return data + r * lead; }
};

/// C += sign A^T B over rows first..last-1 of A and B, in rows r0..r1-1 and columns c0..c1-1 of C; r0 and r1
/// multiples of kBlockRows, c0 and c1 of kBlockColumns.
struct BlockRange {
  std::size_t r0, r1, c0, c1;
};
void s_addProduct(const RowMatrix& a, const RowMatrix& b, std::size_t first, std::size_t last, double sign,
                  const RowMatrix& c, const BlockRange& range);

}  // namespace tarvio
