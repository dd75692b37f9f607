#include <gtest/gtest.h>

#include <cmath>

#include "Common/ComFreq.h"
#include "support/child.h"
#include "support/table_fixture.h"

namespace {

using namespace tarvio;
using support::runInChild;

class FrequencyTest : public gnx_test::TableFixture {
 protected:
  FrequencyTest() {
    frequencies('G', 3, {"L1", "L2", "L5"});
    frequencies('E', 2, {"L1", "L5", "L7"});
    frequencies('C', 2, {"L2", "L6"});
    frequencies('B', 2, {"L2", "L7"});
    frequencies('R', 2, {"L1", "L2"});
    m_gps = add("G05");
    m_bds3 = add("C30");
    m_bds2 = add("C06", "B06");
    m_glo = add("R09");
  }
  static void s_ifPair(char letter, const char* first, const char* second) {
    const int isys = index_string(SYS, letter);
    s_copyText(deploy().m_freqIf[isys][0], first);
    s_copyText(deploy().m_freqIf[isys][1], second);
    deploy().m_nfreqIf[isys] = 2;
  }
  int m_gps = 0, m_bds3 = 0, m_bds2 = 0, m_glo = 0;
};

TEST_F(FrequencyTest, CarriersAreTheMultiplesOfTheInterfaceDocuments) {
  // Multiples of 10.23 MHz (IS-GPS-200, Galileo OS SIS ICD, BDS-SIS-ICD), GLONASS by channel.
  struct Case {
    char letter;
    const char* name;
    double multiple;
  };
  for (const Case& c :
       {Case{'G', "L1", 154}, {'G', "L2", 120},   {'G', "L5", 115}, {'E', "L1", 154},   {'E', "L5", 115},
        {'E', "L7", 118},     {'E', "L8", 116.5}, {'E', "L6", 125}, {'C', "L1", 154},   {'C', "L2", 152.6},
        {'C', "L6", 124},     {'C', "L7", 118},   {'C', "L5", 115}, {'C', "L8", 116.5}, {'B', "L2", 152.6},
        {'B', "L7", 118},     {'B', "L6", 124},   {'J', "L1", 154}, {'J', "L2", 120},   {'J', "L5", 115},
        {'J', "L6", 125}}) {
    EXPECT_DOUBLE_EQ(freqbysys(index_string(SYS, c.letter), 0, c.name), c.multiple * 10.23e6)
        << c.letter << c.name;
    if (c.letter == 'B') continue;
    double freq = 0.0;
    getfreq(c.letter, c.name, 0, &freq);
    EXPECT_DOUBLE_EQ(freq, c.multiple * 10.23e6);
  }
  EXPECT_DOUBLE_EQ(freqbysys(1, -7, "L1"), 1598062500.0);
  deploy().m_satellites[static_cast<std::size_t>(m_glo)].m_channel = 6;
  EXPECT_DOUBLE_EQ(freqbytp(m_glo, "L2"), 1.246e9 + 6 * 437500.0);
  EXPECT_DOUBLE_EQ(freqbytp(m_bds2, "L2"), 1.561098e9);
  EXPECT_DOUBLE_EQ(freqbysys(0, 0, "xL5y"), 1.17645e9) << "longer names hold";
  testing::internal::CaptureStdout();
  EXPECT_EQ(freqbysys(6, 0, "L1"), 0.0) << "SBAS has no table and ends nothing";
  EXPECT_NE(testing::internal::GetCapturedStdout().find("type = L1,unknow observation type"),
            std::string::npos);
}

TEST_F(FrequencyTest, UnknownNamesAndSystemsEndTheProcess) {
  double freq = 0.0;
  const auto galileo = runInChild([] { freqbysys(2, 0, "L2"); });
  EXPECT_EQ(galileo.status, 1);
  EXPECT_NE(galileo.output.find(":freq = L2,unknow frequency for GALILEO\n"), std::string::npos);
  EXPECT_NE(galileo.output.find(":exit by code\n"), std::string::npos);
  for (const char letter : {'B', 'S'}) {
    const auto other = runInChild([&] { getfreq(letter, "L1", 0, &freq); });
    EXPECT_EQ(other.status, 1);
    EXPECT_NE(other.output.find(":freq = L1,unknow frequency\n"), std::string::npos);
  }
}

TEST_F(FrequencyTest, SatelliteTableOfBeiDou2UsesItsOwnSlots) {
  Satellite sat;
  get_freq(sat, "C06", index_string(SYS, 'B'), 2, deploy().m_freqUsed[index_string(SYS, 'B')]);
  EXPECT_DOUBLE_EQ(sat.m_freq[0], 1.561098e9);
  EXPECT_DOUBLE_EQ(sat.m_freq[1], 1.20714e9);
  EXPECT_DOUBLE_EQ(sat.m_freqMap["L7"], 1.20714e9);
  // The factors keep geometry (a - b = 1) and cancel a delay that goes with 1/f^2.
  EXPECT_NEAR(sat.m_ifc[0] - sat.m_ifc[1], 1.0, 1.0e-12);
  EXPECT_NEAR(sat.m_ifc[0] / (sat.m_freq[0] * sat.m_freq[0]), sat.m_ifc[1] / (sat.m_freq[1] * sat.m_freq[1]),
              1.0e-30);
}

TEST_F(FrequencyTest, IonosphereFreePairFollowsTheConfiguredNames) {
  s_ifPair('G', "L1", "L5");
  int fq1 = 9, fq2 = 9;
  s_ifSlots(0, &fq1, &fq2);
  EXPECT_EQ(fq1, 0);
  EXPECT_EQ(fq2, 2);
  Satellite sat;
  get_freq(sat, "G05", 0, 3, deploy().m_freqUsed[0]);
  const double g2 = std::pow(154.0 / 115.0, 2);
  EXPECT_NEAR(sat.m_ifc[0], g2 / (g2 - 1.0), 1.0e-12);
  s_ifSlots(3, &fq1, &fq2);
  EXPECT_EQ(fq2, 1) << "two used frequencies: slots 0 and 1";

  const auto none = runInChild([] {
    Satellite s;
    get_freq(s, "G05", 0, 1, deploy().m_freqUsed[0]);
  });
  EXPECT_EQ(none.status, 1);
  EXPECT_NE(none.output.find("cprn = G05,nfreq = 1,frequency used for satellite is not selected!"),
            std::string::npos);
  s_copyText(deploy().m_obscomb, "SF");
  get_freq(sat, "G05", 0, 1, deploy().m_freqUsed[0]);
}

TEST_F(FrequencyTest, SystemsOfRows) {
  EXPECT_EQ(index_sys(true, m_bds2), index_string(SYS, 'C'));
  EXPECT_EQ(index_sys(false, m_bds2), index_string(SYS, 'B'));
  EXPECT_EQ(index_sys(false, kMaxSat), -1);
  EXPECT_EQ(index_sys(false, 100), -1) << "an unused row";
  EXPECT_TRUE(check_sys(true, m_bds2, 3));
  EXPECT_TRUE(check_sys(false, m_bds2, 4));
  EXPECT_FALSE(check_sys(false, m_bds2, 3));
  EXPECT_EQ(s_satRow("C06"), m_bds2);
  EXPECT_EQ(s_satRow("C07"), -1);
  for (const auto& [word, letter] : {std::pair{"GPS", 'G'},
                                     {"GLS", 'R'},
                                     {"QZS", 'J'},
                                     {"GAL", 'E'},
                                     {"BD2", 'B'},
                                     {"BD3", 'C'},
                                     {"BDS", 'C'},
                                     {"LEO", 'L'},
                                     {"XYZ", ' '}}) {
    EXPECT_EQ(csys_bytype(word), letter);
  }
  EXPECT_EQ(getcprn_bytype("C06", 'B'), "B06");
  EXPECT_EQ(getcprn_bytype("C06", 'C'), "C06");
  EXPECT_EQ(getcprn_bytype("G05", 'L'), "LG05");
  EXPECT_EQ(getcprn_bytype("J02", 'G'), "G102");
  int values[kMaxSat] = {};
  values[m_bds2] = 1;
  EXPECT_TRUE(linit(values, 3, 0));
  EXPECT_FALSE(linit(values, 4, 0));
  EXPECT_FALSE(all(values, kMaxSat, 0));
}

TEST_F(FrequencyTest, ValidObservationsByCombination) {
  const double full[kObs] = {1, 1, 1, 0, 1, 1, 1, 0};
  const double noSecondCode[kObs] = {1, 1, 1, 0, 1, 0, 1, 0};
  s_ifPair('G', "L1", "L5");
  EXPECT_TRUE(validSatObs("PHASE CODE", "RAW", full, m_gps, 1));
  EXPECT_FALSE(validSatObs("PHASE CODE", "RAW", noSecondCode, m_gps, 1));
  EXPECT_TRUE(validSatObs("PHASE", "RAW", noSecondCode, m_gps, 1));
  EXPECT_TRUE(validSatObs("GRAPHIC", "SF", noSecondCode, m_gps, 1)) << "GRAPHIC asks for the phase";
  EXPECT_FALSE(validSatObs("CODE", "SF", noSecondCode, m_gps, 1));
  EXPECT_FALSE(validSatObs("DOPPLER", "RAW", full, m_gps, 0));
  EXPECT_FALSE(validSatObs("PHASE", "WLNL", full, m_gps, 0));
  EXPECT_FALSE(validSatObs("PHASE", "RAW", full, m_gps, 4)) << "no such slot";
  EXPECT_TRUE(validSatObs("PHASE CODE", "IF", noSecondCode, m_gps, 1)) << "the pair is L1, L5";
  EXPECT_FALSE(validSatObs("PHASE CODE", "AFIF", noSecondCode, 0)) << "without a satellite: slots 0, 1";

  int i = -1, j = -1;
  EXPECT_TRUE(getTwoIndexOfValidObs(noSecondCode + 4, 3, &i, &j));
  EXPECT_EQ(i, 0);
  EXPECT_EQ(j, 2);
  EXPECT_FALSE(getTwoIndexOfValidObs(noSecondCode + 4, 2, &i, &j));
  EXPECT_EQ(getNoZeroCount(full, kObs), 6);
  const double second[kObs] = {0, 7};
  EXPECT_EQ(bbo_sel_avaobs(0, second), 1);
  const double beyond[kObs] = {0, 0, 5};
  EXPECT_EQ(bbo_hasobs(1, beyond), 0) << "GLONASS observes two slots";
}

TEST_F(FrequencyTest, LookUpsAndUnits) {
  const char table[3][4] = {"L1", "L2", "L5"};
  EXPECT_EQ(index_freq(table, 3, "L5"), 2);
  EXPECT_EQ(index_freq(table, 2, "L5"), -1);
  EXPECT_EQ(pointer_charstr(3, 4, &table[0][0], "L"), 0) << "only the text's own length counts";
  EXPECT_EQ(pointer_charstr(0, 4, &table[0][0], "L1"), -1);
  EXPECT_EQ(pointer_charstr(-1, 4, &table[0][0], "L1"), 0);
  const std::string names[2] = {"a", "b"};
  EXPECT_EQ(pointer_string(2, names, "b"), 1);
  EXPECT_EQ(index_string("GRECBJS", '\0'), -1);
  // 1 TECU delays L1 by 0.162 m
  EXPECT_NEAR(stec2m(1.0, m_gps, "L1"), 0.1623, 1.0e-4);
  EXPECT_NEAR(m2stec(stec2m(3.0, m_gps, "L5"), 1.17645e9), 3.0, 1.0e-12);
  EXPECT_EQ(get_wl_tag_forinput('G'), "wl");
  s_copyText(deploy().m_pams, "-usemwwlGC -outres ");
  EXPECT_EQ(get_wl_tag_forinput('G'), "wl_mw");
  EXPECT_EQ(get_wl_tag_forinput('E'), "wl");
}

}  // namespace
