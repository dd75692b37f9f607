#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "GNX_IO.h"
#include "support/reference_cases.h"

namespace {

using Matrix = std::vector<double>;  // column-major

struct Solution {
  int status = -1;
  std::vector<double> F, s;
};

Solution solve(int n, int m, const std::vector<double>& a, const Matrix& Q) {
  Solution r;
  r.F.assign(static_cast<std::size_t>(n * m), -1.0);
  r.s.assign(static_cast<std::size_t>(m), -1.0);
  r.status = GNX_IO::lambda(n, m, a.data(), Q.data(), r.F.data(), r.s.data());
  return r;
}

/// (a - z)^T Q^-1 (a - z) by Cholesky of Q.
double squaredNorm(int n, const std::vector<double>& a, const Matrix& Q, const double* z) {
  const auto at = [&](std::vector<double>& v, int i, int j) -> double& {
    return v[static_cast<std::size_t>(i + j * n)];
  };
  Matrix c = Q;
  double sum = 0.0;
  std::vector<double> y(static_cast<std::size_t>(n));
  for (int j = 0; j < n; ++j) {
    for (int k = 0; k < j; ++k) at(c, j, j) -= at(c, j, k) * at(c, j, k);
    at(c, j, j) = std::sqrt(at(c, j, j));
    for (int i = j + 1; i < n; ++i) {
      for (int k = 0; k < j; ++k) at(c, i, j) -= at(c, i, k) * at(c, j, k);
      at(c, i, j) /= at(c, j, j);
    }
    double v = a[static_cast<std::size_t>(j)] - z[j];
    for (int k = 0; k < j; ++k) v -= at(c, j, k) * y[static_cast<std::size_t>(k)];
    y[static_cast<std::size_t>(j)] = v / at(c, j, j);
    sum += y[static_cast<std::size_t>(j)] * y[static_cast<std::size_t>(j)];
  }
  return sum;
}

/// Q = sum of outer products: `strong` few large ones shared by all (geometry, ionosphere), plus
/// noise of each ambiguity. The larger `spread`, the more correlated.
Matrix randomCovariance(int n, int strong, double spread, double noise, std::mt19937& random) {
  std::normal_distribution<double> normal;
  Matrix Q(static_cast<std::size_t>(n * n), 0.0);
  for (int r = 0; r < strong; ++r) {
    std::vector<double> g(static_cast<std::size_t>(n));
    for (double& x : g) x = spread * normal(random);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        Q[static_cast<std::size_t>(i + j * n)] +=
            g[static_cast<std::size_t>(i)] * g[static_cast<std::size_t>(j)];
      }
    }
  }
  for (int i = 0; i < n; ++i) {
    Q[static_cast<std::size_t>(i + i * n)] += noise * (1.0 + std::abs(normal(random)));
  }
  return Q;
}

/// All integer vectors whose norm is not above the bound, by plain recursion over a box that holds
/// the ellipsoid: |a_i - z_i| <= sqrt(Q_ii bound).
void enumerate(int n, const std::vector<double>& a, const Matrix& Q, double bound, std::vector<double>& z,
               std::vector<double>& norms) {
  const auto i = z.size();
  if (static_cast<int>(i) == n) {
    norms.push_back(squaredNorm(n, a, Q, z.data()));
    return;
  }
  const double half = std::sqrt(Q[i + i * static_cast<std::size_t>(n)] * bound) * (1.0 + 1e-12);
  for (double x = std::ceil(a[i] - half); x <= a[i] + half; x += 1.0) {
    z.push_back(x);
    enumerate(n, a, Q, bound, z, norms);
    z.pop_back();
  }
}

