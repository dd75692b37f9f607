#pragma once
/// Least squares in the plainest form: a full matrix in extended precision, triangularised by
/// Householder reflectors. The oracle of the filter's tests.

#include <cmath>
#include <utility>
#include <vector>

namespace gnx_test {

/// Householder reflector of column j, on the rows from j on; `a` by columns of m rows.
inline void reflect(std::vector<std::vector<long double>>& a, std::size_t j, std::size_t m) {
  long double norm = 0.0L;
  for (std::size_t r = j; r < m; ++r) norm += a[j][r] * a[j][r];
  if (norm == 0.0L) return;
  const long double s = a[j][j] > 0.0L ? std::sqrt(norm) : -std::sqrt(norm);
  std::vector<long double> u(a[j].begin() + static_cast<long>(j), a[j].end());
  u[0] += s;
  for (std::size_t c = j; c < a.size(); ++c) {
    long double dot = 0.0L;
    for (std::size_t r = j; r < m; ++r) dot += u[r - j] * a[c][r];
    dot /= s * u[0];
    for (std::size_t r = j; r < m; ++r) a[c][r] -= dot * u[r - j];
  }
}

class DenseLsq {
 public:
  using Terms = std::vector<std::pair<int, double>>;

  /// Adds an unknown; returns its index.
  int m_unknown() { return m_count++; }
  /// weight * (sum of coefficient * unknown) = weight * value.
  void m_row(const Terms& terms, double value, double weight) { m_rows.push_back({terms, value, weight}); }

  void m_solve() {
    const auto n = static_cast<std::size_t>(m_count), m = m_rows.size();
    std::vector<std::vector<long double>> a(n + 1, std::vector<long double>(m, 0.0L));  // by columns
    for (std::size_t r = 0; r < m; ++r) {
      const long double w = m_rows[r].weight;
      for (const auto& [index, coefficient] : m_rows[r].terms)
        a[static_cast<std::size_t>(index)][r] += w * static_cast<long double>(coefficient);
      a[n][r] = w * static_cast<long double>(m_rows[r].value);
    }
    for (std::size_t j = 0; j < n; ++j) reflect(a, j, m);
    m_invert(a, n);
    m_x.assign(n, 0.0L);
    for (std::size_t i = 0; i < n; ++i)
      for (std::size_t c = i; c < n; ++c) m_x[i] += m_inverse[i][c] * a[n][c];
  }

  double m_value(int i) const { return static_cast<double>(m_x[static_cast<std::size_t>(i)]); }
  double m_covariance(int i, int j) const {
    long double sum = 0.0L;
    for (auto c = static_cast<std::size_t>(std::max(i, j)); c < m_x.size(); ++c)
      sum += m_inverse[static_cast<std::size_t>(i)][c] * m_inverse[static_cast<std::size_t>(j)][c];
    return static_cast<double>(sum);
  }

 private:
  struct Row {
    Terms terms;
    double value, weight;
  };

  void m_invert(const std::vector<std::vector<long double>>& a, std::size_t n) {
    m_inverse.assign(n, std::vector<long double>(n, 0.0L));
    for (std::size_t c = 0; c < n; ++c)
      for (std::size_t i = c + 1; i-- > 0;) {
        long double sum = i == c ? 1.0L : 0.0L;
        for (std::size_t k = i + 1; k <= c; ++k) sum -= a[k][i] * m_inverse[k][c];
        m_inverse[i][c] = sum / a[i][i];
      }
  }

  int m_count = 0;
  std::vector<Row> m_rows;
  std::vector<std::vector<long double>> m_inverse;  ///< of the triangle
  std::vector<long double> m_x;
};

}  // namespace gnx_test
