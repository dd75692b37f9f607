#include <gtest/gtest.h>

#include <fstream>
#include <limits>
#include <string>

#include "Core/Ambfix/Pflambda.h"

namespace {

using tarvio::RatioTable;

class RatioTableTest : public testing::Test {
 protected:
  std::string write(const std::string& text) {
    const std::string path = testing::TempDir() + "ratio_table.txt";
    std::ofstream(path) << text;
    return path;
  }
  /// Value n + row/1000 for dimension n, in fields of six characters.
  std::string full(int rows, int dimensions) {
    std::string text = "nrow " + std::to_string(rows) + " ndim " + std::to_string(dimensions) + "\n";
    for (int r = 0; r < rows; ++r) {
      for (int n = 1; n <= dimensions; ++n) {
        char field[16];
        std::snprintf(field, sizeof field, "%6.3f", n + (r % 1000) / 1000.0);
        text += field;
      }
      text += '\n';
    }
    return text;
  }
  RatioTable m_table;
};

TEST_F(RatioTableTest, RowsFollowTheFailureRate) {
  ASSERT_TRUE(m_table.read_table(write(full(1246, 12)).c_str()));
  EXPECT_EQ(m_table.ndim, 12);
  EXPECT_EQ(m_table.nrow, 1246);
  ASSERT_NE(m_table.u, nullptr);
  EXPECT_DOUBLE_EQ(m_table.get_u(1, 0.0), 1.0);
  EXPECT_DOUBLE_EQ(m_table.get_u(3, 0.001), 3.0);
  EXPECT_DOUBLE_EQ(m_table.get_u(12, 0.1), 12.495);    // round(0.1/0.0002) - 5
  EXPECT_DOUBLE_EQ(m_table.get_u(2, 0.00129), 2.001);  // 6.45 rounds to 6
  EXPECT_DOUBLE_EQ(m_table.get_u(2, 0.25), 2.245);     // row 1245, the last
  EXPECT_EQ(m_table.get_u(2, 0.2501), 0.0) << "rates that have no row never pass";
  EXPECT_EQ(m_table.get_u(2, 2.0), 0.0);
  EXPECT_EQ(m_table.get_u(2, std::numeric_limits<double>::quiet_NaN()), 0.0);
  EXPECT_EQ(m_table.get_u(0, 0.1), 0.0);
  EXPECT_EQ(m_table.get_u(13, 0.1), 0.0) << "more ambiguities than the table knows";
}

TEST_F(RatioTableTest, FieldsTouch) {
  ASSERT_TRUE(m_table.read_table(write("rows 2 dims 3\n12.34567.891 1.000\n 2.000 3.0\n").c_str()));
  EXPECT_DOUBLE_EQ(m_table.u[0], 12.345);
  EXPECT_DOUBLE_EQ(m_table.u[2], 67.891);
  EXPECT_DOUBLE_EQ(m_table.u[3], 3.0);
  EXPECT_DOUBLE_EQ(m_table.u[5], 0.0) << "a short line leaves its last field empty";
}

TEST_F(RatioTableTest, BadFiles) {
  testing::internal::CaptureStdout();
  EXPECT_FALSE(m_table.read_table("/no/such/table"));
  EXPECT_EQ(m_table.get_u(2, 0.1), 0.0);
  const std::string early = write("nrow 3 ndim 1\n 2.500\n");
  EXPECT_TRUE(m_table.read_table(early.c_str()));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "can't open file: /no/such/table\nWARNING: Ratio Table is emptyend of file: " + early +
                "end of file: " + early);
  EXPECT_DOUBLE_EQ(m_table.u[0], 2.5);
  EXPECT_DOUBLE_EQ(m_table.u[2], 0.0);

  EXPECT_FALSE(m_table.read_table(write("").c_str()));
  EXPECT_EQ(m_table.u, nullptr) << "nothing of the last table may stay";
  EXPECT_FALSE(m_table.read_table(write("nrow many ndim 3\n").c_str()));
  EXPECT_FALSE(m_table.read_table(write("nrow 999999999 ndim 999999999\n").c_str()));
  EXPECT_TRUE(m_table.read_table(write("nrow 0 ndim 0\n").c_str())) << "the mode without a table";
  EXPECT_EQ(m_table.u, nullptr);
}

}  // namespace
