// Satellites that contradict the others, or are too weak for their elevation, lose weight.

#include <gtest/gtest.h>

#include <cmath>

#include "Core/Filter/CodeResiduals.h"
#include "Core/Filter/SignalStrength.h"
#include "support/table_fixture.h"

namespace {

using namespace tarvio;

constexpr NoiseLevel kLevel = {0.3, 0.2};

TEST(CodeResiduals, AnArcThatContradictsTheOthersIsDoubtedUntilItEnds) {
  CodeResiduals residuals;
  double t = 0.0;
  const auto epoch = [&](double wall) {
    t += 5.0;
    for (int isat = 0; isat < 10; ++isat) {
      const double alternating = (isat + static_cast<int>(t / 5.0)) % 2 == 0 ? 0.2 : -0.2;
      residuals.m_add(isat, 0, 1, t, alternating + (isat == 3 ? wall : 0.0), kLevel);
    }
    residuals.m_endEpoch(t);
  };
  for (int i = 0; i < 24; ++i) epoch(6.0);
  EXPECT_GT(residuals.m_doubt(3, 0, 1, t), 20.0);
  EXPECT_EQ(residuals.m_doubt(4, 0, 1, t), 1.0);
  EXPECT_EQ(residuals.m_doubt(3, 0, 2, t), 1.0) << "another arc is another path";
  EXPECT_EQ(residuals.m_scale(), 1.0) << "one satellite says nothing of the receiver";
  for (int i = 0; i < 60; ++i) epoch(0.0);
  EXPECT_EQ(residuals.m_doubt(3, 0, 1, t), 1.0) << "the wall is behind us";
  EXPECT_EQ(residuals.m_doubt(4, 0, 1, t + 400.0), 1.0) << "what is long past says nothing";
}

TEST(CodeResiduals, CodesThatContradictEachOtherAreAllWorthLess) {
  CodeResiduals residuals;
  for (double t = 5.0; t < 1200.0; t += 5.0) {
    for (int isat = 0; isat < 10; ++isat) residuals.m_add(isat, 0, 1, t, isat % 2 == 0 ? 1.5 : -1.5, kLevel);
    residuals.m_endEpoch(t);
  }
  EXPECT_GT(residuals.m_scale(), 4.0);
}

TEST(SignalStrength, ASignalThatLacksTenDecibelsIsDoubtedAtAnyHeightAndLevelOfTheReceiver) {
  for (const double level : {25.0, 38.0}) {
    const gnx_test::Tables tables;
    for (int number = 1; number <= 8; ++number) gnx_test::Tables::add(gnx_test::Tables::name('G', number));
    Station station("STAN");
    for (int isat = 0; isat < 8; ++isat) {
      Ssat_t& sat = station.m_sat[isat];
      sat.m_elev = (10.0 + 10.0 * isat) * kDegToRad;
      sat.m_obs[0] = 1e8;
      sat.m_snr[0] = level + 16.0 * std::sin(sat.m_elev) - (isat == 1 || isat == 6 ? 10.0 : 0.0);
    }
    SignalStrength strength;
    EXPECT_EQ(strength.m_doubt(station.m_sat[1], 0), 1.0) << "nothing is known yet";
    strength.m_learn(station, 0.0);
    for (int isat = 0; isat < 8; ++isat) {
      const double doubt = strength.m_doubt(station.m_sat[isat], gnx_test::Tables::deploy().m_sysOfRow(isat));
      if (isat == 1 || isat == 6) EXPECT_NEAR(doubt, 10.0, 1.0) << isat;
      else EXPECT_EQ(doubt, 1.0) << isat;
    }
    station.m_sat[1].m_snr[0] = 0.0;
    EXPECT_EQ(strength.m_doubt(station.m_sat[1], 0), 1.0) << "no density is no weak signal";
  }
}

}  // namespace
