#include <gmock/gmock.h>

#include <chrono>
#include <span>

#include "Core/Ambfix/Pflambda.h"
#include "GNX_IO.h"
#include "support/reference_cases.h"

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
    const Solution four = solve(n, 4, a, Q), one = solve(n, 1, a, Q);
    EXPECT_TRUE(std::ranges::is_sorted(four.s));
    EXPECT_TRUE(std::ranges::equal(integers, std::span(four.F).first(integers.size())));
    EXPECT_TRUE(std::ranges::equal(one.F, std::span(integers).first(a.size())));

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
