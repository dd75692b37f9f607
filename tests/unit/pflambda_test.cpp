// Integer search with partial resolution: failure rates, subsets, and the screen in front of the searches.

#include "Core/Ambfix/Pflambda.h"

#include <gmock/gmock.h>

#include <iomanip>
#include <span>

#include "Core/Ambfix/RatioScreen.h"
#include "Core/Ambfix/SubsetSearch.h"
#include "support/files.h"
#include "support/subset_problems.h"

namespace {

using gnx_test::AmbiguityProblem;
using tarvio::RatioScreen;
using tarvio::RatioTable;

double s_successOf(double sigma) { return std::erf(0.5 / sigma / std::sqrt(2.0)); }

/// A table of the usual extent whose values grow with the failure rate and fall with the dimension.
struct FailureRate : ::testing::Test {
  FailureRate() {
    std::ostringstream text;
    text << "nrow 1246 ndim 66" << std::fixed << std::setprecision(3);
    for (int r = 0; r < 1246; ++r) {
      text << '\n';
      for (int n = 1; n <= 66; ++n) text << std::setw(6) << s_value(n, r);
    }
    EXPECT_TRUE(m_read(text.str() + '\n'));
  }
  bool m_read(const std::string& text) {
    return m_table.read_table(m_directory.write("ratio.txt", text).c_str());
  }
  void m_lookup(double* Q, int n, double sigma) {
    tarvio::s_pf_lookup_u(m_table, Q, n, sigma, 0.001, -1, &mu, &rate);
  }
  static double s_value(int n, int row) {
    return row > 1000 && n < 3 ? 0.0 : 1.0 + 0.02 * row / std::sqrt(n);
  }

  const support::TemporaryDirectory m_directory;
  RatioTable m_table;
  double mu = 0.0, rate = 0.0;
};

TEST_F(FailureRate, ChoosesTheRowOfTheTable) {
  const struct {
    int n;
    double rate;
    int row;
  } cases[] = {{1, 0.0, 0},
               {3, 0.001, 0},
               {12, 0.1, 495},     // round(0.1/0.0002) - 5
               {2, 0.00129, 1},    // 6.45 rounds to 6
               {66, 0.25, 1245}};  // the last
  for (const auto& c : cases) EXPECT_NEAR(m_table.get_u(c.n, c.rate), s_value(c.n, c.row), 0.0006) << c.rate;
  // Rates that have no row, numbers of ambiguities that the table does not know.
  for (const auto& [n, rate] : {std::pair{3, 0.2501}, {3, std::nan("")}, {0, 0.1}, {67, 0.1}})
    EXPECT_EQ(m_table.get_u(n, rate), 0.0) << n << ' ' << rate;
}

TEST_F(FailureRate, FieldsOfTheTableTouchAShortLineLeavesItsLastFieldEmptyAndDamageIsTold) {
  ASSERT_TRUE(m_read("rows 2 dims 3\n12.34567.891 1.000\n 2.000 3.0\n"));
  EXPECT_THAT(std::span(m_table.u, 6), testing::ElementsAre(12.345, 2.0, 67.891, 3.0, 1.0, 0.0));
  testing::internal::CaptureStdout();
  EXPECT_FALSE(m_table.read_table("/no/such/table"));
  EXPECT_EQ(m_table.get_u(2, 0.1), 0.0);
  EXPECT_TRUE(m_read("nrow 3 ndim 1\n 2.500\n"));
  const std::string end = "end of file: " + (m_directory.path() / "ratio.txt").string();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "can't open file: /no/such/table\nWARNING: Ratio Table is empty" + end + end);
  EXPECT_DOUBLE_EQ(m_table.u[0], 2.5);
  EXPECT_DOUBLE_EQ(m_table.u[2], 0.0);

  for (const char* text : {"", "nrow many ndim 3\n", "nrow 999999999 ndim 999999999\n"}) {
    EXPECT_FALSE(m_read(text));
    EXPECT_EQ(m_table.u, nullptr) << "nothing of the last table may stay";
  }
  EXPECT_TRUE(m_read("nrow 0 ndim 0\n")) << "the mode without a table";
  EXPECT_EQ(m_table.u, nullptr);
}

TEST_F(FailureRate, OfIndependentAmbiguitiesIsTheProductOfTheirRoundingErrors) {
  // sqrt(Q) = 0.20, 0.25, 0.15 cycles, scaled by a sigma of 1.2
  double Q[9] = {0.04, 0.0, 0.0, 0.0, 0.0625, 0.0, 0.0, 0.0, 0.0225};
  m_lookup(Q, 3, 1.2);
  EXPECT_NEAR(rate, 1.0 - s_successOf(0.24) * s_successOf(0.30) * s_successOf(0.18), 1e-12);
  EXPECT_NEAR(Q[4], 0.0625 * 1.44, 1e-15);
  const int row = static_cast<int>(std::lround(rate / 0.0002)) - 5;
  EXPECT_NEAR(1.0 / mu, s_value(3, row), 0.0006);  // six characters in the file
}