TEST(Lambda, PublishedAndEnumeratedProblems) {
  const Json::Value root = gnx_test::referenceCases("lambda_cases.json");
  ASSERT_EQ(root["cases"].size(), 31u);
  for (const Json::Value& item : root["cases"]) {
    SCOPED_TRACE(item["name"].asString());
    const int n = item["n"].asInt();
    std::vector<double> a;
    Matrix Q;
    for (const Json::Value& x : item["a"]) a.push_back(x.asDouble());
    for (const Json::Value& row : item["Q"]) {
      for (const Json::Value& x : row) Q.push_back(x.asDouble());
    }
    const Matrix before = Q;
    const Solution r = solve(n, 2, a, Q);
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(Q, before) << "the covariance belongs to the caller";
    EXPECT_NEAR(r.s[0], item["s1"].asDouble(), 1e-8 * (1.0 + item["s1"].asDouble()));
    EXPECT_NEAR(r.s[1], item["s2"].asDouble(), 1e-8 * (1.0 + item["s2"].asDouble()));
    for (int i = 0; i < n; ++i) {
      EXPECT_EQ(r.F[static_cast<std::size_t>(i)], item["z1"][i].asDouble());
      EXPECT_EQ(r.F[static_cast<std::size_t>(i + n)], item["z2"][i].asDouble());
    }
  }
}

TEST(Lambda, EqualsBruteForceOnRandomProblems) {
  std::mt19937 random(20240617);
  std::uniform_real_distribution<double> uniform(-30.0, 30.0);
  int compared = 0;
  for (int trial = 0; trial < 400; ++trial) {
    const int n = 1 + trial % 6;
    const int m = 1 + trial % 4;
    const Matrix Q = randomCovariance(n, 1 + trial % 3, 0.8, 0.02, random);
    std::vector<double> a(static_cast<std::size_t>(n));
    for (double& x : a) x = uniform(random);
    const Solution r = solve(n, m, a, Q);
    ASSERT_EQ(r.status, 0);
    ASSERT_TRUE(std::ranges::is_sorted(r.s));
    for (int c = 0; c < m; ++c) {
      const double expected = squaredNorm(n, a, Q, &r.F[static_cast<std::size_t>(c * n)]);
      ASSERT_NEAR(r.s[static_cast<std::size_t>(c)], expected, 1e-8 * (1.0 + expected));
    }
    const double bound = r.s.back() * (1.0 + 1e-9);
    double cells = 1.0;
    for (int i = 0; i < n; ++i) {
      cells *= 1.0 + 2.0 * std::sqrt(Q[static_cast<std::size_t>(i + i * n)] * bound);
    }
    if (cells > 1e5) continue;
    std::vector<double> z, norms;
    enumerate(n, a, Q, bound, z, norms);
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
  const std::vector<double> a{0.3, 0.4};
  EXPECT_NE(solve(2, 2, a, {1, 1, 1, 1}).status, 0) << "rank 1";
  EXPECT_NE(solve(2, 2, a, {0, 0, 0, 0}).status, 0) << "zero";
  EXPECT_NE(solve(2, 2, a, {1, 2, 2, 1}).status, 0) << "indefinite";
  EXPECT_NE(solve(2, 2, a, {-1, 0, 0, 1}).status, 0);
  EXPECT_NE(solve(2, 2, a, {nan, 0, 0, 1}).status, 0);
  EXPECT_NE(solve(2, 2, a, {1, inf, inf, 1}).status, 0);
  EXPECT_NE(solve(2, 2, a, {1e300, 1e300, 1e300, 1.7e308}).status, -99);
  EXPECT_NE(solve(2, 2, {nan, 0}, {1, 0, 0, 1}).status, 0);
  EXPECT_NE(solve(2, 2, {0, -inf}, {1, 0, 0, 1}).status, 0);
  EXPECT_NE(solve(2, 2, {1e300, 0}, {1, 0, 0, 1}).status, 0);
  double value = 1.0;
  EXPECT_NE(GNX_IO::lambda(0, 2, &value, &value, &value, &value), 0);
  EXPECT_NE(GNX_IO::lambda(-3, 2, &value, &value, &value, &value), 0);
  EXPECT_NE(GNX_IO::lambda(1, 0, &value, &value, &value, &value), 0);
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
