// Checks of observations: consistency of codes, robust rejection, fractions on the cycle.

#include "Core/Qc/Qc.h"

#include <gmock/gmock.h>

#include <cmath>

#include "Records/Station.h"
#include "support/table_fixture.h"

namespace {

using namespace tarvio;

TEST(SignRobust, KeepsTheNeighbourhoodOfTheMedian) {
  const struct {
    const char* name;
    std::vector<double> values;
    std::vector<int> flags;
    double limit, factor;
    std::vector<int> expected;
  } cases[] = {
      {"odd, one outlier", {0.0, 0.1, -0.1, 0.2, 9.0}, {0, 0, 0, 0, 0}, 1000.0, 3.0, {0, 0, 0, 0, 3}},
      {"even, one outlier", {0.0, 0.1, -0.1, 9.0}, {0, 0, 0, 0}, 1000.0, 3.0, {0, 0, 0, 3}},
      {"the limit is strict", {0.0, 1.0, 2.0}, {0, 0, 0}, 1.0, 0.0, {3, 3, 3}},  // one kept is none
      {"factor 0: only the limit", {0.0, 0.5, 5.0}, {0, 0, 0}, 2.0, 0.0, {0, 0, 3}},
      {"parity is that of the used", {0.0, 0.1, 50.0, -0.1}, {0, 0, 2, 0}, 1000.0, 0.0, {0, 0, 2, 0}},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    std::vector<int> flags = test.flags;
    int out = -1;
    Qc::Qc_signRobust(static_cast<int>(flags.size()), test.values.data(), flags.data(), test.limit, &out,
                      test.factor);
    EXPECT_EQ(flags, test.expected);
    EXPECT_EQ(out, static_cast<int>(flags.size()) - std::count(flags.begin(), flags.end(), 0));
  }
}

struct TrimTest : gnx_test::TableFixture {
  /// Both forms, which differ in what they write.
  int trim(const std::vector<double>& values, double limit) {
    const int n = static_cast<int>(values.size());
    m_flags.assign(values.size(), 0);
    std::vector<int> flags = m_flags;
    const std::vector<double> weights(values.size(), 1.0);
    const std::vector<int> ids = flags;
    int range = -1, out = -2;
    Qc::Qc_getWgtMean_range(true, values.data(), ids.data(), flags.data(), weights.data(), n, &range, &m_mean,
                            &m_sigmean, &m_sigma, limit, "STAN");
    Qc::Qc_getWgtMean(true, values.data(), ids.data(), m_flags.data(), weights.data(), n, &out, &m_mean,
                      &m_sigmean, &m_sigma, limit);
    EXPECT_EQ(range, out);
    EXPECT_EQ(flags, m_flags);
    return out;
  }
  std::vector<int> m_flags;
  double m_mean = 0.0, m_sigmean = 0.0, m_sigma = 0.0;
};

TEST_F(TrimTest, DropsTheWorstUntilItFits) {
  add("G01");
  EXPECT_EQ(trim({0.1, -0.2, 0.3, 0.0, 80.0, -60.0}, 50.0), 2);
  EXPECT_EQ(m_flags, (std::vector<int>{0, 0, 0, 0, 2, 2}));
  EXPECT_NEAR(m_mean, 0.05, 1.0e-12);
  EXPECT_EQ(trim({0.1, -0.2, 0.3, 0.0, 49.0}, 50.0), 0) << "nearer to the rest than the limit";
  EXPECT_EQ(trim({0.1, -0.2, 0.3, 0.0, 16.0}, 0.0), 1) << "limit 0 stands for 15 m";
  EXPECT_EQ(trim({2.0, -2.0, 1.5, -1.5, 0.0, 7.5}, 1.0), 0) << "within 4.5 sigma of a tight rest";
  EXPECT_EQ(trim({}, 50.0), 0);
  EXPECT_EQ(m_sigma, 999.0);
}

struct RangeTest : gnx_test::TableFixture {
  RangeTest() {
    gpsAndGalileo(8, 4);
    for (int i = 0; i < 12; ++i) observe(i, 0.2 * (i % 3) - 0.15);
    m_sta.m_rclk[0] = 1000.0;
  }
  /// Both codes of a row share a residual: so does their ionosphere-free combination.
  void observe(int isat, double omc) {
    m_sta.m_sat[isat].m_xx[4] = m_sta.m_sat[isat].m_xx[5] = omc;
    m_sta.m_sat[isat].m_elev = 50.0 * kDegToRad;
  }
  int detect() { return Qc::Qc_detectRangeOmc(&m_sta, m_flags); }

