/// Triple frequency: the third-frequency bias on the observations, and the holder of extra-wide-lane
/// integers.

#include <gmock/gmock.h>

#include "Common/ComTime.h"
#include "support/filter_world.h"

namespace {

using tarvio::kLight;
using tarvio::t_ifpb;

class FilterIfpb : public gnx_test::AmbiguityFixture {
 protected:
  FilterIfpb() {
    m_threeFrequencies('G', {"L1", "L2", "L5"});
    tarvio::s_copyText(deploy().m_ifpbcor, "IFPB_COR");
    m_build();
    filter->mjd = 60000;
    filter->sod = 1000.0;
  }
  void m_feed(const char* cprn, int issue, double value, double age) {
    t_ifpb record;
    record.m_valid = true;
    record.m_iod = issue;
    record.m_value = value;
    record.m_t0 = tarvio::mjd2time(60000, filter->sod) - static_cast<long>(age);
    controller().m_ifpb.m_inputIfpb(cprn, record);
  }
};

TEST_F(FilterIfpb, BiasOfTheLastMinutesCorrectsTheThirdPhaseWhichGoesWithoutOne) {
  for (const int isat : {0, 1, 7}) {
    std::fill_n(station().m_sat[isat].m_obs, 3, 1.0e8);
    std::fill_n(station().m_sat[isat].m_obs + 4, 3, 2.2e7);
  }
  m_feed("G01", 3, 0.02, 299.0);
  m_feed("G02", 0, 0.02, 301.0);
  filter->m_corrifpb();
  const double lam1 = kLight / 1.57542e9, lam5 = kLight / 1.17645e9;
  EXPECT_NEAR(station().m_sat[0].m_obs[2] - 1.0e8, (lam5 * lam5 / (lam1 * lam1) - 1.0) * 0.02 / lam5, 1e-6);
  EXPECT_EQ(station().m_sat[0].m_obs[1], 1.0e8);
  EXPECT_EQ(station().m_sat[0].m_ifpbreset, 1) << "issue 0 to 3";
  EXPECT_EQ(station().m_sat[7].m_obs[2], 1.0e8) << "GPS only";
  EXPECT_THAT(station().m_sat[1].m_obs, testing::ElementsAre(1.0e8, 1.0e8, 0, 0, 2.2e7, 2.2e7, 0, 0))
      << "two frequencies go on";
  EXPECT_EQ(station().m_sat[1].m_flag[2], 3);
}

TEST_F(FilterIfpb, NewIssueRestartsTheThirdAmbiguity) {
  m_epoch(0.0);
  const auto* first = filter->m_pm(0, 0, 1);
  const auto* third = filter->m_pm(0, 0, 2);
  ASSERT_NE(third, nullptr);
  station().m_sat[0].m_ifpbreset = 1;
  m_epoch(30.0);
  EXPECT_EQ(filter->m_pm(0, 0, 1), first);
  EXPECT_NE(filter->m_pm(0, 0, 2), third);
  EXPECT_EQ(station().m_sat[0].m_ifpbreset, 0);
}

class EwlHolder : public FilterIfpb {
 protected:
  EwlHolder() {
    tarvio::s_copyText(deploy().m_obscomb, "AFIF");
    m_build();
    for (int isat = 0; isat < 7; ++isat) {
      station().m_sat[isat].m_elev = 0.3 + 0.1 * isat;
      std::fill(std::begin(station().m_sat[isat].m_slip), std::end(station().m_sat[isat].m_slip), 0);
    }
  }
  void m_fix(std::initializer_list<std::pair<int, double>> values) {
    m_record("ewl").clear();
    for (const auto& [isat, value] : values) m_inject("ewl", isat, value, 2.0);
  }
};

TEST_F(EwlHolder, DatumSurvivesAChangeOfTheReferenceSatellite) {
  m_fix({{0, 2.0}, {1, -5.0}, {2, 7.6}});
  filter->m_ewl_amb_holder();
  EXPECT_EQ(filter->m_ewlint[2], 7) << "cut, not rounded";
  EXPECT_EQ(filter->m_ewlint[0], 1) << "7 + round(2 - 7.6)";
  EXPECT_EQ(filter->m_ewlint[1], -6);

  // The same integers against another reference, one satellite more.
  m_fix({{0, 0.0}, {2, 6.0}, {4, 10.0}});
  filter->m_ewl_amb_holder();
  EXPECT_EQ(filter->m_ewlint[4], 11);
  EXPECT_EQ(filter->m_ewlint[1], -6) << "held without being fixed";
  EXPECT_EQ(station().m_sat[4].m_ambstate, 0);
}

TEST_F(EwlHolder, HeldIntegersMakeTheWideLaneRow) {
  world.noise = 0.0;
  m_epoch(0.0);
  m_fix({{2, 9.0}, {3, 9.0}});
  m_estimate(30.0);
  const auto* record = filter->m_pm(0, 2, 1);
  ASSERT_NE(record, nullptr);
  EXPECT_STREQ(record->pname, "AMB_000_G03_WL_L1_L2");
  const auto& c = filter->m_afifccf.at('G');
  EXPECT_NEAR(record->lam, kLight * c[0] / 1.57542e9, 1e-12);
  // With N2 - N3 held the three-frequency row is geometry plus one ambiguity: c1 l1 (N1 - N2).
  const double expected =
      c[0] * kLight / 1.57542e9 * world.amb[2][0] + c[1] * kLight / 1.2276e9 * world.amb[2][1] +
      c[2] * kLight / 1.17645e9 * world.amb[2][2] + kLight / 1.17645e9 * c[2] * filter->m_ewlint[2];
  EXPECT_NEAR(record->xest * record->lam, expected, 3.0);
}

}  // namespace
