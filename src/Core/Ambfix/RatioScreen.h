#pragma once
/// \file RatioScreen.h
/// Decides whether the ratio of the second best to the best norm of an integer least-squares problem may
/// exceed a threshold, without finding either: most problems that fail a ratio test fail it by far, and
/// proving that takes a small part of the search for their best vectors.
///
/// By enumeration (LatticeEnumeration.h). Let b1 be the second
/// smallest norm met so far, or any other upper bound of the second norm. A ratio above t needs a vector
/// below b1 / t: nothing else is visited. When the enumeration ends and the smallest norm met is not below
/// b1 / t, no vector is, and the ratio is at most t. With inconsistent floats the two norms are nearly
/// equal, and the share of the vectors in a sphere that is smaller by t is t^(-n/2).
///
/// Matrices are n x n, column-major, compact; covariances in cycles^2, norms in the metric of Q^-1.

#include <vector>

#include "Core/Ambfix/LatticeEnumeration.h"

namespace tarvio {

class RatioScreen {
 public:
  enum class Verdict {
    fails,   ///< the ratio is at most the threshold
    open,    ///< it may exceed it
    gaveUp,  ///< not decided within the limit of visited vectors
  };

  /// Takes over a problem. \returns false when Q is not positive definite; nothing else may follow then
  bool m_load(int n, const double* Q, const double* x);

  static constexpr long kMaxVisits = 100'000;  ///< of one enumeration, some 1.5 ms
  /// Thresholds from which on a full set is screened before its search: close to 1 the proof takes as long.
  static constexpr double kWorthwhile = 1.5;
  /// Visits for better vectors of a full set that fails: they spare much of what follows.
  static constexpr long kFullSetVisits = 20'000;

  /// \param secondBound  upper bound of the second norm, infinity when there is none
  Verdict m_judge(double threshold, double secondBound);

  /// Looks for better vectors than m_judge has met, among the first `visits` of a search for the two best.
  void m_improve(long visits);

  /// The two best vectors met; they need not be the best of all.
  /// \param best, second  out [n] \returns false when fewer than two were met
  bool m_vectors(double* best, double* second);

  /// The smallest norm when it is below `limit`, else `limit`; negative when the enumeration gave up.
  double m_leastNorm(double limit);

  /// Visits of all enumerations so far.
  long m_visits() const { return m_lattice.m_visits(); }

 private:
  bool m_original(const std::vector<double>& z, double* a);
  void m_take(double norm);

  LatticeEnumeration m_lattice;
  std::vector<double> m_Q, m_x;
  double m_norm[2] = {};
  std::vector<double> m_best, m_second;  ///< in decorrelated ambiguities
  std::vector<double> m_work, m_shift;
};

}  // namespace tarvio
