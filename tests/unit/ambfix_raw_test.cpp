/// Integers of ambiguities on separate frequencies, in a world where they are known.

#include <gtest/gtest.h>

#include "Common/ComGeometry.h"
#include "Common/FormalSigmas.h"
#include "Core/Ambfix/LevelForm.h"
#include "Core/Ambfix/SrifFilter_iar.h"
#include "support/filter_world.h"

namespace {

using tarvio::SrifAmbfix_raw;

constexpr int kSatellites = 13;

/// GPS and Galileo on three frequencies; all three levels search.
struct AmbfixRaw : gnx_test::AmbiguityFixture {
  AmbfixRaw() {
    // The second pair is L2-L5 of GPS, L7-L5 of Galileo, whose slots are L1 L7 L5 by falling frequency.
    m_threeFrequencies('G', {"L1", "L2", "L5"});
    m_threeFrequencies('E', {"L1", "L5", "L7"});
    for (int layer = 0; layer < 3; ++layer) {
      tarvio::Upd_ambconfig& cfg = m_cfg(layer);
      tarvio::s_copyText(cfg.m_ambType, layer == kN1 ? "NL" : "raw");
      tarvio::s_copyText(cfg.m_updType, "comb");
      cfg.m_successRate = 2.0;
      deploy().m_parseAMBWavelength(cfg);
    }
    deploy().m_liar = true;
    world.noise = 0.2;
    m_build<tarvio::SrifFilter_iar>();
  }

