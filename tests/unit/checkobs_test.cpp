#include <gmock/gmock.h>

#include <algorithm>
#include <vector>

#include "support/table_fixture.h"

namespace {

using tarvio::Rnxobs;

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
