// Headers of orbit and clock files: columns of the published formats.

#include <gmock/gmock.h>

#include "Common/ComTime.h"
#include "Common/ProductHeaders.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

using ::testing::StartsWith;

std::vector<std::string> satellites(std::size_t n) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < n; ++i) names.push_back(printed("%c%02zu", "GEC"[i / 60], i % 60 + 1));
  return names;
}

std::string sp3Header(const tarvio::Sp3Header& header) {
  std::ostringstream out;
  m_wtsp3hd(out, header);
  return out.str();
}

tarvio::Sp3Header orbitsOf(std::vector<std::string> names) {
  tarvio::Sp3Header h;
  h.m_mjd = tarvio::md_julday(2020, 6, 25);
  h.m_sod = 900.0;
  h.m_nepoch = 1;
  h.m_intv = 300.0;
  h.m_cprn = std::move(names);
  h.m_frame = "IGS14";
  return h;
}

TEST(OrbitHeader, StandsInItsColumns) {
  const auto lines = support::linesOf(sp3Header(orbitsOf({"G05", "E01"})));
  ASSERT_EQ(lines.size(), 2U + 5 + 5 + 6 + 4);
  EXPECT_EQ(lines[0], "#dP2020  6 25  0 15  0.00000000       1 ORBIT IGS14 FIT  QVA");
  EXPECT_EQ(lines[1], "## 2111 346500.00000000   300.00000000 59025 0.0104166666667");
  EXPECT_EQ(lines[2], "+    2   G05E01  0  0  0  0  0  0  0  0  0  0  0  0  0  0  0");
  EXPECT_EQ(lines[7], "++         0  0  0  0  0  0  0  0  0  0  0  0  0  0  0  0  0");
  EXPECT_EQ(lines[12], "%c M  cc GPS ccc cccc cccc cccc cccc ccccc ccccc ccccc ccccc");
  for (const std::string& line : lines) EXPECT_EQ(line.size(), line[0] == '/' ? 16U : 60U) << line;
}

TEST(OrbitHeader, GrowsWithItsSatellitesAndComments) {
  tarvio::Sp3Header h = orbitsOf(satellites(100));
  h.m_comments = {"one", std::string(200, 'x'), "three", "four", "five"};
  h.m_sod = 86400.0;  // of the day before
  const auto lines = support::linesOf(sp3Header(h));
  EXPECT_THAT(lines[0], StartsWith("#dP2020  6 26  0  0  0.00000000"));
  EXPECT_EQ(lines[2].substr(0, 12), "+  100   G01");
  EXPECT_EQ(lines[7].substr(9), "E26E27E28E29E30E31E32E33E34E35E36E37E38E39E40  0  0") << "sixth line";
  ASSERT_EQ(lines.size(), 2U + 6 + 6 + 6 + 5);
  EXPECT_EQ(lines[21].size(), 80U) << "the longest comment that the format takes";
  EXPECT_THAT(sp3Header(orbitsOf({"G05"})), HasSubstr("\n%c G  cc GPS"));
}

TEST(ClockHeader, StandsInItsColumns) {
  tarvio::ClkHeader h;
  h.m_mjd = tarvio::md_julday(2026, 11, 22);
  h.m_sod = 3723.9;
  h.m_leap = 18;
  h.m_cprn = satellites(16);
  h.m_comments = {"made of a stream", std::string(90, 'x')};
  std::ostringstream out;
  m_wtclkhd(out, h);
  const std::string text = out.str();
  const auto lines = support::linesOf(text);
  EXPECT_EQ(lines[0], "     3.00           CLOCK DATA          G                   RINEX VERSION / TYPE");
  EXPECT_EQ(lines[1], "TARVIO-INTCLK       QVA                 20261122 010203 UTC PGM / RUN BY / DATE ");
  EXPECT_EQ(lines[3].substr(50), "xxxxxxxxxxCOMMENT             ");
  EXPECT_THAT(text,
              HasSubstr("\n     1    AS                                                # / TYPES OF DATA"));
  EXPECT_THAT(text,
              HasSubstr("\nQVA  TARVIO-INTCLK                                          ANALYSIS CENTER"));
  EXPECT_THAT(text, HasSubstr("\nG16                                                         PRN LIST"));
  for (const std::string& line : lines) EXPECT_EQ(line.size(), 80U) << line;
}

}  // namespace
}  // namespace gnx::test
