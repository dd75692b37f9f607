// Empty messages and corrections: what is absent until it is given.

#include "Adapter/EphRecords.h"

#include <algorithm>
#include <iterator>

namespace tarvio {

namespace {

template <int N, int M>
void s_fillRows(double (&rows)[N][M], double value) {
  for (auto& row : rows) std::fill(std::begin(row), std::end(row), value);
}

}  // namespace

SSRORB::SSRORB() {
  std::fill(std::begin(m_iod), std::end(m_iod), -1);
  s_fillRows(m_dorb, 0.0);
}

SSRCLK::SSRCLK() {
  std::fill(std::begin(m_iod), std::end(m_iod), -1);
  s_fillRows(m_dclk, 0.0);
  std::fill(std::begin(m_extra1), std::end(m_extra1), kNone);
  std::fill(std::begin(m_extra2), std::end(m_extra2), kNone);
}

SsrRecord::SsrRecord() {
  std::fill(std::begin(m_extra1), std::end(m_extra1), kNone);
  std::fill(std::begin(m_extra2), std::end(m_extra2), kNone);
  std::fill(std::begin(m_iodOrb), std::end(m_iodOrb), -1);
  std::fill(std::begin(m_iodClk), std::end(m_iodClk), -1);
  s_fillRows(m_dclk, kNone);
  s_fillRows(m_dorb, kNone);
}

}  // namespace tarvio
