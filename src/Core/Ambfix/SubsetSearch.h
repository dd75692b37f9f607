#pragma once
/// \file SubsetSearch.h
/// Partial resolution: which of the least precise ambiguities to leave out so that the rest passes the
/// ratio test. Rounds k = 1, 2, ... leave out k of the m worst; the first round with a passing subset
/// wins, with its best ratio, or with its lowest failure rate when a table of critical values is used.
///
/// The rounds of 15 ambiguities hold 32,767 subsets, far too many searches for an epoch. The outcome
/// here is that of searching them all, but subsets that cannot win are never searched:
///
///  - Any integer vector bounds the second norm of a subset from above. Leaving out ambiguities D costs
///    q_S(z) = q(z) - g_D^T (W_DD)^-1 g_D, W = Q^-1, g = W (z - a): one sweep of an m x m block for each
///    ambiguity that goes, for a small pool of vectors that earlier searches have found.
///  - The norm of a subset's best vector is bounded from below by enumeration: all vectors of the
///    n - m ambiguities that never go (the core), and from them, with the ambiguities that stay taken
///    on one by one, all vectors of the subset below the norm that could still pass.
///  - The failure rate of bootstrapping is bounded from below by that of equal conditional variances
///    (ADOP, Teunissen 1997) and by the strip between a vector and its negative, which holds every
///    pull-in region (Teunissen 1998, On the integer normal distribution of the GPS ambiguities).
///  - What these leave over is screened (RatioScreen.h): an enumeration up to the norm that a passing best
///    vector could have at most.
///
/// A norm of a larger set is never below that of a smaller one, so the first three bounds hold for whole
/// families of subsets, and families fall at once. All bounds have a slack for rounding; the subsets
/// that remain are searched by the same routine as ever, so that the digits are the same, too.
///
/// Many precise, inconsistent ambiguities may defeat all bounds. The work of a level is counted in visits of
/// the enumerations, some 50 ms at most, so that an epoch stays within its time on any machine with the same
/// outcome; subsets that find none left are passed over like those whose search fails.
///
/// Degenerate cases: a covariance that is not positive definite switches the bounds off; enumerations
/// have a limit, beyond which they give the norm up to which they are complete.

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "Core/Ambfix/LatticeEnumeration.h"
#include "Core/Ambfix/Pflambda.h"
#include "Core/Ambfix/RatioScreen.h"

namespace tarvio {

struct SubsetProblem {
  int n = 0;
  const double* Q = nullptr;          ///< n x n, cycles^2
  const double* x = nullptr;          ///< floats, cycles
  const int* worst = nullptr;         ///< the m rows that may go, falling variance
  int maxdrop = 0;                    ///< m
  double crit = 0.0;                  ///< ratio limit without a table
  double sigma = 1.0;                 ///< of unit weight
  const RatioTable* table = nullptr;  ///< null: the limit is `crit`
  const double* best = nullptr;       ///< best and second best integers of all n
  const double* second = nullptr;
};

struct SubsetResult {
  bool accepted = false;
  double ratio = 0.0;            ///< of the accepted subset, else the best of the last round
  std::vector<int> rows;         ///< rows that stay, ascending
  std::vector<double> integers;  ///< of these rows
};

class SubsetSearch {
 public:
  explicit SubsetSearch(const SubsetProblem& problem);
  SubsetResult run();
  /// Integer searches made so far.
  long searches() const { return m_searches; }

 private:
  static constexpr int kMaxDrop = 32;  ///< more than that may not go at once
  static constexpr int kPool = 24;     ///< integer vectors that serve the upper bounds
  static constexpr int kList = 48;     ///< vectors of one enumeration

  /// An integer vector, relative to the best one of all, seen from the metric of what has not gone.
  struct PoolPoint {
    std::vector<double> offset;  ///< n
    int core = 0;                ///< equal for vectors that agree on the core
  };
  /// The metric after some ambiguities have gone.
  struct Metric {
    double W[kMaxDrop][kMaxDrop];
    double g[kPool][kMaxDrop];
    double q[kPool];
    double length[kPool];  ///< squared length of the offset
    double logDet = 0.0;   ///< log det of W over what has gone
  };
  /// All vectors of the core and the ambiguities taken on, with a norm below `complete`.
  struct PartialVector {
    double q;
    int origin;          ///< vector of the core
    double w[kMaxDrop];  ///< normalised residual of each ambiguity taken on
  };
  struct Enumeration {
    int count = 0;
    int taken = 0;  ///< ambiguities taken on, of those that stay
    double complete = 0.0;
    double least = 0.0;    ///< no vector of the family lies below
    bool exact = false;    ///< ... and one of what surely stays lies there
    bool allTaken = true;  ///< none of what stays was passed over
    PartialVector v[kList];

