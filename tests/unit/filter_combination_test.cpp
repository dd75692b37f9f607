/// Rows of the combinations, their weights, and the periods before them: reset by time, useless epochs,
/// slips, more satellites, rows and columns than the storage holds.

#include <gtest/gtest.h>

#include <cstring>

#include "Common/ComTime.h"
#include "support/filter_world.h"

namespace {

using tarvio::Ssat_t;

struct FilterCombination : gnx_test::FilterFixture {
  void m_combination(const char* text, const char* used = "PHASE CODE") {
    tarvio::s_copyText(deploy().m_obscomb, text);
    tarvio::s_copyText(deploy().m_obsused, used);
    if (std::strstr(text, "IF")) tarvio::s_copyText(deploy().m_ionmodel, "ION_NONE");
    m_build();
  }
  void m_form() {
    m_receive(0.0);
    filter->v_formcomb_obs();
  }
  struct Row {
    double value, wgt;
  };
  Row m_row(int isat, int slot, int kind) {
    for (int r = 0; r < station().m_nobs; ++r) {
      const int* index = station().m_idxList + 4 * r;
      if (index[0] == isat && index[1] == slot && index[2] == kind)
        return {station().m_omcList[r], station().m_wgtList[r]};
    }
    ADD_FAILURE() << "no row " << isat << ' ' << slot << ' ' << kind;
    return {};
  }
};

TEST_F(FilterCombination, IonosphereFreeRowsRemoveTheFirstOrderAndCarryTheNoise) {
  m_combination("IF");
  world.noise = 0.0;
  for (auto& amb : world.amb) amb[0] = amb[1] = 0.0;
  m_form();
  EXPECT_EQ(station().m_nobs, 26);
  std::ranges::fill(world.ion, 0.0);  // the same without ionosphere
  tarvio::Station still = station();
  world.m_fill(still);
  for (const int isat : {1, 9})
    for (const int kind : {2, 1}) {
      const auto row = m_row(isat, 0, kind);
      EXPECT_NEAR(row.value, still.m_sat[isat].m_xx[kind == 2 ? 0 : 4], 1e-9);
      // a and b of the pair: a - b = 1, amplification sqrt(a^2 + b^2)
      const double* f = satellite(isat).m_freq;
      const double a = f[0] * f[0] / (f[0] * f[0] - f[1] * f[1]), b = a - 1.0;
      EXPECT_NEAR(row.wgt, station().m_sat[isat].m_wgt[kind == 2 ? 0 : 4] / std::hypot(a, b), 1e-9 * row.wgt);
    }
}

TEST_F(FilterCombination, RowsOfOneFrequencyAndTheirMeanWithTheCode) {
  m_combination("SF", "GRAPHIC CODE");
  m_form();
  EXPECT_EQ(station().m_nobs, 26);
  const Ssat_t& half = station().m_sat[3];
  EXPECT_NEAR(m_row(3, 0, 2).value, 0.5 * (half.m_xx[0] + half.m_xx[4]), 1e-12);
  const double variance = 0.25 * (1.0 / std::pow(half.m_wgt[0], 2) + 1.0 / std::pow(half.m_wgt[4], 2));
  EXPECT_NEAR(m_row(3, 0, 2).wgt, 1.0 / std::sqrt(variance), 1e-9);
  EXPECT_NEAR(m_row(3, 0, 1).wgt, half.m_wgt[4] / 100.0, 1e-12);
}

TEST_F(FilterCombination, PeriodicResetCountsDataTime) {
  tarvio::s_copyText(deploy().m_ambmode, "INST:60");
  m_build();
  m_epoch(0.0);
  m_epoch(30.0);
  EXPECT_EQ(filter->treset, tarvio::mjd2time(60000, 0.0));
  EXPECT_LT(filter->m_pm(0, 0, 0)->ptime0, 60000 + 1.0 / 86400.0);
  m_epoch(75.0);
  EXPECT_EQ(filter->treset, tarvio::mjd2time(60000, 75.0));
  EXPECT_NEAR(filter->m_pm(0, 0, 0)->ptime0, 60000 + 75.0 / 86400.0, 1e-9);
}

TEST_F(FilterCombination, PeriodicResetAtFractionsOfASecond) {
  tarvio::s_copyText(deploy().m_ambmode, "INST:0.5");
  m_build();
  for (int k = 0; k <= 8; ++k) {
    m_epoch(0.2 * k);
    const double begin = (filter->m_pm(0, 0, 0)->ptime0 - 60000.0) * 86400.0;
    EXPECT_NEAR(begin, k < 3 ? 0.0 : k < 6 ? 0.6 : 1.2, 1e-5) << "epoch " << k;
  }
}

TEST_F(FilterCombination, FewerThanFiveSatellitesInEverySystemIsNoEpoch) {
  m_build();
  for (int isat = 0; isat < 13; ++isat) world.visible[isat] = isat < 4 || isat >= 9;
  m_epoch(0.0);
  EXPECT_EQ(filter->m_solstat, 0);
  EXPECT_EQ(station().m_sat[0].m_flag[0], tarvio::kFlagEpoch);
  EXPECT_EQ(station().m_sat[7].m_flag[0], 0);
  world.visible[4] = true;
  m_epoch(30.0);
  EXPECT_EQ(filter->m_solstat, 2);
}

TEST_F(FilterCombination, SatellitesBeyondTheStorageGoFromTheHorizonUpAndRowsFromTheEnd) {
  m_build();
  m_epoch(0.0);
  filter->m_maxSatEpoch = 10;
  m_begin(30.0);
  EXPECT_EQ(filter->nobs, 40);
  double lowestUsed = 2.0, highestDropped = 0.0;
  for (int isat = 0; isat < 13; ++isat) {
    const Ssat_t& sat = station().m_sat[isat];
    if (sat.m_xx[0] != 0.0) lowestUsed = std::min(lowestUsed, sat.m_elev);
    else highestDropped = std::max(highestDropped, sat.m_elev);
  }
  EXPECT_GT(lowestUsed, highestDropped);
  filter->v_onFilterEstimate();
  m_end();
  filter->nhk = 35;
  m_estimate(60.0);
  EXPECT_EQ(filter->nobs, 35);
  EXPECT_EQ(filter->m_solstat, 2);
}

TEST_F(FilterCombination, SlipInAnEpochWithoutRowsIsNotLost) {
  m_build();
  for (int i = 0; i < 3; ++i) m_epoch(30.0 * i);
  const tarvio::SrifPamt* old = filter->m_pm(0, 4, 1);
  std::ranges::fill(world.visible, false);
  m_epoch(90.0, {{4, 1}});
  std::fill_n(world.visible, 13, true);
  m_begin(120.0);
  EXPECT_NE(filter->m_pm(0, 4, 1), old);
}

}  // namespace
