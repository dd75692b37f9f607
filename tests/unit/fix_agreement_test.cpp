// Integers of successive searches, whatever their reference: what agrees, what changed, what is forgotten.

#include <gtest/gtest.h>

#include "Core/Filter/FixAgreement.h"

namespace tarvio {
namespace {

using Table = FixAgreement::Found[kMaxSat];

constexpr double kArc = 59000.25;

/// Satellites 1, 2, 3 with integers against satellite `reference`, the true counts being 10, 25 and -7.
void fill(Table& table, int reference, double arcOf3 = kArc) {
  const int count[] = {0, 10, 25, -7};
  for (int isat = 1; isat <= 3; ++isat)
    table[isat] = {true, count[isat] - count[reference], isat == 3 ? arcOf3 : kArc};
}

TEST(FixAgreement, NeedsTheTimeAndSurvivesAChangeOfReference) {
  FixAgreement agreement;
  for (const int reference : {1, 1, 2, 3}) {
    static double t = 1000.0;
    Table found;
    fill(found, reference);
    EXPECT_EQ(agreement.m_update(0, found, t), 0);
    EXPECT_EQ(agreement.m_agrees(3, kArc, t, 60.0), t >= 1060.0);
    t += 30.0;
  }
}

TEST(FixAgreement, AChangedIntegerBeginsAnewAndLeavesTheOthersAlone) {
  FixAgreement agreement;
  Table found;
  fill(found, 1);
  agreement.m_update(0, found, 1000.0);
  found[3].integer -= 1;
  EXPECT_EQ(agreement.m_update(0, found, 1060.0), 1);
  EXPECT_FALSE(agreement.m_agrees(3, kArc, 1060.0, 30.0));
  EXPECT_TRUE(agreement.m_agrees(2, kArc, 1060.0, 30.0));
}

TEST(FixAgreement, ANewArcOrALongSilenceIsUnknown) {
  FixAgreement agreement;
  Table found;
  fill(found, 1);
  agreement.m_update(0, found, 1000.0);
  EXPECT_FALSE(agreement.m_agrees(3, kArc + 0.01, 1030.0, 0.0));
  EXPECT_FALSE(agreement.m_agrees(2, kArc, 2000.0, 0.0));
  Table later;
  fill(later, 2, kArc + 0.01);
  EXPECT_EQ(agreement.m_update(0, later, 1030.0), 0);
  EXPECT_TRUE(agreement.m_agrees(1, kArc, 1030.0, 30.0));
  EXPECT_FALSE(agreement.m_agrees(3, kArc + 0.01, 1030.0, 30.0));
}

}  // namespace
}  // namespace tarvio
