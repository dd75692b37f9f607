#pragma once
/// \file LatticeEnumeration.h
/// Integer vectors near a real one, in the metric of its covariance: the depth-first enumeration (Schnorr &
/// Euchner 1994) over the decorrelated problem that proves how small norms can be.
///
/// With Q = Z^-T L^T D L Z^-1 the norm of an integer vector is sum_k r_k^2 / D_k, r_k being the distance of
/// its k-th integer from the estimate conditioned on the integers k+1..n-1. Levels are gone through from the
/// last to the first; at each the integers come by rising distance, so that the first one beyond the bound
/// ends it.
///
/// Matrices are n x n, column-major, compact; covariances in cycles^2.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace tarvio {

/// The step behind `step` when integers are visited by rising distance: 1, -2, 3, ... or -1, 2, -3, ...
inline double s_nextStep(double step) { return -step - std::copysign(1.0, step); }

class LatticeEnumeration {
 public:
  /// Decorrelates a problem. \param floats  near zero, for the integers are doubles
  /// \returns false when Q is not positive definite; nothing else may follow then
  bool m_load(std::size_t n, const double* Q, const double* floats);

  /// Calls `found(norm)` for every vector whose norm is below `bound()`, which may fall meanwhile.
  /// No ambiguities have one vector, of norm 0. \returns false when there were more than `visits` nodes
  template <typename Bound, typename Found>
  bool m_run(long visits, Bound bound, Found found);

  std::size_t m_size() const { return m_n; }
  const std::vector<double>& m_factor() const { return m_L; }              ///< L
  const std::vector<double>& m_variances() const { return m_D; }           ///< D
  const std::vector<double>& m_weights() const { return m_weight; }        ///< 1/D
  const std::vector<double>& m_transformation() const { return m_Z; }      ///< z = Z^T a
  const std::vector<double>& m_decorrelatedFloats() const { return m_z; }  ///< Z^T floats
  /// Of the vector that has been found, decorrelated.
  const std::vector<double>& m_integers() const { return m_integer; }
  const std::vector<double>& m_residuals() const { return m_residual; }
  /// Nodes of all runs so far.
  long m_visits() const { return m_visited; }

 private:
  void m_start();
  void m_enter(std::size_t k);
  void m_advance(std::size_t k);

  std::size_t m_n = 0;
  std::vector<double> m_L, m_D, m_Z, m_z;
  std::vector<double> m_weight, m_integer, m_step, m_conditional, m_residual;
  std::vector<double> m_partial;  ///< norm of the levels from here on
  std::vector<double> m_sums;     ///< of the conditional estimates, by level and what it is conditioned on
  std::vector<std::size_t> m_changed;  ///< by level: last residual that changed since its sums were formed
  long m_visited = 0;
};

inline void LatticeEnumeration::m_start() {
  m_changed.assign(m_n, m_n - 1);
  for (std::size_t k = 0; k < m_n; ++k) m_sums[k * (m_n + 1) + m_n] = m_z[k];
  m_partial[m_n] = 0.0;
}

/// Level k at the integer nearest to its conditional estimate. Only those of its sums are formed anew
/// whose residuals have changed since it was entered last.
inline void LatticeEnumeration::m_enter(std::size_t k) {
  constexpr double kNoFraction = 6755399441055744.0;  // 1.5 * 2^52: adding and taking it off rounds
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

inline void LatticeEnumeration::m_advance(std::size_t k) {
  m_integer[k] += m_step[k];
  m_residual[k] = m_integer[k] - m_conditional[k];
  m_step[k] = s_nextStep(m_step[k]);
}

template <typename Bound, typename Found>
bool LatticeEnumeration::m_run(long visits, Bound bound, Found found) {
  if (m_n == 0) {
    if (0.0 < bound()) found(0.0);
    return true;
  }
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

}  // namespace tarvio
