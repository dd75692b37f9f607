/// Columns of the filter that come and go: what is left must be the marginal of what was there.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "Common/CMat.h"
#include "support/dense_lsq.h"
#include "support/exit_message.h"
#include "support/filter_world.h"

namespace {

using gnx_test::DenseLsq;
using tarvio::SrifPamt;

class FilterAmbt : public gnx_test::FilterFixture {
 protected:
  DenseLsq m_dense() const {
    DenseLsq dense;
    const int n = filter->imtx;
    for (int c = 0; c < n; ++c) dense.m_unknown();
    for (int r = 0; r < n; ++r) {
      DenseLsq::Terms terms;
      for (int c = 0; c < n; ++c) terms.emplace_back(c, m_r(r, c));
      dense.m_row(terms, m_r(r, n), 1.0);
    }
    dense.m_solve();
    return dense;
  }

  std::vector<SrifPamt*> m_records() {
    std::vector<SrifPamt*> all;
    for (SrifPamt& r : filter->m_pamt) all.push_back(&r);
    all.insert(all.end(), filter->m_ionlist.begin(), filter->m_ionlist.end());
    all.insert(all.end(), filter->m_amblist.begin(), filter->m_amblist.end());
    return all;
  }
  std::vector<std::string> m_names() {
    std::vector<std::string> names;
    for (const SrifPamt* r : m_records()) names.emplace_back(r->pname);
    return names;
  }
  void m_expectNumbered() {
    int column = 0;
    for (const SrifPamt* r : m_records()) EXPECT_EQ(r->ipar, column++) << r->pname;
    EXPECT_EQ(column, filter->imtx);
    EXPECT_EQ(filter->npi, filter->np + filter->ni);
    EXPECT_EQ(filter->imtx, filter->npi + filter->nc);
  }

