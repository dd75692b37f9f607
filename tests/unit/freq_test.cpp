#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>

#include "Common/ComFreq.h"
#include "Config/SatelliteTable.h"
#include "support/deployment.h"
#include "support/table_fixture.h"

namespace {

using namespace tarvio;
using support::runInChild;

struct FrequencyTest : gnx_test::TableFixture {
  FrequencyTest() {
    frequencies('G', 3, {"L1", "L2", "L5"});
    frequencies('E', 2, {"L1", "L5", "L7"});
    frequencies('C', 2, {"L2", "L6"});
    frequencies('B', 2, {"L2", "L7"});
    frequencies('R', 2, {"L1", "L2"});
  }
  const int m_gps = add("G05"), m_bds2 = add("C06", "B06"), m_glo = add("R09");
};

TEST_F(FrequencyTest, CarriersAreMultiplesOfTheInterfaceDocumentsAndUnknownNamesEndTheProcess) {
  // Multiples of 10.23 MHz (IS-GPS-200, Galileo OS SIS ICD, BDS-SIS-ICD), GLONASS by channel.
  using Carriers = std::map<std::string, double>;
  const std::map<char, Carriers> systems = {
      {'G', {{"L1", 154}, {"L2", 120}, {"L5", 115}}},
      {'E', {{"L1", 154}, {"L5", 115}, {"L7", 118}, {"L8", 116.5}, {"L6", 125}}},
      {'C', {{"L1", 154}, {"L2", 152.6}, {"L6", 124}, {"L7", 118}, {"L5", 115}, {"L8", 116.5}}},
      {'B', {{"L2", 152.6}, {"L7", 118}, {"L6", 124}}},
      {'J', {{"L1", 154}, {"L2", 120}, {"L5", 115}, {"L6", 125}}}};
  for (const auto& [letter, carriers] : systems)
    for (const auto& [name, multiple] : carriers) {
      EXPECT_DOUBLE_EQ(freqbysys(index_string(SYS, letter), 0, name.c_str()), multiple * 10.23e6)
          << letter << name;
      double freq = multiple * 10.23e6;
      if (letter != 'B') getfreq(letter, name.c_str(), 0, &freq);
      EXPECT_DOUBLE_EQ(freq, multiple * 10.23e6);
    }
  EXPECT_DOUBLE_EQ(freqbysys(1, -7, "L1"), 1598062500.0);
  satellite(m_glo).m_channel = 6;
  EXPECT_DOUBLE_EQ(freqbytp(m_glo, "L2"), 1.246e9 + 6 * 437500.0);
  EXPECT_DOUBLE_EQ(freqbytp(m_bds2, "L2"), 1.561098e9);

  support::expectRefused(runInChild([] { freqbysys(2, 0, "L2"); }),
                         "freq = L2,unknow frequency for GALILEO\n");
  double freq = 0.0;
  for (const char letter : {'B', 'S'})
    support::expectRefused(runInChild([&] { getfreq(letter, "L1", 0, &freq); }),
                           "freq = L1,unknow frequency\n");
}

TEST_F(FrequencyTest, IonosphereFreePairFollowsTheConfiguredNames) {
  ifPair('G', "L1", "L5");
  int fq1 = 9, fq2 = 9;
  s_ifSlots(0, &fq1, &fq2);
  EXPECT_TRUE(fq1 == 0 && fq2 == 2);
  s_ifSlots(3, &fq1, &fq2);
  EXPECT_EQ(fq2, 1) << "two used frequencies: slots 0 and 1";
  Satellite sat;
  get_freq(sat, "G05", 0, 3, deploy().m_freqUsed[0]);
  const double g2 = std::pow(154.0 / 115.0, 2);
  EXPECT_NEAR(sat.m_ifc[0], g2 / (g2 - 1.0), 1.0e-12);
  EXPECT_NEAR(sat.m_ifc[0] - sat.m_ifc[1], 1.0, 1.0e-12);
  s_copyText(deploy().m_obscomb, "SF");
  get_freq(sat, "G05", 0, 1, deploy().m_freqUsed[0]);  // needs no pair
}

TEST_F(FrequencyTest, SystemsOfRows) {
  EXPECT_EQ(index_sys(true, m_bds2), index_string(SYS, 'C'));
  EXPECT_EQ(index_sys(false, kMaxSat), -1);
  EXPECT_EQ(index_sys(false, 100), -1) << "an unused row";
  const char* words[] = {"GPS", "GLS", "QZS", "GAL", "BD2", "BD3", "BDS", "LEO", "XYZ"};
  std::string letters;
  for (const char* word : words) letters += csys_bytype(word);
  EXPECT_EQ(letters, "GRJEBCCL ");
  EXPECT_EQ(getcprn_bytype("C06", 'B'), "B06");
}

TEST_F(FrequencyTest, ValidObservationsByCombination) {
  const double full[kObs] = {1, 1, 1, 0, 1, 1, 1, 0};
  const double noSecondCode[kObs] = {1, 1, 1, 0, 1, 0, 1, 0};
  ifPair('G', "L1", "L5");
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
  EXPECT_TRUE(getTwoIndexOfValidObs(noSecondCode + 4, 3, &i, &j) && i == 0 && j == 2);
  EXPECT_FALSE(getTwoIndexOfValidObs(noSecondCode + 4, 2, &i, &j));
  const double beyond[kObs] = {0, 0, 5};
  EXPECT_EQ(bbo_hasobs(1, beyond), 0) << "GLONASS observes two slots";
}

}  // namespace
