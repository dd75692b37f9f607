#pragma once
/// \file FixedSolution.h
/// What the fixes of an epoch make of the float solution, beside its triangle.
///
/// With Q the covariance and x the values of the ambiguities, constraints F x = t of variance s^2 give
///
///   F Q F^T + s^2 I = L L^T,  H = L^-1 F Q,  x + H^T L^-1 (t - F x),  Q - H^T H,
///
/// and what goes with the ambiguities, ordinary parameters and ionosphere, follows from the upper rows of the
/// triangle. That is what constraints below the triangle come to, without triangularising once more.

#include <vector>

#include "Common/BlockProduct.h"
#include "Core/Filter/ConstraintRow.h"

namespace tarvio {

class SrifFilter;

/// Coordinates x, y, z and the zenith delay of a station.
constexpr int kSite = 4;

class FixedSolution {
 public:
  /// From the float solution. \param Qamb  covariance of the ambiguities, nc x nc
  /// \param withSite  whether anybody will ask for the covariance of position and zenith delay
  void m_begin(const SrifFilter& filter, const std::vector<double>& Qamb, int nc, bool withSite);
  void m_end() { m_filter = nullptr; }
  bool m_isActive() const { return m_filter != nullptr; }

  /// Takes constraints in.
  void m_constrain(const std::vector<ConstraintRow>& rows);
  /// Constraints that follow, one set at most, can be taken back.
  void m_remember();
  void m_takeBack();

  /// Of all columns.
  const std::vector<double>& m_values() const { return m_x; }
  /// Of the ambiguities, \return rows of m_lead() doubles; none where it is not known
  const double* m_covariance();
  int m_lead() const { return static_cast<int>(m_width); }
  /// Of the first station's position and zenith delay, m^2, by rows.
  bool m_siteCovariance(double (&out)[kSite * kSite]) const;
  /// Of all parameters before the ambiguities. \param sigma  [columns before them]
  void m_formalSigmas(double* sigma) const;

 private:
  struct Site {
    bool known = false;
    double own[kSite * kSite] = {};  ///< covariance, m^2, by rows
    std::vector<double> shared;      ///< with the ambiguities, kSite rows of m_width
  };
  RowMatrix m_matrix(std::vector<double>& data) const { return {data.data(), m_width}; }
  void m_formSite(const SrifFilter& filter);
  void m_formRows(const std::vector<ConstraintRow>& rows, std::vector<double>& misclosure);
  void m_factorise(std::vector<double>& misclosure);
  void m_constrainSite(const std::vector<ConstraintRow>& rows);
  void m_followAmbiguities();

  const SrifFilter* m_filter = nullptr;
  int m_first = 0, m_nc = 0;
  std::size_t m_width = 0;  ///< nc with padding
  std::vector<double> m_x, m_Q;
  std::size_t m_count = 0, m_span = 0;  ///< constraints of m_H that m_Q does not know yet; with padding
  std::vector<double> m_H, m_M;
  std::vector<ConstraintRow> m_rows;  ///< all that were taken in
  Site m_site;
  std::vector<double> m_xBefore;  ///< what is remembered
  std::size_t m_rowsBefore = 0;
  Site m_siteBefore;
};

}  // namespace tarvio
