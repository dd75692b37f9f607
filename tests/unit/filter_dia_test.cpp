/// Outlier adaptation: the array that it grows must be the one that an explicit extra column per
/// treated row would have given from the beginning.

#include <gtest/gtest.h>

#include "support/filter_world.h"

namespace {

using gnx_test::DenseLsq;
using tarvio::SrifPamt;

struct FilterDia : gnx_test::FilterFixture {
  FilterDia() { deploy().m_ldia = true; }

  void m_mode(const char* type, double limit1, double limit2) {
    tarvio::s_copyText(deploy().m_diaType, type);
    deploy().m_diaBatchLimit[0] = limit1;
    deploy().m_diaBatchLimit[1] = limit2;
  }

  /// Clean epochs, so that the arcs are well known.
  void m_settle(int epochs = 6) {
    m_build();
    for (int i = 0; i < epochs; ++i) m_epoch(30.0 * i);
    next = 30.0 * epochs;
  }

  /// The filter's solution and covariance against the dense system with explicit columns.
  void m_estimateAndCompare() {
    const int n = filter->imtx, rows = n + filter->nobs;
    std::vector<double> before;  // triangle and rows, by columns, right-hand side last
    for (int c = 0; c <= n; ++c)
      before.insert(before.end(), filter->infs + filter->iptx[c], filter->infs + filter->iptx[c] + rows);
    filter->v_onFilterEstimate();
    const int total = filter->imtx;
    // Rows that got a column of their own, from the unweighted design matrix.
    const auto ownColumn = [&](int c, int row) { return filter->Hk[filter->iphk[c] + row]; };
    treated.clear();
    for (int c = n; c < total; ++c)
      for (int row = 0; row < filter->nobs; ++row)
        if (ownColumn(c, row) != 0.0) treated.push_back(row);
    ASSERT_EQ(static_cast<int>(treated.size()), total - n);

    DenseLsq dense;
    for (int c = 0; c < total; ++c) dense.m_unknown();
    for (int r = 0; r < rows; ++r) {
      DenseLsq::Terms terms;
      const auto element = [&](int c) { return before[static_cast<std::size_t>(c * rows + r)]; };
      for (int c = 0; c < n; ++c) terms.emplace_back(c, element(c));
      for (int c = n; r >= n && c < total; ++c)
        terms.emplace_back(c, ownColumn(c, r - n) * filter->obswgt[r - n]);
      dense.m_row(terms, element(n), 1.0);
    }
    for (int c = n; c < total; ++c) dense.m_row({{c, 1.0}}, 0.0, filter->m_ambinf0);
    dense.m_solve();
    const std::vector<SrifPamt*> records = m_records();
    const DenseLsq triangle = m_dense();
    for (int c = 0; c < total; ++c) {
      EXPECT_NEAR(records[static_cast<std::size_t>(c)]->dx, dense.m_value(c), 1.0e-9) << "column " << c;
      EXPECT_NEAR(triangle.m_covariance(c, c) / dense.m_covariance(c, c), 1.0, 1.0e-8) << "column " << c;
    }
    for (int c = 0; c <= filter->imtx; ++c)
      for (int r = c + (c < filter->imtx); r <= filter->imtx + filter->nobs; ++r)
        ASSERT_EQ(m_r(r, c), 0.0) << "left below the triangle: " << r << ' ' << c;
  }

  int m_rowOf(int isat, int slot, int kind) const {
    for (int r = 0; r < filter->nobs; ++r) {
      const int* row = &filter->obsrec[5 * r];
      if (row[0] == isat && row[1] == kind && row[2] == slot) return r;
    }
    return -1;
  }

  std::vector<int> treated;
  double next = 0.0;
};

TEST_F(FilterDia, BatchLoopTreatsCodeRowsFromTheSecondPassOn) {
  m_mode("batch", 4.0, 1.6);
  m_settle();
  world.fault[5][0] = 3.0;   // phase, first pass
  world.fault[5][4] = 40.0;  // code of the same slot, later pass
  world.fault[10][5] = -60.0;
  m_begin(next);
  m_estimateAndCompare();
  ASSERT_GE(treated.size(), 3U);
  EXPECT_EQ(treated[0], m_rowOf(5, 0, 2));
  EXPECT_NE(std::find(treated.begin(), treated.end(), m_rowOf(5, 0, 1)), treated.end());
  EXPECT_NE(std::find(treated.begin(), treated.end(), m_rowOf(10, 1, 1)), treated.end());
  for (const SrifPamt* r : filter->m_amblist) EXPECT_TRUE(r->pold == nullptr && r->iold == -1) << r->pname;
  // A slot that was treated twice stands on the whole chain of what it replaces.
  const SrifPamt* twice = filter->m_pm(0, 5, 0);
  EXPECT_NEAR(twice->xini, world.amb[5][0] + world.fault[5][0] / twice->lam, 2.0);
  m_end();
  for (int c = 0; c < filter->nc; ++c) EXPECT_LT(filter->npi + c, filter->imtx);
}

TEST_F(FilterDia, RandomFaultsInEitherMode) {
  for (int run = 0; run < 12; ++run) {
    m_mode(run % 2 ? "batch" : "rescheck", run % 2 ? 3.0 : 0.02, 1.5);
    m_settle(2 + run % 3);
    filter->m_ndia = 1 + run % 3;
    for (int i = 0; i < 5; ++i)
      world.fault[world.random() % 13][world.random() % 2 + (world.random() % 2 ? 4 : 0)] =
          8.0 * world.m_gauss();
    m_begin(next);
    m_estimateAndCompare();
    m_end();
    for (auto& fault : world.fault) std::ranges::fill(fault, 0.0);
    m_epoch(next + 30.0);
    for (const SrifPamt& record : filter->m_pamt) ASSERT_TRUE(std::isfinite(record.xest)) << record.pname;
  }
}

TEST_F(FilterDia, SmallJumpIsHeldAndTheArcGoesOn) {
  m_mode("rescheck", 0.002, 100.0);
  deploy().m_diaReset = true;
  world.noise = 0.01;
  m_settle(10);
  world.fault[4][0] = 0.012;  // 0.06 cycles
  m_begin(next);
  const auto arcs = [&] {
    std::vector<SrifPamt*> all;
    for (int i = 0; i < 26; ++i) all.push_back(filter->m_pm(0, i / 2, i % 2));
    return all;
  };
  const auto before = arcs();
  const double xini = filter->m_pm(0, 4, 0)->xini;
  m_estimateAndCompare();
  ASSERT_FALSE(treated.empty());
  const auto held = std::count_if(filter->m_amblist.begin(), filter->m_amblist.end(),
                                  [](const SrifPamt* r) { return r->iflag == 7; });
  EXPECT_EQ(static_cast<std::size_t>(held), treated.size());
  EXPECT_TRUE(filter->m_ambreset.empty());
  EXPECT_EQ(arcs(), before);
  EXPECT_NE(filter->m_pm(0, 4, 0)->xini, xini) << "the old arc takes the jump";
  m_end();
  EXPECT_EQ(filter->nc, 26);
}

TEST_F(FilterDia, FullArrayEndsTheLoopNotTheProcess) {
  m_mode("rescheck", 0.0, 0.0);  // never satisfied: every phase row wants a column
  m_settle(2);
  filter->ntmx = filter->imtx + 10;
  m_estimate(next);
  EXPECT_EQ(filter->imtx, filter->ntmx - 3);
  m_end();
  EXPECT_EQ(filter->nc, 26);
}

}  // namespace
