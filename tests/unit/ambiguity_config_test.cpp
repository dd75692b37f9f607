/// Ambiguity layers: values, pairs, wavelengths, smoothing file, refusals.

#include <gmock/gmock.h>

#include "support/deployment.h"

namespace {

using namespace support;

constexpr double kDegree = 3.14159265358979323846 / 180.0;

TEST(AmbiguityConfig, LayersTakeTheirValues) {
  Deployment deployment;
  deployment.layer("wl")["lambda"]["fix_individual"] = "true";
  deployment.layer("wl")["lambda"]["fix_ifuplayer"] = "off";
  deployment.layer("wl")["smoothconfig"]["switch"] = "on";
  deployment.layer("wl")["cutoff_amb"] = 12.5;  // numbers are accepted beside texts
  deployment.layer("wl")["upd_switch"] = "off";
  const tarvio::Deploy& deploy = deployment.load();
  const tarvio::Upd_ambconfig& wl = deploy.m_ambconfig[1];
  EXPECT_NEAR(wl.m_cutoff, 12.5 * kDegree, 1e-15);
  EXPECT_TRUE(wl.m_fixIndividual && wl.m_smooth == 1 && wl.m_resolution);
  EXPECT_FALSE(wl.m_fixIfUplayer || wl.m_updSwitch || deploy.m_ambconfig[0].m_resolution);
  EXPECT_NEAR(wl.m_hold[0], 30.0 * kDegree, 1e-15);
  EXPECT_EQ(deploy.m_ambconfig[2].m_fixIfUplayer, 1);  // absent
  EXPECT_TRUE(deploy.m_ambconfig[2].m_updSwitch);
  // Resolution needs the process-wide option; the bias switch stands inside or at the top.
  deployment.ambiguity["amb"]["osb_switch"] = "ON";
  const tarvio::Deploy& again = deployment.load({"-itrs"});  // the one before is gone
  EXPECT_TRUE(again.m_losb && !again.m_ambconfig[1].m_resolution);
  deployment.ambiguity["osb_switch"] = "off";
  EXPECT_FALSE(deployment.load().m_losb);
}

// Wide-lane and narrow-lane wavelengths of GPS L1/L2: 86.2 and 10.7 cm.
TEST(AmbiguityConfig, PairsGiveWavelengths) {
  Deployment deployment;
  for (const char* tag : {"ewl", "wl", "n1"})
    deployment.layer(tag)["comb"] = "GPS:L2_L1 GAL:E5a_E1 BD3:B3_B1 BD2:B1_B2b QZS:L1_L2";
  const tarvio::Upd_ambconfig& n1 = deployment.load().m_ambconfig[2];
  // sorted by falling frequency, whatever the text says
  EXPECT_THAT(std::vector<int>(n1.ambfreq[0], n1.ambfreq[0] + 3), testing::ElementsAre(0, 1, -1));
  EXPECT_EQ(n1.ambfreq[1][0], -1);  // GLONASS is not in the list
  EXPECT_NEAR(n1.lamWL[0], 0.8619, 1e-4);
  EXPECT_NEAR(n1.lamNL[0], 0.1070, 1e-4);
  EXPECT_DOUBLE_EQ(n1.wlratio[0], 154.0 / 120.0);
  EXPECT_DOUBLE_EQ(n1.wlratio[2], 154.0 / 115.0);
  EXPECT_NEAR(n1.lamWL[7], 299792458.0 / (1561.098e6 - 1268.52e6), 1e-9);   // C19, B1I and B3I
  EXPECT_NEAR(n1.lamWL[10], 299792458.0 / (1561.098e6 - 1207.14e6), 1e-9);  // C06, B1I and B2I

  deployment.layer("wl")["comb"] = "GPS:L1";  // one frequency is a pair without wide-lane
  deployment.layer("n1")["resolution"] = "off";
  const tarvio::Upd_ambconfig& wl = deployment.load().m_ambconfig[1];
  EXPECT_EQ(wl.ambfreq[0][1], 0);
  EXPECT_DOUBLE_EQ(wl.lamWL[0], 0.0);
}

TEST(AmbiguityConfig, UnreadableFilesAndMissingKeysAreRefused) {
  Deployment files;
  files.config["amb"] = "/absent";
  expectRefused(files, "file = /absent,can't open file to write!\n");
  const std::string broken = files.path("broken.json").string();
  writeFile(broken, "{\"amb\": {");
  files.config["amb"] = broken;
  expectRefused(files, "file = " + broken + ",can't parse file updating!\n");
  for (const char* key : {"fixmode", "upd_type", "amb_type", "cutoff_amb", "lambda", "analyse", "upd_switch",
                          "resolution", "hold", "comb"}) {
    Deployment deployment;
    deployment.layer("wl").removeMember(key);
    expectRefused(deployment, "item = amb,parse item error!\n");
  }
  Deployment hold;
  hold.layer("n1")["hold"].resize(2);
  expectRefused(hold, "item = amb,parse item error!\n");
}

TEST(AmbiguityConfig, ChecksComeInTheirOrder) {
  Deployment deployment;
  deployment.config["common"]["obscomb"] = "IF";
  for (const char* tag : {"wl", "n1"})
    for (const char* key : {"fixmode", "upd_type", "amb_type"}) deployment.layer(tag)[key] = "X";
  for (const std::string tag : {"wl", "n1"}) {
    Json::Value& layer = deployment.layer(tag.c_str());
    expectRefused(deployment, tag + ":fixmode = X, fixmode only support 'round' and 'lambda'\n");
    layer["fixmode"] = "round";
    expectRefused(deployment, tag + ":upd_type = X, only support 'snx' and 'comb'\n");
    layer["upd_type"] = "snx";
    expectRefused(deployment, tag + ":amb_type = X, only support 'mw' 'raw' and 'NL' \n");
    layer["amb_type"] = "raw";
  }
  expectRefused(deployment, "n1:amb_type = raw, N1 only support 'NL' for IF \n");
  deployment.layer("n1")["amb_type"] = "NL";
  EXPECT_EQ(deployment.loadInChild().status, 0);
}

TEST(AmbiguityConfig, CombinationsOfLayersMustFit) {
  const std::string all = Deployment().layer("wl")["comb"].asString();
  const struct {
    std::string wl, n1, message;
  } cases[] = {
      {"GPS:L1_L5", all, "tag = wl, freq = GPS:L1_L5, parse AMB frequency failed, L5 is not in freq\n"},
      {"IRN:L5", all, "freq = IRN:L5: unknown GNSS system\n"},
      {all, "GPS:L1_L2 GAL:E1",
       "tag = n1, ambiguity config NL is set but number of E comb freqeuency is < 2\n"},
      {"GPS:L1_L2", all, "wl or nl comb configure set error for E!\n"},
      {"GPS:L1_L2 GAL:E1 BD3:B1_B3 BD2:B1_B2b QZS:L1_L2", all,
       "wl and NL comb configure is set different for E!\n"}};
  for (const auto& c : cases) {
    Deployment deployment;
    deployment.layer("wl")["comb"] = c.wl;
    deployment.layer("n1")["comb"] = c.n1;
    expectRefused(deployment, c.message);
  }
  // A layer that is off may name anything; GLONASS without satellites is nobody's business.
  Deployment off, glonass;
  off.layer("wl")["comb"] = "GPS:L1_L5";
  off.layer("wl")["resolution"] = "off";
  EXPECT_EQ(off.load().m_ambconfig[1].ambfreq[0][1], -1);
  glonass.layer("wl")["comb"] = all + " GLS:L1_L2";
  EXPECT_EQ(glonass.loadInChild().status, 0);
}

TEST(AmbiguityConfig, SmoothingFileOverrulesItsLayer) {
  Deployment deployment;
  deployment.layer("wl")["amb_type"] = "mw";
  deployment.layer("wl")["smoothconfig"]["switch"] = "on";
  Json::Value& entry = deployment.smoothing["obs_smoother"]["smooth"][1];
  entry["value"] = "GPS:PIF:L1:L2_LL1:1.0 ! combination";
  entry["minelev"] = 20;
  entry["ion"]["value"] = "GPS:PL1:1.0_PL2:1.0";
  const tarvio::Upd_ambconfig& wl = deployment.load().m_ambconfig[1];
  EXPECT_EQ(wl.m_smoothValue.at('G'), "PIF:L1:L2_LL1:1.0");
  EXPECT_NEAR(wl.m_cutoff, 20.0 * kDegree, 1e-15);
  EXPECT_DOUBLE_EQ(wl.m_minCommon, 900.0);
  EXPECT_EQ(wl.m_smooth, 1) << "an average needs no ionosphere";
  EXPECT_EQ(wl.m_ionValue.at('G'), "PL1:1.0_PL2:1.0");
  EXPECT_FALSE(wl.m_mwFix) << "absent";
  deployment.layer("wl").removeMember("smoothconfig");
  EXPECT_EQ(deployment.load().m_ambconfig[1].m_smooth, 0) << "absent: the value of the epoch";
  entry["ion"]["switch"] = "on";
  EXPECT_EQ(deployment.load().m_ambconfig[1].m_smooth, 1) << "... and an ionosphere needs an average";
}

TEST(AmbiguityConfig, AnIonosphereNeedsTwoCodes) {
  Deployment deployment;
  deployment.layer("wl")["amb_type"] = "mw";
  Json::Value& ion = deployment.smoothing["obs_smoother"]["smooth"][1]["ion"];
  const auto refused = [&](const char* value, const std::string& count) {
    ion["value"] = value;
    ion["switch"] = "on";
    expectRefused(deployment,
                  "if count = " + count + ", not equal with 2, please check `smooth/ion/value`\n");
    ion["switch"] = "off";
    EXPECT_FALSE(deployment.load().m_ambconfig[1].m_ionSwitch) << "not looked at while it is off";
  };
  refused("GPS:PL1:1.0", "1");
  refused("GPS:PL1:1.0_PL2:0.0", "1");
  refused("GPS:LL1:1.0_LL2:-1.0", "0");
  refused("GAL:PL1:1.0_PL5:1.0", "0");
  ion["switch"] = "on";
  for (const char* pair : {"GPS:PIF:L1:L2", "GPS:PL1:1.0_PL2:1.0_LL1:1.0"}) {
    ion["value"] = pair;
    EXPECT_TRUE(deployment.load().m_ambconfig[1].m_ionSwitch) << pair;
  }
}

TEST(AmbiguityConfig, SmoothedWideLanesAreFixedWhenALevelSaysSo) {
  Deployment deployment;
  deployment.layer("wl")["amb_type"] = "mw";
  deployment.layer("wl")["mwfix"] = "on   ! integers";
  EXPECT_TRUE(deployment.load().m_ambconfig[1].m_mwFix);
  EXPECT_FALSE(deployment.load().m_ambconfig[0].m_mwFix) << "of its own level only";
  deployment.layer("wl")["mwfix"] = "off";
  EXPECT_FALSE(deployment.load().m_ambconfig[1].m_mwFix);
  deployment.layer("wl")["mwfix"] = "yes";
  expectRefused(deployment, "wl:mwfix = yes, it is either 'on' or 'off'\n");
}

TEST(AmbiguityConfig, SmoothingFileIsChecked) {
  Deployment deployment;
  deployment.layer("wl")["amb_type"] = "mw";
  Json::Value& entry = deployment.smoothing["obs_smoother"]["smooth"][1];
  const std::string file = deployment.path("smooth.json").string();
  const auto refused = [&](const char* value, const std::string& message) {
    entry["value"] = value;
    expectRefused(deployment, message);
  };
  refused("GPS:PIF:L1:L5", "freq = G:L5, no this frequency in wl:comb!\n");
  refused("GPS:P", "freq = G:, no this frequency in wl:comb!\n");
  deployment.layer("wl")["comb"] = "GAL:E1_E5a";
  refused("GPS:LL5:1.0", "freq = G:L5, mw configure set error, no this frequency in freqused!\n");
  refused("IRN:LL5:1.0", "freq = IRN:LL5:1.0: unknown GNSS system\n");
  entry.removeMember("updfile");
  refused("GAL:LL1:1.0_LL5:-1.0", "file = " + file + ",upd configuration format error!\n");
  entry["tag"] = "other";
  expectRefused(deployment, "tag = wl, no smooth tag found in " + file + "\n");
  deployment.smoothing = Json::Value(Json::arrayValue);
  expectRefused(deployment, "file = " + file + ",upd configuration format error!\n");

  const std::string broken = deployment.path("broken.json").string();
  writeFile(broken, "{\"amb\": {");
  deployment.layer("wl")["analyse"]["smoothconfig"] = broken;
  expectRefused(deployment, "file = " + broken + ",failed to parse upd configuration file!\n");
  deployment.layer("wl")["analyse"]["smoothconfig"] = "/absent";
  expectRefused(deployment, "file = /absent,can't open upd configuration file to read!\n");
}

TEST(AmbiguityConfig, RatioTableIsLoaded) {
  Deployment deployment;
  deployment.ratio = "nrow 2 ndim 3\n 1.000 2.000 3.000\n 1.500 2.500 3.500\n";
  const tarvio::RatioTable& table = deployment.load().m_ratioTable;
  ASSERT_NE(table.u, nullptr);
  EXPECT_DOUBLE_EQ(table.u[1 * 2 + 1], 2.5);  // two ambiguities, second rate
  deployment.ratio = "no table\n";
  expectRefused(deployment, "file = " + deployment.path("ratio.txt").string() + ",failed to parse file\n");
}

}  // namespace
