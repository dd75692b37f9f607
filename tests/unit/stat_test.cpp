// Distributions, combinations, running means and the text helpers.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "Common/ComStat.h"
#include "Common/ComString.h"
#include "Common/SmoothAdapter.h"
#include "Core/Qc/Qc.h"
#include "support/exit_message.h"
#include "support/reference_cases.h"

namespace {

using namespace tarvio;

/// Columns of a table of the reference file: arguments, the value of the polynomial, the exact value.
Json::Value s_cases(const char* name) {
  const Json::Value cases = gnx_test::referenceCases("statistics_cases.json")[name];
  EXPECT_GT(cases.size(), 0U);
  return cases;
}

TEST(Distributions, NormalAndItsQuantile) {
  for (const Json::Value& row : s_cases("NORMAL")) {
    double p = -1.0;
    NORMAL(row[0].asDouble(), &p);
    EXPECT_NEAR(p, row[1].asDouble(), 1.0e-14) << row[0];
    EXPECT_NEAR(p, row[2].asDouble(), 2.9e-7) << row[0];
  }
  for (const Json::Value& row : s_cases("PNORMAL_upper_tail")) {
    double x = 0.0;
    PNORMAL(row[0].asDouble(), &x);
    EXPECT_NEAR(x, row[1].asDouble(), 1.0e-12) << row[0];
  }
  double x;
  for (const double p : {0.0, 1.0, -0.5, std::nan("")})
    EXPECT_EXIT_MESSAGE(PNORMAL(p, &x), "ERROR\\(pnormal\\):INPUT FRA CAN NOT >=1 OR <=0");
}

TEST(Distributions, ChiSquareAndItsQuantile) {
  for (const Json::Value& row : s_cases("CHI2")) {
    double p = 0.0, d = 0.0;
    CHI2(row[0].asInt(), row[1].asDouble(), &p, &d);
    EXPECT_NEAR(p, row[2].asDouble(), 1.0e-13) << row;
    EXPECT_NEAR(d, row[3].asDouble(), 1.0e-13) << row;
  }
  // Columns: dof, alpha, Newton, start value, exact
  for (const Json::Value& row : s_cases("pchi2_upper_tail_newton")) {
    double newton = 0.0, start = 0.0;
    pchi2(row[0].asInt(), row[1].asDouble(), 1, &newton);
    pchi2(row[0].asInt(), row[1].asDouble(), 0, &start);
    EXPECT_NEAR(newton, row[2].asDouble(), 1.0e-9 * row[2].asDouble()) << row;
    EXPECT_NEAR(start, row[3].asDouble(), 1.0e-9 * row[3].asDouble()) << row;
    EXPECT_NEAR(newton / row[4].asDouble(), 1.0, 3.0e-5) << row;
  }
  double p = 1.0, d = 1.0;
  CHI2(5, 0.0, &p, &d);
  EXPECT_EQ(p, 0.0);
  EXPECT_EXIT_MESSAGE(pchi2(3, 0.0, 1, &p), "ERROR\\(pchi2\\):INPUT AF=0.000000 <=0\n");
}

TEST(Distributions, VarianceTest) {
  // Ten degrees of freedom, 99 per cent: variance ratios between 0.2156 and 2.5188 pass.
  // One-sided: 18.307 is exceeded with 5 per cent, 3.940 with 95.
  const struct {
    int side;
    double passes, fails, level;
  } cases[] = {{0, 2.51, 2.53, 0.99}, {0, 0.217, 0.214, 0.99}, {-1, 1.84, 1.82, 0.05}, {1, 1.82, 1.84, 0.95}};
  for (const auto& c : cases) {
    EXPECT_TRUE(chitst(c.side, 10, 2.0, 2.0 * std::sqrt(c.passes), c.level)) << c.passes;
    EXPECT_FALSE(chitst(c.side, 10, 2.0, 2.0 * std::sqrt(c.fails), c.level)) << c.fails;
  }
}

TEST(Combinations, AllOfThemOnceInOrder) {
  int comb[3] = {-1, 0, 0};
  std::vector<std::vector<int>> seen;
  while (chos(3, 6, comb)) seen.emplace_back(comb, comb + 3);
  EXPECT_EQ(seen.size(), 20U);
  EXPECT_EQ(std::ranges::adjacent_find(seen, std::greater_equal()), seen.end()) << "rising: none comes twice";
  EXPECT_EQ(seen.back(), (std::vector<int>{3, 4, 5}));
  int whole[2] = {-1, 0};
  EXPECT_TRUE(chos(2, 2, whole));
  EXPECT_FALSE(chos(2, 2, whole));
  int more[3] = {-1, 0, 0};
  EXPECT_FALSE(chos(3, 2, more));
  EXPECT_TRUE(chos(0, 2, more)) << "the empty choice exists";
}

TEST(GammaFunctions, AgreeWithTheStandardLibrary) {
  for (const double x : {0.1, 0.5, 1.0, 3.7, 25.0}) {
    EXPECT_NEAR(Qc::Qc_gammln(x), std::lgamma(x), 1.0e-9);
    EXPECT_NEAR(Qc::Qc_gammp(1.0, x), 1.0 - std::exp(-x), 3.0e-7);
    EXPECT_NEAR(Qc::Qc_gammp(2.5, x) + Qc::Qc_gammq(2.5, x), 1.0, 1.0e-12);
    EXPECT_NEAR(Qc::Qc_erf(-x), -std::erf(x), 1.0e-6);
  }
  EXPECT_EXIT_MESSAGE(Qc::Qc_gammp(-1.0, 1.0), "ERROR\\(gammp\\): Parameter Can't be negative!");
}

TEST(Text, FieldsAndLines) {
  char table[8][8];
  int count = 0;
  split_string(true, "x:L1__L5;rest", ':', ';', '_', &count, table[0], 8);
  ASSERT_EQ(count, 3);
  EXPECT_STREQ(table[1], "  ");
  split_string(false, "a_much too long field", ' ', ' ', '_', &count, table[0], 8);
  EXPECT_STREQ(table[1], "much to");
  char small[4];
  s_copyText(small, "too long");
  EXPECT_STREQ(small, "too");
  s_copyText(small, nullptr);
  EXPECT_STREQ(small, "");
}

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