  Station m_sta{"STAN"};
  int m_flags[kMaxSat] = {};
};

TEST_F(RangeTest, ScatteredCodesAreTakenApartRobustly) {
  const double omc[8] = {0.1, 40.0, -40.0, 45.0, -45.0, 35.0, -38.0, 900.0};
  for (int i = 0; i < 8; ++i) observe(i, omc[i]);
  deploy().m_rangelimit = 2000.0;  // the trimming keeps all: only the sign-based rejection acts
  EXPECT_EQ(detect(), 1);
  EXPECT_EQ(std::count(m_flags, m_flags + kMaxSat, 0), kMaxSat - 1);
  EXPECT_EQ(m_flags[7], 3);
}

TEST_F(RangeTest, SingleFrequencyAndLowElevation) {
  s_copyText(deploy().m_obscomb, "SF");
  for (int i = 0; i < 12; ++i) m_sta.m_sat[i].m_xx[5] = 0.0;
  m_sta.m_sat[2].m_xx[4] += 70.0;
  EXPECT_EQ(detect(), 1);
  EXPECT_EQ(m_flags[2], 2);
  m_sta.m_sat[2].m_elev = 0.1;  // below the mask: not judged
  EXPECT_EQ(detect(), 0);
  s_copyText(deploy().m_obscomb, "RAW");
  m_sta.m_rclk[0] = 0.0;
  EXPECT_EQ(detect(), 0) << "one code is no ionosphere-free value, and no clock comes of nothing";

  // A low satellite weighs 1/(2 sin e)^2: at 8 degrees it moves the mean of two by 12.9/13.9.
  s_copyText(deploy().m_obscomb, "SF");
  for (int i = 2; i < 12; ++i) observe(i, 0.0);
  observe(0, 1.0e-9);
  observe(1, 20.0);
  m_sta.m_sat[1].m_elev = 8.0 * kDegToRad;
  EXPECT_EQ(detect(), 1);
  const double w = std::pow(2.0 * std::sin(8.0 * kDegToRad), -2);
  EXPECT_NEAR(m_sta.m_rclk[0], 20.0 * w / (1.0 + w), 1.0e-6);
}

TEST(Fractions, MeanOnTheCycle) {
  const double values[6] = {3.48, -7.49, 0.51, 12.50, -0.53, 1.47};  // about a half, on both sides of it
  const double weights[8] = {1, 1, 1, 1, 1, 1, 1, 1};
  int flags[8] = {}, out = -1;
  double mean = 0.0, sigmean = 0.0, sigma = 0.0;
  for (const auto estimate : {Qc::Qc_proxEstFrc, Qc::Qc_getFcbMean}) {
    estimate(1.0, values, flags, weights, 6, &out, &mean, &sigmean, &sigma);
    EXPECT_EQ(out, 0);
    EXPECT_NEAR(std::fabs(std::remainder(mean - 0.49, 1.0)), 0.0, 0.01);
    EXPECT_NEAR(sigma, 0.02, 0.01);
  }
  const double outlier[8] = {0.11, 1.12, -0.89, 5.10, 0.09, 3.11, -1.90, 0.55};
  Qc::Qc_proxEstFrc(1.0, outlier, flags, weights, 8, &out, &mean, &sigmean, &sigma);
  EXPECT_EQ(out, 1);
  EXPECT_EQ(flags[7], 2);
  EXPECT_NEAR(mean, 0.74 / 7.0, 1.0e-12);
  const double noise[4] = {0.0, 0.25, 0.5, 0.75};
  Qc::Qc_proxEstFrc(1.0, noise, flags, weights, 4, &out, &mean, &sigmean, &sigma);
  EXPECT_EQ(out, 4) << "no common fraction";
}

TEST(Fractions, ConfidenceInARounding) {
  double decision = -1.0;
  const double value = 7.05, sigma = 0.12, limit = 0.2, widest = 0.25;
  Qc::Qc_prob_resol(1, value, sigma, limit, widest, &decision);
  double sum = 0.0;  // Dong & Bock 1989: the chance that another integer is the right one
  const double scale = sigma * std::sqrt(2.0);
  for (int k = 1; k < 50; ++k) sum += std::erfc((k - 0.05) / scale) - std::erfc((k + 0.05) / scale);
  EXPECT_NEAR(decision * std::max(sum, 1.0e-9), 0.75 * 0.75 * 3.0 * 0.13, 1.0e-6);
  const auto accepted = [&](int wrap, double x, double s) {
    Qc::Qc_prob_resol(wrap, x, s, limit, widest, &decision);
    return decision > 0.0;
  };
  EXPECT_FALSE(accepted(1, 7.21, sigma) || accepted(1, 7.0, 0.26));
  EXPECT_TRUE(accepted(2, 7.45, 0.01)) << "half cycles are integers of wrap 2";
  EXPECT_FALSE(accepted(2, 7.38, 0.01)) << "whose limit is the half";
  Qc::Qc_prob_resol(1, 7.0, 0.0, 0.0, 0.0, &decision);
  EXPECT_TRUE(std::isfinite(decision) && decision > 1.0e8);
}

struct CheckObs : gnx_test::TableFixture {
  CheckObs() { frequencies('G', 2, {"L1", "L2"}); }

