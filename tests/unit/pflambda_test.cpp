#include "Core/Ambfix/Pflambda.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "Core/Ambfix/SubsetSearch.h"
#include "support/reference_cases.h"
#include "support/subset_problems.h"

namespace {

using gnx_test::AmbiguityProblem;
using tarvio::RatioTable;

std::vector<double> s_numbers(const Json::Value& value) {
  std::vector<double> numbers;
  for (const Json::Value& v : value) {
    if (v.isArray()) {
      for (const Json::Value& w : v) numbers.push_back(w.asDouble());
    } else {
      numbers.push_back(v.asDouble());
    }
  }
  return numbers;
}

double s_successOf(double sigma) { return std::erf(0.5 / sigma / std::sqrt(2.0)); }

// ---- search ----

TEST(IntegerSearch, GivesThePublishedCandidatesAndLeavesTheCovarianceAlone) {
  const Json::Value root = gnx_test::referenceCases("lambda_cases.json");
  ASSERT_GT(root["cases"].size(), 30u);
  for (const Json::Value& c : root["cases"]) {
    const int n = c["n"].asInt();
    const std::vector<double> Q = s_numbers(c["Q"]);
    std::vector<double> copy = Q, x = s_numbers(c["a"]), second(static_cast<std::size_t>(n));
    double s[2] = {};
    ASSERT_EQ(tarvio::ambslv_(n, copy.data(), x.data(), second.data(), s), 0) << c["name"];
    EXPECT_EQ(copy, Q);
    EXPECT_EQ(x, s_numbers(c["z1"])) << c["name"];
    EXPECT_NEAR(s[0], c["s1"].asDouble(), 1e-9 * (1.0 + s[0])) << c["name"];
    EXPECT_NEAR(s[1], c["s2"].asDouble(), 1e-9 * (1.0 + s[1])) << c["name"];
  }
}

TEST(IntegerSearch, OneAmbiguityIsRoundedAndItsRatioIsThatOfTheDistances) {
  const double Q = 0.04;
  double x = 7.2, second = 0.0, s[2] = {};
  ASSERT_EQ(tarvio::ambslv_(1, &Q, &x, &second, s), 0);
  EXPECT_EQ(x, 7.0);
  EXPECT_EQ(second, 8.0);
  EXPECT_NEAR(s[0], 1.0, 1e-12);   // 0.2^2 / 0.04
  EXPECT_NEAR(s[1], 16.0, 1e-12);  // 0.8^2 / 0.04
  x = -2.5;                        // halfway: away from zero, and no candidate is better
  ASSERT_EQ(tarvio::ambslv_(1, &Q, &x, &second, s), 0);
  EXPECT_EQ(x, -3.0);
  EXPECT_EQ(second, -2.0);
  EXPECT_EQ(s[1], s[0]);
}

// ---- factorisation and decorrelation ----

TEST(Decorrelation, FactorReproducesTheCovarianceBeforeAndAfterTheTransformation) {
  std::mt19937 random(11);
  for (const int n : {2, 5, 12, 40}) {
    const auto size = static_cast<std::size_t>(n);
    const AmbiguityProblem p = gnx_test::drawProblem(n, 1.0, 0.1, 0.05, 0, random);
    std::vector<double> L(size * size), D(size), Z(size * size, 0.0);
    for (std::size_t i = 0; i < size; ++i) Z[i * (size + 1)] = 1.0;
    const auto product = [&](std::size_t i, std::size_t j) {
      double sum = 0.0;
      for (std::size_t k = 0; k < size; ++k) sum += L[i * size + k] * D[k] * L[j * size + k];
      return sum;
    };
    ASSERT_EQ(tarvio::LD(n, p.Q.data(), L.data(), D.data()), 0);
    const double largest = *std::max_element(p.Q.begin(), p.Q.end());
    double logDet = 0.0, after = 0.0;
    for (std::size_t i = 0; i < size; ++i) {
      logDet += std::log(D[i]);
      EXPECT_EQ(L[i * size + i], 1.0);
      for (std::size_t j = 0; j < size; ++j) EXPECT_NEAR(product(i, j), p.Q[j * size + i], 1e-12 * largest);
    }
    ASSERT_TRUE(tarvio::s_decorrelate(n, L.data(), D.data(), Z.data()));
    for (std::size_t i = 0; i < size; ++i) {
      after += std::log(D[i]);
      // Lovasz: no neighbours whose exchange would still pay
      if (i + 1 < size) {
        const double l = L[i * size + i + 1];
        EXPECT_GE(D[i] + l * l * D[i + 1] + 1.0e-6, D[i + 1]);
      }
      for (std::size_t j = 0; j < size; ++j) {
        EXPECT_EQ(Z[j * size + i], std::round(Z[j * size + i]));
        double transformed = 0.0;
        for (std::size_t a = 0; a < size; ++a)
          for (std::size_t b = 0; b < size; ++b)
            transformed += Z[i * size + a] * p.Q[b * size + a] * Z[j * size + b];
        EXPECT_NEAR(product(i, j), transformed, 1e-8 * largest) << n;
      }
    }
    EXPECT_NEAR(after, logDet, 1e-7 * n) << "the transformation is not unimodular";
  }
}

TEST(Decorrelation, ACovarianceThatIsNotPositiveDefiniteHasNoFactor) {
  const double Q[4] = {1.0, 2.0, 2.0, 1.0};
  double L[4], D[2], x[2] = {0.3, 0.4}, s[2] = {};
  testing::internal::CaptureStderr();
  EXPECT_EQ(tarvio::LD(2, Q, L, D), 1);
  EXPECT_NE(tarvio::ambslv(2, Q, x, s), 0);
  EXPECT_NE(testing::internal::GetCapturedStderr().find(" : LD factorization error\n"), std::string::npos);
  EXPECT_TRUE(x[0] == 0.3 && x[1] == 0.4) << "failure leaves the floats in place";
}

// ---- failure rate and table ----

/// A table of the usual extent whose values grow with the failure rate and fall with the dimension.
class FailureRate : public ::testing::Test {
 protected:
  FailureRate() {
    m_path = std::filesystem::temp_directory_path() / ("ratio_" + std::to_string(getpid()) + ".txt");
    std::FILE* out = std::fopen(m_path.c_str(), "w");
    std::fprintf(out, "nrow 1246 ndim 66\n");
    for (int r = 0; r < 1246; ++r) {
      for (int n = 1; n <= 66; ++n) std::fprintf(out, "%6.3f", s_value(n, r));
      std::fputc('\n', out);
    }
    std::fclose(out);
    EXPECT_TRUE(m_table.read_table(m_path.c_str()));
  }
  ~FailureRate() override { std::filesystem::remove(m_path); }

