/// Outlier adaptation: the array that it grows must be the one that an explicit extra column per
/// treated row would have given from the beginning.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/dense_lsq.h"
#include "support/exit_message.h"
#include "support/filter_world.h"

namespace {

using gnx_test::DenseLsq;
using tarvio::SrifPamt;

class FilterDia : public gnx_test::FilterFixture {
 protected:
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

  /// The epoch's triangle and rows before the estimate.
  struct Snapshot {
    int n, rows;
    std::vector<double> array;  ///< by columns, right-hand side last
  };
  Snapshot m_snapshot() const {
    Snapshot shot{filter->imtx, filter->nobs, {}};
    for (int c = 0; c <= shot.n; ++c)
      shot.array.insert(shot.array.end(), filter->infs + filter->iptx[c],
                        filter->infs + filter->iptx[c] + shot.n + shot.rows);
    return shot;
  }

  /// Rows that got a column of their own, from the unweighted design matrix.
  std::vector<int> m_treatedRows(int before) const {
    std::vector<int> rows;
    for (int c = before; c < filter->imtx; ++c)
      for (int r = 0; r < filter->nobs; ++r)
        if (filter->Hk[filter->iphk[c] + r] != 0.0) rows.push_back(r);
    return rows;
  }

  /// The filter's solution and covariance against the dense system with explicit columns.
  void m_estimateAndCompare() {
    const Snapshot shot = m_snapshot();
    filter->v_onFilterEstimate();
    treated = m_treatedRows(shot.n);
    DenseLsq dense;
    const int total = shot.n + static_cast<int>(treated.size());
    for (int c = 0; c < total; ++c) dense.m_unknown();
    for (int r = 0; r < shot.n + shot.rows; ++r) {
      DenseLsq::Terms terms;
      const auto element = [&](int c) {
        return shot.array[static_cast<std::size_t>(c * (shot.n + shot.rows) + r)];
      };
      for (int c = 0; c < shot.n; ++c)
        if (element(c) != 0.0) terms.emplace_back(c, element(c));
      for (std::size_t k = 0; k < treated.size(); ++k)
        if (r == shot.n + treated[k]) {
          const int row = treated[k];
          const double lam = filter->Hk[filter->iphk[shot.n + static_cast<int>(k)] + row];
          terms.emplace_back(shot.n + static_cast<int>(k), lam * filter->obswgt[row]);
        }
      dense.m_row(terms, element(shot.n), 1.0);
    }
    for (int c = shot.n; c < total; ++c) dense.m_row({{c, 1.0}}, 0.0, filter->m_ambinf0);
    dense.m_solve();

    ASSERT_EQ(filter->imtx, total);
    const std::vector<SrifPamt*> records = m_records();
    const auto covariance = m_covariance();
    for (int c = 0; c < total; ++c) {
      const auto k = static_cast<std::size_t>(c);
      EXPECT_NEAR(records[k]->dx, dense.m_value(c), 1.0e-9) << "column " << c;
      EXPECT_NEAR(covariance[k][k] / dense.m_covariance(c, c), 1.0, 1.0e-8) << "column " << c;
    }
    for (int c = 0; c <= filter->imtx; ++c)
      for (int r = c + (c < filter->imtx); r <= filter->imtx + filter->nobs; ++r)
        ASSERT_EQ(m_r(r, c), 0.0) << "left below the triangle: " << r << ' ' << c;
  }

  int m_rowOf(int isat, int slot, int kind) const {
    for (int r = 0; r < filter->nobs; ++r)
      if (filter->obsrec[5 * r] == isat && filter->obsrec[5 * r + 2] == slot &&
          filter->obsrec[5 * r + 1] == kind)
        return r;
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
  for (const SrifPamt* r : filter->m_amblist) {
    EXPECT_EQ(r->pold, nullptr);
    EXPECT_EQ(r->iold, -1);
  }
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

TEST_F(FilterDia, UnknownModeNamesItself) {
  m_mode("search", 3.0, 3.0);
  m_build();
  m_begin(0.0);
  EXPECT_EXIT_MESSAGE(filter->v_onFilterEstimate(), "diamode = search,unknown dia mode");
}

}  // namespace