  struct Case {
    std::vector<double> phases, codes;  ///< of the slots; 0 = absent
    int result;
    std::vector<int> flags;
    std::vector<double> left;  ///< phases and codes of the slots, {} = nothing
  };
  void check(int isat, int slots, const Case& c) {
    SCOPED_TRACE(testing::PrintToString(c.phases) + " " + testing::PrintToString(c.codes));
    double obs[8] = {}, dop[4] = {}, snr[4] = {};
    int flag[4] = {};
    std::copy(c.phases.begin(), c.phases.end(), obs);
    std::copy(c.codes.begin(), c.codes.end(), obs + 4);
    std::fill_n(dop, slots, 40.0);
    std::fill_n(snr, slots, 40.0);
    EXPECT_EQ(Rnxobs::s_checkObs(isat, obs, dop, snr, flag), c.result);
    EXPECT_EQ(std::vector<int>(flag, flag + 4), c.flags);
    for (int j = 0; j < slots; ++j) {
      const auto left = [&](int k) { return c.left.empty() ? 0.0 : c.left[static_cast<std::size_t>(k)]; };
      EXPECT_EQ(obs[j], left(j)) << j;
      EXPECT_EQ(obs[4 + j], left(slots + j)) << j;
      if (obs[j] == 0.0 && obs[4 + j] == 0.0) {
        EXPECT_TRUE(dop[j] == 0.0 && snr[j] == 0.0) << j;
      }
    }
  }