  static double s_value(int n, int row) {
    return row > 1000 && n < 3 ? 0.0 : 1.0 + 0.02 * row / std::sqrt(n);
  }

  std::filesystem::path m_path;
  RatioTable m_table;
};

TEST_F(FailureRate, OfIndependentAmbiguitiesIsTheProductOfTheirRoundingErrors) {
  // sqrt(Q) = 0.20, 0.25, 0.15 cycles, scaled by a sigma of 1.2
  std::vector<double> Q = {0.04, 0.0, 0.0, 0.0, 0.0625, 0.0, 0.0, 0.0, 0.0225};
  double mu = 0.0, rate = 0.0;
  tarvio::s_pf_lookup_u(m_table, Q.data(), 3, 1.2, 0.001, -1, &mu, &rate);
  EXPECT_NEAR(rate, 1.0 - s_successOf(0.24) * s_successOf(0.30) * s_successOf(0.18), 1e-12);
  EXPECT_NEAR(Q[4], 0.0625 * 1.44, 1e-15);
  const int row = static_cast<int>(std::lround(rate / 0.0002)) - 5;
  EXPECT_NEAR(1.0 / mu, s_value(3, row), 0.0006);  // six characters in the file
}

TEST_F(FailureRate, DecidesOnTheThreshold) {
  double mu = 0.0, rate = 0.0;
  double strong = 0.01;  // 0.1 cycles: 5.7e-7, below the tolerated rate
  tarvio::s_pf_lookup_u(m_table, &strong, 1, 1.0, 0.001, -1, &mu, &rate);
  EXPECT_LT(rate, 0.001);
  EXPECT_EQ(tarvio::s_ratioThreshold(mu), 1.0);
  double weak = 1.0;  // beyond the table
  tarvio::s_pf_lookup_u(m_table, &weak, 1, 1.0, 0.001, -1, &mu, &rate);
  EXPECT_GT(rate, 0.25);
  EXPECT_EQ(tarvio::s_ratioThreshold(mu), 9999.0);
  double broken[4] = {1.0, 2.0, 2.0, 1.0};
  testing::internal::CaptureStderr();
  tarvio::s_pf_lookup_u(m_table, broken, 2, 1.0, 0.001, -1, &mu, &rate);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(rate, 2.0);
  EXPECT_EQ(mu, 0.0);
}

// ---- partial resolution ----

class PartialResolution : public FailureRate {
 protected:
  struct Tally {
    int cases = 0, accepted = 0;
    long searches = 0, plain = 0;
  };

