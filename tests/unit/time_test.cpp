// Calendar, leap seconds, and which epochs are processed: tags of real receivers lie beside the multiples of
// the interval, by corrections of their clock, by rounding of decimal fractions, or by a millisecond.

#include <gtest/gtest.h>

#include <cmath>
#include <ctime>

#include "Common/ComTime.h"
#include "Common/Taiutc.h"
#include "Interface/EpochTick.h"
#include "support/exit_message.h"
#include "support/files.h"
#include "support/places.h"
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

/// The days of a file; an empty name stands for a table of files without the entry.
int taiUtc(const std::string& file, int mjd) {
  Taiutc table;
  table.m_setFile(file);
  return table.m_getTaiutc(mjd);
}

struct LeapSeconds : testing::Test {
  std::string write(const std::string& text) const { return directory.write("leapsc", text); }
  const support::TemporaryDirectory directory;
};

TEST_F(LeapSeconds, ShippedTableFollowsBulletinC) {
  Taiutc table;
  table.m_setFile(support::kSourceDirectory + "/deploy/leapseconds.txt");
  // 1972-01-01, around the GPS epoch and the end of 2016, 2040
  for (const auto& [mjd, seconds] :
       {std::pair{41317, 10}, {44238, 18}, {44239, 19}, {57753, 36}, {57754, 37}, {66154, 37}})
    EXPECT_EQ(table.m_getTaiutc(mjd), seconds) << mjd;
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

TEST(EpochTick, CountsTagsWithinAMillisecondOfAMultiple) {
  const struct {
    double interval_s, sod;
    bool tick;
  } cases[] = {{30.0, 60.0, true},        {30.0, 45.0, false},      {30.0, 60.0 - 1e-7, true},
               {30.0, 60.0 + 4e-4, true}, {30.0, 59.9996, true},    {30.0, 60.001, true},
               {30.0, 60.005, false},     {30.0, 59.995, false},    {0.2, 0.1 + 0.1 + 0.2, true},
               {0.2, 86399.8, true},      {0.2, 86399.7, false},    {0.1, 0.3, true},
               {0.05, 43200.05, true},    {0.05, 43200.025, false}, {1.0, 17.3456, true},
               {30.0, 86399.9996, true},  {80000.0, 80000.0, true}};
  for (const auto& c : cases) EXPECT_EQ(EpochTick(c.interval_s).m_accept(60000, c.sod), c.tick) << c.sod;
}

TEST(EpochTick, TakesEveryTickOfADayAtTwentyHertz) {
  EpochTick tick(0.05);
  int ticks = 0;
  for (int k = 0; k < 20 * 86400; ++k) ticks += tick.m_accept(60000, k * 0.05) ? 1 : 0;
  EXPECT_EQ(ticks, 20 * 86400);
}

TEST(EpochTick, TakesOneEpochATick) {
  EpochTick tick(30.0);
  EXPECT_TRUE(tick.m_accept(60000, 86369.9995));
  EXPECT_FALSE(tick.m_accept(60000, 86370.0)) << "the tick has had its epoch";
  EXPECT_TRUE(tick.m_accept(60000, 86399.9995));
  EXPECT_FALSE(tick.m_accept(60001, 0.0)) << "the same tick, in the words of the next day";
  EXPECT_TRUE(tick.m_accept(60000, 43200.0)) << "data that begin again";
  EpochTick odd(80000.0);  // does not divide the day: the multiples begin anew at midnight
  EXPECT_TRUE(odd.m_accept(60000, 80000.0));
  EXPECT_TRUE(odd.m_accept(60001, 0.0));
}

}  // namespace
