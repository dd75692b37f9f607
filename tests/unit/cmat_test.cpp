#include "Common/CMat.h"

#include <gmock/gmock.h>

#include <cmath>
#include <random>

#include "support/dense_lsq.h"
#include "support/exit_message.h"

namespace {

using tarvio::CMat;

constexpr double kCanary = -12345.678;

/// Column-major matrix with rows behind the used ones, so that a write past them shows.
struct Matrix {
  Matrix(int rows, int columns, int lead) : m_columns(columns), m_lead(lead) {
    m_data.assign(static_cast<std::size_t>(lead) * static_cast<std::size_t>(columns), kCanary);
    for (int c = 0; c < columns; ++c) std::fill_n(&at(0, c), rows, 0.0);
  }
  double& at(int r, int c) { return m_data[static_cast<std::size_t>(c * m_lead + r)]; }
  double at(int r, int c) const { return m_data[static_cast<std::size_t>(c * m_lead + r)]; }
  double* data() { return m_data.data(); }

  int m_columns, m_lead;
  std::vector<double> m_data;
};

double s_random() {
  static std::mt19937_64 engine(20240229);
  static std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  return uniform(engine);
}

Matrix s_dense(int rows, int columns, int lead, double zeroShare = 0.0) {
  Matrix m(rows, columns, lead);
  for (int c = 0; c < columns; ++c)
    for (int r = 0; r < rows; ++r) m.at(r, c) = std::fabs(s_random()) < zeroShare ? 0.0 : s_random();
  return m;
}

/// The filter's shape: a triangle with its right-hand side, sparse observation rows under it.
Matrix s_filterShape(int n, int rows, int lead) {
  Matrix m(n + rows, n + 1, lead);
  for (int c = 0; c <= n; ++c) {
    for (int r = 0; r < n && r <= c; ++r) m.at(r, c) = s_random() + (r == c ? 3.0 : 0.0);
    for (int r = n; r < n + rows; ++r)
      if (c < 5 || c == n || c % rows == r - n) m.at(r, c) = s_random();
  }
  return m;
}

/// The textbook sweep, dense and in long double.
void s_referenceSweep(Matrix& m, int ncol, int nrow) {
  std::vector<std::vector<long double>> a;
  for (int c = 0; c < m.m_columns; ++c) a.emplace_back(&m.at(0, c), &m.at(0, c) + nrow);
  for (int j = 0; j < std::min(ncol, nrow); ++j) {
    auto& column = a[static_cast<std::size_t>(j)];
    gnx_test::reflect(a, static_cast<std::size_t>(j), column.size());
    std::fill(column.begin() + j + 1, column.end(), 0.0L);
  }
  for (int c = 0; c < m.m_columns; ++c) std::ranges::copy(a[static_cast<std::size_t>(c)], &m.at(0, c));
}

void s_expectNear(const Matrix& got, const Matrix& want, double tolerance) {
  EXPECT_THAT(got.m_data, testing::Pointwise(testing::DoubleNear(tolerance), want.m_data));
}

TEST(Householder, EqualsTheDenseSweepAndWritesNowhereElse) {
  const struct {
    const char* name;
    Matrix matrix;
    int ncol, nrow;
  } cases[] = {{"filter epoch", s_filterShape(61, 47, 115), 61, 108},
               {"few rows", s_filterShape(30, 3, 34), 30, 33},
               {"no new rows: signs only", s_filterShape(17, 0, 18), 17, 17},
               {"square, dense", s_dense(23, 24, 25), 23, 23},
               {"scattered zeros", s_dense(40, 20, 41, 0.6), 15, 39},
               {"more columns than rows", s_dense(12, 20, 14), 20, 12},
               {"one row", s_dense(1, 5, 2), 3, 1},
               {"every remainder of the blocking", s_dense(19, 14, 20), 9, 19}};
  for (const auto& test : cases)
    for (const auto sweep : {CMat::CMat_Householder, CMat::CMat_Householder_old}) {
      SCOPED_TRACE(test.name);
      Matrix got = test.matrix, want = test.matrix;
      s_referenceSweep(want, test.ncol, test.nrow);
      sweep(got.data(), got.m_lead, test.ncol, test.nrow, got.m_columns, false);
      s_expectNear(got, want, 2.0e-13);
    }
}

TEST(Householder, DegenerateShapes) {
  Matrix zeroColumn = s_dense(6, 4, 7);
  std::fill_n(zeroColumn.data(), 6, 0.0);
  Matrix want = zeroColumn;
  want.at(6, 0) = 0.0;  // beta of a zero column
  CMat::CMat_Householder(zeroColumn.data(), 7, 1, 6, 4, true);
  EXPECT_EQ(zeroColumn.m_data, want.m_data);

  // Without a row for beta the sweep itself goes on, and nothing is written past the array.
  Matrix noRoom = s_dense(5, 3, 5), same = noRoom;
  testing::internal::CaptureStdout();
  CMat::CMat_Householder(noRoom.data(), 5, 3, 5, 3, true);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "***WARNING(CMat_Householder):no more space to save u!\n");
  s_referenceSweep(same, 3, 5);
  for (int c = 0; c < 3; ++c)
    for (int r = 0; r <= c; ++r) EXPECT_NEAR(noRoom.at(r, c), same.at(r, c), 1.0e-14);
  double a[4] = {};
  EXPECT_EXIT_MESSAGE(CMat::CMat_Householder(a, 2, 3, 2, 2, false),
                      "\\*\\*\\*ERROR\\(CMat_Householder\\):Wrong input arguments!");
}

