/// An array that is too small for the sky: columns that are there stay, new ones wait, nothing ends.

#include <gtest/gtest.h>

#include "support/filter_world.h"

namespace {

using tarvio::kSlotIon;
using tarvio::SrifPamt;

struct FilterRoom : gnx_test::FilterFixture {
  /// A filter with so many columns, one of them for the right-hand side.
  void m_buildSmall(int columns) {
    m_build();
    filter->v_onFilterInit();
    ASSERT_LT(columns, filter->ntmx);
    filter->ntmx = columns;
  }
  int m_columns() const { return filter->np + filter->ni + filter->nc; }
  int m_arcs(int isat) const {
    return (filter->m_pm(0, isat, 0) != nullptr) + (filter->m_pm(0, isat, 1) != nullptr);
  }
  int m_rowsOf(int isat, int kind) const {
    int n = 0;
    for (int row = 0; row < filter->nobs; ++row)
      n += filter->m_origin(row).isat == isat && filter->m_origin(row).kind == kind;
    return n;
  }
  double m_error() const {
    double sum = 0.0;
    for (std::size_t i = 0; i < 3; ++i) sum += std::pow(filter->m_pamt[i].xest - world.position[i], 2);
    return std::sqrt(sum);
  }
  /// Every row has its columns, and no row stands on a dead arc.
  void m_checkEpoch() const {
    EXPECT_LT(filter->imtx, filter->ntmx);
    EXPECT_EQ(m_columns(), filter->imtx);
    EXPECT_EQ(filter->nobs + static_cast<int>(filter->m_waiting.size()), 4 * 13 - 4 * m_hidden());
    for (int isat = 0; isat < 13; ++isat) {
      EXPECT_EQ(m_rowsOf(isat, tarvio::kRowPhase), world.visible[isat] ? m_arcs(isat) : 0) << isat;
      if (world.visible[isat] && !filter->m_pm(0, isat, kSlotIon)) {
        EXPECT_EQ(m_rowsOf(isat, tarvio::kRowCode), 0) << isat;
      }
    }
  }
  int m_hidden() const { return static_cast<int>(std::count(world.visible, world.visible + 13, false)); }
};

TEST_F(FilterRoom, ArcsWaitAndComeInWhenOthersHaveEnded) {
  m_buildSmall(6 + 13 + 20 + 1);  // for 20 of 26 ambiguities
  double sod = 0.0;
  for (int k = 0; k < 10; ++k, sod += 30.0) {
    m_estimate(sod);
    EXPECT_EQ(filter->m_waiting.size(), 6U);
    EXPECT_EQ(filter->m_solstat, tarvio::kStateFloat);
    m_checkEpoch();
    m_end();
  }
  EXPECT_LT(m_error(), 0.5);
  EXPECT_EQ(m_arcs(9), 2);
  EXPECT_EQ(m_arcs(10), 0);
  EXPECT_NE(station().m_sat[10].m_ambflag[0], tarvio::kArcGoesOn) << "what waits stays asked for";

  world.visible[0] = world.visible[1] = false;  // six columns, given up after a quarter of an hour
  for (; sod < 1500.0; sod += 30.0) {
    m_estimate(sod);
    m_checkEpoch();
    m_end();
  }
  EXPECT_TRUE(filter->m_waiting.empty());
  EXPECT_EQ(m_arcs(10) + m_arcs(11) + m_arcs(12), 6);
  EXPECT_LT(m_error(), 0.1);
  const SrifPamt* late = filter->m_pm(0, 12, 1);
  EXPECT_NEAR(late->xest, world.amb[12][1], 3.0) << "the late arc is as good as any";
}

TEST_F(FilterRoom, WhenEverythingSlipsInAFullArrayTheOldArcsMakeRoom) {
  m_buildSmall(6 + 13 + 26 + 1);
  double sod = 0.0;
  for (; sod < 300.0; sod += 30.0) m_epoch(sod);
  std::vector<gnx_test::Slip> all;
  for (int isat = 0; isat < 13; ++isat)
    for (const int slot : {0, 1}) {
      all.push_back({isat, slot});
      world.amb[isat][slot] += 1000.0 + isat;
    }
  m_estimate(sod, all);
  EXPECT_EQ(filter->m_waiting.size(), 26U) << "no phase stands on an arc that has slipped";
  EXPECT_EQ(filter->nobs, 26) << "the codes stay";
  m_checkEpoch();
  m_end();
  m_estimate(sod + 30.0);
  EXPECT_TRUE(filter->m_waiting.empty());
  EXPECT_EQ(filter->nc, 26);
  m_end();
  EXPECT_LT(m_error(), 1.0);
}

TEST_F(FilterRoom, ASatelliteWithoutItsIonosphereStaysOutWhole) {
  m_buildSmall(6 + 10 + 1);  // ten ionospheres, no ambiguity
  m_estimate(0.0);
  EXPECT_EQ(filter->ni, 10);
  EXPECT_EQ(filter->nc, 0);
  EXPECT_EQ(filter->nobs, 20);
  m_checkEpoch();
  m_end();
  filter->ntmx = 6 + 13 + 26 + 1;
  m_estimate(30.0);
  EXPECT_EQ(filter->nobs, 52);
  m_checkEpoch();
}

}  // namespace
