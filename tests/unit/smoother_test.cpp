#include <gtest/gtest.h>

#include <cmath>

#include "Common/SmoothAdapter.h"

namespace {

using tarvio::SmoothAdapter;

TEST(Smoother, SigmaGrowsFromTheSeedAndSlidesWithTheResiduals) {
  SmoothAdapter smoother(3);
  double mean = 0.0, sigma = 0.0;
  smoother.m_smooth(2.0, &mean, &sigma, 0.5);
  EXPECT_EQ(mean, 2.0);
  EXPECT_EQ(sigma, 0.5) << "the seed is the sigma of a single value";
  smoother.m_smooth(4.0, &mean, &sigma, 99.0);
  EXPECT_DOUBLE_EQ(sigma, std::sqrt((0.25 + 1.0) / 2.0));  // residual 4 - 3
  smoother.m_smooth(3.0, &mean, &sigma);
  const double before = sigma;
  smoother.m_smooth(6.0, &mean, &sigma);  // 2 leaves: its residual at entry was 0
  EXPECT_DOUBLE_EQ(mean, 13.0 / 3.0);
  EXPECT_DOUBLE_EQ(sigma, std::sqrt(std::pow(6.0 - 13.0 / 3.0, 2) / 3.0 + before * before));

  SmoothAdapter timed(3), plain(3);
  for (const double v : {2.0, 4.0, 3.0, 9.0}) {
    timed.m_smooth(0, v, &mean, &sigma);
    plain.m_smooth(v, nullptr, nullptr);
  }
  EXPECT_GT(timed.m_sigma, plain.m_sigma) << "the timed form divides by one less";
}

TEST(Smoother, ResetRemovalAndNewWindow) {
  SmoothAdapter smoother(10);
  smoother.m_remove([](int) { return true; });  // nothing there
  for (int t = 0; t < 15; ++t) smoother.m_smooth(t, t * t, nullptr, nullptr);
  ASSERT_EQ(smoother.m_times.size(), 10U);
  EXPECT_EQ(smoother.m_times.front(), 5);
  smoother.m_remove([](int t) { return t < 12; });
  EXPECT_EQ(smoother.m_count, 3);
  EXPECT_NEAR(smoother.m_mean, (144.0 + 169.0 + 196.0) / 3.0, 1.0e-10);
  smoother.m_remove([](int) { return true; });
  EXPECT_EQ(smoother.m_count, 0);
  EXPECT_EQ(smoother.m_mean, 0.0);

  smoother.m_smooth(7, 1.0, nullptr, nullptr);
  smoother.m_reset();
  EXPECT_TRUE(smoother.m_values.empty() && smoother.m_times.empty() && smoother.m_resid.empty());
  double mean = 0.0, sigma = 0.0;
  smoother.m_smooth(5.0, &mean, &sigma);
  EXPECT_EQ(sigma, 999.0) << "without a seed the sigma stays";
  // A window made smaller than its content, down to nothing, must not slide an empty list.
  smoother.m_setmax(0);
  smoother.m_smooth(6.0, &mean, &sigma);
  smoother.m_reset();
  smoother.m_smooth(6.0, &mean, &sigma);
  EXPECT_EQ(mean, 6.0);
}

}  // namespace
