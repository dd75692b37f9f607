/// Integers of ionosphere-free ambiguities, in a world where they are known.

#include <gmock/gmock.h>

#include "Core/Ambfix/SrifAmbfix_if.h"
#include "Core/Ambfix/SrifAmbfix_raw.h"
#include "support/filter_world.h"

namespace {

using namespace tarvio;

/// Two carriers of GPS and Galileo each; the wide-lane integers are put into the record by hand.
struct AmbfixIf : gnx_test::AmbiguityFixture {
  AmbfixIf() {
    s_copyText(deploy().m_obscomb, "IF");
    s_copyText(deploy().m_ionmodel, "NONE");
    world.noise = 0.05;
    for (int layer = 0; layer < 3; ++layer) m_cfg(layer).m_successRate = 2.5;
    m_parse();
  }
  void m_parse() {
    for (const int layer : {kWl, kN1}) deploy().m_parseAMBWavelength(m_cfg(layer));
  }

  /// Epochs with known wide-lanes.
  void m_start(int epochs) {
    m_build();
    for (int i = 0; i < 13; ++i) m_inject("wl", i, world.amb[i][0] - world.amb[i][1], 3.0);
    m_run(epochs);
  }
  static int m_ref(int isat) { return isat < 7 ? 5 : 11; }  ///< the highest of its system
  double m_n1(int isat) const { return world.amb[isat][0] - world.amb[m_ref(isat)][0]; }
  double m_difference(int isat, int slot) {
    return filter->m_pm(0, isat, slot)->xest - filter->m_pm(0, m_ref(isat), slot)->xest;
  }
  /// All of a level are in the record, the references too.
  void m_expectNarrowLanes() {
    for (int i = 0; i < 13; ++i) {
      EXPECT_EQ(m_value("n1", i), m_n1(i)) << i;
      EXPECT_EQ(m_state("n1", i), 5.0) << i;
    }
  }
  /// Candidates of the narrow-lane at the references as they stand.
  std::vector<int> m_candidates() {
    std::vector<double> Qamb;
    const int nc = SrifAmbfix_raw::s_ambCovariance(filter.get(), Qamb);
    int nlist = 0;
    SrifAmbfix_if::s_if_form_nl_vari(nullptr, filter.get(), Qamb.data(), nc, s0, Q, x, idx, &nlist);
    return idx;
  }
  void m_pick(const char* prosys = "GE") {
    SrifAmbfix_if::s_if_pickValid_s0(prosys, "n1", m_cfg(kN1), nullptr, true, filter.get(), s0);
  }

