// What bounds the subsets: the metric with ambiguities swept out, the pool of integer vectors seen in
// it, and the enumeration of the vectors that could still be a best one.

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "Common/CMat.h"
#include "Core/Ambfix/SubsetSearch.h"

namespace tarvio {

namespace {

constexpr long kMaxNodes = 20'000;  ///< of the enumeration of the core
/// How far the enumeration of the core goes beyond what the full set asks for: a subset's second norm is
/// larger where the two best vectors differ only in what has gone. With a table thresholds are small and
/// the list is long without it.
constexpr double kReach = 1.5;
constexpr std::size_t kKept = 6;   ///< of the pool, never given up: best, second, seeds
constexpr std::size_t kSeeds = 4;  ///< neighbours of the best vector that open the pool
constexpr double kInfinity = std::numeric_limits<double>::infinity();

}  // namespace

// ---- metric and pool ----

bool SubsetSearch::m_prepareMetric() {
  const auto n = static_cast<std::size_t>(m_n);
  std::vector<double> L(n * n), D(n);
  for (std::size_t i = 0; i < n; ++i)
    if (!(m_in.Q[i * (n + 1)] > 0.0)) return false;
  m_W.assign(m_in.Q, m_in.Q + n * n);
  if (CMat::CMat_Inverse(m_W.data(), m_n, m_n) < 0) return false;
  if (!s_factorise(m_n, m_in.Q, L.data(), D.data())) return false;
  m_logDetQ = 0.0;
  for (const double d : D) m_logDetQ += std::log(d);

  Metric& all = m_metric[0];
  for (int a = 0; a < m_m; ++a) {
    for (int b = 0; b < m_m; ++b)
      all.W[a][b] =
          m_W[static_cast<std::size_t>(m_in.worst[b]) * n + static_cast<std::size_t>(m_in.worst[a])];
    if (!(all.W[a][a] > 0.0) || !std::isfinite(all.W[a][a])) return false;
  }
  all.logDet = 0.0;
  for (int c = 0; c < m_m; ++c)
    m_logVariance.push_back(std::log(m_in.Q[static_cast<std::size_t>(m_in.worst[c]) * (n + 1)]));
  m_addToPool(m_in.best, 0);
  m_addToPool(m_in.second, 0);
  m_seedPool();
  return true;
}

/// Neighbours of the best vector in its weakest directions within the core: they stay apart whatever goes,
/// and show the failure rate that no subset gets rid of.
void SubsetSearch::m_seedPool() {
  const auto n = static_cast<std::size_t>(m_n);
  std::vector<std::size_t> core;
  for (std::size_t i = 0; i < n; ++i)
    if (m_positionOf[i] < 0) core.push_back(i);
  const auto stiffness = [&](std::size_t i) { return m_W[i * (n + 1)]; };
  std::sort(core.begin(), core.end(), [&](auto a, auto b) { return stiffness(a) < stiffness(b); });
  core.resize(std::min<std::size_t>(core.size(), kSeeds));
  for (const std::size_t i : core) {
    m_filled.assign(m_in.best, m_in.best + n);
    double gradient = 0.0;
    for (std::size_t j = 0; j < n; ++j) gradient -= m_W[i * n + j] * m_float[j];
    m_filled[i] += gradient > 0.0 ? -1.0 : 1.0;
    m_addToPool(m_filled.data(), 0);
  }
}

/// Enters an integer vector unless the pool has it; a full pool gives up its oldest but the first ones.
void SubsetSearch::m_addToPool(const double* integers, int gone) {
  PoolPoint point;
  point.offset.resize(static_cast<std::size_t>(m_n));
  for (std::size_t i = 0; i < point.offset.size(); ++i) point.offset[i] = integers[i] - m_in.best[i];
  for (const PoolPoint& other : m_pool)
    if (other.offset == point.offset) return;

  std::size_t place = m_pool.size();
  if (place < kPool) {
    m_pool.emplace_back();
  } else {
    place = kKept + m_poolNext++ % (kPool - kKept);
  }
  point.core = m_nextCore++;
  for (const PoolPoint& other : m_pool) {
    bool same = !other.offset.empty();
    for (std::size_t i = 0; same && i < point.offset.size(); ++i)
      same = m_positionOf[i] >= 0 || other.offset[i] == point.offset[i];
    if (same) point.core = other.core;
  }
  m_pool[place] = std::move(point);
  m_setInMetric(static_cast<int>(place), gone);
}

/// The numbers of a pool vector in the metrics of the present path.
void SubsetSearch::m_setInMetric(int place, int gone) {
  const auto n = static_cast<std::size_t>(m_n);
  const std::vector<double>& offset = m_pool[static_cast<std::size_t>(place)].offset;
  for (int other = 0; other < static_cast<int>(m_pool.size()); ++other) {
    std::uint32_t differ = 0;
    for (int c = 0; c < m_m; ++c) {
      const auto row = static_cast<std::size_t>(m_in.worst[c]);
      if (offset[row] != m_pool[static_cast<std::size_t>(other)].offset[row]) differ |= std::uint32_t{1} << c;
    }
    m_differ[place][other] = m_differ[other][place] = differ;
  }

  Metric& all = m_metric[0];
  all.q[place] = all.length[place] = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    double weighted = 0.0, weightedOffset = 0.0;
    for (std::size_t j = 0; j < n; ++j) {
      weighted += m_W[i * n + j] * (offset[j] - m_float[j]);
      weightedOffset += m_W[i * n + j] * offset[j];
    }
    all.q[place] += (offset[i] - m_float[i]) * weighted;
    all.length[place] += offset[i] * weightedOffset;
    if (const int c = m_positionOf[i]; c >= 0) all.g[place][c] = weighted;
  }
  for (int level = 0; level < gone; ++level)
    m_sweepPoint(m_metric[static_cast<std::size_t>(level)], m_path[level], place,
                 m_metric[static_cast<std::size_t>(level) + 1]);
}

