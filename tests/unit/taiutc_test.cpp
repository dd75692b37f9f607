// Table of leap seconds.

#include "Common/Taiutc.h"

#include <gtest/gtest.h>

#include <string>

#include "support/exit_message.h"
#include "support/files.h"

namespace tarvio {
namespace {

/// The days of a file; an empty name stands for a table of files without the entry.
int taiUtc(const std::string& file, int mjd) {
  Taiutc table;
  table.m_setFile(file);
  return table.m_getTaiutc(mjd);
}

class LeapSeconds : public testing::Test {
 protected:
  std::string write(const std::string& text) const { return directory.write("leapsc", text); }
  const support::TemporaryDirectory directory;
};

TEST_F(LeapSeconds, ShippedTableFollowsBulletinC) {
  Taiutc table;
  table.m_setFile(std::string(GNX_SOURCE_DIR) + "/deploy/leapseconds.txt");
  EXPECT_EQ(table.m_getTaiutc(41317), 10);  // 1972-01-01
  EXPECT_EQ(table.m_getTaiutc(44238), 18);  // the eve of the GPS epoch
  EXPECT_EQ(table.m_getTaiutc(44239), 19);
  EXPECT_EQ(table.m_getTaiutc(57753), 36);  // 2016-12-31
  EXPECT_EQ(table.m_getTaiutc(57754), 37);
  EXPECT_EQ(table.m_getTaiutc(66154), 37);  // 2040
}

TEST_F(LeapSeconds, DayOutsideTheTableEndsTheProcess) {
  const std::string file = write("title\n+leap sec\n 57204 36\n 57754 37\n-leap sec\n 60000 99\n");
  EXPECT_EQ(taiUtc(file, 57754), 37);
  EXPECT_EXIT_MESSAGE(taiUtc(file, 57203), "mjd = 57203,mjde = 57204,epoch before table start");
  EXPECT_EXIT_MESSAGE(taiUtc(file, 57755), "mjd = 57755,mjde = 57754,epoch after table start");
}

TEST_F(LeapSeconds, UnusableFileEndsTheProcess) {
  EXPECT_EXIT_MESSAGE(taiUtc("/nonexistent/leapsc", 57754), "rdUtcFile.*no such file");
  EXPECT_EXIT_MESSAGE(taiUtc(write("no leap seconds here\n"), 57754), "no leap second between");
  EXPECT_EXIT_MESSAGE(taiUtc("", 57754), "file_table not exist leapsc item");
}

}  // namespace
}  // namespace tarvio