  static tarvio::SubsetResult s_fast(const AmbiguityProblem& p, double crit, const RatioTable* table,
                                     std::vector<double> best, std::vector<double> second, long& searches) {
    const std::vector<int> worst = gnx_test::worstFirst(p);
    tarvio::SubsetProblem problem = gnx_test::subsetProblem(p, worst, best, second, crit);
    problem.table = table;
    tarvio::SubsetSearch search(problem);
    const tarvio::SubsetResult result = search.run();
    searches += search.searches();
    return result;
  }

  /// Both forms on `count` random problems; every number of the outcome must be equal.
  static Tally s_compare(int count, int smallest, int largest, const RatioTable* table, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> uniform;
    Tally tally;
    for (; tally.cases < count && !testing::Test::HasFailure(); ++tally.cases) {
      // More small than large ones: the plain form of the largest takes a thousand times longer.
      const int n =
          smallest + static_cast<int>((largest - smallest + 0.999) * std::pow(uniform(random), 1.5));
      AmbiguityProblem p = gnx_test::drawProblem(
          n, std::exp(2.5 * uniform(random) - 2.0), 0.05 * uniform(random),
          0.02 * std::exp(2.8 * uniform(random)), static_cast<int>(4.0 * uniform(random)), random);
      p.sigma = 0.7 + 0.6 * uniform(random);
      const double crit = 1.2 + 2.3 * uniform(random);
      std::vector<double> best = p.x, second(p.x.size());
      double s[2];
      if (tarvio::ambslv_(n, p.Q.data(), best.data(), second.data(), s) != 0) continue;
      const auto fast = s_fast(p, crit, table, best, second, tally.searches);
      const auto plain = gnx_test::plainSubsets(p, crit, table);
      tally.plain += plain.searches;
      tally.accepted += plain.accepted;
      EXPECT_EQ(fast.accepted, plain.accepted) << "case " << tally.cases << " n " << n;
      EXPECT_EQ(fast.ratio, plain.ratio) << "case " << tally.cases << " n " << n;
      if (!plain.accepted) continue;
      EXPECT_EQ(fast.rows, plain.rows) << "case " << tally.cases << " n " << n;
      EXPECT_EQ(fast.integers, plain.integers) << "case " << tally.cases << " n " << n;
    }
    return tally;
  }
};

TEST_F(PartialResolution, EqualsTheSearchOfAllSubsetsByRatio) {
  const Tally t = s_compare(6000, 2, 14, nullptr, 1);
  EXPECT_GT(t.accepted, 1000);
  EXPECT_LT(t.searches, t.plain / 4) << "the bounds do not exclude anything";
}

TEST_F(PartialResolution, EqualsTheSearchOfAllSubsetsByFailureRate) {
  const Tally t = s_compare(4000, 2, 14, &m_table, 2);
  EXPECT_GT(t.accepted, 200);
  EXPECT_LT(t.searches, t.plain / 4) << "the bounds do not exclude anything";
}

TEST_F(PartialResolution, EqualsTheSearchOfAllSubsetsBeyondEightToLeaveOut) {
  s_compare(4, 27, 28, nullptr, 3);
  s_compare(3, 27, 28, &m_table, 4);
}

TEST_F(PartialResolution, OfEqualSubsetsTheFirstInOrderWins) {
  // Eight alike, each a quarter off: all pairs of subsets tie, with a table and without.
  AmbiguityProblem p;
  p.n = 8;
  p.Q.assign(64, 0.0);
  for (std::size_t i = 0; i < 8; ++i) p.Q[i * 9] = 0.0004;
  p.x = {3.25, 1.25, 4.25, 1.25, 5.25, 9.25, 2.25, 6.25};
  std::vector<double> best = p.x, second(8);
  double s[2];
  ASSERT_EQ(tarvio::ambslv_(8, p.Q.data(), best.data(), second.data(), s), 0);
  for (const RatioTable* table :
       {static_cast<const RatioTable*>(nullptr), static_cast<const RatioTable*>(&m_table)}) {
    long searches = 0;
    const auto fast = s_fast(p, 1.4, table, best, second, searches);
    const auto plain = gnx_test::plainSubsets(p, 1.4, table);
    EXPECT_EQ(fast.accepted, plain.accepted);
    EXPECT_EQ(fast.rows, plain.rows);
    EXPECT_EQ(fast.ratio, plain.ratio);
  }
}

}  // namespace
