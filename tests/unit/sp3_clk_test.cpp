// Precise orbits and clocks as the centres write them.

#include "gnx/read.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

std::string sp3Header(char version, int epochs, const std::string& scale) {
  return printed(
      "#%cP2020  6 25  0  0  0.00000000 %7d ORBIT IGb14 FIT TEST\n"
      "## 2111 345600.00000000   900.00000000 59025 0.0000000000000\n"
      "+    2   G05E01  0\n"
      "++         5  5  0\n"
      "%%c M  cc %s ccc cccc cccc cccc cccc ccccc ccccc ccccc ccccc\n"
      "%%f  1.2500000  1.025000000  0.00000000000  0.000000000000000\n"
      "/* comment\n",
      version, epochs, scale.c_str());
}

struct OrbitClockFiles : testing::Test {
  TempDir m_dir;
};

TEST_F(OrbitClockFiles, Sp3KeepsWhatIsThere) {
  const Sp3Product p = readSp3(
      {m_dir.write("a.sp3", sp3Header('d', 2, "GPS") +
                                "*  2020  6 25  0  0  0.00000000\n"
                                "PG05  20403.407950  -4547.528917  16359.977229    -15.319332  5  6  7 101\n"
                                "VG05  20403.407950  -4547.528917  16359.977229    -15.319332\n"
                                "PE01 -22460.658230 -13161.332399 -14082.686747 999999.999999\n"
                                "*  2020  6 25  0 15  0.00000000\n"
                                "PG05      0.000000      0.000000      0.000000    -15.319300\n"
                                "EOF\n")});
  EXPECT_EQ(p.interval, 900.0);
  ASSERT_THAT(p.orbits.at("G05"), SizeIs(1)) << "zero means missing, and V lines are no positions";
  EXPECT_DOUBLE_EQ(p.orbits.at("G05")[0].position[1], -4547528.917);
  ASSERT_THAT(p.clocks.at("G05"), SizeIs(2));
  EXPECT_DOUBLE_EQ(p.clocks.at("G05")[0].bias, -15.319332e-6);
  EXPECT_EQ(p.clocks.count("E01"), 0u);
}

TEST_F(OrbitClockFiles, Sp3ReadsOldNamesTimeSystemsAndJoinsFiles) {
  const std::string position = "P  5  20403.407950  -4547.528917  16359.977229    -15.319332\n";
  const std::string first = m_dir.write(
      "a.sp3", sp3Header('a', 1, "ccc") + "*  2020  6 25  0  0  0.00000000\n" + position + "EOF\n");
  const std::string second =
      m_dir.write("b.sp3", sp3Header('c', 1, "BDT") + "*  2020  6 24 23 59 46.00000000\n" +
                               "PG05  20403.500000  -4547.528917  16359.977229    -15.000000\nEOF\n");
  const Sp3Product p = readSp3({first, second});
  ASSERT_THAT(p.orbits.at("G05"), SizeIs(1)) << "23:59:46 BDT is 00:00 of GPS time; the later file wins";
  EXPECT_DOUBLE_EQ(p.orbits.at("G05")[0].position[0], 20403500.0);
}

TEST_F(OrbitClockFiles, Sp3RefusesATruncatedFile) {
  const std::string cut =
      m_dir.write("cut.sp3", sp3Header('c', 96, "GPS") + "*  2020  6 25  0  0  0.00000000\n" +
                                 "PG05  20403.407950  -4547.528917  16359.977229    -15.319332\n");
  EXPECT_THAT(inputError([&] { readSp3({cut}); }), HasSubstr("cut.sp3:9: file ends after 1 of 96 epochs"));
}

TEST_F(OrbitClockFiles, ClockColumnsOfBothVersions) {
  const std::string old = m_dir.write(
      "a.clk", headerLine("     3.00           C                   G", "RINEX VERSION / TYPE") +
                   headerLine("WL G01  2020  6 25 12  0  0.000000  1   -0.110300E+01  0102", "COMMENT") +
                   headerLine("", "END OF HEADER") +
                   "AR ESBC 2020  6 25  0  0  0.000000  1   -0.884707516318E-03\n"
                   "AS G05  2020  6 25  0  0  0.000000  4   -0.884707516318E-03    0.337986288247E-10\n"
                   "    0.100000000000E-11    0.200000000000E-12\n"
                   "AS G05  2020  6 25  0  0 30.000000  1   -0.884707516400E-03\n");
  std::string wide = "     3.04           CLOCK DATA          M";
  wide.resize(65, ' ');
  const std::string shifted = m_dir.write(
      "b.clk", wide + "RINEX VERSION / TYPE\n" + std::string(65, ' ') + "END OF HEADER\n" +
                   "AS G05       2020 06 25 00 01  0.000000  2   -8.847075164500E-04  3.379862882470E-11\n");
  const ClockProduct p = readRinexClocks({old, shifted});
  ASSERT_THAT(p.clocks.at("G05"), SizeIs(3));
  EXPECT_THAT(p.clocks, SizeIs(1)) << "receiver rows are not used";
  EXPECT_DOUBLE_EQ(p.clocks.at("G05")[2].bias, -8.8470751645e-04);
  EXPECT_DOUBLE_EQ(p.clocks.at("G05")[2].time - p.clocks.at("G05")[0].time, 60.0);
  EXPECT_EQ(p.interval, 30.0);
  EXPECT_THAT(p.header, testing::Contains(HasSubstr("-0.110300E+01  0102")));
}

TEST_F(OrbitClockFiles, ClockRefusalsNameTheSatellite) {
  const std::string head = headerLine("     3.00           C                   G", "RINEX VERSION / TYPE") +
                           headerLine("", "END OF HEADER");
  for (const auto& [row, sentence] :
       {std::pair{"AS G05  2020  6 25  0  0  0.000000  1\n", "bad.clk:3: AS: row has too few fields"},
        {"AS G05  2020  6 25  0  0  0.000000  1   -0.8847075163", "file ends inside a number"},
        {"AS G05  2020  6 31  0  0  0.000000  1   -0.884707516318E-03\n", "no date"},
        {"AX G05\n", "unknown kind 'AX '"}})
    EXPECT_THAT(inputError([&, &text = row] { readRinexClocks({m_dir.write("bad.clk", head + text)}); }),
                HasSubstr(sentence));
}

}  // namespace
}  // namespace gnx::test
