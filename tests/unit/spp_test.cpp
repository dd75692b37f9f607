// Single-point position from nothing, on observations that are synthesised another way (model_world.h).

#include <gtest/gtest.h>

#include "Core/Model/SppLsq.h"
#include "support/model_world.h"

namespace tarvio {
namespace {

using test::Effects;
using test::ModelWorld;

/// The reduced model knows neither tides nor windup.
Effects forCode() {
  Effects with;
  with.tides = with.windup = false;
  return with;
}

double error_m(const Station& sta) { return distance(sta.m_x, ModelWorld::kTruth); }

void solve(ModelWorld& world) { SppLsq::s_spp(world.filter(), &world.sta, 10); }

TEST(SinglePoint, NoiseFreeCodesGiveThePosition) {
  for (const char* combination : {"RAW", "SF"}) {
    SCOPED_TRACE(combination);
    ModelWorld world;
    s_copyText(world.deploy().m_obscomb, combination);
    world.observe(forCode());
    world.sta.m_rclk[0] = 77.0;
    solve(world);
    EXPECT_LT(error_m(world.sta), 0.01);
    EXPECT_NEAR(world.sta.m_blh[2], 85.0, 1000.0);
    EXPECT_EQ(world.sta.m_rclk[0], 77.0);  // clocks are put back
  }
}

TEST(SinglePoint, OneWildSatelliteIsOutvoted) {
  ModelWorld world;
  world.observe(forCode());
  std::mt19937 random(7);
  std::normal_distribution<> noise(0.0, 3.0);
  for (int i = 0; i < 18; ++i) {
    const double error = noise(random) + (i == 4 ? 10000.0 : 0.0);
    for (int f = 0; f < 2; ++f) world.sta.m_sat[i].m_obs[4 + f] += error;
  }
  solve(world);
  EXPECT_LT(error_m(world.sta), 10.0);
}

TEST(SinglePoint, TooFewSatellitesGiveNoPosition) {
  ModelWorld world(4, 1);  // five unknowns
  world.observe(forCode());
  testing::internal::CaptureStdout();
  solve(world);
  EXPECT_NE(
      testing::internal::GetCapturedStdout().find("npam = 5,nobs = 5, not enough observations to compute!\n"),
      std::string::npos);
  EXPECT_EQ(world.sta.m_x[0], 0.0);
  EXPECT_EQ(world.sta.m_blh[0], 0.0);

  ModelWorld enough(5, 1);
  enough.observe(forCode());
  solve(enough);
  EXPECT_LT(error_m(enough.sta), 0.05);
}

TEST(SinglePoint, KnownPositionIsLeftAlone) {
  ModelWorld world;
  world.knowTruth();
  world.observe(forCode());
  world.sta.m_blh[0] = world.sta.m_blh[1] = world.sta.m_blh[2] = 1.0;
  solve(world);
  EXPECT_EQ(error_m(world.sta), 0.0);
  EXPECT_EQ(world.sta.m_nobs, 0);
  world.sta.m_blh[2] = 0.0;  // a position that was never placed is none
  solve(world);
  EXPECT_EQ(world.sta.m_x[0], 0.0);
}

TEST(LeastSquares, RefusesWhatItCannotSolve) {
  double A[6] = {1, 1, 1, 2, 2, 2}, l[3] = {1, 2, 3}, x[2] = {7, 7};
  EXPECT_EQ(SppLsq::s_lsq(A, l, 3, 2, x), 0);  // dependent columns
  EXPECT_EQ(SppLsq::s_lsq(A, l, 1, 2, x), 0);
  double B[6] = {1, 1, 1, 0, 1, 2};
  ASSERT_EQ(SppLsq::s_lsq(B, l, 3, 2, x), 1);
  EXPECT_NEAR(x[0], 1.0, 1e-12);
  EXPECT_NEAR(x[1], 1.0, 1e-12);
}

}  // namespace
}  // namespace tarvio