TEST(Inverse, TimesTheMatrixIsOneAndSingularOnesStayAsTheyAre) {
  for (const int n : {1, 2, 5, 33}) {
    Matrix m = s_dense(n, n, n + 3, 0.3);
    for (int i = 0; i < n; ++i) m.at(i, (i + 1) % n) += 4.0;  // no diagonal to lean on: pivots must move
    const Matrix original = m;
    ASSERT_EQ(CMat::CMat_Inverse(m.data(), m.m_lead, n), 0);
    Matrix product(n, n, n);
    CMat::CMat_Matmul("NN", n, n, n, 1.0, original.m_data.data(), m.m_lead, m.data(), m.m_lead, 0.0,
                      product.data(), n);
    Matrix one(n, n, n);
    for (int c = 0; c < n; ++c) {
      one.at(c, c) = 1.0;
      EXPECT_EQ(m.at(n, c), kCanary);
    }
    s_expectNear(product, one, 1.0e-12);
  }
  for (std::vector<double> a : {std::vector<double>{1, 2, 2, 4}, std::vector<double>{1, 0, 1, 0}}) {
    const std::vector<double> before = a;
    EXPECT_EQ(CMat::CMat_Inverse(a.data(), 2, 2), -1);
    EXPECT_EQ(a, before);
  }
  EXPECT_EQ(CMat::CMat_Inverse(nullptr, 0, 0), 0);
}

TEST(SolveLinear, EqualsTheProductWithThePackedInverseAndKeepsInfinitiesWhereTheyBelong) {
  const int n = 40;
  Matrix r = s_filterShape(n, 0, n + 1);
  std::vector<double> b(n), x, packed(n * (n + 1) / 2);
  for (double& v : b) v = s_random();
  x = b;
  CMat::CMat_SolveLinear(n, r.data(), r.m_lead, x.data(), 0);
  CMat::CMat_InverUU(r.data(), packed.data(), r.m_lead, n, 'W');
  for (int i = 0; i < n; ++i) {
    double sum = 0.0;
    for (int c = i; c < n; ++c)
      sum += packed[static_cast<std::size_t>(c * (c + 1) / 2 + i)] * b[static_cast<std::size_t>(c)];
    EXPECT_NEAR(x[static_cast<std::size_t>(i)], sum, 1.0e-9 * (1.0 + std::fabs(sum)));
  }

  // Rows [2 0 1; 0 0 0; 0 0 5]: the second parameter has no information.
  const double gap[9] = {2, 0, 0, 0, 0, 0, 1, 0, 5};
  double y[3] = {4.0, 1.0, 10.0};
  CMat::CMat_SolveLinear(3, gap, 3, y, 0);
  EXPECT_TRUE(std::isinf(y[1]));
  EXPECT_DOUBLE_EQ(y[0], 1.0);
  EXPECT_DOUBLE_EQ(y[2], 2.0);
}

TEST(Matmul, AllFormsAgainstTheTripleLoop) {
  const int m = 5, n = 7, k = 6;
  for (const char* op : {"NN", "NT", "TN", "TT"}) {
    SCOPED_TRACE(op);
    const bool ta = op[0] == 'T', tb = op[1] == 'T';
    const Matrix a = s_dense(ta ? k : m, ta ? m : k, 9, 0.3), b = s_dense(tb ? n : k, tb ? k : n, 10);
    for (const double beta : {0.0, -0.5}) {
      Matrix c = s_dense(m, n, 8), want = c;
      if (beta == 0.0) c.at(0, 0) = std::numeric_limits<double>::quiet_NaN();
      for (int i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j) {
          double sum = 0.0;
          for (int l = 0; l < k; ++l) sum += (ta ? a.at(l, i) : a.at(i, l)) * (tb ? b.at(j, l) : b.at(l, j));
          want.at(i, j) = 2.0 * sum + (beta == 0.0 ? 0.0 : beta * c.at(i, j));
        }
      CMat::CMat_Matmul(op, m, n, k, 2.0, a.m_data.data(), 9, b.m_data.data(), 10, beta, c.data(), 8);
      s_expectNear(c, want, 1.0e-14);
    }
  }
}

}  // namespace
