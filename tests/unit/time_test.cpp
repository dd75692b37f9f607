#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <ctime>
#include <utility>

#include "Common/ComTime.h"
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
    ASSERT_EQ(mjd2time(mjd, 0.0), stamp);
  }
}

TEST(Calendar, KnownDates) {
  EXPECT_EQ(md_julday(2000, 1, 1), 51544);
  EXPECT_EQ(md_julday(1858, 11, 17), 0);
  EXPECT_EQ(md_julday(1980, 1, 6), 44244);
  int week = 0, wd = 0;
  gpsweek(2000, 1, 1, &week, &wd);
  EXPECT_EQ(week, 1042);
  EXPECT_EQ(wd, 6);
  for (const auto& [two, four] : {std::pair{30, 2030}, {31, 1931}, {99, 1999}, {2020, 2020}, {1900, 3800}}) {
    int year = two;
    yr2year(year);
    EXPECT_EQ(year, four);
  }
  EXPECT_EQ(run_timefmt(51544, 3661.9), "2000-01-01/01:01:01");
  EXPECT_EQ(run_timefmt(static_cast<std::time_t>(86399)), "1970-01-01/23:59:59");
}

TEST(Calendar, NonsenseEndsTheProcessWithTheNumbers) {
  const auto run = [](int y, int m, int d) {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    md_julday(y, m, d);
  };
  EXPECT_EXIT(run(2020, 13, 1), testing::ExitedWithCode(1),
              "\\[md_julday,[0-9]+\\]:iyear = 2020,imonth = 13,iday = 1,incorrect argument");
  EXPECT_EXIT(run(2020, 1, 32), testing::ExitedWithCode(1), "exit by code");
  EXPECT_EXIT(run(2020, 0, 367), testing::ExitedWithCode(1), "");
  EXPECT_EXIT(run(-1, 1, 1), testing::ExitedWithCode(1), "");
}

TEST(Epoch, IncrementsStayInTheDay) {
  struct Case {
    double sod, inc;
    int day;
    double result;
  };
  for (const Case& c : {Case{10.0, -20.0, -1, 86390.0},
                        {86399.5, 0.5, 1, 0.0},
                        {0.0, 3.0 * 86400.0, 3, 0.0},
                        {0.0, -86400.0, -1, 0.0},
                        {100.0, 1.0e6, 11, 49700.0}}) {
    int mjd = 0;
    double sod = 0.0;
    timinc(59000, c.sod, c.inc, &mjd, &sod);
    EXPECT_EQ(mjd, 59000 + c.day);
    EXPECT_DOUBLE_EQ(sod, c.result);
  }
  // A step back that a double cannot tell from midnight must not give 86400.
  int mjd = 0;
  double sod = 0.0;
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
  EXPECT_EQ(mjd, 59025);
  EXPECT_DOUBLE_EQ(sod, 1234.5);
  mjd2wksow(59025, 0.0, nullptr, nullptr);
  wksow2mjd(2111, -1.0, &mjd, nullptr);
  EXPECT_EQ(mjd, 59020);

  EXPECT_EQ(mjd2time(40587, 0.0), 0);
  EXPECT_EQ(mjd2time(51544, 0.999), 946684800);
  EXPECT_EQ(mjd2time(88069, 0.0), 0) << "2100";
  EXPECT_EQ(mjd2time(40586, 0.0), 0) << "1969";
  EXPECT_EQ(mjd2time(51544, std::nan("")), 0);
  time2mjd(946684800L + 43201, &mjd, &sod);
  EXPECT_EQ(mjd, 51544);
  EXPECT_EQ(sod, 43201.0);
}

TEST(Epoch, BroadcastStampsOfBeiDouMoveToGpsTime) {
  for (const auto& [name, shift] :
       {std::pair{"C06", 14.0}, {"B06", 14.0}, {"G01", 0.0}, {"E01", 0.0}, {"J01", 0.0}}) {
    int mjd = 59000;
    double sod = 86390.0;
    brdtime(name, &mjd, &sod);
    EXPECT_DOUBLE_EQ(timdif(mjd, sod, 59000, 86390.0), shift) << name;
    EXPECT_LT(sod, 86400.0);
  }
}

class LeapSecondTest : public gnx_test::TableFixture {};

TEST_F(LeapSecondTest, ClockAndGlonassRunOnGpsTime) {
  int mjd = 59025, day = 0;
  double sod = 86390.0, second = 0.0;
  brdtime("R09", &mjd, &sod);  // 18 s ahead of UTC since 2017
  EXPECT_EQ(mjd, 59026);
  EXPECT_DOUBLE_EQ(sod, 8.0);

  const long before = s_wallClock();
  cur_time(&mjd, &sod);
  time2mjd(before, &day, &second);
  const double ahead = timdif(mjd, sod, day, second);
  EXPECT_TRUE(ahead >= 18.0 && ahead <= 20.0) << ahead;
  EXPECT_EQ(runtime().size(), std::string("2020-06-25 12:00:00").size());
}

}  // namespace
