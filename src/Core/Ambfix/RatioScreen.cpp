#include "Core/Ambfix/RatioScreen.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Core/Ambfix/Pflambda.h"

namespace tarvio {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kRounding = 1.0e-6;                ///< relative, of norms from different orders of summation
constexpr double kNoFraction = 6755399441055744.0;  ///< 1.5 * 2^52: adding and taking it off rounds

}  // namespace

bool RatioScreen::m_load(int n, const double* Q, const double* x) {
  m_n = static_cast<std::size_t>(n);
  m_L.resize(m_n * m_n);
  m_D.resize(m_n);
  m_Z.assign(m_n * m_n, 0.0);
  for (std::size_t i = 0; i < m_n; ++i) m_Z[i * (m_n + 1)] = 1.0;
  for (std::size_t i = 0; i < m_n; ++i)
    if (!(Q[i * (m_n + 1)] > 0.0)) return false;
  if (!s_factorise(n, Q, m_L.data(), m_D.data()) || !s_decorrelate(n, m_L.data(), m_D.data(), m_Z.data()))
    return false;
  m_Q.assign(Q, Q + m_n * m_n);
  m_x.assign(x, x + n);
  m_z.assign(m_n, 0.0);
  for (std::size_t j = 0; j < m_n; ++j)
    for (std::size_t i = 0; i < m_n; ++i) m_z[j] += m_Z[j * m_n + i] * (x[i] - std::round(x[i]));
  for (auto* v : {&m_weight, &m_conditional, &m_integer, &m_step, &m_residual, &m_best, &m_second, &m_work})
    v->resize(m_n);
  m_partial.resize(m_n + 1);
  m_sums.resize(m_n * (m_n + 1));
  for (std::size_t k = 0; k < m_n; ++k) m_weight[k] = 1.0 / m_D[k];
  return true;
}

void RatioScreen::m_start() {
  m_changed.assign(m_n, m_n - 1);
  for (std::size_t k = 0; k < m_n; ++k) m_sums[k * (m_n + 1) + m_n] = m_z[k];
  m_partial[m_n] = 0.0;
}

/// Level k at the integer nearest to its conditional estimate. Only those of its sums are formed anew
/// whose residuals have changed since it was entered last.
void RatioScreen::m_enter(std::size_t k) {
  const double* column = m_L.data() + k * m_n;
  double* sum = m_sums.data() + k * (m_n + 1);
  const std::size_t changed = m_changed[k];
  for (std::size_t i = changed; i > k; --i) sum[i] = sum[i + 1] + column[i] * m_residual[i];
  m_changed[k] = k + 1;
  if (k > 0) m_changed[k - 1] = std::max(m_changed[k - 1], changed);
  m_conditional[k] = sum[k + 1];
  m_integer[k] = (m_conditional[k] + kNoFraction) - kNoFraction;
  m_residual[k] = m_integer[k] - m_conditional[k];
  m_step[k] = m_residual[k] <= 0.0 ? 1.0 : -1.0;
}

void RatioScreen::m_advance(std::size_t k) {
  m_integer[k] += m_step[k];
  m_residual[k] = m_integer[k] - m_conditional[k];
  m_step[k] = -m_step[k] - std::copysign(1.0, m_step[k]);
}

/// Visits all vectors whose norm stays below the bound, which `found(norm)` may lower.
/// \returns false when there were too many
template <typename Bound, typename Found>
bool RatioScreen::m_enumerate(long visits, Bound bound, Found found) {
  m_start();
  std::size_t k = m_n - 1;
  m_enter(k);
  for (const long last = m_visited + visits; m_visited < last; ++m_visited) {
    const double norm = m_partial[k + 1] + m_residual[k] * m_residual[k] * m_weight[k];
    if (norm < bound()) {
      if (k > 0) {
        m_partial[k] = norm;
        m_enter(--k);
        continue;
      }
      found(norm);
      m_advance(k);
    } else {
      if (++k == m_n) return true;
      m_advance(k);
    }
  }
  return false;
}

/// Enters the present vector among the two best.
void RatioScreen::m_take(double norm) {
  if (!(norm < m_norm[1])) return;
  const bool first = norm < m_norm[0];
  if (!first && m_integer == m_best) return;
  if (first) {
    m_norm[1] = m_norm[0];
    m_second.swap(m_best);
  }
  m_norm[first ? 0 : 1] = norm;
  (first ? m_best : m_second) = m_integer;
}

RatioScreen::Verdict RatioScreen::m_judge(double threshold, double secondBound) {
  m_norm[0] = m_norm[1] = kInfinity;
  if (!(threshold > 0.0)) return Verdict::open;
  const auto limit = [&] { return std::min(secondBound, m_norm[1]) / threshold * (1.0 + kRounding); };
  const bool complete = m_enumerate(kMaxVisits, limit, [&](double norm) { m_take(norm); });
  if (m_norm[0] < limit()) return Verdict::open;
  return complete ? Verdict::fails : Verdict::gaveUp;
}

void RatioScreen::m_improve(long visits) {
  m_enumerate(
      visits, [&] { return m_norm[1]; }, [&](double norm) { m_take(norm); });
}

/// z = Z^T a back to a, by a = x + Q Z (L^T D L)^-1 (z - Z^T x), exact as both are whole numbers.
bool RatioScreen::m_original(const std::vector<double>& z, double* a) {
  std::vector<double>& w = m_work;
  for (std::size_t i = m_n; i-- > 0;) {
    w[i] = z[i] - m_z[i];
    for (std::size_t j = i + 1; j < m_n; ++j) w[i] -= m_L[i * m_n + j] * w[j];
  }
  for (std::size_t i = 0; i < m_n; ++i) w[i] *= m_weight[i];
  for (std::size_t j = 0; j < m_n; ++j)
    for (std::size_t i = j + 1; i < m_n; ++i) w[i] -= m_L[j * m_n + i] * w[j];
  std::vector<double>& step = m_conditional;
  step.assign(m_n, 0.0);
  for (std::size_t j = 0; j < m_n; ++j)
    for (std::size_t i = 0; i < m_n; ++i) step[i] += m_Z[j * m_n + i] * w[j];
  for (std::size_t i = 0; i < m_n; ++i) {
    const double whole = std::round(m_x[i]);
    double value = m_x[i] - whole;
    for (std::size_t j = 0; j < m_n; ++j) value += m_Q[i * m_n + j] * step[j];
    a[i] = std::round(value);
  }
  for (std::size_t j = 0; j < m_n; ++j) {
    double back = 0.0;
    for (std::size_t i = 0; i < m_n; ++i) back += m_Z[j * m_n + i] * a[i];
    if (back != z[j]) return false;
  }
  for (std::size_t i = 0; i < m_n; ++i) a[i] += std::round(m_x[i]);
  return true;
}

bool RatioScreen::m_vectors(double* best, double* second) {
  return m_norm[1] != kInfinity && m_original(m_best, best) && m_original(m_second, second);
}

double RatioScreen::m_leastNorm(double limit) {
  double least = limit;
  const bool complete = m_enumerate(
      kMaxVisits, [&] { return least; }, [&](double norm) { least = norm; });
  return complete ? least : -1.0;
}

}  // namespace tarvio
