// Files of archives in old, compact and packed forms.

#include <gtest/gtest.h>

#include <map>

#include "gnx/read.h"
#include "support/files.h"

namespace {

using namespace gnx;

std::string sample(const std::string& name) { return support::realFile("rinex_samples/" + name); }

/// Epochs with every value as text.
std::vector<std::string> epochsOf(const std::string& name) {
  std::vector<std::string> epochs;
  ObservationReader reader(sample(name));
  for (ObsEpoch epoch; reader.next(epoch);) {
    std::ostringstream text;
    text.precision(15);
    text << epoch.time;
    for (const SatObs& sat : epoch.sats) {
      text << '\n' << sat.sat;
      for (const SignalObs& s : sat.signals)
        text << ' ' << s.code.data() << ' ' << s.range << ' ' << s.phase << ' ' << s.doppler << ' ' << s.snr
             << ' ' << s.lli;
    }
    epochs.push_back(text.str());
  }
  return epochs;
}

TEST(SampleFiles, CompactFormsGiveTheEpochsOfThePlainOnes) {
  GNX_REQUIRE_DATA("rinex_samples");
  for (const auto& [compact, plain] :
       {std::pair{"AJAC3550.21D", "AJAC3550.21O"},
        {"npaz3550.21d", "npaz3550.21o"},
        {"zegv0010.21d", "zegv0010.21o"},
        {"ACOR00ESP_R_20213550000_01D_30S_MO.crx", "ACOR00ESP_R_20213550000_01D_30S_MO.rnx"}}) {
    const auto epochs = epochsOf(compact);
    EXPECT_FALSE(epochs.empty());
    EXPECT_EQ(epochs, epochsOf(plain)) << plain;
  }
}

TEST(SampleFiles, WholeDaysAreReadToTheirEnd) {
  GNX_REQUIRE_DATA("rinex_samples");
  EXPECT_EQ(epochsOf("full_zegv0010.21d.gz").size(), 2880u);
  EXPECT_EQ(epochsOf("full_eijs0010.21d.gz").size(), 2880u);
  EXPECT_EQ(epochsOf("CEBR00ESP_R_20182000000_01D_30S_MO.crx.gz").size(), 2880u);
  EXPECT_EQ(epochsOf("GRAS00FRA_R_20223151700_15M_01S_MO.crx.gz").size(), 900u);
  EXPECT_EQ(epochsOf("KMS300DNK_R_20221591000_01H_30S_MO.crx").size(), 19u);
}

// Counted by the writer and told in the header: G07 of the day has 1131 C1, 1127 C2, 1116 L1, 1115 L2 and P2.
TEST(SampleFiles, ObservationsAreAsManyAsTheHeaderSays) {
  GNX_REQUIRE_DATA("rinex_samples");
  ObservationReader reader(sample("full_zegv0010.21d.gz"));
  EXPECT_EQ(reader.header().types.at('G').size(), 11u);
  EXPECT_EQ(reader.header().types.count('E'), 0u);
  std::map<std::string, int> count;
  for (ObsEpoch epoch; reader.next(epoch);) {
    for (const SatObs& sat : epoch.sats) {
      if (sat.sat != "G07") continue;
      for (const SignalObs& s : sat.signals) {
        if (s.range != 0.0) ++count[std::string("C") + s.code.data()];
        if (s.phase != 0.0) ++count[std::string("L") + s.code.data()];
      }
    }
  }
  const std::map<std::string, int> told = {{"C1C", 1131}, {"C2L", 1127}, {"L1C", 1116},
                                           {"C1W", 1115}, {"C2W", 1115}, {"L2W", 1115}};
  EXPECT_EQ(count, told);
}

TEST(SampleFiles, NavigationOfVersionsTwoAndFour) {
  GNX_REQUIRE_DATA("rinex_samples");
  EXPECT_FALSE(readRinexNav({sample("amel0010.21g")}).glonass.empty());
  const NavData nav = readRinexNav({sample("KMS300DNK_R_20221591000_01H_MN.rnx.gz")});
  EXPECT_EQ(nav.keplerian.size() + nav.notes.size(), 33u + 3 + 53 + 55 + 31);
  EXPECT_EQ(nav.glonass.size(), 24u);
  std::map<std::string, int> others;
  for (const NavRecord& r : nav.others) ++others[r.kind + " " + r.message];
  const std::map<std::string, int> there = {{"EPH SBAS", 158}, {"ION D1D2", 1}, {"ION IFNV", 1},
                                            {"ION LNAV", 1},   {"STO IFNV", 2}, {"STO LNAV", 1}};
  EXPECT_EQ(others, there);
}

TEST(SampleFiles, OrbitsPackedByCompress) {
  GNX_REQUIRE_DATA("rinex_samples");
  const Sp3Product orbits = readSp3({sample("igr22340.sp3.Z")});
  EXPECT_GE(orbits.orbits.size(), 30u);
  EXPECT_EQ(orbits.orbits.at("G01").size(), 96u);
}

}  // namespace
