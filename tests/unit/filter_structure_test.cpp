/// The steps of the filter by structure against their plain forms: the same triangle, right-hand side and
/// misfit from the same start, over many random problems.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "Core/Filter/MeasurementSweep.h"
#include "support/filter_world.h"
#include "support/plain_sweep.h"

namespace {

using gnx_test::Array;
using gnx_test::arrayOf;
using gnx_test::expectSameTriangle;
using gnx_test::norm;
using tarvio::MeasurementSweep;
using tarvio::SrifPamt;

constexpr double kRelative = 1.0e-9;

/// GNX_TEST_SCALE=10: ten times as many problems, for an hour that has the time.
unsigned timesAsMany() {
  const char* scale = std::getenv("GNX_TEST_SCALE");
  return scale != nullptr ? static_cast<unsigned>(std::max(1, std::atoi(scale))) : 1U;
}

/// A sky with its triangle and the rows of an epoch.
struct RandomEpoch {
  explicit RandomEpoch(unsigned seed) : random(seed) {
    np = m_pick(0, 11);
    satellites = m_pick(0, 24);
    slots = m_pick(1, 4);
    const bool ionosphere = m_pick(0, 3) > 0;
    // Columns in the order of the filter: ionosphere, then ambiguities as their arcs began.
    std::vector<std::pair<int, int>> arcs;
    for (int s = 0; s < satellites; ++s)
      for (int f = 0; f < slots; ++f)
        for (int k = m_pick(0, 12) == 0 ? 2 : 1; k > 0; --k) arcs.emplace_back(s, f);
    std::shuffle(arcs.begin(), arcs.end(), random);
    n = np + (ionosphere ? satellites : 0);
    std::vector<int> column(static_cast<std::size_t>(satellites * slots));
    for (const auto& [s, f] : arcs) column[static_cast<std::size_t>(s * slots + f)] = n++;
    nobs = 0;
    for (int s = 0; s < satellites; ++s) {
      if (m_pick(0, 8) == 0) continue;  // has set
      for (int f = 0; f < slots; ++f) {
        const int arc = column[static_cast<std::size_t>(s * slots + f)];
        if (m_pick(0, 10) > 0) m_row(ionosphere ? np + s : -1, arc, 300.0);
        if (m_pick(0, 10) > 0) m_row(ionosphere ? np + s : -1, -1, 3.0);
      }
    }
    for (int k = m_pick(0, 2); k > 0; --k) m_row(-1, -1, 1.0);
    m_prior();
  }

  Array whole() const {
    Array a(n + nobs, n + 1);
    for (int c = 0; c <= n; ++c) {
      for (int r = 0; r < n; ++r) a.at(r, c) = prior.at(r, c);
      for (int r = 0; r < nobs; ++r)
        a.at(n + r, c) = rows[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)];
    }
    return a;
  }

  int np, satellites, slots, n = 0, nobs = 0;
  Array prior{0, 0};
  std::mt19937 random;

 private:
  int m_pick(int from, int to) { return std::uniform_int_distribution<int>(from, to - 1)(random); }
  double m_gauss() { return std::normal_distribution<double>()(random); }
  void m_row(int ionosphere, int ambiguity, double weight) {
    std::map<int, double> row;
    for (int p = 0; p < np; ++p)
      if (m_pick(0, 3) > 0) row[p] = weight * m_gauss();
    if (ionosphere >= 0) row[ionosphere] = weight * (1.0 + 0.6 * (nobs % 3));
    if (ambiguity >= 0) row[ambiguity] = 0.2 * weight;
    sparse.push_back(row);
    right.push_back(weight * m_gauss());
    ++nobs;
  }
  /// Some columns are well known, some new.
  void m_prior() {
    prior = Array(n, n + 1);
    for (int c = 0; c < n; ++c) {
      const bool fresh = c >= np && m_pick(0, 5) == 0;
      for (int r = 0; r < c; ++r) prior.at(r, c) = fresh ? 0.0 : 10.0 * m_gauss();
      prior.at(c, c) = fresh ? 1.0e-4 : std::exp(3.0 * m_gauss());
      prior.at(c, n) = fresh ? 0.0 : m_gauss();
    }
    for (int r = 0; r < nobs; ++r) {
      std::vector<double>& row = rows.emplace_back(static_cast<std::size_t>(n + 1));
      for (const auto& [c, value] : sparse[static_cast<std::size_t>(r)])
        row[static_cast<std::size_t>(c)] = value;
      row.back() = right[static_cast<std::size_t>(r)];
    }
  }

  std::vector<std::map<int, double>> sparse;
  std::vector<double> right;
  std::vector<std::vector<double>> rows;
};

/// The first rows.
Array s_top(const Array& a, int rows) {
  Array top(rows, a.columns);
  for (int c = 0; c < a.columns; ++c)
    for (int r = 0; r < rows; ++r) top.at(r, c) = a.at(r, c);
  return top;
}