TEST_F(FailureRate, DecidesOnTheThreshold) {
  double strong = 0.01;  // 0.1 cycles: 5.7e-7, below the tolerated rate
  m_lookup(&strong, 1, 1.0);
  EXPECT_LT(rate, 0.001);
  EXPECT_EQ(tarvio::s_ratioThreshold(mu), 1.0);
  double weak = 1.0;  // beyond the table
  m_lookup(&weak, 1, 1.0);
  EXPECT_GT(rate, 0.25);
  EXPECT_EQ(tarvio::s_ratioThreshold(mu), 9999.0);
}

TEST_F(FailureRate, ACovarianceThatIsNotPositiveDefiniteHasNoFactorAndFailsForSure) {
  double Q[4] = {1.0, 2.0, 2.0, 1.0}, L[4], D[2], x[2] = {0.3, 0.4}, s[2] = {};
  testing::internal::CaptureStderr();
  EXPECT_EQ(tarvio::LD(2, Q, L, D), 1);
  EXPECT_NE(tarvio::ambslv(2, Q, x, s), 0);
  m_lookup(Q, 2, 1.0);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(" : LD factorization error\n"));
  EXPECT_THAT(x, testing::ElementsAre(0.3, 0.4)) << "failure leaves the floats in place";
  EXPECT_EQ(rate, 2.0);
  EXPECT_EQ(mu, 0.0);
}

struct PartialResolution : FailureRate {
  struct Tally {
    int cases = 0, accepted = 0;
    long searches = 0, plain = 0;
  };

  /// Both forms of a problem; every number of the outcome must be equal.
  static void s_compareForms(const AmbiguityProblem& p, double crit, const RatioTable* table, Tally& tally) {
    std::vector<double> best = p.x, second(p.x.size());
    double s[2];
    if (tarvio::ambslv_(p.n, p.Q.data(), best.data(), second.data(), s) != 0) return;
    const std::vector<int> worst = gnx_test::worstFirst(p);
    tarvio::SubsetProblem problem = gnx_test::subsetProblem(p, worst, best, second, crit);
    problem.table = table;
    tarvio::SubsetSearch search(problem);
    const auto fast = search.run();
    const auto plain = gnx_test::plainSubsets(p, crit, table);
    tally.searches += search.searches();
    tally.plain += plain.searches;
    tally.accepted += plain.accepted;
    EXPECT_EQ(fast.accepted, plain.accepted);
    EXPECT_EQ(fast.ratio, plain.ratio);
    if (!plain.accepted) return;
    EXPECT_EQ(fast.rows, plain.rows);
    EXPECT_EQ(fast.integers, plain.integers);
  }

  /// `count` random problems.
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
      SCOPED_TRACE(testing::Message() << "case " << tally.cases << " n " << n);
      s_compareForms(p, 1.2 + 2.3 * uniform(random), table, tally);
    }
    return tally;
  }
};

TEST_F(PartialResolution, EqualsTheSearchOfAllSubsetsByRatioAndByFailureRate) {
  const struct {
    int count;
    const RatioTable* table;
    int accepted;
  } cases[] = {{6000, nullptr, 1000}, {4000, &m_table, 200}};
  for (const auto& c : cases) {
    const Tally t = s_compare(c.count, 2, 14, c.table, c.table ? 2 : 1);
    EXPECT_GT(t.accepted, c.accepted);
    EXPECT_LT(t.searches, t.plain / 4) << "the bounds do not exclude anything";
  }
  s_compare(4, 27, 28, nullptr, 3);  // more than eight to leave out
  s_compare(3, 27, 28, &m_table, 4);
}

TEST_F(PartialResolution, OfEqualSubsetsTheFirstInOrderWins) {
  // Eight alike, each a quarter off: all pairs of subsets tie, with a table and without.
  AmbiguityProblem p;
  p.n = 8;
  p.Q.assign(64, 0.0);
  for (std::size_t i = 0; i < 8; ++i) p.Q[i * 9] = 0.0004;
  p.x = {3.25, 1.25, 4.25, 1.25, 5.25, 9.25, 2.25, 6.25};
  Tally tally;
  s_compareForms(p, 1.4, nullptr, tally);
  s_compareForms(p, 1.4, &m_table, tally);
  EXPECT_EQ(tally.accepted, 2);
}

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