    void m_settle();
    bool m_insert(const PartialVector& candidate, bool mayPushOut);
  };
  struct Family {
    int decided = 0;  ///< of the m, in the order m_order
    int gone = 0, stay = 0;
    std::uint32_t goneMask = 0, stayMask = 0;
  };

  bool m_prepareMetric();
  void m_prepareCore();
  double m_coreLimit() const;
  void m_enumerateCore(const std::vector<double>& transfer);
  void m_seedPool();
  void m_addToPool(const double* integers, int gone);
  void m_setInMetric(int place, int gone);
  void m_sweep(const Metric& from, int e, Metric& to) const;
  void m_sweepPoint(const Metric& from, int e, int place, Metric& to) const;
  void m_prepareRound(int k);
  void m_visit(const Family& family);
  void m_dropNext(const Family& family);
  void m_keepNext(const Family& family, double limit);
  void m_extend(const Enumeration& from, Enumeration& to, int position, double limit);
  void m_sharpen(const Family& family, double limit);
  bool m_mayComeBefore(const Family& family) const;
  double m_secondNorm(const Family& family) const;
  bool m_surelyDiffer(const Family& family, int a, int b) const;
  double m_failureRateBound(const Family& family) const;
  double m_leastThreshold(double failureRate) const;
  double m_limit(const Family& family, double second) const;
  void m_spend(long work) { m_left -= work; }
  bool m_screened(const Family& family, double threshold);
  void m_examine(const Family& family);
  void m_reduce(std::uint32_t goneMask);
  void m_poolFromSearch(const Family& family);

  SubsetProblem m_in;
  int m_n = 0, m_m = 0;
  bool m_bounded = false;
  double m_logDetQ = 0.0;
  std::vector<double> m_logVariance;  ///< by position
  std::vector<int> m_positionOf;      ///< by row, -1 for the core
  std::vector<double> m_W;            ///< Q^-1
  std::vector<double> m_float;        ///< x minus the best integers

  std::vector<Metric> m_metric;  ///< by number of ambiguities gone
  std::vector<PoolPoint> m_pool;
  std::uint32_t m_differ[kPool][kPool] = {};
  std::size_t m_poolNext = 0;
  int m_nextCore = 0;
  int m_path[kMaxDrop] = {};  ///< positions gone, in order

  std::vector<Enumeration> m_list;           ///< by number of ambiguities taken on
  std::vector<double> m_mean;                ///< [core vector][m] floats of the droppable ones given the core
  std::vector<double> m_spread;              ///< m x m their covariance given the core
  std::vector<int> m_order;                  ///< positions in the order of decisions: most precise first
  double m_factor[kMaxDrop][kMaxDrop] = {};  ///< Cholesky rows of what has been taken on
  int m_stayed[kMaxDrop] = {};               ///< its positions

  // the round
  int m_k = 0;
  bool m_last = false;
  double m_best = 0.0, m_bestRate = 0.0;
  std::uint32_t m_bestMask = 0;
  std::vector<double> m_leastFrom;  ///< by row of the table: least threshold from there on
  SubsetResult m_result;
  long m_searches = 0;
  long m_left = 0;               ///< visits that may still be made, other work in their measure
  LatticeEnumeration m_lattice;  ///< of the core
  RatioScreen m_screen;
  int m_examined = 0;  ///< subsets of the round that no bound excluded
  struct Least {
    double norm = 0.0;   ///< lower bound
    bool final = false;  ///< no higher one is to be had
  };
  std::unordered_map<std::uint32_t, Least> m_leastOf;  ///< best norm of the core and a set of others

  // work space of one search
  std::vector<int> m_rows;
  std::vector<double> m_q, m_scaled, m_x, m_second, m_filled;
};

}  // namespace tarvio
