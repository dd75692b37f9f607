// Table of leap seconds.

#include "Common/Taiutc.h"

#include <gtest/gtest.h>

#include <string>

#include "Interface/Controller.h"
#include "support/exit_message.h"
#include "support/files.h"

namespace tarvio {
namespace {

void useTable(const std::string& path) { Controller::s_getInstance()->m_deploy.m_fileTable["leapsc"] = path; }

class LeapSeconds : public testing::Test {
 protected:
  void writeTable(const std::string& text) { useTable(directory.write("leapsc", text)); }
  const support::TemporaryDirectory directory;
};

TEST_F(LeapSeconds, ShippedTableFollowsBulletinC) {
  useTable(std::string(GNX_SOURCE_DIR) + "/deploy/leapseconds.txt");
  Taiutc table;
  EXPECT_EQ(table.m_getTaiutc(41317), 10);  // 1972-01-01
  EXPECT_EQ(table.m_getTaiutc(44238), 18);  // the eve of the GPS epoch
  EXPECT_EQ(table.m_getTaiutc(44239), 19);
  EXPECT_EQ(table.m_getTaiutc(57753), 36);  // 2016-12-31
  EXPECT_EQ(table.m_getTaiutc(57754), 37);
  EXPECT_EQ(table.m_getTaiutc(66154), 37);  // 2040
}

TEST_F(LeapSeconds, DayOutsideTheTableEndsTheProcess) {
  writeTable("title\n+leap sec\n 57204 36\n 57754 37\n-leap sec\n 60000 99\n");
  EXPECT_EQ(Taiutc().m_getTaiutc(57754), 37);
  EXPECT_EXIT_MESSAGE(Taiutc().m_getTaiutc(57203), "mjd = 57203,mjde = 57204,epoch before table start");
  EXPECT_EXIT_MESSAGE(Taiutc().m_getTaiutc(57755), "mjd = 57755,mjde = 57754,epoch after table start");
}

TEST_F(LeapSeconds, UnusableFileEndsTheProcess) {
  useTable("/nonexistent/leapsc");
  EXPECT_EXIT_MESSAGE(Taiutc().m_getTaiutc(57754), "rdUtcFile.*no such file");
  writeTable("no leap seconds here\n");
  EXPECT_EXIT_MESSAGE(Taiutc().m_getTaiutc(57754), "no leap second between");
  Controller::s_getInstance()->m_deploy.m_fileTable.erase("leapsc");
  EXPECT_EXIT_MESSAGE(Taiutc().m_getTaiutc(57754), "file_table not exist leapsc item");
}

}  // namespace
}  // namespace tarvio
