/// Integers of ambiguities on separate frequencies, in a world where they are known.

#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "Common/CMat.h"
#include "Core/Ambfix/SrifFilter_iar.h"
#include "support/exit_message.h"
#include "support/filter_world.h"

namespace {

using tarvio::kDegToRad;
using tarvio::kSys;
using tarvio::SrifAmbfix_raw;

constexpr int kGps = 0, kGalileo = 2;  ///< system indices
constexpr int kEwl = 0, kWl = 1, kN1 = 2;
constexpr int kSatellites = 13;

/// GPS and Galileo on three frequencies; all three levels search.
class AmbfixRaw : public gnx_test::FilterFixture {
 protected:
  AmbfixRaw() {
    frequencies('G', 3, {"L1", "L2", "L5"});
    frequencies('E', 3, {"L1", "L5", "L7"});
    for (int i = 0; i < kSatellites; ++i) m_setFrequencies(i);
    const char* tags[] = {"ewl", "wl", "n1"};
    const char* kinds[] = {"raw", "raw", "NL"};
    for (int layer = 0; layer < 3; ++layer) {
      tarvio::Upd_ambconfig& cfg = deploy().m_ambconfig[layer];
      cfg.m_tag = tags[layer];
      tarvio::s_copyText(cfg.m_ambType, kinds[layer]);
      tarvio::s_copyText(cfg.m_updType, "comb");
      cfg.m_resolution = true;
      cfg.m_cutoff = 0.1;
      cfg.m_minCommonLambda = 120.0;
      cfg.m_successRate = 2.0;
      for (const int isys : {kGps, kGalileo}) {
        cfg.ambfreq[isys][0] = layer == kEwl ? 1 : 0;
        cfg.ambfreq[isys][1] = layer == kEwl ? 2 : 1;
      }
    }
    // slots: GPS L1 L2 L5, so L2-L5; Galileo L1 L7 L5 by falling frequency, so L7-L5
    for (int layer = 0; layer < 3; ++layer) deploy().m_parseAMBWavelength(deploy().m_ambconfig[layer]);
    deploy().m_liar = true;
    world.noise = 0.2;
    m_buildResolving();
    std::fill_n(s0, kSys, -1);
  }

  void m_buildResolving() {
    m_build();
    filter = std::make_unique<tarvio::SrifFilter_iar>(filter->m_stations, 30.0);
    filter->m_set_prosys("GE");
    delete station().m_model;
    station().m_model = new gnx_test::WorldModel(filter.get(), &station(), &world);
  }

  tarvio::Upd_ambconfig& m_cfg(int layer) { return deploy().m_ambconfig[layer]; }
  std::map<std::string, double>& m_record(const char* tag) { return filter->m_fixmap["STAN"][tag]; }
  void m_inject(const char* tag, int isat, double value, double state) {
    m_record(tag)[deploy().m_cprn[isat]] = value;
    m_record(tag)[deploy().m_cprn[isat] + "_ifab"] = state;
  }
  double m_state(const char* tag, int isat) {
    const auto entry = m_record(tag).find(deploy().m_cprn[isat] + "_ifab");
    return entry == m_record(tag).end() ? 0.0 : entry->second;
  }
  double m_value(const char* tag, int isat) { return m_record(tag).at(deploy().m_cprn[isat]); }
  /// Epochs of 30 s; the last one stops behind the levels.
  void m_run(int epochs) {
    for (int k = 0; k < epochs - 1; ++k) m_epoch(30.0 * k);
    m_begin(30.0 * (epochs - 1));
    filter->v_onFilterEstimate();
  }
  void m_switch(bool ewl, bool wl, bool n1) {
    m_cfg(kEwl).m_resolution = ewl;
    m_cfg(kWl).m_resolution = wl;
    m_cfg(kN1).m_resolution = n1;
  }
  double m_elevation(int isat) const { return filter->m_stations[0].m_sat[isat].m_elev; }
  bool m_valid(const char* tag, int isat, bool flag, int layer) {
    return SrifAmbfix_raw::s_validamb_iar(tag, filter.get(), isat, 0, 1, flag, m_cfg(layer));
  }
  double m_positionError() const {
    double sum = 0.0;
    for (std::size_t i = 0; i < 3; ++i) sum += std::pow(filter->m_pamt[i].xest - world.position[i], 2);
    return std::sqrt(sum);
  }
  int m_fixed(const char* tag) {
    int count = 0;
    for (int i = 0; i < kSatellites; ++i) count += m_state(tag, i) > 1.0;
    return count;
  }