TEST(MeasurementSweep, GivesThePlainTriangleAndMisfitAndLeavesTheRows) {
  MeasurementSweep sweep;  // one for all: what it keeps between epochs must not show
  for (unsigned seed = 0; seed < 3000 * timesAsMany(); ++seed) {
    SCOPED_TRACE(seed);
    const RandomEpoch epoch(seed);
    if (epoch.nobs == 0) continue;
    const int n = epoch.n;
    const Array before = epoch.whole();
    Array got = before, want = before;
    std::vector<double> misfit(static_cast<std::size_t>(epoch.nobs));
    ASSERT_TRUE(sweep.m_run(got.data.data(), got.rows, epoch.np, n, epoch.nobs, misfit.data()));
    want.triangularise();
    expectSameTriangle(s_top(got, n), s_top(want, n), kRelative, norm(before, n));
    double left = 0.0;
    for (const double value : misfit) left = std::hypot(left, value);
    EXPECT_NEAR(left, std::fabs(want.at(n, n)), kRelative * norm(before, n));
    for (int c = 0; c <= n; ++c)
      for (int r = n; r < before.rows; ++r) ASSERT_EQ(got.at(r, c), before.at(r, c));
    if (HasFailure()) return;
  }
}

TEST(MeasurementSweep, RefusesRowsThatHangTogether) {
  Array a(60, 31);
  for (int c = 0; c < 30; ++c) a.at(c, c) = a.at(30 + c, c) = a.at(30 + c, (c + 1) % 30) = 1.0;
  const Array before = a;
  double misfit[30];
  EXPECT_FALSE(MeasurementSweep().m_run(a.data.data(), 60, 0, 30, 30, misfit));
  EXPECT_EQ(a.data, before.data);
}

/// Holds each of its steps against the plain form.
struct WatchedFilter : tarvio::SrifFilter {
  using SrifFilter::SrifFilter;

  void v_onTimeUpdate() override {
    m_solve_update();
    const Array before = arrayOf(*this);
    std::vector<SrifPamt> records = m_pamt;
    for (const SrifPamt* r : m_ionlist) records.push_back(*r);
    SrifFilter::v_onTimeUpdate();
    SCOPED_TRACE("time update");
    expectSameTriangle(arrayOf(*this), gnx_test::plainTimeUpdate(*this, before, records), kRelative,
                       norm(before, imtx));
  }
  void v_onFilterEstimate() override {
    if (nobs < 1) return;
    Array want = arrayOf(*this, nobs);
    const int n = imtx;
    const double right = norm(want, n);
    SrifFilter::v_onFilterEstimate();
    SCOPED_TRACE("measurement update");
    want.triangularise();
    expectSameTriangle(arrayOf(*this), s_top(want, n), kRelative, right);
    for (int c = 0; c <= n; ++c)
      for (int r = n; r < n + nobs; ++r) ASSERT_EQ(infs[iptx[c] + r], 0.0);
  }
  void v_onDelAmbt() override {
    const Array before = arrayOf(*this);
    std::vector<const SrifPamt*> records(static_cast<std::size_t>(np));
    records.insert(records.end(), m_ionlist.begin(), m_ionlist.end());
    records.insert(records.end(), m_amblist.begin(), m_amblist.end());
    SrifFilter::v_onDelAmbt();
    std::vector<int> gone;
    for (int c = np; c < before.rows; ++c) {
      const SrifPamt* record = records[static_cast<std::size_t>(c)];
      if (!std::ranges::count(m_ionlist, record) && !std::ranges::count(m_amblist, record)) gone.push_back(c);
    }
    SCOPED_TRACE("deletion");
    deleted += static_cast<int>(gone.size());
    expectSameTriangle(arrayOf(*this), gnx_test::plainDeletion(before, gone), kRelative,
                       norm(before, before.rows));
  }

  int deleted = 0;
};

struct FilterStructure : gnx_test::FilterFixture {};

TEST_F(FilterStructure, EveryStepOfChangingSkiesIsThePlainOne) {
  std::mt19937 random(11);
  const auto chance = [&](int oneOf) { return random() % static_cast<unsigned>(oneOf) == 0; };
  int deleted = 0;
  for (unsigned run = 0; run < 120 * timesAsMany() && !HasFailure(); ++run) {
    SCOPED_TRACE(run);
    deploy().m_ionWalk = {run % 2 == 0, 30.0, 0.03};
    std::snprintf(deploy().m_ztdmodel, sizeof deploy().m_ztdmodel, "%s", run % 3 == 0 ? "ZTD:90.0" : "ZTD");
    m_build<WatchedFilter>(run % 4 == 1 ? 'S' : 'K');
    double sod = 0.0;
    for (int epoch = 0; epoch < 12; ++epoch) {
      std::vector<gnx_test::Slip> slips;
      for (int i = 0; i < deploy().m_nsat; ++i) {
        if (chance(12)) world.visible[i] = !world.visible[i];
        if (chance(20)) slips.push_back({i, static_cast<int>(random() % 2)});
        std::ranges::fill(world.fault[i], 0.0);
        if (chance(15)) world.fault[i][random() % 2] = 0.5;
      }
      m_epoch(sod, slips);
      sod += chance(8) ? 1200.0 : 30.0;
    }
    deleted += static_cast<WatchedFilter&>(*filter).deleted;
  }
  EXPECT_GT(deleted, 500);
}

}  // namespace
