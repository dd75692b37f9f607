// Enumerates integer vectors depth first, nearest first, within a bound.

#include "Core/Ambfix/LatticeEnumeration.h"

#include "Core/Ambfix/Pflambda.h"

namespace tarvio {

bool LatticeEnumeration::m_load(std::size_t n, const double* Q, const double* floats) {
  m_n = n;
  m_L.resize(n * n);
  m_D.resize(n);
  m_Z.assign(n * n, 0.0);
  for (std::size_t i = 0; i < n; ++i) m_Z[i * (n + 1)] = 1.0;
  const int size = static_cast<int>(n);
  if (!s_factorise(size, Q, m_L.data(), m_D.data()) ||
      !s_decorrelate(size, m_L.data(), m_D.data(), m_Z.data()))
    return false;
  m_z.assign(n, 0.0);
  for (std::size_t j = 0; j < n; ++j)
    for (std::size_t i = 0; i < n; ++i) m_z[j] += m_Z[j * n + i] * floats[i];
  for (auto* v : {&m_weight, &m_integer, &m_step, &m_conditional, &m_residual}) v->resize(n);
  m_partial.resize(n + 1);
  m_sums.resize(n * (n + 1));
  for (std::size_t k = 0; k < n; ++k) m_weight[k] = 1.0 / m_D[k];
  return true;
}

}  // namespace tarvio