/// q and g of one vector when ambiguity e takes its real-valued optimum.
void SubsetSearch::m_sweepPoint(const Metric& from, int e, int place, Metric& to) const {
  const double step = from.g[place][e] / from.W[e][e];
  // The offset's own product with the metric is the difference to that of the first vector.
  const double along = from.g[place][e] - from.g[0][e];
  to.q[place] = from.q[place] - step * from.g[place][e];
  to.length[place] = from.length[place] - along * along / from.W[e][e];
  for (int c = 0; c < m_m; ++c) to.g[place][c] = from.g[place][c] - from.W[e][c] * step;
}

/// The metric after one more ambiguity has gone.
void SubsetSearch::m_sweep(const Metric& from, int e, Metric& to) const {
  const double pivot = from.W[e][e];
  to.logDet = from.logDet + std::log(pivot);
  for (int a = 0; a < m_m; ++a) {
    const double factor = from.W[a][e] / pivot;
    for (int b = 0; b < m_m; ++b) to.W[a][b] = from.W[a][b] - factor * from.W[e][b];
  }
  for (int p = 0; p < static_cast<int>(m_pool.size()); ++p) m_sweepPoint(from, e, p, to);
}

/// Takes over what a search has found; ambiguities that have gone get the nearest integers.
void SubsetSearch::m_poolFromSearch(const Family& family) {
  const auto n = static_cast<std::size_t>(m_n);
  for (const std::vector<double>* found : {&m_x, &m_second}) {
    m_filled.assign(m_in.x, m_in.x + n);
    for (std::size_t k = 0; k < m_rows.size(); ++k)
      m_filled[static_cast<std::size_t>(m_rows[k])] = (*found)[k];
    // One after the other, each at its optimum given those before: W_ee (z_e - a_e) = - rest.
    for (int level = 0; level < family.gone; ++level) {
      const auto row = static_cast<std::size_t>(m_in.worst[m_path[level]]);
      double weighted = 0.0;
      for (std::size_t j = 0; j < n; ++j) weighted += m_W[row * n + j] * (m_filled[j] - m_in.x[j]);
      m_filled[row] = std::round(m_filled[row] - weighted / m_W[row * (n + 1)]);
    }
    m_addToPool(m_filled.data(), family.gone);
  }
}