  int s0[kSys];
};

// ---- eligibility ----

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

TEST_F(AmbfixRaw, WideLaneGoesBelowTheCutoffWhereTheExtraWideLaneIsFixed) {
  m_run(6);
  const int isat = 3;
  double& elevation = filter->m_stations[0].m_sat[isat].m_elev;
  m_record("ewl").clear();
  m_record("wl").clear();
  for (int layer = 0; layer < 3; ++layer) m_cfg(layer).m_cutoff = 15.0 * kDegToRad;
  elevation = 12.0 * kDegToRad;
  EXPECT_FALSE(m_valid("wl", isat, false, kWl));
  m_inject("ewl", isat, 4.0, 2.0);
  EXPECT_TRUE(m_valid("wl", isat, false, kWl));
  EXPECT_FALSE(m_valid("ewl", isat, false, kEwl));
  m_inject("wl", isat, 4.0, 3.0);
  EXPECT_FALSE(m_valid("n1", isat, true, kN1));
  elevation = 10.0 * kDegToRad;
  EXPECT_FALSE(m_valid("wl", isat, false, kWl)) << "at exactly ten degrees";
  m_inject("ewl", isat, 4.0, 1.0);
  elevation = 12.0 * kDegToRad;
  EXPECT_FALSE(m_valid("wl", isat, false, kWl)) << "taken part is not fixed";
}

TEST_F(AmbfixRaw, AFixOfTheLevelBeforeReplacesTheLengthOfTheArc) {
  m_run(2);
  m_record("wl").clear();
  EXPECT_FALSE(m_valid("n1", 3, true, kN1)) << "no wide-lane, no narrow-lane";
  m_inject("wl", 3, 4.0, 3.0);
  EXPECT_TRUE(m_valid("n1", 3, true, kN1));
  m_cfg(kN1).m_fixIfUplayer = 0;
  EXPECT_FALSE(m_valid("n1", 3, true, kN1));
  m_cfg(kN1).m_minCommonLambda = 30.0;
  EXPECT_TRUE(m_valid("n1", 3, true, kN1));
}

TEST_F(AmbfixRaw, ReferenceIsPreferredAmongTheFixedOnesOverThirtyDegrees) {
  m_run(6);
  m_record("wl").clear();
  int highest = -1;
  for (int i = 0; i < 7; ++i)
    if (highest < 0 || m_elevation(i) > m_elevation(highest)) highest = i;
  SrifAmbfix_raw::s_raw_pickValid_s0("wl", m_cfg(kWl), nullptr, false, filter.get(), s0);
  m_record("ewl").clear();
  std::fill_n(s0, kSys, -1);
  SrifAmbfix_raw::s_raw_pickValid_s0("wl", m_cfg(kWl), nullptr, false, filter.get(), s0);
  EXPECT_EQ(s0[kGps], highest);

  const int others[] = {highest == 1 ? 0 : 1, highest == 4 ? 3 : 4, highest == 6 ? 5 : 6};
  for (const int i : others) {
    m_inject("ewl", i, 1.0, 2.0);
    filter->m_stations[0].m_sat[i].m_elev = 31.0 * kDegToRad;
  }
  filter->m_stations[0].m_sat[others[2]].m_elev = 30.0 * kDegToRad;
  std::fill_n(s0, kSys, -1);
  SrifAmbfix_raw::s_raw_pickValid_s0("wl", m_cfg(kWl), nullptr, false, filter.get(), s0);
  EXPECT_EQ(s0[kGps], others[1]) << "the last one over thirty degrees; thirty are not over";
  // A reference that still serves is kept, one below the cutoff is not.
  s0[kGps] = others[2];
  SrifAmbfix_raw::s_raw_pickValid_s0("wl", m_cfg(kWl), nullptr, false, filter.get(), s0);
  EXPECT_EQ(s0[kGps], others[2]);
  filter->m_stations[0].m_sat[others[2]].m_elev = 0.05;
  SrifAmbfix_raw::s_raw_pickValid_s0("wl", m_cfg(kWl), nullptr, false, filter.get(), s0);
  EXPECT_EQ(s0[kGps], others[1]);
}

TEST_F(AmbfixRaw, InclinedGeosynchronousBeidouIsNoReference) {
  m_run(6);
  deploy().m_setRow(0, "C38", "G01");
  std::set<int> chosen;
  for (int i = 1; i < 7; ++i) filter->m_stations[0].m_sat[i].m_elev = 0.0;
  filter->m_stations[0].m_sat[0].m_elev = 1.0;
  m_record("ewl").clear();
  SrifAmbfix_raw::s_raw_pickValid_s0("ewl", m_cfg(kEwl), nullptr, false, filter.get(), s0);
  EXPECT_EQ(s0[kGps], -1);
  EXPECT_NE(s0[kGalileo], -1);
}

// ---- covariance ----

TEST_F(AmbfixRaw, CovarianceFromTheTriangleOfTheAmbiguitiesIsTheBlockOfTheFullInverse) {
  m_switch(false, false, false);
  m_run(8);
  const auto n = static_cast<std::size_t>(filter->imtx), first = static_cast<std::size_t>(filter->npi);
  std::vector<double> normal(n * n), block;
  tarvio::CMat::CMat_Matmul("TN", filter->imtx, filter->imtx, filter->imtx, 1.0, filter->infs, filter->ldinfs,
                            filter->infs, filter->ldinfs, 0.0, normal.data(), filter->imtx);
  ASSERT_EQ(tarvio::CMat::CMat_Inverse(normal.data(), filter->imtx, filter->imtx), 0);
  const auto nc = static_cast<std::size_t>(SrifAmbfix_raw::s_ambCovariance(filter.get(), block));
  ASSERT_EQ(nc, n - first);
  ASSERT_EQ(static_cast<int>(nc), filter->nc);
  for (std::size_t j = 0; j < nc; ++j)
    for (std::size_t i = 0; i < nc; ++i) {
      const double full = normal[(first + j) * n + first + i];
      const double scale = std::sqrt(block[i * (nc + 1)] * block[j * (nc + 1)]);
      EXPECT_NEAR(block[j * nc + i], full, 1e-6 * scale);
    }
}

// ---- levels ----

TEST_F(AmbfixRaw, EachLevelFindsTheTrueIntegersAndTheStatusFollows) {
  const struct {
    bool ewl, wl, n1;
    int status;
    const char* tag;
  } cases[] = {{false, false, false, 2, nullptr},
               {true, false, false, 3, "ewl"},
               {true, true, false, 4, "wl"},
               {true, true, true, 5, "n1"}};
  m_switch(false, false, false);
  for (int k = 0; k < 40; ++k) m_epoch(30.0 * k);
  double last = 1.0e9, time = 1200.0;
  for (const auto& c : cases) {
    m_switch(c.ewl, c.wl, c.n1);
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
    last = m_positionError();
  }
  EXPECT_LT(last, 0.01);
}

TEST_F(AmbfixRaw, FirstFrequencyFormFixesTheSameIntegers) {
  tarvio::s_copyText(m_cfg(kN1).m_ambType, "raw");
  m_run(40);
  EXPECT_EQ(filter->m_solstat, 5);
  for (int i = 8; i < kSatellites; ++i)
    EXPECT_EQ(m_value("n1", i) - m_value("n1", 7), world.amb[i][0] - world.amb[7][0]);
}

TEST_F(AmbfixRaw, ConstraintsHoldInTheEstimatesAndTheTriangleComesBack) {
  for (int k = 0; k < 39; ++k) m_epoch(30.0 * k);
  m_begin(1170.0);
  deploy().m_liar = false;  // the float state of this epoch, as it is without levels
  const auto columns = static_cast<std::size_t>(filter->imtx + 1);
  const auto rows = static_cast<std::size_t>(filter->ldinfs);
  const std::vector<double> before(filter->infs, filter->infs + rows * columns);
  filter->v_onFilterEstimate();
  const std::vector<double> plain(filter->infs, filter->infs + rows * columns);
  std::copy(before.begin(), before.end(), filter->infs);
  deploy().m_liar = true;
  filter->v_onFilterEstimate();
  EXPECT_EQ(filter->m_solstat, 5);
  EXPECT_TRUE(std::equal(plain.begin(), plain.end(), filter->infs)) << "a fix has reached the float filter";

  const auto ionosphereFree = [&](int isat) {
    const auto nl = SrifAmbfix_raw::s_narrowLane(m_cfg(kN1), isat);
    return nl.a1 * filter->m_pm(0, isat, 0)->xest + nl.a2 * filter->m_pm(0, isat, 1)->xest;
  };
  const auto truth = [&](int isat) {
    const auto nl = SrifAmbfix_raw::s_narrowLane(m_cfg(kN1), isat);
    return nl.a1 * world.amb[isat][0] + nl.a2 * world.amb[isat][1];
  };
  for (int i = 1; i < 7; ++i) EXPECT_NEAR(ionosphereFree(i) - ionosphereFree(0), truth(i) - truth(0), 1e-3);
  double floatSum = 0.0, fixedSum = 0.0;
  for (int r = 0; r < filter->nobs; ++r) {
    floatSum += std::pow(filter->resi[r] * filter->obswgt[r], 2);
    fixedSum += std::pow(filter->resi_fix[r] * filter->obswgt[r], 2);
  }
  EXPECT_NE(fixedSum, floatSum);
  m_end();
}

TEST_F(AmbfixRaw, FloatFilterIsTheSameWithAndWithoutResolution) {
  std::vector<double> state[2];
  for (const bool resolve : {false, true}) {
    world.random.seed(99);
    for (int i = 0; i < kSatellites; ++i) m_drawArc(i);
    m_buildResolving();
    m_switch(resolve, resolve, resolve);
    for (int k = 0; k < 40; ++k) m_epoch(30.0 * k);
    EXPECT_EQ(filter->m_solstat, resolve ? 5 : 2);
    m_switch(false, false, false);
    m_begin(1200.0);
    filter->v_onFilterEstimate();
    for (const tarvio::SrifPamt& r : filter->m_pamt) state[resolve].push_back(r.xest);
    for (const tarvio::SrifPamt* r : filter->m_amblist) state[resolve].push_back(r->xest);
    m_end();
  }
  ASSERT_EQ(state[0].size(), state[1].size());
  for (std::size_t i = 0; i < state[0].size(); ++i) EXPECT_NEAR(state[0][i], state[1][i], 1e-6);
}

TEST_F(AmbfixRaw, ADisturbedAmbiguityStaysOpenAndTheOthersAreFixed) {
  world.amb[9][1] += 0.5;  // half a cycle, as a receiver without polarity gives it
  m_switch(false, true, false);
  m_run(40);
  EXPECT_EQ(filter->m_solstat, 4);
  EXPECT_EQ(m_state("wl", 9), 1.0);
  EXPECT_NEAR(std::fabs(m_value("wl", 9) - std::round(m_value("wl", 9))), 0.5, 0.2);
  EXPECT_GE(m_fixed("wl"), 11);
  EXPECT_EQ(filter->m_nfix, m_fixed("wl"));
}

TEST_F(AmbfixRaw, AFailedSearchEmptiesTheRecordAndLeavesTheEpochFloat) {
  m_run(40);
  ASSERT_EQ(filter->m_solstat, 5);
  m_end();
  for (int layer = 0; layer < 3; ++layer) m_cfg(layer).m_successRate = 1.0e9;
  m_begin(1200.0);
  filter->v_onFilterEstimate();
  EXPECT_EQ(filter->m_solstat, 2);
  EXPECT_EQ(filter->m_nfix, 0);
  for (const char* tag : {"ewl", "wl"}) {
    EXPECT_EQ(m_fixed(tag), 0);
    EXPECT_EQ(m_record(tag).count(deploy().m_cprn[3] + "_srch"), 1u);
  }
  // Without a wide-lane there is no candidate at the last level, and no reference either.
  EXPECT_TRUE(m_record("n1").empty());
  EXPECT_TRUE(filter->resi_fix != nullptr);
  m_end();
}

TEST_F(AmbfixRaw, ALevelThatDoesNotRunLeavesItsRecordToTheNext) {
  m_run(40);
  m_end();
  tarvio::s_copyText(m_cfg(kWl).m_ambType, "mw");
  m_begin(1200.0);
  filter->v_onFilterEstimate();
  EXPECT_EQ(filter->m_solstat, 5);
  EXPECT_EQ(m_fixed("wl"), kSatellites) << "the integers of the last search";
  EXPECT_EQ(m_fixed("n1"), kSatellites);
  m_end();
}

TEST_F(AmbfixRaw, ALoneSatelliteOfASystemBecomesReferenceAndNothingElse) {
  for (int i = 8; i < kSatellites; ++i) world.visible[i] = false;
  m_run(40);
  EXPECT_EQ(filter->m_nfix, 7);
  EXPECT_EQ(m_value("wl", 7), 0.0);
  EXPECT_EQ(m_state("wl", 7), 1.0);
}

// ---- products ----

TEST_F(AmbfixRaw, BiasesOfTheCombinationsMakeTheFloatsInteger) {
  // The satellites' phases carry biases; the record that takes them out has the opposite sign.
  tarvio::Upd_comb wl, n1;
  for (int i = 0; i < kSatellites; ++i) {
    const double b1 = 0.1 * ((i * 5) % 7) - 0.3, b2 = 0.07 * ((i * 3) % 11) - 0.35;  // cycles
    world.amb[i][0] += b1;
    world.amb[i][1] += b2;
    wl.m_value[i] = b1 - b2;
    const auto nl = SrifAmbfix_raw::s_narrowLane(m_cfg(kN1), i);
    n1.m_value[i] = (nl.a1 * b1 + nl.a2 * b2) / nl.lamNL;
  }
  wl.m_mjd = n1.m_mjd = 60000;
  controller().m_upd.v_inputComb("comb", "wl", wl);
  controller().m_upd.v_inputComb("comb", "n1", n1);
  m_switch(false, true, true);
  m_cfg(kWl).m_updSwitch = m_cfg(kN1).m_updSwitch = true;
  m_run(40);
  EXPECT_EQ(filter->m_solstat, 5);
  EXPECT_EQ(filter->m_nfix, kSatellites);
  const double right = m_positionError();
  EXPECT_LT(right, 0.01);
  m_end();

  for (double& value : wl.m_value)
    if (value != tarvio::kNone) value = -value;
  wl.m_sod = 1200.0;
  controller().m_upd.v_inputComb("comb", "wl", wl);
  m_begin(1200.0);
  filter->v_onFilterEstimate();
  EXPECT_LT(m_fixed("wl"), kSatellites) << "biases of the wrong sign must not fix everything";
  m_end();
}

TEST_F(AmbfixRaw, ASatelliteWithoutProductIsNoCandidate) {
  tarvio::Upd_comb wl;
  for (int i = 0; i < kSatellites; ++i)
    if (i != 4) wl.m_value[i] = 0.0;
  wl.m_mjd = 60000;
  controller().m_upd.v_inputComb("comb", "wl", wl);
  m_switch(false, true, false);
  m_cfg(kWl).m_updSwitch = true;
  m_run(40);
  EXPECT_EQ(filter->m_nfix, kSatellites - 1);
  EXPECT_EQ(m_record("wl").count(deploy().m_cprn[4]), 0u);
  m_end();
  tarvio::s_copyText(m_cfg(kWl).m_updType, "snx");  // a store of another kind
  m_begin(1200.0);
  filter->v_onFilterEstimate();
  EXPECT_EQ(filter->m_nfix, 0);
  EXPECT_EQ(filter->m_solstat, 2);
  m_end();
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
  EXPECT_EQ(m_value("wl", 3) - m_value("wl", 1),
            world.amb[3][0] - world.amb[3][1] - world.amb[1][0] + world.amb[1][1])
      << "the floats stay as they are";
}

// ---- room ----

TEST_F(AmbfixRaw, WideLaneConstraintsWithoutRoomEndTheProcessAndNarrowLanesAreLeftOpen) {
  m_switch(false, true, false);
  m_run(10);
  int ifix[tarvio::kMaxSat] = {}, flags[tarvio::kMaxSat] = {};
  s0[kGps] = 0;
  for (int i = 1; i < 7; ++i) {
    flags[i] = 1;
    m_inject("wl", i, 0.0, 3.0);
  }
  m_inject("wl", 0, 0.0, 3.0);
  const int rows = filter->ldinfs, status = filter->m_solstat;
  filter->ldinfs = filter->imtx + 6 + 1;  // six constraints, one row too few
  SrifAmbfix_raw::s_raw_coninfs_NL(filter.get(), nullptr, ifix, flags, s0);
  SrifAmbfix_raw::s_raw_coninfs_nl(filter.get(), nullptr, ifix, flags, s0);
  EXPECT_EQ(filter->m_solstat, status);
  EXPECT_EXIT_MESSAGE(
      SrifAmbfix_raw::s_raw_coninfs_wl("wl", m_cfg(kWl), filter.get(), nullptr, ifix, flags, s0),
      "\\[s_raw_coninfs_wl,[0-9]+\\]:exit by code");
  filter->ldinfs = rows;
}

}  // namespace