  void m_switch(bool ewl, bool wl, bool n1) {
    m_cfg(kEwl).m_resolution = ewl;
    m_cfg(kWl).m_resolution = wl;
    m_cfg(kN1).m_resolution = n1;
  }
  bool m_valid(const char* tag, int isat, bool flag, int layer) {
    return SrifAmbfix_raw::s_validamb_iar(tag, filter.get(), isat, 0, 1, flag, m_cfg(layer));
  }
};

TEST_F(AmbfixRaw, ArcAsLongAsTheLimitPassesAndOneSecondLessDoesNot) {
  m_run(5);  // 120 s
  EXPECT_TRUE(m_valid("ewl", 3, false, kEwl));
  m_cfg(kEwl).m_minCommonLambda = 121.0;
  EXPECT_FALSE(m_valid("ewl", 3, false, kEwl));
  // Each arc is long enough, but they overlap for a minute only.
  m_cfg(kEwl).m_minCommonLambda = 90.0;
  tarvio::SrifPamt* first = filter->m_pm(0, 3, 0);
  first->ptime1 -= 30.0 / 86400.0;
  filter->m_pm(0, 3, 1)->ptime0 += 30.0 / 86400.0;
  EXPECT_FALSE(m_valid("ewl", 3, false, kEwl));
  m_cfg(kEwl).m_minCommonLambda = 60.0;
  EXPECT_TRUE(m_valid("ewl", 3, false, kEwl));
  filter->m_pm(0, 3, 1) = nullptr;
  EXPECT_FALSE(m_valid("ewl", 3, false, kEwl)) << "a slot without an ambiguity";
}

TEST_F(AmbfixRaw, InclinedGeosynchronousBeidouIsNoReference) {
  m_run(6);
  deploy().m_setRow(0, "C38", "G01");
  for (int i = 0; i < 7; ++i) station().m_sat[i].m_elev = i == 0 ? 1.0 : 0.0;
  m_record("ewl").clear();
  SrifAmbfix_raw::s_raw_pickValid_s0("ewl", m_cfg(kEwl), nullptr, false, filter.get(), s0);
  EXPECT_EQ(s0[kGps], -1);
  EXPECT_NE(s0[kGalileo], -1);
}

TEST_F(AmbfixRaw, CovarianceFromTheTriangleOfTheAmbiguitiesIsTheBlockOfTheFullInverse) {
  m_switch(false, false, false);
  m_run(8);
  const gnx_test::DenseLsq full = m_dense();
  std::vector<double> block;
  const int nc = SrifAmbfix_raw::s_ambCovariance(filter.get(), block), first = filter->npi;
  ASSERT_EQ(nc, filter->imtx - first);
  const auto element = [&](int i, int j) { return block[static_cast<std::size_t>(j * nc + i)]; };
  for (int j = 0; j < nc; ++j)
    for (int i = 0; i < nc; ++i)
      EXPECT_NEAR(element(i, j), full.m_covariance(first + i, first + j),
                  1e-6 * std::sqrt(element(i, i) * element(j, j)));
}

TEST_F(AmbfixRaw, EachLevelFindsTheTrueIntegersAndTheStatusFollows) {
  const struct {
    int status;
    const char *tag, *lastForm;
  } cases[] = {{2, nullptr, "NL"}, {3, "ewl", "NL"}, {4, "wl", "NL"}, {5, "n1", "NL"}, {5, "n1", "raw"}};
  m_switch(false, false, false);
  for (int k = 0; k < 40; ++k) m_epoch(30.0 * k);
  double time = 1200.0;
  for (const auto& c : cases) {
    m_switch(c.status > 2, c.status > 3, c.status > 4);
    tarvio::s_copyText(m_cfg(kN1).m_ambType, c.lastForm);
    m_record("n1").clear();
    m_epoch(time);
    time += 30.0;
    EXPECT_EQ(filter->m_solstat, c.status);
    EXPECT_EQ(filter->m_nfix, c.tag ? kSatellites : 0) << "candidates and references";
    if (!c.tag) continue;
    for (int i = 0; i < kSatellites; ++i) {
      const int first = i < 7 ? 0 : 7;  // difference against the first of the system takes the reference out
      const auto integer = [&](int sat) {
        if (c.status == 5) return world.amb[sat][0];
        return c.status == 3 ? world.amb[sat][1] - world.amb[sat][2] : world.amb[sat][0] - world.amb[sat][1];
      };
      EXPECT_EQ(m_value(c.tag, i) - m_value(c.tag, first), integer(i) - integer(first))
          << c.tag << " row " << i;
      EXPECT_EQ(m_state(c.tag, i), c.status == 5 ? 5.0 : c.status - 1.0);
    }
  }
  double estimate[3];
  for (std::size_t i = 0; i < 3; ++i) estimate[i] = filter->m_pamt[i].xest;
  EXPECT_LT(tarvio::distance(estimate, world.position), 0.01);
}

TEST_F(AmbfixRaw, FixesBesideTheTriangleAreThoseFoldedIntoIt) {
  m_switch(false, false, false);
  m_run(40);
  const auto size = static_cast<std::size_t>(filter->imtx + 1) * static_cast<std::size_t>(filter->ldinfs);
  const std::vector<double> floats(filter->infs, filter->infs + size);
  struct Outcome {
    std::vector<double> Q, x, sigma;
    double position[9];
  };
  std::vector<Outcome> outcomes[2];
  for (const bool beside : {false, true}) {
    std::copy(floats.begin(), floats.end(), filter->infs);
    filter->m_solve_update();
    std::vector<double> Q;
    const int nc = SrifAmbfix_raw::s_ambCovariance(filter.get(), Q);
    if (beside) filter->m_fixed.m_begin(*filter, Q, nc, true);
    std::fill_n(s0, tarvio::kSys, -1);
    for (int level = 0; level < 3; ++level) {
      if (level < 2) SrifAmbfix_raw::s_raw_resolve_wl(level == 0 ? "ewl" : "wl", filter.get(), nullptr, s0);
      else SrifAmbfix_raw::s_raw_resolve_NL(filter.get(), nullptr, s0);
      ASSERT_EQ(filter->m_solstat, 3 + level);
      Outcome& outcome = outcomes[beside].emplace_back();
      if (!beside) SrifAmbfix_raw::s_ambCovariance(filter.get(), outcome.Q);
      outcome.sigma.resize(static_cast<std::size_t>(filter->npi));
      if (beside) filter->m_fixed.m_formalSigmas(outcome.sigma.data());
      else
        tarvio::s_formalSigmas(filter->infs, filter->iptx, filter->imtx, filter->npi, outcome.sigma.data());
      for (int j = 0; beside && j < nc; ++j) {
        const double* row = filter->m_fixed.m_covariance() + j * filter->m_fixed.m_lead();
        outcome.Q.insert(outcome.Q.end(), row, row + nc);
      }
      for (const tarvio::SrifPamt* record : m_records()) outcome.x.push_back(record->dx);
      ASSERT_TRUE(filter->m_positionCovariance(0, outcome.position));
    }
    filter->m_fixed.m_end();
    if (beside) {
      EXPECT_TRUE(std::equal(floats.begin(), floats.end(), filter->infs));
    }
  }
  for (std::size_t level = 0; level < 3; ++level) {
    const Outcome &folded = outcomes[0][level], &kept = outcomes[1][level];
    for (std::size_t i = 0; i < folded.x.size(); ++i) EXPECT_NEAR(kept.x[i], folded.x[i], 1.0e-8) << i;
    for (std::size_t i = 0; i < folded.Q.size(); ++i) EXPECT_NEAR(kept.Q[i], folded.Q[i], 1.0e-8) << i;
    for (std::size_t i = 0; i < folded.sigma.size(); ++i)
      EXPECT_NEAR(kept.sigma[i], folded.sigma[i], 1.0e-3 * folded.sigma[i]) << i;
    for (std::size_t i = 0; i < 9; ++i)
      EXPECT_NEAR(kept.position[i], folded.position[i], 1.0e-6 * folded.position[0]) << i;
  }
}

TEST_F(AmbfixRaw, ConstraintsHoldTheTriangleComesBackAndAFailedSearchEmptiesTheRecord) {
  for (int k = 0; k < 39; ++k) m_epoch(30.0 * k);
  m_begin(1170.0);
  deploy().m_liar = false;  // the float state of this epoch, as it is without levels
  const auto size = static_cast<std::size_t>(filter->imtx + 1) * static_cast<std::size_t>(filter->ldinfs);
  const std::vector<double> before(filter->infs, filter->infs + size);
  filter->v_onFilterEstimate();
  const std::vector<double> plain(filter->infs, filter->infs + size);
  std::copy(before.begin(), before.end(), filter->infs);
  deploy().m_liar = true;
  filter->v_onFilterEstimate();
  EXPECT_EQ(filter->m_solstat, 5);
  EXPECT_TRUE(std::equal(plain.begin(), plain.end(), filter->infs)) << "a fix has reached the float filter";
  const auto ionosphereFree = [&](int isat, double n1, double n2) {
    const auto nl = tarvio::s_narrowLane(m_cfg(kN1), isat);
    return nl.a1 * n1 + nl.a2 * n2;
  };
  const auto error = [&](int i) {
    return ionosphereFree(i, filter->m_pm(0, i, 0)->xest, filter->m_pm(0, i, 1)->xest) -
           ionosphereFree(i, world.amb[i][0], world.amb[i][1]);
  };
  for (int i = 1; i < 7; ++i) EXPECT_NEAR(error(i), error(0), 1e-3);

  m_end();
  for (int layer = 0; layer < 3; ++layer) m_cfg(layer).m_successRate = 1.0e9;
  m_estimate(1200.0);
  EXPECT_EQ(filter->m_solstat, 2);
  EXPECT_EQ(filter->m_nfix, 0);
  for (const char* tag : {"ewl", "wl"})
    for (int i = 0; i < kSatellites; ++i) EXPECT_LE(m_record(tag)[deploy().m_cprn[i] + "_ifab"], 1.0) << i;
  // Without a wide-lane there is no candidate at the last level, and no reference either.
  EXPECT_TRUE(m_record("n1").empty());
}

TEST_F(AmbfixRaw, ALoneSatelliteOfASystemBecomesReferenceAndNothingElse) {
  for (int i = 8; i < kSatellites; ++i) world.visible[i] = false;
  m_run(40);
  EXPECT_EQ(filter->m_nfix, 7);
  EXPECT_EQ(m_value("wl", 7), 0.0);
  EXPECT_EQ(m_state("wl", 7), 1.0);
}

TEST_F(AmbfixRaw, BiasesBySignalOnlyChooseTheSatellites) {
  tarvio::Upd_bias bias;
  for (int i = 0; i < kSatellites; ++i)
    for (int f = 0; f < 3; ++f)
      if (i != 10) bias.m_value[i][f] = 0.123 * i;
  bias.m_mjd = 60000;
  controller().m_upd.v_inputBias(bias);
  deploy().m_losb = true;
  m_switch(false, true, false);
  m_run(40);
  EXPECT_EQ(filter->m_nfix, kSatellites - 1);
  EXPECT_EQ(m_value("wl", 3) - m_value("wl", 1), m_wide(3, 1)) << "the floats stay as they are";
}

}  // namespace
