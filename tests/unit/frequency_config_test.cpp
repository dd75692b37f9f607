/// Frequency lists: normalised names, slots by falling carrier frequency, noise factors.

#include <gmock/gmock.h>

#include "support/deployment.h"

namespace {

using namespace support;
using testing::ElementsAre;

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

}  // namespace