  /// State and covariance by name, before and after.
  static void s_expectSame(const DenseLsq& before, const std::vector<std::string>& namesBefore,
                           const DenseLsq& after, const std::vector<std::string>& namesAfter) {
    const auto place = [](const std::vector<std::string>& names, const std::string& name) {
      const auto it = std::find(names.begin(), names.end(), name);
      return it == names.end() ? -1 : static_cast<int>(it - names.begin());
    };
    for (const std::string& a : namesAfter) {
      const int ia = place(namesBefore, a), ja = place(namesAfter, a);
      if (ia < 0) continue;
      EXPECT_NEAR(after.m_value(ja), before.m_value(ia), 1.0e-9) << a;
      for (const std::string& b : namesAfter) {
        const int ib = place(namesBefore, b), jb = place(namesAfter, b);
        if (ib < 0) continue;
        const double scale = std::sqrt(before.m_covariance(ia, ia) * before.m_covariance(ib, ib));
        EXPECT_NEAR(after.m_covariance(ja, jb), before.m_covariance(ia, ib), 1.0e-9 * scale) << a << ' ' << b;
      }
    }
  }
};

TEST_F(FilterAmbt, DeletionMarginalises) {
  m_build();
  for (int i = 0; i < 4; ++i) m_epoch(30.0 * i);
  std::vector<SrifPamt*> records;
  std::vector<int> columns, flags(static_cast<std::size_t>(filter->imtx), 0);
  for (SrifPamt* r : m_records())
    for (const char* name :
         {"ION_000_G03", "ION_000_E06", "AMB_000_G01_L1", "AMB_000_G05_L2", "AMB_000_E06_L5"})
      if (std::strcmp(r->pname, name) == 0) {
        records.push_back(r);
        columns.push_back(r->ipar);
        flags[static_cast<std::size_t>(r->ipar)] = 1;
      }
  ASSERT_EQ(records.size(), 5U);
  const DenseLsq before = m_dense();
  const auto names = m_names();

  filter->m_delpm(records, columns, flags, 5);
  tarvio::CMat::CMat_Householder(filter->infs, filter->ldinfs, filter->imtx, filter->imtx, filter->imtx + 1,
                                 false);
  m_expectNumbered();
  EXPECT_EQ(filter->ni, 11);
  EXPECT_EQ(filter->nc, 23);
  EXPECT_EQ(filter->m_ambdel.size(), 3U) << "copies of the deleted ambiguities";
  s_expectSame(before, names, m_dense(), m_names());
}

TEST_F(FilterAmbt, InsertionLeavesTheOthersAlone) {
  m_build();
  world.visible[2] = world.visible[12] = false;
  for (int i = 0; i < 4; ++i) m_epoch(30.0 * i);
  const DenseLsq before = m_dense();
  const auto names = m_names();
  world.visible[2] = world.visible[12] = true;
  // The insertion alone: no time update, no rows.
  filter->v_onObsUpdate();
  filter->v_onAddAmbt();
  m_expectNumbered();
  EXPECT_EQ(filter->ni, 13);
  EXPECT_EQ(filter->nc, 26);
  const DenseLsq after = m_dense();
  s_expectSame(before, names, after, m_names());
  const SrifPamt* ion = filter->m_pm(0, 2, tarvio::kSlotIon);
  const SrifPamt* amb = filter->m_pm(0, 12, 1);
  EXPECT_NEAR(after.m_covariance(ion->ipar, ion->ipar), 9.0, 1e-9);
  EXPECT_NEAR(after.m_covariance(amb->ipar, amb->ipar), 1.0e8, 1e-3);
}

TEST_F(FilterAmbt, NewArcStartsAtPhaseMinusCode) {
  m_build();
  m_begin(0.0);
  for (const auto& row : world.rows) {
    const SrifPamt* amb = filter->m_pm(0, row.sat, row.slot);
    ASSERT_NE(amb, nullptr);
    if (row.kind != 2) continue;
    const auto code = std::find_if(world.rows.begin(), world.rows.end(), [&](const auto& other) {
      return other.sat == row.sat && other.slot == row.slot && other.kind == 1;
    });
    EXPECT_NEAR(amb->xini, (row.xx - code->xx) / row.lam, 1e-9);
  }
  filter->v_onFilterEstimate();
  m_end();
}

TEST_F(FilterAmbt, SlipReplacesTheArcWithinTheEpoch) {
  m_build();
  for (int i = 0; i < 3; ++i) m_epoch(30.0 * i);
  const SrifPamt* old = filter->m_pm(0, 4, 1);
  m_begin(90.0, {{4, 1}});
  EXPECT_EQ(filter->nc, 27);
  EXPECT_EQ(filter->m_pm(0, 4, 1)->iflag, 4);
  filter->v_onFilterEstimate();
  EXPECT_NE(filter->m_pm(0, 4, 1), old);
  EXPECT_EQ(station().m_sat[4].m_newamb[1], 1);
  m_end();
  EXPECT_EQ(filter->nc, 26);
  EXPECT_EQ(station().m_sat[4].m_ambflag[1], 0);
  m_expectNumbered();
}

TEST_F(FilterAmbt, SlipInAnEpochWithoutRowsIsNotLost) {
  m_build();
  for (int i = 0; i < 3; ++i) m_epoch(30.0 * i);
  const SrifPamt* old = filter->m_pm(0, 4, 1);
  const std::vector<bool> seen(world.visible, world.visible + 13);
  std::fill(std::begin(world.visible), std::end(world.visible), false);
  m_begin(90.0, {{4, 1}});
  filter->v_onFilterEstimate();
  m_end();
  std::copy(seen.begin(), seen.end(), world.visible);
  m_begin(120.0);
  EXPECT_NE(filter->m_pm(0, 4, 1), old);
  filter->v_onFilterEstimate();
  m_end();
}

TEST_F(FilterAmbt, InterruptedArcLivesForFifteenMinutes) {
  m_build();
  m_epoch(0.0);
  world.visible[3] = false;
  m_epoch(900.0);  // exactly at the limit: stays
  EXPECT_NE(filter->m_pm(0, 3, 0), nullptr);
  EXPECT_NE(filter->m_pm(0, 3, tarvio::kSlotIon), nullptr);
  m_epoch(901.0);
  EXPECT_EQ(filter->m_pm(0, 3, 0), nullptr);
  EXPECT_EQ(filter->m_pm(0, 3, tarvio::kSlotIon), nullptr);
  EXPECT_EQ(station().m_sat[3].m_ambflag[0], 1);
  EXPECT_EQ(filter->nc, 24);
  EXPECT_EQ(filter->ni, 12);
  m_expectNumbered();
}

TEST_F(FilterAmbt, FullArrayEndsTheProcessWithItsSize) {
  m_build();
  world.visible[0] = false;
  m_epoch(0.0);
  filter->ntmx = filter->imtx + 3;  // one column for the right-hand side, two ambiguities, no ionosphere
  world.visible[0] = true;
  EXPECT_EXIT_MESSAGE(m_begin(30.0), "imtx is bigger than ntmx");
}

TEST_F(FilterAmbt, SlotWithoutARecordStartsOneEvenWhenNoFlagAsks) {
  m_build();
  m_epoch(0.0);
  filter->m_pm(0, 6, 0) = nullptr;  // as after an arc that nothing has flagged
  m_epoch(30.0);
  ASSERT_NE(filter->m_pm(0, 6, 0), nullptr);
  EXPECT_EQ(filter->m_pm(0, 6, 0)->iflag, 1);
  m_expectNumbered();
}

}  // namespace
