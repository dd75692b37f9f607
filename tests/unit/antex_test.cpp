/// Antenna tables: ANTEX blocks, satellite records, antenna names.

#include <gmock/gmock.h>

#include "Common/ComTime.h"
#include "support/deployment.h"
#include "support/table_fixture.h"

namespace {

using namespace support;
using tarvio::Antatx;
using namespace testing;

const double kJune2020 = tarvio::md_julday(2020, 6, 25);

/// Fresh configuration whose file table names files of a temporary directory.
struct Antenna : gnx_test::TableFixture {
  Antenna() {
    deploy().m_parseFrequency(deploy().m_freqUsed, deploy().m_nfreqUsed,
                              "GPS:L1_L2 GAL:E1_E5a BD3:B1_B3 BD2:B1_B2b");
    for (const char* name : {"G01", "E11", "C19"}) add(name);
    add("C06", "B06");
  }
  void provide(const char* key, const std::string& content) {
    deploy().m_fileTable[key] = directory.write(key, content);
  }
  /// Looks a satellite up; offsets in metres go to `pco`.
  int satellite(const char* name, const char* block, double day = kJune2020) {
    return ant.m_getAnt(name, deploy().m_nfreqUsed, deploy().m_freqUsed, day, day, block, name, pco);
  }
  int receiver(const char* type) {
    return ant.m_getAnt("SITE", deploy().m_nfreqUsed, deploy().m_freqUsed, kJune2020, kJune2020, type, "",
                        nullptr);
  }

