// The screen in front of integer searches against the searches themselves.

#include <gtest/gtest.h>

#include <limits>

#include "Core/Ambfix/RatioScreen.h"
#include "Core/Ambfix/SubsetSearch.h"
#include "support/subset_problems.h"

namespace {

using gnx_test::AmbiguityProblem;
using tarvio::RatioScreen;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(RatioScreen, NeverRejectsARatioAboveTheThresholdAndItsVectorsAreWholeOnes) {
  std::mt19937 random(11);
  int rejected = 0;
  RatioScreen screen;
  for (int round = 0; round < 400; ++round) {
    const int n = 2 + round % 17;
    // From a first epoch to a settled arc, from right to hopeless.
    const AmbiguityProblem p = gnx_test::drawProblem(
        n, 0.05 * (1 + round % 40), 0.02, 0.01 * (1 + round % 23), round % 3 == 0 ? 0 : round % n, random);
    std::vector<double> best = p.x, second(p.x.size());
    double s[2] = {};
    ASSERT_EQ(tarvio::ambslv_(n, p.Q.data(), best.data(), second.data(), s), 0);
    ASSERT_TRUE(screen.m_load(n, p.Q.data(), p.x.data()));
    for (const double threshold : {1.2, 3.0}) {
      const auto verdict = screen.m_judge(threshold, kInfinity);
      if (verdict == RatioScreen::Verdict::fails) {
        EXPECT_LE(s[1] / s[0], threshold) << round;
        ++rejected;
        screen.m_improve(100'000);
        std::vector<double> a(p.x.size()), b(p.x.size());
        ASSERT_TRUE(screen.m_vectors(a.data(), b.data())) << round;
        EXPECT_EQ(a, best) << round << ": a complete search has the best vector";
      } else {
        // Without a search it may only be too kind.
        EXPECT_EQ(verdict, RatioScreen::Verdict::open) << round;
      }
    }
    EXPECT_NEAR(screen.m_leastNorm(2.0 * s[0]), s[0], 1e-6 * s[0]) << round;
    EXPECT_EQ(screen.m_leastNorm(0.5 * s[0]), 0.5 * s[0]) << round;
  }
  EXPECT_GT(rejected, 200);
}

/// Many precise ambiguities, none near an integer: what made an epoch take seconds.
TEST(RatioScreen, WorkOnHopelessLevelsIsBounded) {
  std::mt19937 random(7);
  for (int round = 0; round < 4; ++round) {
    const AmbiguityProblem p = gnx_test::drawProblem(42, 3.0, 0.1, 0.02, 42, random);
    RatioScreen screen;
    ASSERT_TRUE(screen.m_load(p.n, p.Q.data(), p.x.data()));
    screen.m_judge(3.0, kInfinity);
    screen.m_improve(20'000);
    EXPECT_LE(screen.m_visits(), RatioScreen::kMaxVisits + 20'000);
    std::vector<double> best(p.x.size()), second(p.x.size());
    if (!screen.m_vectors(best.data(), second.data())) continue;
    const std::vector<int> worst = gnx_test::worstFirst(p);
    tarvio::SubsetSearch search(gnx_test::subsetProblem(p, worst, best, second, 3.0));
    search.run();
    EXPECT_LE(search.searches(), 20) << "of 16,383 subsets";
  }
}

}  // namespace
