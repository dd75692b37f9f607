#pragma once
/// \file GuardedSearch.h
/// Integers of a level that may be believed: as many satellites as pass, the least precise left out first,
/// until
///
///   - bootstrapping would go wrong less often than a given rate (Teunissen 1998, J. Geodesy 72, 606-612),
///   - the second best vector is clearly worse than the best,
///   - the best vector is no worse than floats of this covariance make it (chi-square of its squared norm);
///     the satellite that spoils it most is left out and named. When all differences of a system are off
///     alike, that is its reference: the search ends, and the caller takes another one,
///   - and no more than a given share of the candidates was left out. Any set of floats, right or wrong, has
///     subsets that look good: a search that may leave out most of them proves nothing.

#include <limits>
#include <optional>
#include <vector>

namespace tarvio {

struct GuardedResult {
  bool accepted = false;
  std::vector<int> rows;         ///< of the problem, accepted
  std::vector<double> integers;  ///< by entry of rows
  std::vector<int> misfits;      ///< rows that do not fit the others
  int unfitGroup = -1;           ///< group whose reference does not fit the others
  double ratio = 0.0;
  double failureRate = 1.0;
  double misfit = 0.0;  ///< squared norm of the best vector over its degrees of freedom
};

/// Matrices n x n, column-major, cycles^2.
struct GuardedProblem {
  int n = 0;
  const double* Q = nullptr;  ///< covariance as the search takes it
  const double* judged =
      nullptr;                ///< with errors that floats may have besides: the best vector is judged by it
  const double* x = nullptr;  ///< floats, cycles
  std::vector<int> group;     ///< by row: those with one reference have one number; empty: references all fit
  double failureRate = 1e-3;  ///< of the set that is left
  double failureRateOfMany = 1e-3;  ///< the same when it holds at least `many`
  std::size_t many = std::numeric_limits<std::size_t>::max();
  double ratio = 2.0;
  double misfit = 0.01;  ///< share of right sets that may be refused, 0: the best vector is not judged
  double share = 0.6;    ///< of the candidates that must stay
  double misfits = 0.2;  ///< of the candidates that may go because they do not fit
};

class GuardedSearch {
 public:
  explicit GuardedSearch(const GuardedProblem& problem) : m_problem(problem) {}
  GuardedResult m_run();

 private:
  std::vector<double> m_block(const double* matrix) const;
  double m_failureRate(std::size_t size) const;
  double m_allowedRate(std::size_t size) const {
    return size >= m_problem.many ? m_problem.failureRateOfMany : m_problem.failureRate;
  }
  void m_leaveOutImprecise(std::size_t least);
  bool m_solve(GuardedResult& result);
  bool m_fits(const GuardedResult& result) const;
  void m_findWorst(const std::vector<double>& W, const std::vector<double>& e);

  const GuardedProblem m_problem;
  std::vector<int> m_rows;       ///< taking part, by rising variance
  std::optional<double> m_rate;  ///< failure rate of m_rows, where it is known already
  std::size_t m_worst = 0;       ///< entry of m_rows without which the best vector fits best
  int m_worstGroup = -1;         ///< group whose common shift explains more than any row
};

/// Rate at which integer bootstrapping of decorrelated ambiguities goes wrong; 1 for what is no covariance.
double s_bootstrapFailureRate(int n, const double* Q);

}  // namespace tarvio
