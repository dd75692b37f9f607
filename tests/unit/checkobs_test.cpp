#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

#include "support/table_fixture.h"

namespace {

using tarvio::Rnxobs;
using ::testing::Each;
using ::testing::ElementsAre;

class CheckObs : public gnx_test::TableFixture {
 protected:
  CheckObs() {
    frequencies('G', 2, {"L1", "L2"});
    gps = add("G05");
  }

  int check() { return Rnxobs::s_checkObs(gps, obs, dop, snr, flag); }
  /// Phases and codes of up to four slots; 0 = absent.
  void set(std::initializer_list<double> phases, std::initializer_list<double> codes) {
    std::fill(std::begin(obs), std::end(obs), 0.0);
    std::copy(phases.begin(), phases.end(), obs);
    std::copy(codes.begin(), codes.end(), obs + 4);
    for (int j = 0; j < 4; ++j) {
      dop[j] = snr[j] = obs[j] != 0.0 || obs[4 + j] != 0.0 ? 40.0 + j : 0.0;
      flag[j] = 0;
    }
  }
  void expectCleared() const {
    EXPECT_THAT(obs, Each(0.0));
    EXPECT_THAT(dop, Each(0.0));
    EXPECT_THAT(snr, Each(0.0));
  }

  static constexpr double kL = 1.1e8;
  static constexpr double kP = 2.0e7;
  int gps = 0;
  double obs[8] = {}, dop[4] = {}, snr[4] = {};
  int flag[4] = {};
};

TEST_F(CheckObs, TwoCodesAgreeUpToFiftyMetres) {
  set({kL, kL}, {kP, kP + 50.0});
  EXPECT_EQ(check(), 0);
  EXPECT_EQ(obs[5], kP + 50.0);
  EXPECT_THAT(flag, Each(0));

  set({kL, kL}, {kP, kP + 60.0});
  EXPECT_EQ(check(), 1);
  EXPECT_THAT(flag, Each(tarvio::kFlagCodes));
  expectCleared();
}

TEST_F(CheckObs, MissingPartnerTakesTheSatelliteOut) {
  for (const auto& [p1, p2] : {std::pair{kP, 0.0}, std::pair{0.0, kP}, std::pair{kP, 0.005}}) {
    set({kL, kL}, {p1, p2});
    EXPECT_EQ(check(), 1) << p1 << ' ' << p2;
    EXPECT_THAT(flag, Each(tarvio::kFlagPartner));
    expectCleared();
  }
  set({kL, 0.0}, {kP, kP});
  EXPECT_EQ(check(), 1);
  EXPECT_THAT(flag, Each(tarvio::kFlagPartner));
  expectCleared();

  // A reason given before is kept.
  set({0.0, kL}, {kP, kP});
  flag[1] = tarvio::kFlagNoBias;
  check();
  EXPECT_THAT(flag, ElementsAre(1, 6, 1, 1));
}

TEST_F(CheckObs, NothingToCompareLeavesNoReason) {
  set({kL, 0.0}, {0.0, 0.0});
  EXPECT_EQ(check(), 0);
  EXPECT_THAT(flag, Each(0));
  expectCleared();
  set({0.0, 0.0}, {kP, kP});
  EXPECT_EQ(check(), 0);
  EXPECT_THAT(flag, Each(0));
  expectCleared();
}

TEST_F(CheckObs, MajorityOfThreeCodesRemovesTheOddOne) {
  frequencies('G', 3, {"L1", "L2", "L5"});
  set({kL, kL, kL}, {kP, kP + 60.0, kP + 5.0});
  EXPECT_EQ(check(), 1);
  EXPECT_THAT(flag, ElementsAre(0, 5, 0, 0));
  EXPECT_THAT(obs, ElementsAre(kL, 0, kL, 0, kP, 0, kP + 5.0, 0));
  EXPECT_EQ(dop[1], 0.0);
  EXPECT_EQ(snr[1], 0.0);
}

TEST_F(CheckObs, ExactlyFiftyMetresNeitherAgreesNorContradicts) {
  frequencies('G', 3, {"L1", "L2", "L5"});
  // Row 0 agrees with row 2; row 1 is exactly 50 m from row 0, the anchor, and stays.
  set({kL, kL, kL}, {kP, kP + 50.0, kP - 1.0});
  EXPECT_EQ(check(), 0);
  EXPECT_EQ(obs[5], kP + 50.0);

  set({kL, kL, 0.0}, {kP, kP + 50.0, 0.0});
  EXPECT_EQ(check(), 1);
  EXPECT_THAT(flag, ElementsAre(5, 5, 0, 0));
  expectCleared();
}

TEST_F(CheckObs, SingleCodeOfThreeEndsWithoutAFlag) {
  frequencies('G', 3, {"L1", "L2", "L5"});
  set({kL, kL, kL}, {0.0, kP, 0.0});
  EXPECT_EQ(check(), 1);
  EXPECT_THAT(flag, Each(0));
  expectCleared();
}

TEST_F(CheckObs, ThreeFrequencySlotsNeedPhaseAndCode) {
  frequencies('G', 3, {"L1", "L2", "L5"});
  set({kL, kL, 0.0}, {kP, kP, kP});
  EXPECT_EQ(check(), 1);
  EXPECT_THAT(flag, ElementsAre(0, 0, 1, 0));
  EXPECT_THAT(obs, ElementsAre(kL, kL, 0, 0, kP, kP, 0, 0));

  set({kL, 0.0, 0.0}, {kP, kP, kP});
  EXPECT_EQ(check(), 1);
  EXPECT_THAT(flag, Each(tarvio::kFlagPartner));
  expectCleared();
}

TEST_F(CheckObs, SingleFrequencyComparesWithZero) {
  tarvio::s_copyText(deploy().m_obscomb, "SF");
  frequencies('G', 1, {"L1", "L2"});
  set({kL}, {0.0});
  EXPECT_EQ(check(), 1);
  EXPECT_THAT(flag, Each(tarvio::kFlagPartner));
  expectCleared();

  set({0.0, kL}, {kP});
  EXPECT_EQ(check(), 1);
  EXPECT_THAT(flag, Each(tarvio::kFlagPartner));
  expectCleared();

  set({0.001}, {0.001});
  EXPECT_EQ(check(), 0);
  EXPECT_EQ(obs[0], 0.001);
}

TEST_F(CheckObs, SystemFollowsTheSecondName) {
  // BDS-2 runs with three frequencies, BDS-3 with two: the odd code goes in one, the satellite in the other.
  frequencies('B', 3, {"L2", "L7", "L6"});
  frequencies('C', 2, {"L2", "L6"});
  const int old = add("C06", "B06"), recent = add("C21");
  set({kL, kL, kL}, {kP, kP + 60.0, kP});
  Rnxobs::s_checkObs(old, obs, dop, snr, flag);
  EXPECT_EQ(obs[4], kP);
  set({kL, kL, kL}, {kP, kP + 60.0, kP});
  Rnxobs::s_checkObs(recent, obs, dop, snr, flag);
  EXPECT_EQ(obs[4], 0.0);
}

}  // namespace
