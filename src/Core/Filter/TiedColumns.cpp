// Elimination of the ambiguities that fixes tie to others.

#include "Core/Filter/TiedColumns.h"

#include <algorithm>
#include <cmath>

namespace tarvio {

namespace {

constexpr double kNothing = 1e-9;  ///< a coefficient that is rounding; those of constraints are 0.1 and above

std::size_t s_at(int i) { return static_cast<std::size_t>(i); }

}  // namespace

TiedColumns::TiedColumns(const std::vector<ConstraintRow>& rows, int first, int count)
    : m_tieOf(s_at(count), -1), m_row(s_at(count), 0.0) {
  m_ties.reserve(rows.size());
  m_terms.reserve(8 * rows.size());
  for (const ConstraintRow& row : rows) {
    for (int t = 0; t < row.count; ++t) m_add(row.terms[t].column - first, row.terms[t].coefficient);
    m_substitute();
    m_tie();
  }
  // A tie rests on columns that were free when it was made; those tied later give way to what they rest on.
  for (auto tie = m_ties.rbegin(); tie != m_ties.rend(); ++tie) {
    for (std::size_t i = tie->begin; i < tie->end; ++i) m_add(m_terms[i].first, m_terms[i].second);
    m_substitute();
    m_collect(*tie, 1.0);
  }
  for (int column = 0; column < count; ++column)
    if (m_tieOf[s_at(column)] < 0) m_freeColumns.push_back(column);
}

void TiedColumns::m_add(int column, double coefficient) {
  double& sum = m_row[s_at(column)];
  if (sum == 0.0) m_touched.push_back(column);  // twice where a sum has cancelled, which does no harm
  sum += coefficient;
}

/// Puts the ties into the row in work.
void TiedColumns::m_substitute() {
  for (std::size_t i = 0; i < m_touched.size(); ++i) {  // which grows
    const int column = m_touched[i], tie = m_tieOf[s_at(column)];
    if (tie < 0) continue;
    const double factor = std::exchange(m_row[s_at(column)], 0.0);
    for (std::size_t k = m_ties[s_at(tie)].begin; factor != 0.0 && k < m_ties[s_at(tie)].end; ++k)
      m_add(m_terms[k].first, factor * m_terms[k].second);
  }
}

/// Solves the row in work for the column that counts most in it.
void TiedColumns::m_tie() {
  const auto weight = [this](int column) { return std::fabs(m_row[s_at(column)]); };
  const auto pivot = std::ranges::max_element(m_touched, {}, weight);
  const bool says = pivot != m_touched.end() && weight(*pivot) >= kNothing;  // what no other row has said
  Tie tie;
  double divisor = 1.0;
  if (says) {
    tie.column = *pivot;
    divisor = -std::exchange(m_row[s_at(tie.column)], 0.0);
  }
  m_collect(tie, divisor);
  if (!says) return;
  m_tieOf[s_at(tie.column)] = static_cast<int>(m_ties.size());
  m_ties.push_back(tie);
}

/// Takes the row out of work, as the terms of a tie.
void TiedColumns::m_collect(Tie& tie, double divisor) {
  tie.begin = m_terms.size();
  for (const int column : m_touched)
    if (const double value = std::exchange(m_row[s_at(column)], 0.0); std::fabs(value) >= kNothing)
      m_terms.emplace_back(column, value / divisor);
  tie.end = m_terms.size();
  m_touched.clear();
}

void TiedColumns::m_fold(const double* R, const int* start, int rows, std::vector<double>& out) const {
  std::vector<double*> folded(m_tieOf.size(), nullptr);
  out.resize(m_freeColumns.size() * s_at(rows));
  for (std::size_t k = 0; k < m_freeColumns.size(); ++k) {
    const int column = m_freeColumns[k];
    folded[s_at(column)] = out.data() + k * s_at(rows);
    std::copy_n(R + start[column], rows, folded[s_at(column)]);
  }
  for (const Tie& tie : m_ties)
    for (std::size_t i = tie.begin; i < tie.end; ++i) {
      const auto [column, coefficient] = m_terms[i];
      double* sum = folded[s_at(column)];
      for (int row = 0; row < rows; ++row) sum[row] += coefficient * R[start[tie.column] + row];
    }
}

}  // namespace tarvio
