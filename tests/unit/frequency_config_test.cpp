// Frequencies: lists of a configuration, slots by falling carrier frequency, noise factors, carriers of
// satellites.

#include <gmock/gmock.h>

#include <cmath>

#include "Common/ComFreq.h"
#include "Config/SatelliteTable.h"
#include "support/deployment.h"
#include "support/table_fixture.h"

namespace {

using namespace support;
using testing::ElementsAre;
using namespace tarvio;
using support::runInChild;

std::vector<std::string> names(const tarvio::FreqTable& table, char system) {
  std::vector<std::string> out;
  for (const auto& name : table[std::string(tarvio::SYS).find(system)]) {
    if (name[0] != '\0') out.emplace_back(name);
  }
  return out;
}

struct Lists {
  tarvio::FreqTable freq = {};
  int nfreq[tarvio::kSys] = {};

  explicit Lists(const std::string& value) {
    tarvio::Deploy deploy;
    deploy.m_parseFrequency(freq, nfreq, value.c_str());
  }
};

TEST(FrequencyConfig, WordsAreNormalisedPerConstellation) {
  const std::pair<const char*, const char*> cases[] = {
      {"L1", "L1"},   {"G1", "L1"},  {"E1", "L1"},  {"B1c", "L1"}, {"L2", "L2"}, {"G2", "L2"},
      {"B1", "L2"},   {"L5", "L5"},  {"E5a", "L5"}, {"B2a", "L5"}, {"E6", "L6"}, {"LEX", "L6"},
      {"B3", "L6"},   {"E5b", "L7"}, {"B2b", "L7"}, {"E5", "L8"},  {"B2", "L8"}, {"b1c", "b1c"},
      {"B1C", "B1C"}, {"L1C", "L1"}, {"E2", "L2"}};
  for (const auto& [word, name] : cases)
    EXPECT_STREQ(Lists(std::string("GAL:") + word).freq[2][0], name) << word;
  const Lists lists("GPS:L1 GLS:L1_L2 GAL:E1_E5a_E5b_E6_E5 BDS:B1 BD2:B1c QZS:L5");
  EXPECT_THAT(std::vector<int>(lists.nfreq, lists.nfreq + 7), ElementsAre(1, 2, 4, 1, 1, 1, 0));
  EXPECT_THAT(names(lists.freq, 'E'), ElementsAre("L1", "L5", "L7", "L6"));  // no more than four
  EXPECT_THAT(names(lists.freq, 'B'), ElementsAre("L1"));
  for (const char* word : {"CPS:B3", "CMS:B3", "BD3:B3", "BDS:B3"})
    EXPECT_THAT(names(Lists(word).freq, 'C'), ElementsAre("L6")) << word;
}

TEST(FrequencyConfig, SlotsFallWithFrequencyAndAgreeBetweenTables) {
  tarvio::Deploy deploy;
  deploy.m_parseFrequency(deploy.m_freqObs, deploy.m_nfreqObs,
                          "GPS:L2_L5_L1 GAL:E5b_E5a_E1 BD3:B2a_B3_B1_B1c");
  deploy.m_parseFrequency(deploy.m_freqUsed, deploy.m_nfreqUsed, "GPS:L5_L1 GAL:E5a_E1 BD3:B1_B3 GLS:L2_L1");
  deploy.m_parseFrequency(deploy.m_freqObs, deploy.m_nfreqObs, "GLS:L2_L1");  // leaves other rows alone
  deploy.m_parseFrequency(deploy.m_freqDatum, deploy.m_nfreqDatum, "GAL:E5a_E1");
  deploy.m_sortOrderofFreq();
  EXPECT_THAT(names(deploy.m_freqUsed, 'G'), ElementsAre("L1", "L5"));
  EXPECT_THAT(names(deploy.m_freqObs, 'G'), ElementsAre("L1", "L5", "L2"));
  EXPECT_THAT(names(deploy.m_freqUsed, 'E'), ElementsAre("L1", "L5"));
  EXPECT_THAT(names(deploy.m_freqObs, 'E'), ElementsAre("L1", "L5", "L7"));
  EXPECT_THAT(names(deploy.m_freqDatum, 'E'), ElementsAre("L1", "L5"));
  EXPECT_THAT(names(deploy.m_freqUsed, 'R'), ElementsAre("L1", "L2"));
  EXPECT_THAT(names(deploy.m_freqUsed, 'C'), ElementsAre("L2", "L6"));  // B1I 1561, B3 1268 MHz
  EXPECT_THAT(names(deploy.m_freqObs, 'C'), ElementsAre("L2", "L6", "L5", "L1"));
}

TEST(FrequencyConfig, TheIonosphereFreePairIsTheFirstTwoOfTheText) {
  tarvio::Deploy deploy;
  for (auto* table : {&deploy.m_freqObs, &deploy.m_freqUsed}) {
    int* count = table == &deploy.m_freqObs ? deploy.m_nfreqObs : deploy.m_nfreqUsed;
    deploy.m_parseFrequency(*table, count, "GPS:L1_L2_L5 GAL:E5a_E5b_E1 QZS:L1");
  }
  deploy.m_sortOrderofFreq();
  EXPECT_THAT(names(deploy.m_freqIf, 'G'), ElementsAre("L1", "L2"));
  EXPECT_THAT(deploy.m_freqExtra.at('G'), ElementsAre("L5"));
  EXPECT_THAT(names(deploy.m_freqIf, 'E'), ElementsAre("L7", "L5"));  // sorted among themselves
  EXPECT_THAT(deploy.m_freqExtra.at('E'), ElementsAre("L1"));
  EXPECT_EQ(deploy.m_nfreqIf[5], 0);  // one frequency makes no pair
}

TEST(FrequencyConfig, Refusals) {
  const struct {
    std::vector<const char*> keys;
    const char *value, *message;
  } cases[] = {{{"freqobs"}, "GPS:1_2 IRN:3", "freq = IRN:3: unknown GNSS system\n"},
               {{"noisebyfreq"}, "GPS:1_2 IRN:3", "freq = IRN:3: unknown GNSS system\n"},
               // words that only the frequency lists know are no systems of the number lists
               {{"noisebyfreq"}, "CPS:1.0", "freq = CPS:1.0: unknown GNSS system\n"},
               {{"freqused"}, "GPS:L1_L5", "freq = L5,this frequency is not contained in the freq_obs\n"},
               // the same name twice cannot take two slots
               {{"freqused"}, "GPS:L1_L1", "freq = L1,this frequency is not contained in the freq_obs\n"},
               {{"freqobs", "freqused"}, "GPS:L1_X9", "freq = X9,unknow frequency for GPS\n"}};
  for (const auto& c : cases) {
    Deployment deployment;
    for (const char* key : c.keys) deployment.config["common"][key] = c.value;
    expectRefused(deployment, c.message);
  }
}

TEST(FrequencyConfig, NoiseFactorsBelongToNamesNotToSortedSlots) {
  Deployment deployment;
  EXPECT_EQ(deployment.load().m_noiseByFreq.size(), 10u) << "optional: five systems, two frequencies";
  deployment.config["common"]["freqobs"] = deployment.config["common"]["freqused"] =
      "GPS:L2_L1 GAL:E1_E5a BD3:B1_B3 BD2:B1_B2b QZS:L1_L2";
  deployment.config["common"]["noisebyfreq"] = "GPS:2.5_1.5_9.9 BD2:3.0 GAL:abc_-1";
  const tarvio::Deploy& deploy = deployment.load();
  EXPECT_DOUBLE_EQ(deploy.m_noiseByFreq.at("GL2"), 2.5);
  EXPECT_DOUBLE_EQ(deploy.m_noiseByFreq.at("GL1"), 1.5);
  EXPECT_DOUBLE_EQ(deploy.m_noiseByFreq.at("BL2"), 3.0);
  EXPECT_DOUBLE_EQ(deploy.m_noiseByFreq.at("EL1"), 1.0);  // no usable factor: never a weight of infinity
  EXPECT_DOUBLE_EQ(deploy.m_noiseByFreq.at("EL5"), 1.0);
}

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