// ---- enumeration ----

void SubsetSearch::Enumeration::m_settle() {
  exact = count > 0 && v[0].q < complete;
  least = exact ? v[0].q : complete;
}

/// Keeps the vectors in ascending order. A full list refuses one more, or pushes its worst out and is
/// complete up to there. \returns false when it refuses
bool SubsetSearch::Enumeration::m_insert(const PartialVector& candidate, bool mayPushOut) {
  if (!(candidate.q < complete)) return true;
  if (count == kList) {
    if (!mayPushOut) return false;
    complete = std::min(complete, std::max(candidate.q, v[count - 1].q));
    if (!(candidate.q < v[count - 1].q)) return true;
    --count;
  }
  int place = count++;
  for (; place > 0 && candidate.q < v[place - 1].q; --place) v[place] = v[place - 1];
  v[place] = candidate;
  return true;
}

/// Splits the covariance: core alone, and the others given the core.
void SubsetSearch::m_prepareCore() {
  const auto n = static_cast<std::size_t>(m_n), m = static_cast<std::size_t>(m_m), core = n - m;
  std::vector<std::size_t> rows;
  for (std::size_t i = 0; i < n; ++i)
    if (m_positionOf[i] < 0) rows.push_back(i);
  const auto q = [&](std::size_t i, std::size_t j) { return m_in.Q[j * n + i]; };
  std::vector<double> Q(core * core), floats(core);
  for (std::size_t j = 0; j < core; ++j) {
    floats[j] = m_float[rows[j]];
    for (std::size_t i = 0; i < core; ++i) Q[j * core + i] = q(rows[i], rows[j]);
  }
  Enumeration& root = m_list[0];
  root.count = 0;
  root.complete = root.least = 0.0;
  if (!m_lattice.m_load(core, Q.data(), floats.data())) return;
  const std::vector<double>&L = m_lattice.m_factor(), &D = m_lattice.m_variances();
  const std::vector<double>& Z = m_lattice.m_transformation();

  // transfer = Q_ec Z L^-1: floats of the others given the core are a_e + transfer D^-1 e, with e the
  // conditional residuals of the core.
  std::vector<double> transfer(m * core, 0.0);
  for (std::size_t j = core; j-- > 0;) {
    for (std::size_t a = 0; a < m; ++a) {
      double sum = 0.0;
      for (std::size_t i = 0; i < core; ++i)
        sum += q(static_cast<std::size_t>(m_in.worst[a]), rows[i]) * Z[j * core + i];
      for (std::size_t i = j + 1; i < core; ++i) sum -= transfer[i * m + a] * L[j * core + i];
      transfer[j * m + a] = sum;
    }
  }
  m_spread.assign(m * m, 0.0);
  for (std::size_t a = 0; a < m; ++a)
    for (std::size_t b = 0; b < m; ++b) {
      double sum = q(static_cast<std::size_t>(m_in.worst[a]), static_cast<std::size_t>(m_in.worst[b]));
      for (std::size_t j = 0; j < core; ++j) sum -= transfer[j * m + a] * transfer[j * m + b] / D[j];
      m_spread[b * m + a] = sum;
    }
  std::sort(m_order.begin(), m_order.end(), [&](int a, int b) {
    return m_spread[static_cast<std::size_t>(a) * (m + 1)] < m_spread[static_cast<std::size_t>(b) * (m + 1)];
  });
  m_enumerateCore(transfer);
  if (root.complete > 0.0) return;
  // Too many vectors: the norm of the best one is a bound, too.
  std::vector<double> x(core);
  for (std::size_t i = 0; i < core; ++i) x[i] = m_in.x[rows[i]];
  if (m_screen.m_load(static_cast<int>(core), Q.data(), x.data()))
    root.complete = root.least = std::max(0.0, m_screen.m_leastNorm(m_coreLimit()));
}

/// Norm below which a vector of the core may belong to a passing subset.
double SubsetSearch::m_coreLimit() const {
  const double threshold = m_in.table ? 1.0 : std::max(m_in.crit, 0.0);
  const double reach = m_in.table ? 1.0 : kReach;
  return threshold > 0.0 ? reach * m_metric[0].q[1] / threshold : kInfinity;
}