  TemporaryDirectory directory;
  Antatx ant;
  double pco[4][3] = {};
};

#define EXPECT_VECTOR(v, ...) \
  EXPECT_THAT(std::vector<double>((v), (v) + 3), Pointwise(DoubleNear(1e-12), std::vector{__VA_ARGS__}))

TEST_F(Antenna, SatelliteOffsetsAreBodyAxesInMetres) {
  // A section of standard deviations repeats the label of the offsets.
  std::string deviations = antexFrequency("G01", 0.1, 0.1, 0.1);
  for (std::size_t at; (at = deviations.find("FREQUENCY")) != std::string::npos;)
    deviations.replace(at, 9, "FREQ RMS ");
  provide("antpcv", antexHeader() + antexBlock("BLOCK IIF", "G02", antexFrequency("G01", 9, 9, 9)) +
                        antexBlock("BLOCK IIF", "G01",
                                   antexFrequency("G01", 394, -2, 1501.8) + antexFrequency("G05", 7, 7, 7) +
                                       antexFrequency("E01", 8, 8, 8) +
                                       antexFrequency("G02", 394.5, 0, -1600) + deviations) +
                        antexBlock("BEIDOU-2I", "C06",
                                   antexFrequency("C02", 1, 2, 3) + antexFrequency("B07", 4, 5, 6)) +
                        antexBlock("BEIDOU-3M", "C19",
                                   antexFrequency("B02", 10, 20, 30) + antexFrequency("C06", 40, 50, 60)));
  ASSERT_EQ(satellite("G01", "BLOCK IIF"), 1);
  EXPECT_VECTOR(pco[0], 0.394, -0.002, 1.5018);
  EXPECT_VECTOR(pco[1], 0.3945, 0.0, -1.6);
  EXPECT_VECTOR(pco[2], 0.0, 0.0, 0.0);  // observed elsewhere, not asked for
  // Both generations of BeiDou read both letters of codes.
  ASSERT_EQ(satellite("C06", "BEIDOU-2I"), 1);
  EXPECT_VECTOR(pco[1], 0.004, 0.005, 0.006);
  ASSERT_EQ(satellite("C19", "BEIDOU-3M"), 1);
  EXPECT_VECTOR(pco[0], 0.01, 0.02, 0.03);
}

TEST_F(Antenna, TheBlockMustBeValidAtTheDate) {
  const auto block = [](const char* type, double up, int from, int until) {
    return antexBlock(type, "G01", antexFrequency("G01", 0, 0, up) + antexFrequency("G02", 0, 0, up),
                      antexTime(from, 1, 1, "VALID FROM") + antexTime(until, 1, 1, "VALID UNTIL"));
  };
  provide("antpcv", antexHeader() + block("BLOCK IIA", 1000, 1992, 2008) +
                        block("BLOCK IIF", 2000, 2011, 2019) + block("BLOCK IIF", 3000, 2020, 2030));
  const auto up = [&](const char* type, int year) {
    return satellite("G01", type, tarvio::md_julday(year, 6, 1)) == 1 ? pco[0][2] : 0.0;
  };
  EXPECT_DOUBLE_EQ(up("BLOCK II", 2000), 1.0);  // the type is a part of the line
  EXPECT_DOUBLE_EQ(up("BLOCK IIF", 2012), 2.0);
  EXPECT_DOUBLE_EQ(up("BLOCK IIF", 2020), 3.0);
  EXPECT_DOUBLE_EQ(up("BLOCK IIF", 2010), 0.0);
  EXPECT_DOUBLE_EQ(up("BLOCK IIIA", 2020), 0.0);
}

TEST_F(Antenna, ReceiverOffsetsAreEastNorthUpWithFallback) {
  provide("antpcv", antexHeader() +
                        antexBlock("TRM59800.00     SCIS", "",
                                   antexFrequency("G01", 1, 2, 80) + antexFrequency("G02", 3, 4, 120)) +
                        antexBlock("ANTENNA         NONE", "",
                                   antexFrequency("R01", 5, 6, 70) + antexFrequency("E05", 7, 8, 90)));
  ASSERT_EQ(receiver("TRM59800.00     SCIS"), 1);
  for (const int system : {0, 2, 3, 4}) {  // no values of their own: those of the GPS slot
    EXPECT_VECTOR(ant.m_offset[system][0], 0.002, 0.001, 0.080);
    EXPECT_VECTOR(ant.m_offset[system][1], 0.004, 0.003, 0.120);
  }
  EXPECT_VECTOR(ant.m_offset[1][0], 0.0, 0.0, 0.0);  // GLONASS has no frequencies here
  ASSERT_EQ(receiver("ANTENNA         NONE"), 1);
  EXPECT_VECTOR(ant.m_offset[2][1], 0.008, 0.007, 0.090);  // its own
  EXPECT_VECTOR(ant.m_offset[2][0], 0.006, 0.005, 0.070);  // without a GPS value the first of the file
}

TEST_F(Antenna, UnknownReceiverAntennaIsToldNotFatal) {
  EXPECT_EQ(receiver("ANTNONE         NONE"), 1) << "needs no file";
  provide("antpcv", antexHeader() + antexBlock("TRM59800.00     SCIS", "", antexFrequency("G01", 1, 2, 80)));
  const auto result = runInChild([&] { std::printf("result %d\n", receiver("LEIAR25.R4      LEIT")); });
  EXPECT_EQ(result.status, 0);
  for (const char* text : {"result 0\n", "]:antnam = LEIAR25.R4      LEIT,antnum = ,atxfile = ",
                           ",no definition for antenna in atxfile\n"})
    EXPECT_THAT(result.output, HasSubstr(text));
  EXPECT_EQ(receiver(""), 0);  // an empty name is no wildcard
}

TEST_F(Antenna, FilesThatCannotServeEndTheProcess) {
  const auto look = [&] { return runInChild([&] { satellite("G01", "BLOCK IIF"); }); };
  expectRefused(look(), "item = antpcv,file_table not exist key item\n");
  provide("antpcv", antexHeader('R'));
  expectRefused(look(), "type = R,atxfile = " + deploy().m_fileTable["antpcv"] +
                            ",should refer absolute antenna mode in atxfile\n");
}

// Damaged files: no crash, no offset out of nothing.
TEST_F(Antenna, DamagedBlocksGiveNoOffsets) {
  const std::string good =
      antexBlock("BLOCK IIF", "G01", antexFrequency("G01", 1, 2, 3) + antexFrequency("G02", 4, 5, 6));
  for (std::size_t n = 0; n < good.rfind("END OF FREQUENCY"); n += 37) {
    provide("antpcv", antexHeader() + good.substr(0, n));
    EXPECT_EQ(satellite("G01", "BLOCK IIF"), 0) << n;
  }
  const auto damaged = [&](const char* from, const char* to) {
    provide("antpcv", antexHeader() + std::string(good).replace(good.find(from), 20, to));
    return satellite("G01", "BLOCK IIF");
  };
  EXPECT_EQ(damaged("     0.0  14.0   7.0", "     0.0 1e300  1e-9"), 1);
  EXPECT_EQ(ant.m_nzen, 0);
  EXPECT_EQ(damaged("      1.00      2.00", "       nan      junk"), 0);
}

TEST_F(Antenna, NamesAreCompletedFromTheNameTable) {
  provide("antnam",
          "name table\nMAIN  LEIAR25.R4      LEIT  choke ring\nALIAS TRM59800.00     NONE\n"
          "MAIN  TRM59800.00     SCIS\n");
  char name[32] = "";
  for (const auto& [written, complete] : {std::pair{"TRM59800.00", "TRM59800.00     SCIS"},
                                          {"LEIAR25.R4      LEIT   ", "LEIAR25.R4      LEIT"}}) {
    EXPECT_EQ(Antatx::s_antnam(written, "STAN", name), 1);
    EXPECT_STREQ(name, complete);
  }
  const auto result = runInChild([&] { Antatx::s_antnam("NOV702", "STAN", name); });
  EXPECT_THAT(result.output, HasSubstr("]:anttyp = NOV702,sitname = STAN,antenna unknown\n"));
  EXPECT_EQ(Antatx::s_antnam("  ", "STAN", name), 0);
}

// ---- satellite records ----

TEST_F(Antenna, SatelliteRecordOfADate) {
  provide(
      "satnav",
      satnavFile(satnavRow("G01", "BLOCK IIA", 1992, 2008) + satnavRow("G01", "BLOCK IIF", 2011, 0),
                 "G01  ACT   1990 01 01 00 00 00  0000 00 00 00 00 00    9.0000000 9.0000000\n"
                 "G01  SLR   1990 01 01 00 00 00  0000 00 00 00 00 00    0.1000000 0.2000000-0.3000000\n"));
  char svn[4], block[21], cospar[16];
  double mass = 0.0, slr[3] = {};
  int number = 0;
  Antatx::s_rdSvnav("G01", kJune2020, svn, &mass, &number, slr, block, cospar);
  EXPECT_STREQ(svn, "700");
  EXPECT_STREQ(block, "BLOCK IIF");
  EXPECT_STREQ(cospar, "1103601");  // 2011-036A
  EXPECT_DOUBLE_EQ(mass, 1633.0);
  EXPECT_VECTOR(slr, 0.1, 0.2, -0.3);  // fields of ten columns touch each other
  const auto read = [&](int year) {
    Antatx::s_rdSvnav("G01", tarvio::md_julday(year, 1, 1), nullptr, nullptr, nullptr, nullptr, block,
                      nullptr);
  };
  read(2000);
  EXPECT_STREQ(block, "BLOCK IIA");
  for (const int year : {2010, 2008, 2011})  // both ends lie outside
    expectRefused(runInChild([&] { read(year); }), "cprn = G01,file = " + deploy().m_fileTable["satnav"] +
                                                       ",satellite not found in svnav file\n");
}

}  // namespace
