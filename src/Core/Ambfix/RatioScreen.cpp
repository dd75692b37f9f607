// Bounds the two smallest norms until the ratio is decided.

#include "Core/Ambfix/RatioScreen.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarvio {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kRounding = 1.0e-6;  ///< relative, of norms from different orders of summation

}  // namespace

bool RatioScreen::m_load(int n, const double* Q, const double* x) {
  const auto size = static_cast<std::size_t>(n);
  for (std::size_t i = 0; i < size; ++i)
    if (!(Q[i * (size + 1)] > 0.0)) return false;
  m_work.resize(size);
  for (std::size_t i = 0; i < size; ++i) m_work[i] = x[i] - std::round(x[i]);
  if (!m_lattice.m_load(size, Q, m_work.data())) return false;
  m_Q.assign(Q, Q + size * size);
  m_x.assign(x, x + n);
  return true;
}

/// Enters the present vector among the two best.
void RatioScreen::m_take(double norm) {
  if (!(norm < m_norm[1])) return;
  const bool first = norm < m_norm[0];
  if (!first && m_lattice.m_integers() == m_best) return;
  if (first) {
    m_norm[1] = m_norm[0];
    m_second.swap(m_best);
  }
  m_norm[first ? 0 : 1] = norm;
  (first ? m_best : m_second) = m_lattice.m_integers();
}

RatioScreen::Verdict RatioScreen::m_judge(double threshold, double secondBound) {
  m_norm[0] = m_norm[1] = kInfinity;
  if (!(threshold > 0.0)) return Verdict::open;
  const auto limit = [&] { return std::min(secondBound, m_norm[1]) / threshold * (1.0 + kRounding); };
  const bool complete = m_lattice.m_run(kMaxVisits, limit, [&](double norm) { m_take(norm); });
  if (m_norm[0] < limit()) return Verdict::open;
  return complete ? Verdict::fails : Verdict::gaveUp;
}

void RatioScreen::m_improve(long visits) {
  m_lattice.m_run(
      visits, [&] { return m_norm[1]; }, [&](double norm) { m_take(norm); });
}

/// z = Z^T a back to a, by a = x + Q Z (L^T D L)^-1 (z - Z^T x), exact as both are whole numbers.
bool RatioScreen::m_original(const std::vector<double>& z, double* a) {
  const std::size_t n = m_lattice.m_size();
  const std::vector<double>&L = m_lattice.m_factor(), &Z = m_lattice.m_transformation();
  std::vector<double>& w = m_work;
  for (std::size_t i = n; i-- > 0;) {
    w[i] = z[i] - m_lattice.m_decorrelatedFloats()[i];
    for (std::size_t j = i + 1; j < n; ++j) w[i] -= L[i * n + j] * w[j];
  }
  for (std::size_t i = 0; i < n; ++i) w[i] *= m_lattice.m_weights()[i];
  for (std::size_t j = 0; j < n; ++j)
    for (std::size_t i = j + 1; i < n; ++i) w[i] -= L[j * n + i] * w[j];
  m_shift.assign(n, 0.0);
  for (std::size_t j = 0; j < n; ++j)
    for (std::size_t i = 0; i < n; ++i) m_shift[i] += Z[j * n + i] * w[j];
  for (std::size_t i = 0; i < n; ++i) {
    const double whole = std::round(m_x[i]);
    double value = m_x[i] - whole;
    for (std::size_t j = 0; j < n; ++j) value += m_Q[i * n + j] * m_shift[j];
    a[i] = std::round(value);
  }
  for (std::size_t j = 0; j < n; ++j) {
    double back = 0.0;
    for (std::size_t i = 0; i < n; ++i) back += Z[j * n + i] * a[i];
    if (back != z[j]) return false;
  }
  for (std::size_t i = 0; i < n; ++i) a[i] += std::round(m_x[i]);
  return true;
}

bool RatioScreen::m_vectors(double* best, double* second) {
  return m_norm[1] != kInfinity && m_original(m_best, best) && m_original(m_second, second);
}

double RatioScreen::m_leastNorm(double limit) {
  double least = limit;
  const bool complete = m_lattice.m_run(
      kMaxVisits, [&] { return least; }, [&](double norm) { least = norm; });
  return complete ? least : -1.0;
}

}  // namespace tarvio
