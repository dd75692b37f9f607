// Single-point position from nothing, on observations that are synthesised another way (model_world.h).

#include <gmock/gmock.h>

#include "Core/Model/SppLsq.h"
#include "support/model_world.h"

namespace tarvio {
namespace {

/// Observations that the reduced model explains.
struct CodeWorld : test::ModelWorld {
  explicit CodeWorld(int gps = 10, int galileo = 8) : ModelWorld(gps, galileo) { observe(false); }
  double solve() {
    SppLsq::s_spp(filter(), &sta, 10);
    return distance(sta.m_x, kTruth.data());
  }
};

TEST(SinglePoint, NoiseFreeCodesGiveThePosition) {
  for (const char* combination : {"RAW", "SF"}) {
    SCOPED_TRACE(combination);
    CodeWorld world;
    s_copyText(world.deploy().m_obscomb, combination);
    world.sta.m_rclk[0] = 77.0;
    EXPECT_LT(world.solve(), 0.01);
    EXPECT_NEAR(world.sta.m_blh[2], 85.0, 1000.0);
    EXPECT_EQ(world.sta.m_rclk[0], 77.0);  // clocks are put back
  }
}

TEST(SinglePoint, OneWildSatelliteIsOutvoted) {
  CodeWorld world;
  std::mt19937 random(7);
  std::normal_distribution<> noise(0.0, 3.0);
  for (int i = 0; i < 18; ++i) {
    const double error = noise(random) + (i == 4 ? 10000.0 : 0.0);
    for (int f = 0; f < 2; ++f) world.sta.m_sat[i].m_obs[4 + f] += error;
  }
  EXPECT_LT(world.solve(), 10.0);
}

TEST(SinglePoint, TooFewSatellitesGiveNoPosition) {
  EXPECT_LT(CodeWorld(5, 1).solve(), 0.05);  // five unknowns
  CodeWorld world(4, 1);
  testing::internal::CaptureStdout();
  world.solve();
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::HasSubstr("npam = 5,nobs = 5, not enough observations to compute!\n"));
  EXPECT_EQ(world.sta.m_x[0], 0.0);
  EXPECT_EQ(world.sta.m_blh[0], 0.0);
}

TEST(SinglePoint, KnownPositionIsLeftAlone) {
  CodeWorld world;
  world.knowTruth();
  std::ranges::fill(world.sta.m_blh, 1.0);
  EXPECT_EQ(world.solve(), 0.0);
  EXPECT_EQ(world.sta.m_nobs, 0);
  world.sta.m_blh[2] = 0.0;  // a position that was never placed is none
  world.solve();
  EXPECT_EQ(world.sta.m_x[0], 0.0);
}

TEST(LeastSquares, RefusesWhatItCannotSolve) {
  double A[6] = {1, 1, 1, 2, 2, 2}, l[3] = {1, 2, 3}, x[2] = {7, 7};
  EXPECT_EQ(SppLsq::s_lsq(A, l, 3, 2, x), 0);  // dependent columns
  EXPECT_EQ(SppLsq::s_lsq(A, l, 1, 2, x), 0);
  double B[6] = {1, 1, 1, 0, 1, 2};
  ASSERT_EQ(SppLsq::s_lsq(B, l, 3, 2, x), 1);
  EXPECT_THAT(x, testing::Each(testing::DoubleNear(1.0, 1e-12)));
}

}  // namespace
}  // namespace tarvio
