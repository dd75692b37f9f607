/// \file DeployCheck.cpp
/// Consistency of the loaded configuration, the usage text, the names of processing modes.

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "Common/ComString.h"
#include "Common/ComTime.h"
#include "Common/Fatal.h"
#include "Common/Logtrace.h"
#include "Config/ConfigInput.h"
#include "Config/Deploy.h"

namespace tarvio {

const std::map<int, std::string> str_promode = {
    {0, "PPP"},
    {1, "CLK"},
    {2, "RTK"},
    {3, "NRTK"},
    {4, "VRS"},
    {5, "RTORB"},
    {6, "EXT-UPD WL"},
    {7, "SMOOTH-HMW WL"},
    {8, "SMOOTH-UPD NL"},
    {9, "VISUAL"},
    {11, "IFPB_ESTIMATION"},
    {12, "ZTD_MODEL"},
    {13, "UPD2OSB"},
    {14, "UPDPOST"},
    {15, "UPDVERIFY"},
    {16, "TRIOSB"},
    {17, "BACKIAR"},
    {18, "PPP_CENTER"},
    {19, "NRTK_ATOM"},
    {20, "DSTEC"},
    {21, "RTKV"},
};

namespace {

bool s_holds(const char* value, std::initializer_list<const char*> words) {
  for (const char* word : words) {
    if (std::strstr(value, word) != nullptr) return true;
  }
  return false;
}

std::string s_joined(const char (&rows)[32][64]) {
  std::string text;
  for (const auto& row : rows) {
    if (row[0] == '\0') continue;
    if (!text.empty()) text += ' ';
    text += row;
  }
  return text;
}

void s_traceLine(const char* name, const std::string& value) {
  Logtrace::m_logNoFormatTrace("%-20s: %s\n", name, value.c_str());
}

}  // namespace

bool Deploy::m_checkConfigure() {
  if (!s_holds(m_obscomb, {"RAW", "IF", "SF"})) {
    s_fatal(__func__, __LINE__, "cobs = %s,key = obscomb,only support RAW,IF and SF\n", m_obscomb);
  }
  if (!s_holds(m_obsused, {"PHASE", "CODE", "GRAPHIC"})) {
    s_fatal(__func__, __LINE__,
            "uobs = %s,key = obsused,only support the combination of PHASE,GRAPHIC and CODE\n", m_obsused);
  }
  if (!s_holds(m_refpoint, {"APC_ITRF", "CoM_ITRF"})) {
    s_fatal(__func__, __LINE__, "refpoint = %s,key = refpoint,only support APC_ITRF and CoM_ITRF\n",
            m_refpoint);
  }
  if (!s_holds(m_pcv, {"PCV_NONE", "PCV_APPLY"})) {
    s_fatal(__func__, __LINE__, "pcv = %s,key = pcv,only support PCV_APPLY and PCV_NONE\n", m_pcv);
  }
  if (!s_holds(m_ztdmodel, {"ZTD"})) {
    s_fatal(__func__, __LINE__, "ztdmod = %s,key = ztdmod,only support ZTD:MINUTES,ZTDSTO and ZTDNONE\n",
            m_ztdmodel);
  }
  if (!s_holds(m_ztdpri, {"ZTD_VMF1", "ZTD_NONE", "ZTD_INTERP"})) {
    s_fatal(__func__, __LINE__, "ztdpri = %s,key = ztdmod,only support ZTD_VMF1,ZTD_INTERP, and ZTD_NONE\n",
            m_ztdpri);
  }
  if (!s_holds(m_ionmodel, {"ION_NONE", "ION_EST"})) {
    s_fatal(__func__, __LINE__, "ionmod = %s,key = ionmodel,only support ION_EST and ION_NONE\n", m_ionmodel);
  }
  if (!s_holds(m_ionpri, {"ION_POSTBRD", "ION_POSTPRE", "ION_RTBRD", "ION_RTPRE", "ION_NONE", "ION_DDPRE",
                          "ION_INTERP", "ION_WALK"})) {
    s_fatal(__func__, __LINE__,
            "ionpri = %s,key = ionpri,only support ION_POSTBRD,ION_POSTPRE,ION_RTBRD,ION_RTPRE,ION_DDPRE "
            "and ION_NONE\n",
            m_ionpri);
  }
  if (!s_holds(m_ambmode, {"CONT", "INST", "HOLD"})) {
    s_fatal(__func__, __LINE__, "ambmod = %s,key = ambmode,only support CONT,INST and HOLD\n", m_ambmode);
  }
  const auto program = str_promode.find(m_promode);
  if (program == str_promode.end()) {
    s_fatal(__func__, __LINE__, "promode = %d,unknown processing mode\n", m_promode);
  }
  m_traceSummary(program->second);

  if (s_holds(m_obscomb, {"IF"}) && s_holds(m_ionmodel, {"ION_EST"})) {
    s_note(__func__, __LINE__,
           "cobs = %s,ionmod = %s,ignoring the %s mode when use %s,reset the ionmod ION_NONE\n", m_obscomb,
           m_ionmodel, m_ionmodel, m_obscomb);
    s_copyText(m_ionmodel, "ION_NONE");
  }
  if (!s_holds(m_obsused, {"PHASE", "GRAPHIC"}) && m_ldia) {
    s_note(__func__, __LINE__,
           "uobs = %s,dia = true,dia should not be set when phase is not used,reset the dia flag\n",
           m_obsused);
    m_ldia = false;
  }
  if (m_ldia && !s_holds(m_diaType, {"batch", "rescheck"})) {
    s_fatal("m_onDia", __LINE__,
            "diamode = %s,unknown dia mode,only support 'search' or 'batch' or 'rescheck' \n", m_diaType);
  }
  if (access(m_pathQclog, F_OK) != 0) {
    s_note(__func__, __LINE__, "dir = %s,qclog dir is not exist\n", m_pathQclog);
  }
  if (access(m_pathOutput, F_OK) != 0) {
    s_note(__func__, __LINE__, "dir = %s,output dir is not exist\n", m_pathOutput);
  }
  return true;
}

void Deploy::m_traceSummary(const std::string& program) const {
  s_traceLine("program", program);
  s_traceLine("post", m_lpost ? "true" : "false");
  if (m_lpost) {
    s_traceLine("obs start", run_timefmt(m_mjd0, m_sod0));
    s_traceLine("obs end", run_timefmt(m_mjd1, m_sod1));
  }
  Logtrace::m_logNoFormatTrace("%-20s: %lf\n", "intv", m_intv);
  s_traceLine("uobs opt", m_obsused);
  s_traceLine("comb opt", m_obscomb);
  s_traceLine("ionos opt", m_ionmodel);
  s_traceLine("ionpri opt", m_ionpri);
  s_traceLine("tropo opt", m_ztdmodel);
  s_traceLine("orbit opt", s_joined(m_orbtype));
  s_traceLine("clk opt", s_joined(m_clktype));
  s_traceLine("amb mode", m_liar ? "fix" : "float");
}

void Deploy::m_printUsage() {
  static constexpr const char* kLines[] = {
      "     usage : tarvio -mode (pppv|ppp|clk|ifpb|extwl|extnl|hmw|rtk|nrtk|vrs) *.json",
      "     option: -post | -itrs | -dia | -iar | -sql | -repslip | -trace | -pthread | -pams ",
      "             -orbclksav intv | -sav | -url nrtk_url | -vinput vrs input | -rinput ratio-input",
      "  attention: args follow -pams will be packed up as a batch of args for input, flags should not "
      "follow "
      "-pams",
      "    options: -pams "
      "-outN1(debug)/-oution/-outztd/-outres/-outmissar(debug)/-usecmr23|-outAtom|-usemwwl(csys)",
      "    options: -pams -outflag/-outobsstat/-outambstat",
      "    options: -pams -gensig(generate the parameters sigma),-skipv(skip using virtual stations for "
      "service)",
      "    options: -usemwwlG/-usemwwlGC/-usemwwlGCB, will use mw wl for G/GC/GCB",
      "    options: -rtifpb(generate ifpb in real-time)/-reback(bring N1 con back for PCE)",
  };
  std::printf("tarvio: real-time precise point positioning\n");
  for (const char* line : kLines) std::printf("%s\n", line);
  std::printf("      build: %s\n", __DATE__);
  s_exitByCode(__func__, __LINE__);
}

bool s_validCmd(const std::map<std::string, std::map<std::string, std::string>>& table,
                const std::string& key1, const std::string& key2) {
  const auto row = table.find(key1);
  return row != table.end() && row->second.contains(key2);
}

}  // namespace tarvio