  static constexpr double kL = 1.1e8, kP = 2.0e7;
  static constexpr int kPartner = tarvio::kFlagPartner, kCodes = tarvio::kFlagCodes;
  const int gps = add("G05");
};

TEST_F(CheckObs, TwoFrequenciesAndAReasonGivenBeforeIsKept) {
  const Case cases[] = {
      {{kL, kL}, {kP, kP + 50.0}, 0, {0, 0, 0, 0}, {kL, kL, kP, kP + 50.0}},
      {{kL, kL}, {kP, kP + 60.0}, 1, {kCodes, kCodes, kCodes, kCodes}, {}},
      {{kL, kL}, {kP, 0.0}, 1, {kPartner, kPartner, kPartner, kPartner}, {}},
      {{kL, kL}, {0.0, kP}, 1, {kPartner, kPartner, kPartner, kPartner}, {}},
      {{kL, kL}, {kP, 0.005}, 1, {kPartner, kPartner, kPartner, kPartner}, {}},
      {{kL, 0.0}, {kP, kP}, 1, {kPartner, kPartner, kPartner, kPartner}, {}},
      {{kL, 0.0}, {0.0, 0.0}, 0, {0, 0, 0, 0}, {}},  // nothing to compare leaves no reason
      {{0.0, 0.0}, {kP, kP}, 0, {0, 0, 0, 0}, {}},
  };
  for (const Case& c : cases) check(gps, 2, c);

  double obs[8] = {0.0, kL, 0, 0, kP, kP}, dop[4] = {}, snr[4] = {};
  int flag[4] = {0, tarvio::kFlagNoBias, 0, 0};
  Rnxobs::s_checkObs(gps, obs, dop, snr, flag);
  EXPECT_THAT(flag, testing::ElementsAre(1, 6, 1, 1));
}

TEST_F(CheckObs, ThreeFrequencies) {
  frequencies('G', 3, {"L1", "L2", "L5"});
  const Case cases[] = {
      {{kL, kL, kL}, {kP, kP + 60.0, kP + 5.0}, 1, {0, kCodes, 0, 0}, {kL, 0, kL, kP, 0, kP + 5.0}},
      // row 1 is exactly 50 m from row 0, the anchor, which neither agrees nor contradicts
      {{kL, kL, kL}, {kP, kP + 50.0, kP - 1.0}, 0, {0, 0, 0, 0}, {kL, kL, kL, kP, kP + 50.0, kP - 1.0}},
      {{kL, kL, 0.0}, {kP, kP + 50.0, 0.0}, 1, {kCodes, kCodes, 0, 0}, {}},
      {{kL, kL, kL}, {0.0, kP, 0.0}, 1, {0, 0, 0, 0}, {}},  // a single code
      {{kL, kL, 0.0}, {kP, kP, kP}, 1, {0, 0, kPartner, 0}, {kL, kL, 0, kP, kP, 0}},
      {{kL, 0.0, 0.0}, {kP, kP, kP}, 1, {kPartner, kPartner, kPartner, kPartner}, {}},
  };
  for (const Case& c : cases) check(gps, 3, c);
}

TEST_F(CheckObs, SingleFrequencyComparesWithZero) {
  tarvio::s_copyText(deploy().m_obscomb, "SF");
  frequencies('G', 1, {"L1", "L2"});
  const Case cases[] = {
      {{kL}, {0.0}, 1, {kPartner, kPartner, kPartner, kPartner}, {}},
      {{0.0, kL}, {kP}, 1, {kPartner, kPartner, kPartner, kPartner}, {}},
      {{0.001}, {0.001}, 0, {0, 0, 0, 0}, {0.001, 0.001}},
  };
  for (const Case& c : cases) check(gps, 1, c);
}

TEST_F(CheckObs, SystemFollowsTheSecondName) {
  // BDS-2 runs with three frequencies, BDS-3 with two: the odd code goes in one, the satellite in the other.
  frequencies('B', 3, {"L2", "L7", "L6"});
  frequencies('C', 2, {"L2", "L6"});
  const int old = add("C06", "B06"), recent = add("C21");
  check(old, 3, {{kL, kL, kL}, {kP, kP + 60.0, kP}, 1, {0, kCodes, 0, 0}, {kL, 0, kL, kP, 0, kP}});
  check(recent, 3, {{kL, kL, kL}, {kP, kP + 60.0, kP}, 1, {kCodes, kCodes, kCodes, kCodes}, {}});
}

}  // namespace
