/// Load of "ppp.json": what is taken over, what is refused, with which text and in which order.

#include <gmock/gmock.h>

#include "support/deployment.h"

namespace {

using namespace support;
using namespace testing;

TEST(Config, ValuesGoToTheirPlacesWithoutAnnotations) {
  Deployment deployment;
  deployment.config["common"]["ztdmodel"] = " \tZTD:30 ! thirty seconds";
  deployment.config["common"]["obscomb"] = "RAW # uncombined";
  deployment.config["common"]["time"] = "20 6 25 23 30 15.5 3600";
  deployment.config["common"]["noisecoef"] = "7.5";  // second number absent: its default stays
  deployment.config["threshold"]["turboedit"] = "2.5 3.5 0.6 900.0";
  const tarvio::Deploy& deploy = deployment.load();
  EXPECT_STREQ(deploy.m_ztdmodel, "ZTD:30");
  EXPECT_STREQ(deploy.m_obscomb, "RAW");
  EXPECT_EQ(deploy.m_mjd0, 59025);  // 2020-06-25, two-digit year
  EXPECT_DOUBLE_EQ(deploy.m_sod0, 84615.5);
  EXPECT_EQ(deploy.m_mjd1, 59026);  // the end lies behind midnight
  EXPECT_DOUBLE_EQ(deploy.m_sod1, 1815.5);
  EXPECT_DOUBLE_EQ(deploy.m_noiseCoef[0], 7.5);
  EXPECT_DOUBLE_EQ(deploy.m_noiseCoef[1], 1000.0);
  EXPECT_DOUBLE_EQ(deploy.m_turboedit[2], 900.0);  // gap, s
  EXPECT_DOUBLE_EQ(deploy.m_turboedit[3], 0.6);    // geometry-free limit
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
  EXPECT_TRUE(deploy.m_ltrace && deploy.m_lsnr);
  EXPECT_FALSE(deploy.m_lpost);  // behind "-pams"
  EXPECT_EQ(deploy.m_rinput, "ratio.txt");
  EXPECT_STREQ(deploy.m_pams, "-outres -post ");
  const ChildResult help = deployment.loadInChild({"-helpme"});
  EXPECT_EQ(help.status, 1);
  EXPECT_THAT(help.output, HasSubstr("     usage : tarvio -mode (pppv|ppp|clk|ifpb|extwl|extnl|hmw|rtk|nrtk|"
                                     "vrs) *.json\n     option: -post | -itrs | -dia | -iar | -sql"));
}

TEST(Config, UnreadableMainFileIsRefused) {
  Deployment deployment;
  deployment.write();
  const std::string file = deployment.path("main.json").string();
  const auto load = [&] {
    const char* arguments[] = {"-mode", "ppp", file.c_str()};
    tarvio::Controller::s_getInstance()->m_deploy.m_readJsonFile(3, arguments);
  };
  expectRefused(runInChild(load), "file = " + file + ",can't open file to read!\n\n");
  for (const std::string& broken : {std::string("{\"path\": {"), std::string(5000, '[')}) {  // or too deep
    writeFile(file, broken);
    expectRefused(runInChild(load), "file = " + file + ",can't parse file!\n\n");
  }
  writeFile(file, "[1, 2]");  // a file of another kind
  expectRefused(runInChild(load), "item = path,failed to parase item\n");
}

TEST(Config, MissingKeysNameTheirGroup) {
  const struct {
    const char *group, *keys, *message;
  } cases[] = {
      {"path", "broad output", "item = path,failed to parase item\n"},
      {"common",
       "time interval ztdpri ztdmodel obsused noisecoef refpoint yawmodel freqobs freqused threads obscomb "
       "dcbmodel ionmodel ionpri ambmode orbtype clktype tracelevel",
       "item = common,parse item error!\n"},
      {"dcbdatum", "dcbtype clockdatum ifpb_cor", "item = dcbdatum,parse item error!\n"},
      {"threshold", "turboedit dia dia_search-limit dia_batch-limit",
       "item = threshold,failed to parase item\n"},
      {"", "files", "item = files,failed to parase item\n"},
      {"", "common", "item = common,parse item error!\n"},
      {"", "amb", "item = amb,parse item error!\n"},
  };
  for (const auto& c : cases) {
    std::istringstream keys(c.keys);
    for (std::string key; keys >> key;) {
      SCOPED_TRACE(std::string(c.group) + "." + key);
      Deployment absent, number;
      (*c.group == '\0' ? absent.config : absent.config[c.group]).removeMember(key);
      (*c.group == '\0' ? number.config : number.config[c.group])[key] =
          5;  // numbers are no values of this file
      expectRefused(absent, c.message);
      expectRefused(number, c.message);
      if (key != "obscomb") continue;
      // The status log names the key, which the fixed text does not.
      for (const char* text : {"key obscomb is missing or is not a string", "LOCAL] exit by code\n",
                               "LOCAL] item = common,parse item error!\n"})
        EXPECT_THAT(absent.statusLog(), HasSubstr(text));
    }
  }
}

// A file with every fault at once is refused for the first; with that repaired for the next.
TEST(Config, ChecksComeInTheirOrder) {
  const struct {
    const char *key, *good, *message;
  } faults[] = {
      {"obscomb", "RAW", "cobs = X,key = obscomb,only support RAW,IF and SF\n"},
      {"obsused", "PHASE_CODE",
       "uobs = X,key = obsused,only support the combination of PHASE,GRAPHIC and CODE\n"},
      {"refpoint", "APC_ITRF", "refpoint = X,key = refpoint,only support APC_ITRF and CoM_ITRF\n"},
      {"ztdmodel", "ZTD_NONE", "ztdmod = X,key = ztdmod,only support ZTD:MINUTES,ZTDSTO and ZTDNONE\n"},
      {"ztdpri", "ZTD_INTERP", "ztdpri = X,key = ztdmod,only support ZTD_VMF1,ZTD_INTERP, and ZTD_NONE\n"},
      {"ionmodel", "ION_NONE", "ionmod = X,key = ionmodel,only support ION_EST and ION_NONE\n"},
      {"ionpri", "ION_RTPRE",
       "ionpri = X,key = ionpri,only support ION_POSTBRD,ION_POSTPRE,ION_RTBRD,ION_RTPRE,ION_DDPRE and "
       "ION_NONE\n"},
      {"ambmode", "HOLD", "ambmod = X,key = ambmode,only support CONT,INST and HOLD\n"},
  };
  Deployment deployment;
  for (const auto& fault : faults) deployment.config["common"][fault.key] = "X";
  for (const auto& fault : faults) {
    expectRefused(deployment, fault.message);
    deployment.config["common"][fault.key] = fault.good;
  }
  EXPECT_EQ(deployment.loadInChild().status, 0);
}

TEST(Config, ContradictionsAreSettledWithANote) {
  Deployment deployment;
  deployment.config["common"]["obscomb"] = "IF";
  deployment.config["common"]["obsused"] = "CODE";
  deployment.config["path"]["qclog"] = "/nonexistent/qc";
  deployment.config["threshold"].removeMember("rangelimit");
  const ChildResult result = runInChild([&] {
    const tarvio::Deploy& deploy = deployment.load();
    std::printf("ionmodel %s dia %d\n", deploy.m_ionmodel, deploy.m_ldia);
  });
  EXPECT_EQ(result.status, 0);
  for (const char* note :
       {"ionmodel ION_NONE dia 0\n",
        "cobs = IF,ionmod = ION_EST,ignoring the ION_EST mode when use IF,reset the ionmod ION_NONE\n",
        "uobs = CODE,dia = true,dia should not be set when phase is not used,reset the dia flag\n",
        "dir = /nonexistent/qc,qclog dir is not exist\n",
        "ranglimit not exist, use prefined value : 50.000000\n"})
    EXPECT_THAT(result.output, HasSubstr(note));
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

TEST(Config, OtherRefusals) {
  Deployment datum, trace, leap;
  datum.config["dcbdatum"]["clockdatum"] = "BD2:B1_B2b_B3 GAL:E1_E5a_E5b";
  datum.config["dcbdatum"].removeMember("ifpb_cor");  // read only behind this check
  expectRefused(datum, "the number of frequency of clockdatum or dcbestdatum for E must <= 2\n");
  trace.config["path"]["trace"] = "/nonexistent/trace";
  expectRefused(trace, "tracedir = /nonexistent/trace,trace dir is not exist!\n");
  leap.leapsc = "no table here\n";
  EXPECT_EQ(leap.loadInChild().status, 1);
}

}  // namespace