/// All vectors of the core below the norm at which a subset could still pass, depth first; the list's
/// worst entry shrinks the bound once it is full.
void SubsetSearch::m_enumerateCore(const std::vector<double>& transfer) {
  const std::size_t core = m_lattice.m_size(), m = static_cast<std::size_t>(m_m);
  const std::vector<double>&residual = m_lattice.m_residuals(), &D = m_lattice.m_variances();
  Enumeration& root = m_list[0];
  root.complete = m_coreLimit();
  m_mean.assign(kList * m, 0.0);
  // Each entry of the list owns one of these slots; a vector that is pushed out passes its slot on.
  int used = 0;
  PartialVector found{};
  const auto store = [&](double norm) {
    int slot = used;
    if (root.count == kList) slot = root.v[kList - 1].origin;
    else ++used;
    if (root.count == kList && !(norm < root.v[kList - 1].q)) return;
    found.q = norm;
    found.origin = slot;
    for (std::size_t a = 0; a < m; ++a) {
      double sum = m_float[static_cast<std::size_t>(m_in.worst[a])];
      for (std::size_t j = 0; j < core; ++j) sum += transfer[j * m + a] * residual[j] / D[j];
      m_mean[static_cast<std::size_t>(slot) * m + a] = sum;
    }
    root.m_insert(found, true);
  };
  const bool complete = m_lattice.m_run(
      kMaxNodes, [&] { return root.complete; },
      [&](double norm) {
        store(norm);
        // A full list is complete up to its worst entry.
        if (root.count == kList) root.complete = std::min(root.complete, root.v[kList - 1].q);
      });
  if (complete) {
    root.m_settle();
    return;
  }
  root.count = 0;
  root.complete = root.least = 0.0;
}

/// Takes one more ambiguity on: every integer of it that leaves the norm below the limit.
void SubsetSearch::m_extend(const Enumeration& from, Enumeration& to, int position, double limit) {
  const auto m = static_cast<std::size_t>(m_m), place = static_cast<std::size_t>(position);
  const int taken = from.taken;
  double* row = m_factor[taken];
  double variance = m_spread[place * (m + 1)];
  // Cholesky row of this ambiguity behind those taken on before.
  for (int j = 0; j < taken; ++j) {
    double sum = m_spread[static_cast<std::size_t>(m_stayed[j]) * m + place];
    for (int i = 0; i < j; ++i) sum -= row[i] * m_factor[j][i];
    row[j] = sum / m_factor[j][j];
    variance -= row[j] * row[j];
  }
  to.count = 0;
  to.complete = std::min(from.complete, limit);
  to.taken = taken + 1;
  m_stayed[taken] = position;
  row[taken] = std::sqrt(variance);
  bool room = variance > 0.0;
  PartialVector next;
  for (int k = 0; room && k < from.count && from.v[k].q < to.complete; ++k) {
    const PartialVector& base = from.v[k];
    double mean = m_mean[static_cast<std::size_t>(base.origin) * m + place];
    for (int j = 0; j < taken; ++j) mean += row[j] * base.w[j];
    std::copy_n(base.w, taken, next.w);
    next.origin = base.origin;
    double residual = std::round(mean) - mean, step = residual <= 0.0 ? 1.0 : -1.0;
    while (room) {
      next.w[taken] = residual / row[taken];
      next.q = base.q + next.w[taken] * next.w[taken];
      if (!(next.q < to.complete)) break;
      room = to.m_insert(next, false);
      residual += step;
      step = s_nextStep(step);
    }
  }
  if (!room) {
    // Too imprecise to choose its integers here: the norm without it is still a bound.
    to.taken = taken;
    to.count = 0;
    for (int k = 0; k < from.count && from.v[k].q < to.complete; ++k) to.v[to.count++] = from.v[k];
  }
  to.m_settle();
  to.exact = to.exact && room && from.allTaken;
  to.allTaken = room && from.allTaken;
  to.least = std::max(to.least, from.least);
}

}  // namespace tarvio
