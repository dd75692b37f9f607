// Constraints on the ambiguities as updates of their covariance.

#include "Core/Filter/FixedSolution.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "Common/CMat.h"
#include "Common/FormalSigmas.h"
#include "Core/Filter/SrifFilter.h"
#include "Core/Filter/TiedColumns.h"

namespace tarvio {

namespace {

constexpr std::size_t kSites = kSite;
constexpr double kVariance = 1.0 / (kConstraintWeight * kConstraintWeight);

std::size_t s_at(int i) { return static_cast<std::size_t>(i); }

}  // namespace

void FixedSolution::m_begin(const SrifFilter& filter, const std::vector<double>& Qamb, int nc,
                            bool withSite) {
  m_first = filter.npi;
  m_nc = nc;
  m_width = s_padded(s_at(nc));
  m_count = 0;
  m_rows.clear();
  m_filter = nullptr;
  filter.m_solve(m_x);
  m_Q.assign(m_width * m_width, 0.0);
  for (int row = 0; row < nc; ++row)
    std::copy_n(Qamb.data() + row * nc, nc, m_Q.data() + s_at(row) * m_width);
  m_site.known = false;
  if (withSite) m_formSite(filter);
  m_filter = &filter;
}

/// P = Y^T Y and cov(a, p) = R_aa^-1 Y_a, with R^T Y = the columns of position and zenith delay.
void FixedSolution::m_formSite(const SrifFilter& filter) {
  std::vector<double> Y;
  if (!filter.m_siteFactor(0, Y)) return;
  const std::size_t n = s_at(filter.imtx);
  for (std::size_t i = 0; i < kSites; ++i)
    for (std::size_t j = 0; j < kSites; ++j)
      m_site.own[kSites * i + j] =
          std::inner_product(Y.data() + i * n, Y.data() + (i + 1) * n, Y.data() + j * n, 0.0);
  m_site.shared.assign(kSites * m_width, 0.0);
  const double* triangle = filter.infs + filter.iptx[m_first] + m_first;
  for (std::size_t i = 0; i < kSites; ++i) {
    double* shared = m_site.shared.data() + i * m_width;
    std::copy_n(Y.data() + i * n + s_at(m_first), m_nc, shared);
    CMat::CMat_SolveLinear(m_nc, triangle, filter.ldinfs, shared, 0);
  }
  m_site.known = true;
}

const double* FixedSolution::m_covariance() {
  if (m_count == 0) return m_Q.data();
  const RowMatrix H = m_matrix(m_H), Q = m_matrix(m_Q);
  for (std::size_t row = 0; row < m_width; row += kBlockColumns)
    s_addProduct(H, H, 0, m_count, -1.0, Q, {row, row + kBlockColumns, row, m_width});
  for (std::size_t row = 0; row < m_width; ++row)
    for (std::size_t column = 0; column < row; ++column) Q.row(row)[column] = Q.row(column)[row];
  m_count = 0;
  return m_Q.data();
}

void FixedSolution::m_constrain(const std::vector<ConstraintRow>& rows) {
  if (rows.empty() || m_nc == 0) return;
  m_covariance();
  m_rows.insert(m_rows.end(), rows.begin(), rows.end());
  m_count = rows.size();
  m_span = s_padded(m_count);
  std::vector<double> misclosure;
  m_formRows(rows, misclosure);
  m_factorise(misclosure);
  for (std::size_t k = 0; k < m_count; ++k) {
    const double* h = m_H.data() + k * m_width;
    for (int j = 0; j < m_nc; ++j) m_x[s_at(m_first + j)] += h[j] * misclosure[k];
  }
  m_followAmbiguities();
  if (m_site.known) m_constrainSite(rows);
}

void FixedSolution::m_remember() {
  m_covariance();
  m_xBefore = m_x;
  m_siteBefore = m_site;
  m_rowsBefore = m_rows.size();
}

void FixedSolution::m_takeBack() {
  m_x = m_xBefore;
  m_site = m_siteBefore;
  m_rows.resize(m_rowsBefore);
  m_count = 0;
}

/// H = F Q, M = F Q F^T + s^2 I by rows, and t - F x.
void FixedSolution::m_formRows(const std::vector<ConstraintRow>& rows, std::vector<double>& misclosure) {
  m_H.assign(m_span * m_width, 0.0);
  m_M.assign(m_span * m_span, 0.0);
  misclosure.clear();
  for (std::size_t k = 0; k < m_count; ++k) {
    double* h = m_H.data() + k * m_width;
    double left = rows[k].target;
    for (int t = 0; t < rows[k].count; ++t) {
      const auto [column, coefficient] = rows[k].terms[t];
      const double* q = m_Q.data() + s_at(column - m_first) * m_width;
      for (std::size_t j = 0; j < m_width; ++j) h[j] += coefficient * q[j];
      left -= coefficient * m_x[s_at(column)];
    }
    misclosure.push_back(left);
    for (std::size_t l = 0; l <= k; ++l) {
      double sum = l == k ? kVariance : 0.0;
      for (int t = 0; t < rows[l].count; ++t)
        sum += rows[l].terms[t].coefficient * h[rows[l].terms[t].column - m_first];
      m_M[l * m_span + k] = sum;
    }
  }
}

/// M := L^T in its upper triangle; H := L^-1 H, misclosure := L^-1 misclosure, four rows at a time.
void FixedSolution::m_factorise(std::vector<double>& misclosure) {
  const RowMatrix M{m_M.data(), m_span}, H = m_matrix(m_H);
  for (std::size_t begin = 0; begin < m_count; begin += kBlockRows) {
    const std::size_t end = std::min(begin + kBlockRows, m_count),
                      from = begin / kBlockColumns * kBlockColumns;
    s_addProduct(M, M, 0, begin, -1.0, M, {begin, begin + kBlockRows, from, m_span});
    s_addProduct(M, H, 0, begin, -1.0, H, {begin, begin + kBlockRows, 0, m_width});
    for (std::size_t k = begin; k < end; ++k) {
      double* m = M.row(k);
      for (std::size_t i = begin; i < k; ++i) {
        const double factor = M.row(i)[k];
        for (std::size_t j = k; j < m_span; ++j) m[j] -= factor * M.row(i)[j];
        for (std::size_t j = 0; j < m_width; ++j) H.row(k)[j] -= factor * H.row(i)[j];
      }
      for (std::size_t i = 0; i < k; ++i) misclosure[k] -= M.row(i)[k] * misclosure[i];
      // Rounding takes no more than the constraints' own variance away.
      const double root = std::sqrt(std::max(m[k], kVariance));
      m[k] = root;
      for (std::size_t j = k + 1; j < m_span; ++j) m[j] /= root;
      for (std::size_t j = 0; j < m_width; ++j) H.row(k)[j] /= root;
      misclosure[k] /= root;
    }
  }
}

/// With G = L^-1 F cov(a, p): P - G^T G, cov(p, a) - G^T H.
void FixedSolution::m_constrainSite(const std::vector<ConstraintRow>& rows) {
  std::vector<double> G(kSites * m_count);
  for (std::size_t k = 0; k < m_count; ++k)
    for (std::size_t i = 0; i < kSites; ++i) {
      double sum = 0.0;
      for (int t = 0; t < rows[k].count; ++t)
        sum += rows[k].terms[t].coefficient *
               m_site.shared[i * m_width + s_at(rows[k].terms[t].column - m_first)];
      for (std::size_t l = 0; l < k; ++l) sum -= m_M[l * m_span + k] * G[kSites * l + i];
      G[kSites * k + i] = sum / m_M[k * m_span + k];
    }
  for (std::size_t k = 0; k < m_count; ++k)
    for (std::size_t i = 0; i < kSites; ++i) {
      const double g = G[kSites * k + i];
      for (std::size_t j = 0; j < kSites; ++j) m_site.own[kSites * i + j] -= g * G[kSites * k + j];
      for (std::size_t j = 0; j < m_width; ++j) m_site.shared[i * m_width + j] -= g * m_H[k * m_width + j];
    }
}

/// Ordinary parameters and ionosphere from the upper rows of the triangle.
void FixedSolution::m_followAmbiguities() {
  const SrifFilter& f = *m_filter;
  std::copy_n(f.infs + f.iptx[f.imtx], m_first, m_x.begin());
  for (int j = 0; j < m_nc; ++j) {
    const double value = m_x[s_at(m_first + j)];
    const double* column = f.infs + f.iptx[m_first + j];
    for (int row = 0; row < m_first; ++row) m_x[s_at(row)] -= column[row] * value;
  }
  CMat::CMat_SolveLinear(m_first, f.infs, f.ldinfs, m_x.data(), 0);
}

bool FixedSolution::m_siteCovariance(double (&out)[kSite * kSite]) const {
  if (m_site.known) std::copy_n(m_site.own, kSite * kSite, out);
  return m_site.known;
}

/// Through the ambiguities that fixes leave free: there are few, and with them few columns.
void FixedSolution::m_formalSigmas(double* sigma) const {
  const TiedColumns ties(m_rows, m_first, m_nc);
  const std::vector<int>& columns = ties.m_free();
  std::vector<double> Q, trailing;
  Q.reserve(columns.size() * columns.size());
  for (const int i : columns)
    for (const int j : columns) {
      double q = m_Q[s_at(i) * m_width + s_at(j)];
      for (std::size_t k = 0; k < m_count; ++k) q -= m_H[k * m_width + s_at(i)] * m_H[k * m_width + s_at(j)];
      Q.push_back(q);
    }
  const SrifFilter& f = *m_filter;
  ties.m_fold(f.infs, f.iptx + m_first, m_first, trailing);
  s_formalSigmas(f.infs, f.iptx, m_first, static_cast<int>(columns.size()), trailing.data(), Q.data(), sigma);
}

}  // namespace tarvio
