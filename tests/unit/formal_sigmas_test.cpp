// Formal sigmas of a triangle against the inverse of its normal matrix.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "Common/CMat.h"
#include "Common/FormalSigmas.h"

namespace {

/// A triangle whose columns are known a thousand times better or worse than others. Elements above the
/// diagonal stay small against it: the reference inverts the normal matrix, which squares the condition.
struct Triangle {
  explicit Triangle(int size)
      : n(size), R(static_cast<std::size_t>(n * ld)), start(static_cast<std::size_t>(n)) {
    std::mt19937 random(7);
    std::normal_distribution<double> normal;
    for (int c = 0; c < n; ++c) {
      start[static_cast<std::size_t>(c)] = c * ld;
      for (int r = 0; r <= c; ++r)
        at(r, c) = r == c ? std::pow(10.0, c % 4 - 1) : 0.05 * std::pow(10.0, r % 4 - 1) * normal(random);
    }
  }
  double& at(int r, int c) { return R[static_cast<std::size_t>(c * ld + r)]; }
  std::vector<double> sigmas(int count) const {
    std::vector<double> s(static_cast<std::size_t>(count));
    tarvio::s_formalSigmas(R.data(), start.data(), n, count, s.data());
    return s;
  }

  static constexpr int ld = 120;
  int n;
  std::vector<double> R;
  std::vector<int> start;
};

TEST(FormalSigmas, AreThoseOfTheInverseNormalMatrix) {
  for (const int n : {1, 5, 32, 33, 97}) {
    Triangle triangle(n);
    std::vector<double> normal(static_cast<std::size_t>(n * n));
    tarvio::CMat::CMat_Matmul("TN", n, n, n, 1.0, triangle.R.data(), Triangle::ld, triangle.R.data(),
                              Triangle::ld, 0.0, normal.data(), n);
    ASSERT_GE(tarvio::CMat::CMat_Inverse(normal.data(), n, n), 0);
    for (const int count : {n, n / 2}) {
      const auto sigma = triangle.sigmas(count);
      for (int i = 0; i < count; ++i) {
        const double expected = std::sqrt(normal[static_cast<std::size_t>(i * (n + 1))]);
        EXPECT_NEAR(sigma[static_cast<std::size_t>(i)], expected, 1e-6 * expected) << n << " columns, " << i;
      }
    }
  }
}

TEST(FormalSigmas, FollowWhatBecomesKnownOfTheLastColumns) {
  for (const int leading : {1, 6, 30}) {
    constexpr int kLast = 9;
    const int n = leading + kLast;
    Triangle triangle(n);
    std::vector<double> normal(static_cast<std::size_t>(n * n));
    tarvio::CMat::CMat_Matmul("TN", n, n, n, 1.0, triangle.R.data(), Triangle::ld, triangle.R.data(),
                              Triangle::ld, 0.0, normal.data(), n);
    for (int i = leading; i < n; i += 2) normal[static_cast<std::size_t>(i * (n + 1))] += 1e6;
    ASSERT_GE(tarvio::CMat::CMat_Inverse(normal.data(), n, n), 0);
    std::vector<double> sigma(static_cast<std::size_t>(leading));
    std::vector<double> trailing, Q;
    for (int column = leading; column < n; ++column)
      for (int row = 0; row < n; ++row)
        if (row < leading) trailing.push_back(triangle.at(row, column));
        else Q.push_back(normal[static_cast<std::size_t>(column * n + row)]);
    tarvio::s_formalSigmas(triangle.R.data(), triangle.start.data(), leading, kLast, trailing.data(),
                           Q.data(), sigma.data());
    for (int i = 0; i < leading; ++i) {
      const double expected = std::sqrt(normal[static_cast<std::size_t>(i * (n + 1))]);
      EXPECT_NEAR(sigma[static_cast<std::size_t>(i)], expected, 1e-6 * expected) << leading << ' ' << i;
    }
  }
}

TEST(FormalSigmas, AColumnThatNothingDeterminesHasNone) {
  Triangle triangle(6);
  triangle.at(2, 2) = 0.0;
  const auto sigma = triangle.sigmas(6);
  EXPECT_EQ(sigma[2], 0.0);
  for (const double s : sigma) EXPECT_TRUE(std::isfinite(s));
}

}  // namespace
