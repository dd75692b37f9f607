/// Table of data files and satellite list: rows, systems, reference system, refusals.

#include <gmock/gmock.h>

#include "support/deployment.h"

namespace {

using namespace support;
using testing::HasSubstr;

TEST(SatelliteTable, RowsFollowTheList) {
  Deployment deployment;
  const tarvio::Deploy& deploy = deployment.load();
  ASSERT_EQ(deploy.m_nsat, 13);
  for (int i = 0; i < deploy.m_nsat; ++i) {
    const std::string& name = deployment.satellites[static_cast<std::size_t>(i)].first;
    EXPECT_EQ(deploy.m_cprn[i], name);
    EXPECT_EQ(deploy.m_satRow(name.c_str()), i);
  }
  for (const char* absent : {"G5", "", "G", "g05", "G005", "\xff\xff\xff", "R05", (const char*)nullptr})
    EXPECT_EQ(deploy.m_satRow(absent), -1);
  EXPECT_EQ(deploy.m_sysname[10], "B06");  // the second generation of BeiDou is a system of its own
  EXPECT_EQ(deploy.m_sysOfRow(7), 3);
  EXPECT_EQ(deploy.m_sysOfRow(10), 4);
  EXPECT_STREQ(deploy.m_syslist, "GECBJ");
  EXPECT_EQ(deploy.m_refsys, 0);

  const tarvio::Satellite& c06 = deploy.m_satellites[10];
  EXPECT_DOUBLE_EQ(c06.m_freq[0], 1561.098e6);
  EXPECT_DOUBLE_EQ(c06.m_freqMap.at("L7"), 1207.14e6);
  EXPECT_NEAR(c06.m_pco[1][1], 0.006, 1e-12);  // own number in the test file
  EXPECT_NEAR(c06.m_pco[1][2], 2.007, 1e-12);  // slot 1 is B2b, code 07
}

TEST(SatelliteTable, GpsBecomesTheReferenceByExchange) {
  Deployment deployment;
  deployment.satellites = {{"E01", "GAL"}, {"G01", "GPS"}, {"C19", "BDS"}};
  EXPECT_STREQ(deployment.load().m_syslist, "GEC");
  deployment.satellites = {{"E01", "GAL"}, {"C19", "BD3"}, {"G01", "GPS"}};
  EXPECT_STREQ(deployment.load().m_syslist, "GCE");
  deployment.satellites = {{"C19", "BD3"}, {"E01", "GAL"}};
  const tarvio::Deploy& deploy = deployment.load();
  EXPECT_STREQ(deploy.m_syslist, "CE");
  EXPECT_EQ(deploy.m_refsys, 3);
}

TEST(SatelliteTable, TheListEndsAtTheFirstLineWithoutBlank) {
  Deployment deployment;
  deployment.satconf =
      "satellites of a test\n G09 GPS\n-Satellite used\n G01 GPS\n\n G02 GPS\n G01 GPS\n* cut\n G03 GPS\n";
  EXPECT_EQ(deployment.load().m_nsat, 1);  // an empty line ends it as well
  deployment.satconf =
      "-Satellite used\r\n G01 GPS\r\n   \r\n G02  GPS  comment\r\n G01 GPS\r\n* cut\r\n G03 GPS\r\n";
  EXPECT_EQ(deployment.load().m_nsat, 2);
  EXPECT_THAT(deployment.loadInChild().output, HasSubstr("cprn = G01,exist the same satellite\n"));
}

TEST(SatelliteTable, NamesAndRowsBeyondTheTableAreLeftOut) {
  Deployment deployment;
  deployment.satellites = satelliteRange({{'G', 0, 99, "GPS"}, {'E', 0, 99, "GAL"}});
  deployment.satconf = satelliteListFile(deployment.satellites);
  deployment.satconf.insert(deployment.satconf.find('\n') + 1, " G0123456 GPS\n");
  const ChildResult result = runInChild([&] {
    const tarvio::Deploy& deploy = deployment.load();
    std::printf("rows %d last %s\n", deploy.m_nsat, deploy.m_cprn[159].c_str());
  });
  EXPECT_EQ(result.status, 0);
  for (const char* text : {"rows 160 last E59\n", "cprn = G0123456,satellite name is too long",
                           "cprn = E60,more than 160 satellites"})
    EXPECT_THAT(result.output, HasSubstr(text));
}

TEST(SatelliteTable, Refusals) {
  Deployment deployment;
  deployment.satellites = {{"G01", "GPS"}, {"R01", "GLS"}};
  const std::pair<const char*, const char*> lists[] = {
      {"-Satellite used\n G01 GPS\n L01 LEO\n", "system = LEO,do not support system\n"},
      {"-Satellite used\n G01 \n", "system = ,do not support system\n"},
      {"-Satellite used\n R01 GLS\n", "cprn = R01,nfreq = 0,frequency used for satellite is not selected!\n"},
      {"-Satellite used\n", "nrpn = 0,no selected satellite!\n"},
      {" G01 GPS\n", "nrpn = 0,no selected satellite!\n"}};  // no opening line
  for (const auto& [list, message] : lists) {
    deployment.satconf = list;
    expectRefused(deployment, message);
  }
  const std::pair<const char*, const char*> readers[] = {
      {"satconf", "file = /absent,can't open file to read\n"},
      {"satnav", "file = /absent,can't accsss satnav file\n"},
      {"antpcv", "file = /absent,can't access to antpcv file\n"},
      {"rinput", "file = /absent, ratio table not exist, please check!\n"}};
  for (const auto& [key, message] : readers) {
    Deployment absent;
    absent.tables["files"][key][0] = "/absent";
    expectRefused(absent, message);
  }
  const std::string table = deployment.path("broken.json").string();
  deployment.config["files"] = table;
  expectRefused(deployment, "file = " + table + ",can't open file to read!\n");
  writeFile(table, "{");
  expectRefused(deployment, "file = " + table + ",can't parse file!\n");
  const ChildResult noKey = runInChild([] { tarvio::Deploy().m_parseSatelliteConfigures(); });
  expectRefused(noKey, "key = satconf,can't find the value for the key!\n");
}

TEST(SatelliteTable, EveryFileKeyIsMandatory) {
  for (const char* key : {"satconf", "satnav", "antnam", "antpcv", "leapsc", "ocload", "ut1t10", "predefine",
                          "polut1", "gptgrd_w", "rinput"}) {
    const std::string message = std::string("item = ") + key + ",file = ";
    Deployment absent;
    absent.tables["files"].removeMember(key);
    expectRefused(absent, message + absent.path("tables.json").string() + ",failed to extract config");
  }
  for (const Json::Value& none : {Json::Value("not in an array"), Json::Value(Json::arrayValue)}) {
    Deployment empty;
    empty.tables["files"]["satconf"] = none;
    expectRefused(empty, "item = satconf,file = ");
  }
  Deployment deployment;
  deployment.tables["files"]["jpleph"].append("/data/jpl ! planets");
  const auto& table = deployment.load().m_fileTable;
  EXPECT_EQ(table.at("ratio"), deployment.path("ratio.txt").string());  // read as "rinput"
  EXPECT_EQ(table.at("jpleph"), "/data/jpl");                           // optional
}

// Only used frequencies are asked of the antenna file: an observed one may be missing there.
TEST(SatelliteTable, OnlyUsedFrequenciesNeedAnAntenna) {
  Deployment deployment;
  deployment.satellites = {{"G01", "GPS"}};
  deployment.layer("wl")["resolution"] = deployment.layer("n1")["resolution"] = "off";
  deployment.antpcv =
      antexHeader() +
      antexBlock("BLOCK IIF", "G01", antexFrequency("G01", 1, 2, 3) + antexFrequency("G02", 4, 5, 6));
  deployment.config["common"]["freqobs"] = "GPS:L1_L2_L5";
  deployment.config["common"]["freqused"] = "GPS:L1_L2";
  EXPECT_EQ(deployment.loadInChild().status, 0);
  deployment.config["common"]["freqused"] = "GPS:L1_L5";
  expectRefused(deployment, "ant = BLOCK IIF,cprn = G01,satellite antenna is not found in atx file\n");
}

TEST(SatelliteTable, PostProcessingAsksForTheDateOfTheData) {
  Deployment deployment;
  deployment.satellites = {{"G01", "GPS"}};
  deployment.satnav = satnavFile(satnavRow("G01", "BLOCK IIF", 2015, 2021));
  EXPECT_EQ(deployment.loadInChild({"-post"}).status, 0);  // data of 2020
  expectRefused(deployment, "cprn = G01,file = " + deployment.path("satnav.txt").string() +
                                ",satellite not found in svnav file\n");  // the wall clock
}

}  // namespace
