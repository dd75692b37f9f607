#include <gmock/gmock.h>

#include <cmath>
#include <cstdlib>

#include "GNX_IO.h"

namespace {

using GNX_IO::gtime_t;

gtime_t at(double y, double mo, double d, double h = 0, double mi = 0, double s = 0) {
  const double ep[6] = {y, mo, d, h, mi, s};
  return GNX_IO::epoch2time(ep);
}

TEST(CompanionTime, WeeksAndUnixSecondsOfKnownDates) {
  EXPECT_EQ(at(1970, 1, 1).time, 0);
  EXPECT_EQ(at(2000, 2, 29, 12).time, 951825600);  // leap day of a century divisible by 400
  int week = -1;
  // Week 2111, day 4 = 25 June 2020; the roll-over of 7 April 2019 is week 2048.
  EXPECT_DOUBLE_EQ(GNX_IO::time2gpst(at(2020, 6, 25, 0, 0, 30.25), &week), 4 * 86400 + 30.25);
  EXPECT_EQ(week, 2111);
  EXPECT_DOUBLE_EQ(GNX_IO::time2gpst(at(1980, 1, 5, 23, 59, 59), &week), 604799.0);
  EXPECT_EQ(week, -1);
  EXPECT_DOUBLE_EQ(GNX_IO::time2gpst(at(2019, 4, 7), nullptr), 0.0);
}

TEST(CompanionTime, CalendarClosesOverAllDays) {
  gtime_t previous = at(1899, 12, 31, 23, 59, 59.5);
  for (std::int64_t day = previous.time / 86400 - 1; day < 80000; day += 13) {
    const gtime_t t{day * 86400 + 86399, 0.875};
    double ep[6];
    GNX_IO::time2epoch(t, ep);
    const gtime_t back = GNX_IO::epoch2time(ep);
    ASSERT_EQ(back.time, t.time);
    ASSERT_EQ(back.sec, t.sec);
    ASSERT_EQ(ep[5], 59.875);
  }
  const double bad[6] = {2020, 13, 1, 0, 0, 0}, nan[6] = {2020, 1, std::nan(""), 0, 0, 0};
  EXPECT_EQ(GNX_IO::epoch2time(bad).time, 0);
  EXPECT_EQ(GNX_IO::epoch2time(nan).time, 0);
}

// IERS Bulletin C: GPS-UTC is 18 s since 2017, 17 s before, 0 before July 1981.
TEST(CompanionTime, LeapSecondsChangeAtTheUtcMidnight) {
  for (const auto& [gps, seconds] : {std::pair{at(2026, 2, 6), 18.0},
                                     {at(2017, 1, 1, 0, 0, 18), 18.0},
                                     {at(2017, 1, 1, 0, 0, 16), 17.0},
                                     {at(1999, 1, 1, 0, 0, 13), 13.0},
                                     {at(1981, 6, 30), 0.0}})
    EXPECT_EQ(GNX_IO::timediff(gps, GNX_IO::gpst2utc(gps)), seconds) << gps.time;
  EXPECT_EQ(GNX_IO::gpst2utc(at(2020, 1, 1, 0, 0, 30.5)).sec, 0.5);
}

TEST(CompanionTime, TextCarriesIntoTheNextMinute) {
  EXPECT_STREQ(GNX_IO::time_str(at(2020, 12, 31, 23, 59, 59.9996), 3), "2021/01/01 00:00:00.000");
  EXPECT_STREQ(GNX_IO::time_str(at(2020, 6, 5, 4, 3, 2.5), 1), "2020/06/05 04:03:02.5");
  EXPECT_STREQ(GNX_IO::time_str(at(2020, 6, 5, 4, 3, 2), -1), "2020/06/05 04:03:02");
}

TEST(CompanionSatellites, NamesAreOneToOne) {
  const std::map<int, std::string> corners{{1, "G01"},   {32, "G32"},  {33, "R01"},  {59, "R27"},
                                           {60, "E01"},  {95, "E36"},  {96, "J01"},  {105, "J10"},
                                           {106, "C01"}, {168, "C63"}, {169, "S20"}, {207, "S58"}};
  std::set<std::string> names;
  for (int sat = 1; sat <= GNX_IO::kMaxSatellite; ++sat) {
    char id[4] = "??";
    GNX_IO::satno2id(sat, id);
    EXPECT_TRUE(!corners.contains(sat) || corners.at(sat) == id) << id;
    names.insert(id);
  }
  EXPECT_EQ(names.size(), 207u);
  EXPECT_THAT(names, testing::Each(testing::SizeIs(3)));
  for (int sat : {0, -1, 208, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    char id[4] = "G01";
    GNX_IO::satno2id(sat, id);
    EXPECT_STREQ(id, "");
  }
}

TEST(CompanionCodes, SixtyEightDistinctCodesOfRinex) {
  std::set<std::string> codes;
  for (int code = 1; code <= GNX_IO::kMaxCode; ++code)
    codes.insert(GNX_IO::code2obs(static_cast<unsigned char>(code)));
  EXPECT_EQ(codes.size(), 68u);
  // What receivers of the four systems track.
  for (const char* name : {"1C", "1W", "1L", "2W", "2L", "2X", "5Q", "5X", "1X", "7Q", "8Q",
                           "6C", "2I", "7I", "6I", "1P", "5P", "7D", "1Z", "2S", "6X", "8X"})
    EXPECT_TRUE(codes.contains(name)) << name;
  for (int code : {0, 69, 255}) EXPECT_STREQ(GNX_IO::code2obs(static_cast<unsigned char>(code)), "");
}

TEST(CompanionGeodesy, SexagesimalAnglesCarryAndKeepTheSign) {
  double dms[3];
  GNX_IO::deg2dms(48.99999999, dms, 2);
  EXPECT_THAT(dms, testing::ElementsAre(49, 0, 0));
  GNX_IO::deg2dms(-0.5125, dms, 3);
  EXPECT_TRUE(std::signbit(dms[0]) && dms[1] == 30);
}

TEST(CompanionMatrix, ProductsOfAllFourTransposeForms) {
  const double A[] = {1, 4, 2, 5, 3, 6};      // 2 x 3 by columns
  const double At[] = {1, 2, 3, 4, 5, 6};     // its transpose, 3 x 2
  const double B[] = {7, 9, 11, 8, 10, 12};   // 3 x 2
  const double Bt[] = {7, 8, 9, 10, 11, 12};  // 2 x 3
  for (const auto& [tr, a, b] : {std::tuple{"NN", A, B}, {"TN", At, B}, {"NT", A, Bt}, {"TT", At, Bt}}) {
    double C[4];
    std::ranges::fill(C, std::nan(""));  // beta 0 must not read it
    GNX_IO::matmul(tr, 2, 2, 3, 1.0, a, b, 0.0, C);
    EXPECT_THAT(C, testing::ElementsAre(58, 139, 64, 154)) << tr;
    GNX_IO::matmul(tr, 2, 2, 3, -1.0, a, b, 2.0, C);
    EXPECT_THAT(C, testing::ElementsAre(58, 139, 64, 154)) << tr;
  }
}

TEST(CompanionMatrix, AllocationsMatchFree) {
  double *identity = GNX_IO::eye(3), *zero = GNX_IO::zeros(2, 2);
  EXPECT_THAT(std::vector<double>(identity, identity + 9), testing::ElementsAre(1, 0, 0, 0, 1, 0, 0, 0, 1));
  EXPECT_THAT(std::vector<double>(zero, zero + 4), testing::Each(0.0));
  for (double* matrix : {identity, zero, GNX_IO::mat(5, 7)}) std::free(matrix);
  EXPECT_TRUE(GNX_IO::mat(0, 3) == nullptr && GNX_IO::zeros(-1, 3) == nullptr);
}

}  // namespace
