// The largest set of integers that passes every test.

#include "Core/Ambfix/GuardedSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "Common/ComStat.h"
#include "Common/TriangleInverse.h"
#include "Core/Ambfix/Pflambda.h"

namespace tarvio {

double s_bootstrapFailureRate(int n, const double* Q) {
  const auto size = static_cast<std::size_t>(n);
  std::vector<double> L(size * size), D(size);
  if (!s_factorise(n, Q, L.data(), D.data()) || !s_decorrelate(n, L.data(), D.data(), nullptr)) return 1.0;
  // The sum of the logarithms keeps rates far below the rounding of 1 - rate.
  double logSuccess = 0.0;
  for (const double d : D) logSuccess += std::log1p(-std::erfc(0.5 / std::sqrt(2.0 * d)));
  return -std::expm1(logSuccess);
}

namespace {

/// In place, by its Cholesky factor R^T R. \return false for what is no covariance
bool s_invertCovariance(std::size_t n, double* Q) {
  std::vector<double> R(n * n);  // by columns
  for (std::size_t k = 0; k < n; ++k) {
    double* row = Q + k * n;
    if (!(row[k] > 0.0)) return false;
    const double root = std::sqrt(row[k]);
    for (std::size_t j = k; j < n; ++j) R[j * n + k] = row[j] /= root;
    for (std::size_t i = k + 1; i < n; ++i)
      for (std::size_t j = i; j < n; ++j) Q[i * n + j] -= row[i] * row[j];
  }
  return s_covarianceOfTriangle(static_cast<int>(n), R.data(), static_cast<int>(n), Q);
}

}  // namespace

/// Of the rows that take part.
std::vector<double> GuardedSearch::m_block(const double* matrix) const {
  std::vector<double> block;
  block.reserve(m_rows.size() * m_rows.size());
  for (const int j : m_rows)
    for (const int i : m_rows) block.push_back(matrix[static_cast<std::ptrdiff_t>(j) * m_problem.n + i]);
  return block;
}

/// Of the first rows.
double GuardedSearch::m_failureRate(std::size_t size) const {
  std::vector<double> block;
  block.reserve(size * size);
  for (std::size_t j = 0; j < size; ++j)
    for (std::size_t i = 0; i < size; ++i)
      block.push_back(m_problem.Q[static_cast<std::ptrdiff_t>(m_rows[j]) * m_problem.n + m_rows[i]]);
  return s_bootstrapFailureRate(static_cast<int>(size), block.data());
}

/// Leaves out the least precise until the rate is met. It need not fall with each of them: satellites that
/// share position and clocks hold each other's integers. When no size meets it, the best one stays.
void GuardedSearch::m_leaveOutImprecise(std::size_t least) {
  std::size_t best = m_rows.size();
  double lowest = 2.0;
  for (std::size_t size = m_rows.size(); size >= least && lowest > m_allowedRate(best); --size)
    if (const double rate = m_failureRate(size); rate < lowest) lowest = rate, best = size;
  m_rows.resize(best);
  if (lowest <= 1.0) m_rate = lowest;
}

/// What spoils the best vector most. With W the inverse covariance, d what floats and integers differ by and
/// e = W d, a free shift along h takes (h^T e)^2 / h^T W h off the norm: h a unit vector for a satellite,
/// ones over a group for its reference.
void GuardedSearch::m_findWorst(const std::vector<double>& W, const std::vector<double>& e) {
  const auto n = m_rows.size();
  double largest = -1.0;
  for (std::size_t k = 0; k < n; ++k)
    if (const double gain = e[k] * e[k] / W[k * n + k]; gain > largest) largest = gain, m_worst = k;
  m_worstGroup = -1;
  if (m_problem.group.empty()) return;
  const auto groupOf = [&](std::size_t k) { return m_problem.group[static_cast<std::size_t>(m_rows[k])]; };
  for (std::size_t first = 0; first < n; ++first) {
    double sum = 0.0, weight = 0.0;
    std::size_t members = 0;
    for (std::size_t k = 0; k < n; ++k) {
      if (groupOf(k) != groupOf(first)) continue;
      if (k < first) break;  // the group had its turn
      ++members;
      sum += e[k];
      for (std::size_t j = 0; j < n; ++j)
        if (groupOf(j) == groupOf(first)) weight += W[j * n + k];
    }
    if (members > 1 && sum * sum > largest * weight)
      largest = sum * sum / weight, m_worstGroup = groupOf(first);
  }
}

/// Best vector, its ratio, its norm and what spoils it most.
bool GuardedSearch::m_solve(GuardedResult& result) {
  const auto n = m_rows.size();
  result.rows = m_rows;
  result.integers.clear();
  for (const int row : m_rows) result.integers.push_back(m_problem.x[row]);
  double s[2] = {};
  if (ambslv_(static_cast<int>(n), m_block(m_problem.Q).data(), result.integers.data(), nullptr, s) != 0)
    return false;
  result.ratio = s[0] > 0.0 ? s[1] / s[0] : std::numeric_limits<double>::max();
  result.failureRate = m_rate ? *m_rate : m_failureRate(n);
  m_rate.reset();

  std::vector<double> W = m_block(m_problem.judged);
  if (!s_invertCovariance(n, W.data())) return false;
  double norm = 0.0;
  std::vector<double> e(n);
  for (std::size_t k = 0; k < n; ++k) {
    for (std::size_t j = 0; j < n; ++j) e[k] += W[j * n + k] * (m_problem.x[m_rows[j]] - result.integers[j]);
    norm += e[k] * (m_problem.x[m_rows[k]] - result.integers[k]);
  }
  m_findWorst(W, e);
  result.misfit = norm / static_cast<double>(n);
  return true;
}

bool GuardedSearch::m_fits(const GuardedResult& result) const {
  if (m_problem.misfit <= 0.0) return true;
  double limit = 0.0;
  pchi2(static_cast<int>(m_rows.size()), m_problem.misfit, 1, &limit);
  return result.misfit * static_cast<double>(m_rows.size()) <= limit;
}

GuardedResult GuardedSearch::m_run() {
  GuardedResult result;
  const int n = m_problem.n;
  if (n < 1) return result;
  m_rows.resize(static_cast<std::size_t>(n));
  std::iota(m_rows.begin(), m_rows.end(), 0);
  const auto variance = [&](int row) { return m_problem.Q[static_cast<std::ptrdiff_t>(row) * (n + 1)]; };
  std::ranges::stable_sort(m_rows, {}, variance);
  const auto least = static_cast<std::size_t>(std::max(1.0, std::ceil(m_problem.share * n - 1e-9)));
  m_leaveOutImprecise(least);
  while (m_solve(result)) {
    const bool fits = m_fits(result);
    if (fits && result.failureRate <= m_allowedRate(m_rows.size()) && result.ratio >= m_problem.ratio) {
      result.accepted = true;
      break;
    }
    if (!fits && m_worstGroup >= 0) {
      result.unfitGroup = m_worstGroup;
      break;
    }
    if (m_rows.size() <= least) break;
    const std::size_t out = fits ? m_rows.size() - 1 : m_worst;
    if (!fits) result.misfits.push_back(m_rows[out]);
    if (static_cast<double>(result.misfits.size()) > m_problem.misfits * n + 1e-9) break;
    m_rows.erase(m_rows.begin() + static_cast<std::ptrdiff_t>(out));
  }
  return result;
}

}  // namespace tarvio
