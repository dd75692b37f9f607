#include <gtest/gtest.h>

#include <cmath>
#include <ctime>
#include <tuple>

#include "Common/ComTime.h"
#include "support/exit_message.h"
#include "support/table_fixture.h"

namespace {

using namespace tarvio;

TEST(Calendar, EveryDayOf1970To2099AgreesWithTheCLibrary) {
  for (int mjd = 40587; mjd < 88069; ++mjd) {
    const std::time_t stamp = (mjd - 40587) * 86400L;
    std::tm utc{};
    gmtime_r(&stamp, &utc);
    const int year = utc.tm_year + 1900, month = utc.tm_mon + 1, doy = utc.tm_yday + 1;
    ASSERT_EQ(md_julday(year, month, utc.tm_mday), mjd);
    ASSERT_EQ(md_julday(year, 0, doy), mjd) << "month 0 is a day of year";
    int y = 0, m = 0, d = 0, k = 0, week = 0, wd = 0;
    mjd2date(mjd, 0.0, &y, &m, &d, nullptr, nullptr, nullptr);
    ASSERT_TRUE(y == year && m == month && d == utc.tm_mday) << mjd;
    mjd2doy(mjd, &y, &k);
    ASSERT_TRUE(y == year && k == doy) << mjd;
    gpsweek(0, 0, mjd, &week, &wd);
    ASSERT_EQ(wd, utc.tm_wday) << "GPS weeks begin on Sunday";
    ASSERT_TRUE(mjd < 44244 || week == (mjd - 44244) / 7) << "1980-01-06 began week 0";
    ASSERT_EQ(mjd2time(mjd, 0.0), stamp);
  }
}

TEST(Calendar, YearsOfTwoDigitsAndNonsenseThatEndsTheProcessWithItsNumbers) {
  for (const auto& [two, four] : {std::pair{30, 2030}, {31, 1931}, {2020, 2020}}) {
    int year = two;
    yr2year(year);
    EXPECT_EQ(year, four);
  }
  EXPECT_EXIT_MESSAGE(md_julday(2020, 13, 1),
                      "\\[md_julday,[0-9]+\\]:iyear = 2020,imonth = 13,iday = 1,incorrect argument");
  EXPECT_EXIT_MESSAGE(md_julday(2020, 0, 367), "exit by code");
}

TEST(Epoch, IncrementsStayInTheDay) {
  int mjd = 0;
  double sod = 0.0;
  for (const auto& [start, inc, day, result] : {std::tuple{10.0, -20.0, -1, 86390.0},
                                                {86399.5, 0.5, 1, 0.0},
                                                {0.0, -86400.0, -1, 0.0},
                                                {100.0, 1.0e6, 11, 49700.0}}) {
    timinc(59000, start, inc, &mjd, &sod);
    EXPECT_EQ(mjd, 59000 + day);
    EXPECT_DOUBLE_EQ(sod, result);
  }
  // A step back that a double cannot tell from midnight must not give 86400.
  timinc(59000, 0.0, -1.0e-20, &mjd, &sod);
  EXPECT_TRUE(sod >= 0.0 && sod < 86400.0);
  EXPECT_NEAR(timdif(mjd, sod, 59000, 0.0), 0.0, 1.0e-9);
  EXPECT_DOUBLE_EQ(timdif(59001, 5.0, 59000, 86390.0), 15.0);
}

TEST(Epoch, WeeksAndStamps) {
  int week = 0, mjd = 0;
  double sow = 0.0, sod = 0.0;
  mjd2wksow(59025, 1234.5, &week, &sow);
  EXPECT_EQ(week, 2111);
  EXPECT_DOUBLE_EQ(sow, 4 * 86400.0 + 1234.5);  // Thursday, 2020-06-25
  wksow2mjd(week, sow, &mjd, &sod);
  EXPECT_TRUE(mjd == 59025 && sod == 1234.5);
  wksow2mjd(2111, -1.0, &mjd, nullptr);
  EXPECT_EQ(mjd, 59020);
  for (const auto& [day, second] : {std::pair{88069, 0.0}, {40586, 0.0}, {51544, std::nan("")}})
    EXPECT_EQ(mjd2time(day, second), 0) << "2100, 1969, no number";
  time2mjd(946684800L + 43201, &mjd, &sod);
  EXPECT_TRUE(mjd == 51544 && sod == 43201.0);
}

class LeapSecondTest : public gnx_test::TableFixture {};

TEST_F(LeapSecondTest, TheClockRunsOnGpsTime) {
  int mjd = 0, day = 0;
  double sod = 0.0, second = 0.0;
  const long before = s_wallClock();
  cur_time(&mjd, &sod);
  time2mjd(before, &day, &second);
  const double ahead = timdif(mjd, sod, day, second);
  EXPECT_TRUE(ahead >= 18.0 && ahead <= 20.0) << ahead;
}

}  // namespace