  std::vector<double> Q, x;
  std::vector<int> idx;
};

TEST_F(AmbfixIf, NarrowLanesAreFixedToTheTruth) {
  m_start(20);
  SrifAmbfix_if::s_if_resolve_n1("GE", filter.get(), nullptr, s0);
  EXPECT_THAT(s0, testing::ElementsAre(5, -1, 11, -1, -1, -1, -1)) << "the highest of each system";
  EXPECT_EQ(filter->m_solstat, 5);
  EXPECT_GT(filter->m_ratio, 2.5);
  EXPECT_EQ(filter->m_nfix, 13) << "with the references";
  m_expectNarrowLanes();
  for (int i = 0; i < 13; ++i) {
    // c/(f1+f2) (N1 + Nw f2/(f1-f2)), from a N1 lam1 - b N2 lam2
    const double* f = satellite(i).m_freq;
    const double a = f[0] * f[0] / (f[0] * f[0] - f[1] * f[1]), n2 = world.amb[i][1] - world.amb[m_ref(i)][1];
    const double metres = a * m_n1(i) * kLight / f[0] - (a - 1.0) * n2 * kLight / f[1];
    EXPECT_NEAR(m_difference(i, 0), metres, 5.0e-4) << i;
  }
  for (int c = 0; c < 3; ++c)
    EXPECT_NEAR(filter->m_pamt[static_cast<std::size_t>(c)].xest, world.position[c], 0.005);
}

TEST_F(AmbfixIf, CandidatesAgainstTheFullInverse) {
  m_cfg(kN1).m_minCommonLambda = 30.0;
  m_start(6);
  m_pick();
  ASSERT_EQ(m_candidates().size(), 11u);
  const gnx_test::DenseLsq triangle = m_dense();
  const auto covariance = [&](int a, int b) {
    return triangle.m_covariance(filter->m_pm(0, a, 0)->ipar, filter->m_pm(0, b, 0)->ipar);
  };
  for (std::size_t k = 0; k < idx.size(); ++k)
    for (std::size_t l = 0; l < idx.size(); ++l) {
      const int i = idx[k], j = idx[l], ri = m_ref(i), rj = m_ref(j);
      const double metres2 = covariance(i, j) - covariance(i, rj) - covariance(ri, j) + covariance(ri, rj);
      const double *fi = satellite(i).m_freq, *fj = satellite(j).m_freq;
      const double expected = metres2 * (fi[0] + fi[1]) * (fj[0] + fj[1]) / (kLight * kLight);
      const double scale = std::sqrt(Q[k * 11 + k] * Q[l * 11 + l]);
      EXPECT_NEAR(Q[l * 11 + k], expected, 1e-5 * scale) << i << " " << j;
    }
}

TEST_F(AmbfixIf, ReferencesStayWhileTheyServeAndALevelWithoutRoomStaysOpen) {
  m_start(8);
  s0[kGps] = 1;
  m_pick("G");
  EXPECT_EQ(s0[kGps], 1) << "not the highest, but it was chosen before";
  EXPECT_EQ(s0[kGalileo], -1) << "not asked for";
  m_record("wl").erase("G02");
  m_record("wl").erase("G06");
  m_pick();
  EXPECT_EQ(s0[kGps], 3) << "the highest of those with a wide-lane";
  EXPECT_EQ(s0[kGalileo], 11);

  const int status = filter->m_solstat;
  filter->ldinfs = filter->imtx + 3;  // two constraints, one row too few
  int ifix[kMaxSat] = {}, flags[kMaxSat] = {1, 0, 1};
  EXPECT_FALSE(SrifAmbfix_if::s_if_coninfs_n1("n1", filter.get(), nullptr, ifix, flags, s0));
  EXPECT_EQ(filter->m_solstat, status);
}

TEST_F(AmbfixIf, CorrectionsOfTheSatellitesComeOffAndAreRequired) {
  Upd_comb product;
  for (int i = 0; i < 13; ++i) {
    product.m_value[i] = 0.4 * std::sin(3.0 * i);
    for (int f = 0; f < 2; ++f) world.amb[i][f] += product.m_value[i];  // the wide-lane stays an integer
  }
  product.m_value[2] = kNone;
  m_start(20);
  SrifAmbfix_if::s_if_resolve_n1("GE", filter.get(), &product, s0);
  EXPECT_EQ(m_record("n1").count("G03"), 0u);
  EXPECT_EQ(filter->m_nfix, 12);
  for (const int i : {0, 1, 6}) {
    const double shift = product.m_value[i] - product.m_value[5];
    EXPECT_EQ(m_value("n1", i), std::round(m_n1(i) - shift)) << i;
    const double cycles = m_n1(i) + m_wide(i, 5) / (m_cfg(kN1).wlratio[0] - 1.0);
    EXPECT_NEAR(m_difference(i, 0), m_cfg(kN1).lamNL[i] * cycles, 5.0e-4) << i;
  }
}

/// Three carriers: the wide-lane is a state of its own.
struct AmbfixAfif : AmbfixIf {
  AmbfixAfif() {
    s_copyText(deploy().m_obscomb, "AFIF");
    m_threeFrequencies('G', {"L1", "L2", "L5"});
    m_threeFrequencies('E', {"L1", "L7", "L5"});
    m_parse();
    world.noise = 0.02;
    m_build();
    for (int i = 0; i < 13; ++i) m_inject("ewl", i, world.amb[i][1] - world.amb[i][2], 2.0);
  }
};

TEST_F(AmbfixAfif, WideLanesThenNarrowLanes) {
  m_run(30);
  SrifAmbfix_if::s_if_resolve_wl("GE", filter.get(), nullptr, s0);
  EXPECT_EQ(filter->m_solstat, 4);
  EXPECT_EQ(filter->m_nfix, 13);
  EXPECT_GT(filter->m_ratio_wl, 2.5);
  SrifAmbfix_if::s_if_resolve_n1("GE", filter.get(), nullptr, s0);
  EXPECT_EQ(filter->m_solstat, 5);
  m_expectNarrowLanes();
  for (int i = 0; i < 13; ++i) {
    const double wide = m_wide(i, m_ref(i));
    EXPECT_EQ(m_value("wl", i), wide) << i;
    EXPECT_EQ(m_state("wl", i), 3.0);
    EXPECT_NEAR(m_difference(i, 1), wide, 1.0e-3) << i;
  }
}

TEST_F(AmbfixIf, SmoothedWideLanesBecomeConstraintsOnSeparateFrequencies) {
  s_copyText(deploy().m_obscomb, "RAW");
  s_copyText(deploy().m_ionmodel, "STO");
  m_build();
  m_run(4);
  for (int i = 0; i < 7; ++i) m_inject("wl_mw", i, world.amb[i][0] - world.amb[i][1], i == 4 ? 1.0 : 3.0);
  m_inject("wl_mw", 8, 12.0, 3.0);
  m_inject("wl", 4, 1.0, 3.0);  // of an earlier epoch
  SrifAmbfix_raw::s_raw_resolve_from_mw("wl", filter.get(), nullptr, s0);
  EXPECT_EQ(s0[kGps], 5);
  EXPECT_EQ(s0[kGalileo], 8) << "alone: its own reference, without a constraint";
  EXPECT_EQ(filter->m_nfix, 7);
  EXPECT_EQ(filter->m_solstat, 4);
  EXPECT_EQ(m_record("wl").count("G05"), 0u);
  EXPECT_EQ(m_value("wl", 5), 0.0);
  EXPECT_EQ(m_state("wl", 5), 3.0);
  for (const int i : {0, 1, 2, 3, 6}) {
    const double wide = m_wide(i, 5);
    EXPECT_EQ(m_value("wl", i), wide);
    EXPECT_NEAR(m_difference(i, 0) - m_difference(i, 1), wide, 1.0e-3);
  }
  filter->ldinfs = filter->imtx + 5 + 1;  // five constraints, one row too few
  SrifAmbfix_raw::s_raw_resolve_from_mw("wl", filter.get(), nullptr, s0);
  EXPECT_EQ(filter->m_nfix, 0);
  EXPECT_TRUE(m_record("wl").empty()) << "fixed, but not in the solution";
}

}  // namespace
