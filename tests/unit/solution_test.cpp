// Solution lines of the engine as records, and records as files.

#include "run/solution.h"

#include <gmock/gmock.h>

#include <numbers>

#include "gnx/geodesy.h"
#include "run/reference_path.h"
#include "run/solution_files.h"
#include "support/host_files.h"
#include "support/solution_line.h"

namespace gnx::test {
namespace {

/// A line of the engine.
const std::string kLine =
    "2020  6 25  7 59 30.0  STAN 3582104.7625  532590.1800 5232755.1407    0.000    0.000    0.000"
    "        1.234       -0.567       12.345 46 11  0  8  3  1  0  1.37 0.821 05 14\n";
constexpr std::size_t kCounts = 132;  ///< column of the first count

std::string with(std::size_t column, const std::string& text) {
  return std::string(kLine).replace(column, text.size(), text);
}

SolutionEpoch sample() {
  return {.time = toGpsTime({2020, 6, 25, 7, 59, 30.0}),
          .xyz = {3582104.7625, 532590.18, 5232755.1407},
          .rows = 46,
          .satellites = {11, 0, 8, 3, 1, 0},
          .pdop = 1.37,
          .sigma0 = 0.821,
          .status = 5,
          .fixed = 14};
}

TEST(SolutionLine, EveryFieldIsReadWithAndWithoutBlanks) {
  for (const char* blank : {"", " "}) {  // some builds print one before the counts
    const auto e = parseSolutionLine(std::string(kLine).insert(kCounts, blank));
    ASSERT_TRUE(e) << "blank '" << blank << "'";
    const auto fields = [](const SolutionEpoch& s) {
      return std::tuple(s.time, s.xyz, s.rows, s.satellites, s.pdop, s.sigma0, s.status, s.fixed);
    };
    EXPECT_EQ(fields(*e), fields(sample()));
  }
  const auto wide =
      parseSolutionLine(with(kCounts - 13, "-99999999.000120").replace(40, 13, "-6378137.5678"));
  ASSERT_TRUE(wide);
  EXPECT_EQ(wide->xyz[1], -6378137.5678);
  EXPECT_EQ(wide->rows, 120);
  EXPECT_EQ(wide->satellites[0], 11);
  const auto carried = parseSolutionLine(with(16, " 60.0"));
  ASSERT_TRUE(carried);
  EXPECT_EQ(formatTime(carried->time, 1), "2020-06-25 08:00:00.0");
}

TEST(SolutionLine, OtherTextIsNoSolution) {
  for (const std::string& text :
       {std::string(), std::string("[59025 28770.0] acquire ssr for clock [2111 374370.0]"),
        kLine.substr(0, 100), with(42, "        nan"), with(5, "x")})
    EXPECT_FALSE(parseSolutionLine(text)) << text;
}

// 55 29.6140711' N, 8 27.4097784' E; 07:59:30 GPS time is 07:59:12 UTC since 2017.
TEST(SolutionText, GgaSentence) {
  const std::string s = solutionText(SolutionFormat::nmea, sample());
  EXPECT_THAT(s, testing::StartsWith("$GPGGA,075912.00,5529.614"));
  EXPECT_THAT(s, HasSubstr(",N,00827.4097"));
  EXPECT_THAT(s, HasSubstr(",E,4,23,1.4,59.494,M,"));
  ASSERT_GT(s.size(), 6u);
  unsigned sum = 0;
  for (std::size_t i = 1; s[i] != '*'; ++i) sum ^= static_cast<unsigned char>(s[i]);
  EXPECT_EQ(std::stoul(s.substr(s.find('*') + 1, 2), nullptr, 16), sum);
  EXPECT_EQ(s.substr(s.size() - 2), "\r\n");
}

TEST(SolutionText, GgaRoundsWithoutSixties) {
  SolutionEpoch e = sample();
  e.time = toGpsTime({2020, 6, 25, 8, 0, 17.998});
  e.xyz = toEarthFixed(
      {-(10.0 - 1e-12) / 180.0 * std::numbers::pi, -(20.0 - 1e-12) / 180.0 * std::numbers::pi, 5.0});
  EXPECT_THAT(solutionText(SolutionFormat::nmea, e),
              testing::StartsWith("$GPGGA,080000.00,1000.0000000,S,02000.0000000,W,"));
}

TEST(SolutionFileTest, EveryEpochIsOnDiskAtOnceAndBadPathsAreTold) {
  const TempDir directory;
  SolutionFile out(directory.path() / "a.csv", SolutionFormat::csv);
  out.write(sample());
  std::istringstream in(readFile(directory.path() / "a.csv"));
  std::string names, values;
  std::getline(in, names);
  ASSERT_TRUE(std::getline(in, values));
  EXPECT_EQ(std::ranges::count(names, ','), std::ranges::count(values, ','));
  EXPECT_THROW(SolutionFile("/nonexistent/solution.pos", SolutionFormat::posXyz), InputError);
}

TEST(ReferencePathTest, InterpolatesInsideAndKnowsItsEnds) {
  const TempDir directory;
  const ReferencePath path = readReferencePath(
      directory.write("a.csv", "week,z_m,sow_s,x_m,y_m\n2111,3,100,1,2\n2111,5,110,3,2\n2111,5,400,3,2\n"));
  EXPECT_EQ((*path(fromWeek(2111, 105.0)))[2], 4.0);
  EXPECT_EQ((*path(fromWeek(2111, 400.0)))[0], 3.0);
  for (const double none : {99.0, 200.0, 401.0}) EXPECT_FALSE(path(fromWeek(2111, none))) << none;
  const std::string bad = directory.write("b.csv", "week,sow_s,x_m,y_m,z_m\n2111,100,1,2,three\n");
  EXPECT_THAT(inputError([&] { readReferencePath(bad); }), HasSubstr(":2: z_m: is missing or no number"));
  const std::string late = directory.write("c.csv", "week,sow_s,x_m,y_m,z_m\n2111,5233580000,1,2,3\n");
  EXPECT_THAT(inputError([&] { readReferencePath(late); }), HasSubstr(":2: sow_s: is no second of a week"));
  // a writer that was stopped leaves half a row
  EXPECT_NO_THROW(
      readReferencePath(directory.write("d.csv", "week,sow_s,x_m,y_m,z_m\n2111,0,1,2,3\n2111,30,1")));
}

}  // namespace
}  // namespace gnx::test
