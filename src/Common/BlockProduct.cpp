// Four rows and eight columns of a product at a time, so that their sums stay in registers.

#include "Common/BlockProduct.h"

#include "Common/WideVectors.h"

namespace tarvio {

namespace {

typedef double Lanes __attribute__((vector_size(32), aligned(8), may_alias));

const Lanes& s_load(const double* p) { return *reinterpret_cast<const Lanes*>(p); }
Lanes& s_place(double* p) { return *reinterpret_cast<Lanes*>(p); }

[[gnu::always_inline]] inline void s_body(const RowMatrix& a, const RowMatrix& b, std::size_t first,
                                          std::size_t last, double sign, const RowMatrix& c,
                                          const BlockRange& range) {
  for (std::size_t i = range.r0; i < range.r1; i += kBlockRows)
    for (std::size_t j = range.c0; j < range.c1; j += kBlockColumns) {
      Lanes left[kBlockRows], right[kBlockRows];
      for (std::size_t r = 0; r < kBlockRows; ++r) {
        left[r] = s_load(c.row(i + r) + j);
        right[r] = s_load(c.row(i + r) + j + 4);
      }
      for (std::size_t k = first; k < last; ++k) {
        const double* factor = a.row(k) + i;
        const Lanes p = s_load(b.row(k) + j), q = s_load(b.row(k) + j + 4);
        for (std::size_t r = 0; r < kBlockRows; ++r) {
          const double f = sign * factor[r];
          left[r] += f * p;
          right[r] += f * q;
        }
      }
      for (std::size_t r = 0; r < kBlockRows; ++r) {
        s_place(c.row(i + r) + j) = left[r];
        s_place(c.row(i + r) + j + 4) = right[r];
      }
    }
}

void s_base(const RowMatrix& a, const RowMatrix& b, std::size_t first, std::size_t last, double sign,
            const RowMatrix& c, const BlockRange& range) {
  s_body(a, b, first, last, sign, c, range);
}

GNX_WIDE void s_wide(const RowMatrix& a, const RowMatrix& b, std::size_t first, std::size_t last, double sign,
                     const RowMatrix& c, const BlockRange& range) {
  s_body(a, b, first, last, sign, c, range);
}

}  // namespace

void s_addProduct(const RowMatrix& a, const RowMatrix& b, std::size_t first, std::size_t last, double sign,
                  const RowMatrix& c, const BlockRange& range) {
  static const auto product = s_forThisProcessor(s_wide, s_base);
  product(a, b, first, last, sign, c, range);
}

}  // namespace tarvio
