// Rounds, families of subsets, and the search of those that no bound excludes.

#include "Core/Ambfix/SubsetSearch.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>

namespace tarvio {

namespace {

constexpr double kSlack = 1.0e-6;      ///< relative rounding of the bounds
constexpr double kRateSlack = 1.0e-9;  ///< of a failure rate
constexpr double kSafeRate = 0.001;    ///< below it every ratio above 1 passes
constexpr double kLowestRate = 0.001, kHighestRate = 0.25, kRateStep = 0.0002;
constexpr int kNoRow = 1246;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

constexpr int kPatience = 8;             ///< subsets of a round examined before families get searches
constexpr double kWorthSearching = 6.0;  ///< subsets that one more search may exclude
constexpr long kImprovement = 2'000;     ///< visits that look for vectors of a subset
// Work in visits of an enumeration, 15 ns each.
constexpr long kAllWork = 2'500'000;
constexpr long kFamilyWork = 300, kSubsetWork = 6'000;
constexpr long kHardWork = 1'000'000;  ///< a search on which the screen gave up

std::uint32_t s_bit(int position) { return std::uint32_t{1} << position; }

double s_combinations(int n, int k) {
  double count = 1.0;
  for (int i = 1; i <= k; ++i) count *= static_cast<double>(n - k + i) / i;
  return count;
}

}  // namespace

SubsetSearch::SubsetSearch(const SubsetProblem& problem) : m_in(problem), m_n(problem.n) {
  m_m = std::min({problem.maxdrop, problem.n, kMaxDrop});
  m_positionOf.assign(static_cast<std::size_t>(m_n), -1);
  for (int c = 0; c < m_m; ++c) m_positionOf[static_cast<std::size_t>(problem.worst[c])] = c;
  m_float.resize(static_cast<std::size_t>(m_n));
  for (std::size_t i = 0; i < m_float.size(); ++i) m_float[i] = problem.x[i] - problem.best[i];
  m_metric.resize(static_cast<std::size_t>(m_m) + 1);
  m_list.resize(static_cast<std::size_t>(m_m) + 1);
  m_order.resize(static_cast<std::size_t>(m_m));
  std::iota(m_order.begin(), m_order.end(), 0);
  m_left = kAllWork;
  m_bounded = m_prepareMetric();
  if (m_bounded) m_prepareCore();
}

SubsetResult SubsetSearch::run() {
  const int rounds = std::min(m_m, m_n - 1);
  for (int k = 1; k <= rounds && !m_result.accepted; ++k) {
    m_prepareRound(k);
    m_visit({});
    m_result.accepted = m_in.table ? 1.0 > m_bestRate : m_best > m_in.crit;
    m_result.ratio = m_best;
  }
  return m_result;
}

void SubsetSearch::m_prepareRound(int k) {
  m_k = k;
  m_last = k == std::min(m_m, m_n - 1);
  m_best = 0.0;
  m_bestRate = 1.0e9;
  m_bestMask = 0;
  m_examined = 0;
  // The ratio of the last round is told.
  if (m_last) m_left = std::max(m_left, RatioScreen::kMaxVisits);
  if (!m_in.table) return;
  const RatioTable& table = *m_in.table;
  const int n = m_n - k, rows = n <= table.ndim ? table.nrow : 0;
  m_leastFrom.assign(static_cast<std::size_t>(rows) + 1, s_ratioThreshold(0.0));
  for (int r = rows - 1; r >= 0; --r) {
    const double u = table.u[(n - 1) * table.nrow + r];
    const auto row = static_cast<std::size_t>(r);
    m_leastFrom[row] = std::min(m_leastFrom[row + 1], u != 0.0 ? u : s_ratioThreshold(0.0));
  }
}

/// The least critical value of all failure rates from this one on.
double SubsetSearch::m_leastThreshold(double failureRate) const {
  const double rate = failureRate - kRateSlack;
  int row = 0;
  if (rate > kHighestRate) row = kNoRow;
  else if (rate > kLowestRate) row = std::max(static_cast<int>(std::lround(rate / kRateStep)) - 6, 0);
  const double least = m_leastFrom[std::min(static_cast<std::size_t>(row), m_leastFrom.size() - 1)];
  return rate > kSafeRate ? least : std::min(least, 1.0);
}

void SubsetSearch::m_visit(const Family& family) {
  if (m_bounded && m_left <= 0) return;
  m_spend(kFamilyWork);
  const int open = m_m - family.decided, toGo = m_k - family.gone;
  double limit = kInfinity;
  if (m_bounded) {
    limit = m_limit(family, m_secondNorm(family));
    if (m_list[static_cast<std::size_t>(family.stay)].least >= limit) return;
  }
  if (open == 0) {
    m_examine(family);
    return;
  }
  if (toGo > 0) m_dropNext(family);
  if (open > toGo) m_keepNext(family, limit);
}

void SubsetSearch::m_dropNext(const Family& family) {
  const int e = m_order[static_cast<std::size_t>(family.decided)];
  m_path[family.gone] = e;
  Family next = family;
  next.goneMask |= s_bit(e);
  ++next.gone;
  ++next.decided;
  if (m_bounded) {
    const auto level = static_cast<std::size_t>(family.gone);
    m_sweep(m_metric[level], e, m_metric[level + 1]);
  }
  m_visit(next);
}

void SubsetSearch::m_keepNext(const Family& family, double limit) {
  const int e = m_order[static_cast<std::size_t>(family.decided)];
  Family next = family;
  next.stayMask |= s_bit(e);
  ++next.stay;
  ++next.decided;
  if (m_bounded) {
    const auto level = static_cast<std::size_t>(family.stay);
    m_extend(m_list[level], m_list[level + 1], e, limit);
    m_sharpen(next, limit);
  }
  m_visit(next);
}

/// Where an enumeration has ended too early to exclude a large family, the best vector of what surely
/// stays may do.
void SubsetSearch::m_sharpen(const Family& family, double limit) {
  Enumeration& list = m_list[static_cast<std::size_t>(family.stay)];
  if (list.exact || list.least >= limit || m_examined < kPatience) return;
  if (s_combinations(m_m - family.decided, m_k - family.gone) < kWorthSearching) return;
  Least& known = m_leastOf[family.stayMask];
  if (!known.final && known.norm < limit) {
    m_reduce(~family.stayMask);
    double least = -1.0;
    const long before = m_screen.m_visits();
    if (m_screen.m_load(static_cast<int>(m_rows.size()), m_q.data(), m_x.data()))
      least = m_screen.m_leastNorm(limit);
    m_spend(kSubsetWork + m_screen.m_visits() - before);
    known.final = least < limit;
    known.norm = std::max(known.norm, least * (1.0 - kSlack));
  }
  list.least = std::max(list.least, known.norm);
  list.exact = known.final;
}

/// Whether the family holds a subset that comes before the best one in the lexical order of what goes,
/// which decides between equals.
bool SubsetSearch::m_mayComeBefore(const Family& family) const {
  std::uint32_t mask = family.goneMask;
  int toGo = m_k - family.gone;
  for (int c = 0; c < m_m && toGo > 0; ++c) {
    if ((family.goneMask | family.stayMask) & s_bit(c)) continue;
    mask |= s_bit(c);
    --toGo;
  }
  const std::uint32_t differ = mask ^ m_bestMask;
  return differ != 0 && (mask & (differ & (~differ + 1))) != 0;
}

/// Norm below which a best vector must lie for a subset of the family to win.
double SubsetSearch::m_limit(const Family& family, double second) const {
  double threshold = m_last ? m_best : std::max(m_in.crit, m_best);
  if (m_in.table) {
    const double rate = m_failureRateBound(family);
    if (rate - kRateSlack >= m_bestRate) return 0.0;
    if (m_bestRate <= 0.0 && !m_mayComeBefore(family)) return 0.0;
    threshold = m_leastThreshold(rate);
  }
  return threshold > 0.0 ? second / threshold * (1.0 + kSlack) : kInfinity;
}

/// Upper bound of the second norm of all subsets of a family: the smallest norm of a vector that
/// differs from the pool's best one wherever the family ends.
double SubsetSearch::m_secondNorm(const Family& family) const {
  const Metric& metric = m_metric[static_cast<std::size_t>(family.gone)];
  const int count = static_cast<int>(m_pool.size());
  const int first = static_cast<int>(std::min_element(metric.q, metric.q + count) - metric.q);
  double second = kInfinity;
  for (int p = 0; p < count; ++p)
    if (metric.q[p] < second && p != first && m_surelyDiffer(family, first, p)) second = metric.q[p];
  // Of a single subset the enumeration may know better.
  const Enumeration& list = m_list[static_cast<std::size_t>(family.stay)];
  if (family.decided == m_m && list.taken == family.stay && list.count > 1)
    second = std::min(second, list.v[1].q);
  return second;
}

bool SubsetSearch::m_surelyDiffer(const Family& family, int a, int b) const {
  if (m_pool[static_cast<std::size_t>(a)].core != m_pool[static_cast<std::size_t>(b)].core) return true;
  const std::uint32_t differ = m_differ[a][b] & ~family.goneMask;
  if (differ & family.stayMask) return true;
  return std::popcount(differ) > m_k - family.gone;
}

/// Lower bound of the bootstrapped failure rate of all subsets of a family.
double SubsetSearch::m_failureRateBound(const Family& family) const {
  const Metric& metric = m_metric[static_cast<std::size_t>(family.gone)];
  const double perSigma = 0.5 / m_in.sigma * 0.7071067811865476;  // erf(x / sqrt 2) = 2 Phi(x) - 1

  double logDet = m_logDetQ + metric.logDet;
  int toGo = m_k - family.gone;
  for (int c = 0; c < m_m && toGo > 0; ++c) {
    if ((family.goneMask | family.stayMask) & s_bit(c)) continue;
    logDet -= m_logVariance[static_cast<std::size_t>(c)];
    --toGo;
  }
  const double n = m_n - m_k;
  double success = std::pow(std::erf(perSigma * std::exp(-0.5 * logDet / n)), n);

  double shortest = kInfinity;
  for (int p = 1; p < static_cast<int>(m_pool.size()); ++p)
    if (metric.length[p] < shortest && m_surelyDiffer(family, 0, p)) shortest = metric.length[p];
  for (int c = 0; c < m_m; ++c)
    if (family.stayMask & s_bit(c)) shortest = std::min(shortest, metric.W[c][c]);
  success = std::min(success, std::erf(perSigma * std::sqrt(shortest)));
  return 1.0 - success;
}

/// Whether a single subset cannot win, or is too hard to search.
bool SubsetSearch::m_screened(const Family& family, double threshold) {
  if (!m_bounded || m_rows.size() < 2 ||
      !m_screen.m_load(static_cast<int>(m_rows.size()), m_q.data(), m_x.data()))
    return false;
  const long before = m_screen.m_visits();
  const RatioScreen::Verdict verdict = m_screen.m_judge(threshold, m_secondNorm(family));
  m_spend(m_screen.m_visits() - before);
  if (verdict == RatioScreen::Verdict::gaveUp) {
    m_spend(kHardWork);
    return m_left <= 0;
  }
  if (verdict == RatioScreen::Verdict::open) return false;
  // The vectors near it serve the bounds of others.
  m_screen.m_improve(kImprovement);
  if (m_screen.m_vectors(m_x.data(), m_second.data())) m_poolFromSearch(family);
  return true;
}

/// A single subset that no bound excludes.
void SubsetSearch::m_examine(const Family& family) {
  ++m_examined;
  m_spend(kSubsetWork);
  m_reduce(family.goneMask);
  const int n = static_cast<int>(m_rows.size());
  double rate = 0.0, threshold = m_last ? m_best : std::max(m_in.crit, m_best);
  if (m_in.table) {
    double mu = 0.0;
    m_scaled = m_q;
    s_pf_lookup_u(*m_in.table, m_scaled.data(), n, m_in.sigma, kSafeRate, -1, &mu, &rate);
    if (!(m_bestRate > rate) && !(m_bestRate == rate && m_mayComeBefore(family))) return;
    threshold = s_ratioThreshold(mu);
    if (m_bounded && m_list[static_cast<std::size_t>(family.stay)].least >=
                         m_secondNorm(family) / threshold * (1.0 + kSlack))
      return;
  }
  if (m_screened(family, threshold)) return;
  double s[2] = {};
  ++m_searches;
  if (ambslv_(n, m_q.data(), m_x.data(), m_second.data(), s) != 0) return;
  const double ratio = s[1] / s[0];
  const bool wins = m_in.table
                        ? ratio > threshold
                        : ratio > m_best || (ratio == m_best && m_best > 0.0 && m_mayComeBefore(family));
  if (wins) {
    m_bestMask = family.goneMask;
    m_bestRate = rate;
    m_best = ratio;
    m_result.rows = m_rows;
    m_result.integers = m_x;
  }
  if (m_bounded) m_poolFromSearch(family);
}

/// Covariance and floats of the rows that stay.
void SubsetSearch::m_reduce(std::uint32_t goneMask) {
  m_rows.clear();
  for (int i = 0; i < m_n; ++i) {
    const int c = m_positionOf[static_cast<std::size_t>(i)];
    if (c < 0 || !(goneMask & s_bit(c))) m_rows.push_back(i);
  }
  const std::size_t n = m_rows.size();
  m_q.resize(n * n);
  m_x.resize(n);
  m_second.resize(n);
  for (std::size_t j = 0; j < n; ++j) {
    const double* column = m_in.Q + static_cast<long>(m_rows[j]) * m_n;
    for (std::size_t i = 0; i < n; ++i) m_q[j * n + i] = column[m_rows[i]];
    m_x[j] = m_in.x[m_rows[j]];
  }
}

}  // namespace tarvio
