/// Load of "ppp.json": what is taken over, what is refused, with which text and in which order.

#include <gmock/gmock.h>

#include "support/deployment.h"

namespace {

using support::ChildResult;
using support::Deployment;
using testing::HasSubstr;
using testing::Not;

/// The process ended with status 1, the message stands on the console behind "[function,line]:" and
/// the exit line behind it.
void expectRefused(const ChildResult& result, const std::string& message) {
  EXPECT_EQ(result.status, 1) << message;
  const std::size_t at = result.output.find("]:" + message);
  EXPECT_NE(at, std::string::npos) << "want: " << message << "got: " << result.output;
  EXPECT_NE(result.output.find("]:exit by code\n", at), std::string::npos) << result.output;
}

TEST(Config, CompleteDeploymentLoads) {
  Deployment deployment;
  const tarvio::Deploy& deploy = deployment.load();
  EXPECT_TRUE(deploy.m_litrs && deploy.m_ldia && deploy.m_liar);
  EXPECT_FALSE(deploy.m_lpost || deploy.m_ltrace);
  EXPECT_EQ(deploy.m_promode, 0);
  EXPECT_EQ(deploy.m_mjd0, 59025);  // 2020-06-25
  EXPECT_DOUBLE_EQ(deploy.m_sod0, 0.0);
  EXPECT_EQ(deploy.m_mjd1, 59026);
  EXPECT_DOUBLE_EQ(deploy.m_sod1, 0.0);
  EXPECT_STREQ(deploy.m_ztdmodel, "ZTD:1800");
  EXPECT_STREQ(deploy.m_orbtype[0], "SSR");
  EXPECT_DOUBLE_EQ(deploy.m_rangelimit, 50.0);
  EXPECT_STREQ(deploy.m_diaType, "batch");
  EXPECT_TRUE(deploy.m_diaReset);
  EXPECT_EQ(deploy.m_statFile, deployment.path("log/tarvio.stat").string());
  EXPECT_TRUE(std::filesystem::exists(deploy.m_statFile));
  EXPECT_FALSE(std::filesystem::exists(deploy.m_traceFile));  // only with "-trace"
}

TEST(Config, ValuesAreCleanedOfAnnotations) {
  Deployment deployment;
  deployment.config["common"]["ztdmodel"] = " \tZTD:30 ! thirty seconds";
  deployment.config["common"]["obscomb"] = "RAW # uncombined";
  deployment.config["path"]["obs"] = "/data/obs  ! not used";
  const tarvio::Deploy& deploy = deployment.load();
  EXPECT_STREQ(deploy.m_ztdmodel, "ZTD:30");
  EXPECT_STREQ(deploy.m_obscomb, "RAW");
  EXPECT_STREQ(deploy.m_pathObs, "/data/obs");
}

TEST(Config, NumbersGoToTheirPlaces) {
  Deployment deployment;
  deployment.config["common"]["time"] = "20 6 25 23 30 15.5 3600";
  deployment.config["common"]["interval"] = "30:5";
  deployment.config["common"]["noisecoef"] = "7.5";  // second number absent: its default stays
  deployment.config["common"]["dcbmodel"]["p1p2_dcb"] = "DCB_EST 10.0 0.01";
  deployment.config["threshold"]["turboedit"] = "2.5 3.5 0.6 900.0";
  deployment.config["threshold"]["dia"] = "rescheck";
  deployment.config["threshold"]["dia_search-limit"] = "1.0 2.0";
  deployment.config["threshold"]["dia_batch-limit"] = "3.0 4.0";
  const tarvio::Deploy& deploy = deployment.load();
  EXPECT_EQ(deploy.m_mjd0, 59025);  // two-digit year
  EXPECT_DOUBLE_EQ(deploy.m_sod0, 84615.5);
  EXPECT_EQ(deploy.m_mjd1, 59026);  // the end lies behind midnight
  EXPECT_DOUBLE_EQ(deploy.m_sod1, 1815.5);
  EXPECT_DOUBLE_EQ(deploy.m_intv, 30.0);
  EXPECT_DOUBLE_EQ(deploy.m_intv2, 5.0);
  EXPECT_DOUBLE_EQ(deploy.m_noiseCoef[0], 7.5);
  EXPECT_DOUBLE_EQ(deploy.m_noiseCoef[1], 1000.0);
  EXPECT_STREQ(deploy.m_p1p2Dcb, "DCB_EST");
  EXPECT_DOUBLE_EQ(deploy.m_p1p2Sig[1], 0.01);
  EXPECT_DOUBLE_EQ(deploy.m_turboedit[2], 900.0);  // gap, s
  EXPECT_DOUBLE_EQ(deploy.m_turboedit[3], 0.6);    // geometry-free limit
  EXPECT_STREQ(deploy.m_diaType, "rescheck");
  EXPECT_FALSE(deploy.m_diaReset);
  EXPECT_DOUBLE_EQ(deploy.m_diaSearchLimit[1], 2.0);
  EXPECT_DOUBLE_EQ(deploy.m_diaBatchLimit[0], 3.0);
}

// Values longer than their field are cut, lists longer than their table too: nothing is overrun.
TEST(Config, OverlongValuesStayInTheirFields) {
  Deployment deployment;
  const std::string longText(5000, 'x');
  deployment.config["common"]["yawmodel"] = longText;
  deployment.config["common"]["dcbmodel"]["icb_dcb"] = longText + " 1 2";
  deployment.config["threshold"]["dia"] = longText + " " + longText + "RESET";
  for (int k = 0; k < 50; ++k) deployment.config["common"]["clktype"].append(longText);
  const tarvio::Deploy& deploy = deployment.load({"-itrs", "-pams", longText, "-outres"});
  EXPECT_EQ(std::string(deploy.m_yawmodel).size(), 255u);
  EXPECT_EQ(std::string(deploy.m_clktype[31]).size(), 63u);
  EXPECT_DOUBLE_EQ(deploy.m_icbSig[1], 2.0);
  EXPECT_TRUE(deploy.m_diaReset);
  EXPECT_EQ(std::string(deploy.m_pams).size(), 1023u);
}

TEST(Config, OptionsAreFoundBySubstring) {
  Deployment deployment;
  const tarvio::Deploy& deploy =
      deployment.load({"-tracex", "x-snr", "-rinput", "ratio.txt", "-pams", "-outres", "-post"});
  EXPECT_TRUE(deploy.m_ltrace);
  EXPECT_TRUE(deploy.m_lsnr);
  EXPECT_FALSE(deploy.m_lpost);  // behind "-pams"
  EXPECT_EQ(deploy.m_rinput, "ratio.txt");
  EXPECT_STREQ(deploy.m_pams, "-outres -post ");
  const std::string trace = support::readFile(deploy.m_traceFile);
  EXPECT_THAT(trace, HasSubstr("program             : PPP\n"));
  EXPECT_THAT(trace, HasSubstr("comb opt            : RAW\n"));
  EXPECT_THAT(trace, HasSubstr("amb mode            : float\n"));
}

TEST(Config, HelpPrintsTheUsageAndEnds) {
  Deployment deployment;
  const ChildResult result = deployment.loadInChild({"-helpme"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output,
              HasSubstr("     usage : tarvio -mode (pppv|ppp|clk|ifpb|extwl|extnl|hmw|rtk|nrtk|vrs) "
                        "*.json\n     option: -post | -itrs | -dia | -iar | -sql"));
  EXPECT_THAT(result.output, HasSubstr("    options: -rtifpb(generate ifpb in real-time)/-reback"));
  EXPECT_THAT(result.output, HasSubstr("]:exit by code\n"));
}

TEST(Config, UnreadableMainFileIsRefused) {
  Deployment deployment;
  deployment.write();
  const auto load = [&](const std::string& path) {
    return support::runInChild([&] {
      const char* arguments[] = {"-mode", "ppp", path.c_str()};
      tarvio::Controller::s_getInstance()->m_deploy.m_readJsonFile(3, arguments);
    });
  };
  const std::string absent = deployment.path("absent.json").string();
  expectRefused(load(absent), "file = " + absent + ",can't open file to read!\n\n");
  const std::string broken = deployment.path("broken.json").string();
  support::writeFile(broken, "{\"path\": {");
  expectRefused(load(broken), "file = " + broken + ",can't parse file!\n\n");
  support::writeFile(broken, std::string(5000, '['));  // deeper than the reader's stack
  expectRefused(load(broken), "file = " + broken + ",can't parse file!\n\n");
  support::writeFile(broken, "[1, 2]");  // a file of another kind
  expectRefused(load(broken), "item = path,failed to parase item\n");
}

TEST(Config, TraceDirectoryMustExist) {
  Deployment deployment;
  deployment.config["path"]["trace"] = "/nonexistent/trace";
  expectRefused(deployment.loadInChild(), "tracedir = /nonexistent/trace,trace dir is not exist!\n");
}

TEST(Config, MissingKeysNameTheirGroup) {
  const struct {
    const char *group, *key;
    const char* message;
  } cases[] = {
      {"path", "broad", "item = path,failed to parase item\n"},
      {"path", "output", "item = path,failed to parase item\n"},
      {"", "files", "item = files,failed to parase item\n"},
      {"common", "", "item = common,parse item error!\n"},
      {"common", "time", "item = common,parse item error!\n"},
      {"common", "interval", "item = common,parse item error!\n"},
      {"common", "ztdpri", "item = common,parse item error!\n"},
      {"common", "ztdmodel", "item = common,parse item error!\n"},
      {"common", "obsused", "item = common,parse item error!\n"},
      {"common", "noisecoef", "item = common,parse item error!\n"},
      {"common", "refpoint", "item = common,parse item error!\n"},
      {"common", "yawmodel", "item = common,parse item error!\n"},
      {"common", "freqobs", "item = common,parse item error!\n"},
      {"common", "freqused", "item = common,parse item error!\n"},
      {"common", "threads", "item = common,parse item error!\n"},
      {"common", "obscomb", "item = common,parse item error!\n"},
      {"common", "dcbmodel", "item = common,parse item error!\n"},
      {"common", "ionmodel", "item = common,parse item error!\n"},
      {"common", "ionpri", "item = common,parse item error!\n"},
      {"common", "ambmode", "item = common,parse item error!\n"},
      {"common", "orbtype", "item = common,parse item error!\n"},
      {"common", "clktype", "item = common,parse item error!\n"},
      {"common", "tracelevel", "item = common,parse item error!\n"},
      {"dcbdatum", "dcbtype", "item = dcbdatum,parse item error!\n"},
      {"dcbdatum", "clockdatum", "item = dcbdatum,parse item error!\n"},
      {"dcbdatum", "ifpb_cor", "item = dcbdatum,parse item error!\n"},
      {"threshold", "turboedit", "item = threshold,failed to parase item\n"},
      {"threshold", "dia", "item = threshold,failed to parase item\n"},
      {"threshold", "dia_search-limit", "item = threshold,failed to parase item\n"},
      {"threshold", "dia_batch-limit", "item = threshold,failed to parase item\n"},
      {"", "amb", "item = amb,parse item error!\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.group) + "." + c.key);
    Deployment absent, number;
    Json::Value& group = *c.group != '\0' ? absent.config[c.group] : absent.config;
    Json::Value& sameGroup = *c.group != '\0' ? number.config[c.group] : number.config;
    if (*c.key == '\0') {
      absent.config.removeMember(c.group);
      sameGroup = 5;
    } else {
      group.removeMember(c.key);
      sameGroup[c.key] = 5;  // JSON numbers are no values of this file
    }
    expectRefused(absent.loadInChild(), c.message);
    expectRefused(number.loadInChild(), c.message);
  }
}

// The status log names the key, which the fixed text does not.
TEST(Config, StatusLogHoldsTheTwinAndTheKey) {
  Deployment deployment;
  deployment.config["common"].removeMember("obscomb");
  deployment.loadInChild();
  const std::string log = deployment.statusLog();
  EXPECT_THAT(log, HasSubstr("key obscomb is missing or is not a string"));
  EXPECT_THAT(log, HasSubstr("LOCAL] item = common,parse item error!\n"));
  EXPECT_THAT(log, HasSubstr("LOCAL] exit by code\n"));
}

// A file with every fault at once is refused for the first; with that repaired for the next.
TEST(Config, ChecksComeInTheirOrder) {
  struct Fault {
    const char *key, *bad, *good, *message;
  };
  const Fault faults[] = {
      {"obscomb", "X", "RAW", "cobs = X,key = obscomb,only support RAW,IF and SF\n"},
      {"obsused", "X", "PHASE_CODE",
       "uobs = X,key = obsused,only support the combination of PHASE,GRAPHIC and CODE\n"},
      {"refpoint", "X", "APC_ITRF", "refpoint = X,key = refpoint,only support APC_ITRF and CoM_ITRF\n"},
      {"ztdmodel", "X", "ZTD_NONE", "ztdmod = X,key = ztdmod,only support ZTD:MINUTES,ZTDSTO and ZTDNONE\n"},
      {"ztdpri", "X", "ZTD_INTERP",
       "ztdpri = X,key = ztdmod,only support ZTD_VMF1,ZTD_INTERP, and ZTD_NONE\n"},
      {"ionmodel", "X", "ION_NONE", "ionmod = X,key = ionmodel,only support ION_EST and ION_NONE\n"},
      {"ionpri", "X", "ION_RTPRE",
       "ionpri = X,key = ionpri,only support ION_POSTBRD,ION_POSTPRE,ION_RTBRD,ION_RTPRE,ION_DDPRE and "
       "ION_NONE\n"},
      {"ambmode", "X", "HOLD", "ambmod = X,key = ambmode,only support CONT,INST and HOLD\n"},
  };
  Deployment deployment;
  for (const Fault& fault : faults) deployment.config["common"][fault.key] = fault.bad;
  for (const Fault& fault : faults) {
    expectRefused(deployment.loadInChild(), fault.message);
    deployment.config["common"][fault.key] = fault.good;
  }
  EXPECT_EQ(deployment.loadInChild().status, 0);
}

TEST(Config, UnknownProcessingModeIsRefused) {
  Deployment deployment;
  const ChildResult result = support::runInChild([&] {
    tarvio::Deploy& deploy = deployment.load();
    deploy.m_promode = 10;  // the number without a name
    deploy.m_checkConfigure();
  });
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(tarvio::str_promode.size(), 21u);
  EXPECT_EQ(tarvio::str_promode.at(21), "RTKV");
}

TEST(Config, ContradictionsAreSettledWithANote) {
  Deployment deployment;
  deployment.config["common"]["obscomb"] = "IF";
  deployment.config["common"]["obsused"] = "CODE";
  deployment.config["path"]["qclog"] = "/nonexistent/qc";
  deployment.config["path"]["output"] = "/nonexistent/out";
  const ChildResult result = support::runInChild([&] {
    const tarvio::Deploy& deploy = deployment.load();
    std::printf("ionmodel %s dia %d\n", deploy.m_ionmodel, deploy.m_ldia);
  });
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("ionmodel ION_NONE dia 0\n"));
  EXPECT_THAT(result.output,
              HasSubstr("cobs = IF,ionmod = ION_EST,ignoring the ION_EST mode when use IF,reset "
                        "the ionmod ION_NONE\n"));
  EXPECT_THAT(result.output,
              HasSubstr("uobs = CODE,dia = true,dia should not be set when phase is not used,reset "
                        "the dia flag\n"));
  EXPECT_THAT(result.output, HasSubstr("dir = /nonexistent/qc,qclog dir is not exist\n"));
  EXPECT_THAT(result.output, HasSubstr("dir = /nonexistent/out,output dir is not exist\n"));
}

TEST(Config, RangeLimitIsOptional) {
  Deployment deployment;
  deployment.config["threshold"]["rangelimit"] = "20.0";
  EXPECT_THAT(deployment.loadInChild().output, HasSubstr("rangelimit set as 20.000000\n"));
  deployment.config["threshold"].removeMember("rangelimit");
  const ChildResult result = deployment.loadInChild();
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("ranglimit not exist, use prefined value : 50.000000\n"));
}

// A gap of 0.72 s (numbers in the wrong order) would restart every ambiguity at every epoch.
TEST(Config, SwappedTurboeditLimitsAreTold) {
  Deployment deployment;
  deployment.loadInChild();
  EXPECT_THAT(deployment.statusLog(), Not(HasSubstr("turboedit")));
  deployment.config["threshold"]["turboedit"] = "2.0 3.0 1200.0 0.72";
  deployment.loadInChild();
  EXPECT_THAT(deployment.statusLog(), HasSubstr("turboedit: gap of 0.720000 s"));
}

TEST(Config, TheClockDatumHasTwoFrequenciesAtMost) {
  Deployment deployment;
  deployment.config["dcbdatum"]["clockdatum"] = "BD2:B1_B2b_B3 GAL:E1_E5a_E5b";
  deployment.config["dcbdatum"].removeMember("ifpb_cor");  // read only behind this check
  expectRefused(deployment.loadInChild(),
                "the number of frequency of clockdatum or dcbestdatum for E must <= 2\n");
}

TEST(Config, LeapSecondsAreLoadedDuringInitialisation) {
  Deployment deployment;
  deployment.leapsc = "no table here\n";
  EXPECT_EQ(deployment.loadInChild().status, 1);
}

TEST(Config, LoadingTwiceStartsFromEmptyTables) {
  Deployment deployment;
  tarvio::Deploy& deploy = deployment.load();
  const int nsat = deploy.m_nsat;
  const std::string file = deployment.path("ppp.json").string();
  const char* arguments[] = {"-mode", "ppp", file.c_str(), "-iar"};
  deploy.m_readJsonFile(4, arguments);
  EXPECT_EQ(deploy.m_nsat, nsat);
  EXPECT_EQ(deploy.m_satellites.size(), static_cast<std::size_t>(nsat));
  EXPECT_STREQ(deploy.m_syslist, "GECBJ");
  EXPECT_EQ(deploy.m_nsys, 5);
}

TEST(Config, KeyPairsOfACommandTable) {
  const std::map<std::string, std::map<std::string, std::string>> table = {{"a", {{"b", "1"}}}};
  EXPECT_TRUE(tarvio::s_validCmd(table, "a", "b"));
  EXPECT_FALSE(tarvio::s_validCmd(table, "a", "c"));
  EXPECT_FALSE(tarvio::s_validCmd(table, "b", "b"));
}

}  // namespace
