#include <gmock/gmock.h>

#include <chrono>
#include <limits>

#include "Common/CMat.h"
#include "Core/Ambfix/Pflambda.h"
#include "GNX_IO.h"
#include "support/reference_cases.h"
#include "support/subset_problems.h"

namespace {

using Matrix = std::vector<double>;  // column-major

struct Solution {
  int status = -1;
  std::vector<double> F, s;
};

std::vector<double> numbers(const Json::Value& list) {
  std::vector<double> all;
  for (const Json::Value& x : list) all.push_back(x.asDouble());
  return all;
}

Solution solve(int n, int m, const std::vector<double>& a, const Matrix& Q) {
  const auto rows = static_cast<std::size_t>(n), columns = static_cast<std::size_t>(m);
  Solution r{-1, std::vector(rows * columns, -1.0), std::vector(columns, -1.0)};
  r.status = GNX_IO::lambda(n, m, a.data(), Q.data(), r.F.data(), r.s.data());
  return r;
}

/// (a - z)^T Q^-1 (a - z).
double squaredNorm(const std::vector<double>& a, const Matrix& inverse, const double* z) {
  double sum = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i)
    for (std::size_t j = 0; j < a.size(); ++j)
      sum += (a[i] - z[i]) * inverse[i + j * a.size()] * (a[j] - z[j]);
  return sum;
}

/// The norms of all integer vectors up to a bound, by plain recursion over a box that holds the
/// ellipsoid: |a_i - z_i| <= sqrt(Q_ii bound).
void enumerate(const std::vector<double>& a, const Matrix& Q, const Matrix& inverse, double bound,
               std::vector<double>& z, std::vector<double>& norms) {
  const auto i = z.size();
  if (i == a.size()) {
    norms.push_back(squaredNorm(a, inverse, z.data()));
    return;
  }
  const double half = std::sqrt(Q[i * (a.size() + 1)] * bound) * (1.0 + 1e-12);
  for (double x = std::ceil(a[i] - half); x <= a[i] + half; x += 1.0) {
    z.push_back(x);
    enumerate(a, Q, inverse, bound, z, norms);
    z.pop_back();
  }
}

TEST(Lambda, PublishedAndEnumeratedProblems) {
  const Json::Value root = gnx_test::referenceCases("lambda_cases.json");
  ASSERT_EQ(root["cases"].size(), 31u);
  for (const Json::Value& item : root["cases"]) {
    SCOPED_TRACE(item["name"].asString());
    const int n = item["n"].asInt();
    std::vector<double> a = numbers(item["a"]), integers = numbers(item["z1"]);
    std::ranges::copy(numbers(item["z2"]), std::back_inserter(integers));
    Matrix Q;
    for (const Json::Value& row : item["Q"]) std::ranges::copy(numbers(row), std::back_inserter(Q));
    const Matrix before = Q;
    const Solution r = solve(n, 2, a, Q);
    ASSERT_EQ(r.status, 0);
    const double s1 = item["s1"].asDouble(), s2 = item["s2"].asDouble();
    EXPECT_NEAR(r.s[0], s1, 1e-8 * (1.0 + s1));
    EXPECT_NEAR(r.s[1], s2, 1e-8 * (1.0 + s2));
    EXPECT_EQ(r.F, integers);

    // the same through the engine, which rounds a single one by itself
    std::vector<double> second(a.size());
    double s[2] = {};
    ASSERT_EQ(tarvio::ambslv_(n, Q.data(), a.data(), second.data(), s), 0);
    EXPECT_EQ(Q, before) << "the covariance belongs to the caller";
    EXPECT_TRUE(std::equal(a.begin(), a.end(), r.F.begin()));
    EXPECT_NEAR(s[0], s1, 1e-9 * (1.0 + s1));
    EXPECT_NEAR(s[1], s2, 1e-9 * (1.0 + s2));
  }
}

TEST(Lambda, EqualsBruteForceOnRandomProblems) {
  std::mt19937 random(20240617);
  int compared = 0;
  for (int trial = 0; trial < 400; ++trial) {
    const int n = 1 + trial % 6;
    const int m = 1 + trial % 4;
    const auto p = gnx_test::drawProblem(n, 0.5, 0.3, 0.15, trial % 3, random);
    Matrix inverse = p.Q;
    ASSERT_EQ(tarvio::CMat::CMat_Inverse(inverse.data(), n, n), 0);
    const Solution r = solve(n, m, p.x, p.Q);
    ASSERT_EQ(r.status, 0);
    ASSERT_TRUE(std::ranges::is_sorted(r.s));
    for (int c = 0; c < m; ++c) {
      const double expected = squaredNorm(p.x, inverse, &r.F[static_cast<std::size_t>(c * n)]);
      ASSERT_NEAR(r.s[static_cast<std::size_t>(c)], expected, 1e-8 * (1.0 + expected));
    }
    const double bound = r.s.back() * (1.0 + 1e-9);
    double cells = 1.0;
    for (std::size_t i = 0; i < p.x.size(); ++i)
      cells *= 1.0 + 2.0 * std::sqrt(p.Q[i * (p.x.size() + 1)] * bound);
    if (cells > 1e5) continue;
    std::vector<double> z, norms;
    enumerate(p.x, p.Q, inverse, bound, z, norms);
    std::ranges::sort(norms);
    ASSERT_GE(norms.size(), static_cast<std::size_t>(m));
    for (std::size_t c = 0; c < r.s.size(); ++c) ASSERT_NEAR(r.s[c], norms[c], 1e-8 * (1.0 + norms[c])) << n;
    ++compared;
  }
  EXPECT_GT(compared, 300);
}

TEST(Lambda, RefusesWhatHasNoSolution) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  // rank 1, zero, indefinite, negative, not finite
  for (const Matrix& Q :
       {Matrix{1, 1, 1, 1}, {0, 0, 0, 0}, {1, 2, 2, 1}, {-1, 0, 0, 1}, {nan, 0, 0, 1}, {1, inf, inf, 1}})
    EXPECT_NE(solve(2, 2, {0.3, 0.4}, Q).status, 0) << testing::PrintToString(Q);
  for (const std::vector<double>& a : {std::vector{nan, 0.0}, {0, -inf}, {1e300, 0}})
    EXPECT_NE(solve(2, 2, a, {1, 0, 0, 1}).status, 0) << testing::PrintToString(a);
  solve(2, 2, {0.3, 0.4}, {1e300, 1e300, 1e300, 1.7e308});  // has only to end
  double value = 1.0;
  for (const auto& [n, m] : {std::pair{0, 2}, {-3, 2}, {1, 0}})
    EXPECT_NE(GNX_IO::lambda(n, m, &value, &value, &value, &value), 0) << n << ' ' << m;
  EXPECT_NE(GNX_IO::lambda(1, 2, nullptr, &value, &value, &value), 0);
}

// A hopeless model must not stop the epoch: sixty unit variances, floats half way between integers,
// give 2^60 equally good candidates.
TEST(Lambda, GivesUpOnSearchWithoutEnd) {
  const int n = 60;
  Matrix Q(n * n, 0.0);
  for (std::size_t i = 0; i < n; ++i) Q[i * (n + 1)] = 1.0 + 1e-3 * static_cast<double>(i);
  const std::vector<double> a(n, 0.5);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_NE(solve(n, 2, a, Q).status, 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

}  // namespace
