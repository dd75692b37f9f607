/// \file Deploy.cpp
/// The load of "ppp.json": arguments, paths and logs, then the groups in their fixed order. The
/// order of the keys decides which message a file with several faults gets.

#include "Config/Deploy.h"

#include <json/json.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>

#include "Common/ComString.h"
#include "Common/ComTime.h"
#include "Common/Fatal.h"
#include "Common/Logtrace.h"
#include "Common/Taiutc.h"
#include "Common/TextScan.h"
#include "Config/ConfigInput.h"
#include "Config/IntegerFaults.h"

namespace tarvio {

namespace {

constexpr long kLogSpan = 7200;  // s, roll-over of the status and trace logs

/// Runs one group of the file; a key that is missing or has the wrong type ends the process with
/// the group's name, the key itself is told in the status log.
template <class Step>
void s_guarded(const char* group, Step&& step) {
  try {
    step();
  } catch (const std::exception& error) {
    Logtrace::m_logStatInfo("item = %s,%s\n", group, error.what());
    s_fatal("m_readJsonFile", __LINE__, "item = %s,failed to parase item\n", group);
  }
}

/// "%s%lf%lf": a word and two numbers.
void s_wordAndPair(const std::string& text, char (&word)[256], double* pair) {
  std::string_view rest = text;
  s_copyText(word, std::string(s_nextWord(rest)));
  s_scanNumbers(rest, pair, 2);
}

/// The texts of a JSON array into rows; rows beyond the table are left out.
void s_readList(const Json::Value& object, const char* key, char (&rows)[32][64]) {
  const Json::Value& list = object[key];
  if (!list.isArray()) throw std::invalid_argument(std::string("key ") + key + " is no array");
  std::memset(rows, 0, sizeof rows);
  const Json::ArrayIndex n = std::min<Json::ArrayIndex>(list.size(), 32);
  for (Json::ArrayIndex i = 0; i < n; ++i) {
    s_copyText(rows[i], excludeAnnoValue(std::string(list[i].asCString())));
  }
}

}  // namespace

Deploy::Deploy() { m_rowOfName.fill(-1); }

void Deploy::m_readJsonFile(int argc, const char** argv) {
  Logtrace::s_defaultlogger.m_setDirectory(std::filesystem::current_path().string());
  m_resetTables();
  m_scanArguments(argc, argv);
  if (m_lhelp) m_printUsage();

  Json::Value root = s_readJson(__func__, m_cfgFile, "can't open file to read!\n\n", "can't parse file!\n\n");
  m_promode = 0;

  const Json::Value& groups = root;
  s_guarded("path", [&] { m_readPaths(groups["path"]); });
  m_openLogs();
  s_guarded("files", [&] {
    s_copyText(m_tablesFile, s_requiredText(groups, "files"));
    m_parseTablesConfigures(m_tablesFile);
  });
  s_guarded("common", [&] { m_readJsonItem(root, "common"); });
  Logtrace::s_setFiles(m_statFile, m_traceFile, m_ltrace, m_tracelevel);
  s_guarded("dcbdatum", [&] { m_readJsonItem(root, "dcbdatum"); });
  s_guarded("threshold", [&] { m_readThresholds(groups["threshold"]); });
  s_guarded("noise", [&] { m_readNoise(groups["noise"]); });
  s_guarded("SAT", [&] {
    m_sortOrderofFreq();
    m_parseSatelliteConfigures();
  });
  s_guarded("amb", [&] { m_readJsonItem(root, "amb"); });
  m_checkConfigure();
  for (const GNX_EXT::IntegerFault& fault : s_integerFaults(s_integerSettings(*this)))
    Logtrace::m_logStatInfo("%s\n", fault.sentence.c_str());
  // Feeder threads ask for leap seconds with every time stamp: the table is complete before the
  // first of them can start.
  Taiutc::s_getInstance().m_rdUtcFile();
  m_noteUnsetClock();
  // The host may change its working directory before a file is opened that is read on demand.
  for (auto& [key, path] : m_fileTable) path = std::filesystem::absolute(path).string();
  Taiutc::s_getInstance().m_setFile(m_fileTable["leapsc"]);
}

void Deploy::m_noteUnsetClock() const {
  int mjd = 0;
  double sod = 0.0;
  time2mjd(s_wallClock(), &mjd, &sod);
  if (Taiutc::s_getInstance().m_covers(mjd)) return;
  Logtrace::m_logStatInfo(
      "the wall clock (mjd %d) lies outside the table of leap seconds: the nearest row is taken and antennas "
      "are "
      "those in use at the table's end, until the first epoch tells the time\n",
      mjd);
}

void Deploy::m_resetTables() {
  m_satellites.clear();
  m_fileTable.clear();
  m_noiseByFreq.clear();
  m_freqExtra.clear();
  for (FreqTable* table : {&m_freqIf, &m_freqUsed, &m_freqObs, &m_freqDatum}) {
    std::memset(*table, 0, sizeof *table);
  }
  for (auto* counts : {&m_nfreqIf, &m_nfreqUsed, &m_nfreqObs, &m_nfreqDatum}) {
    std::fill(std::begin(*counts), std::end(*counts), 0);
  }
  for (std::string& name : m_cprn) name.clear();
  for (std::string& name : m_sysname) name.clear();
  m_rowOfName.fill(-1);
  m_nsat = m_nsys = 0;
  m_syslist[0] = '\0';
  m_refsys = -1;
  m_losb = false;
}

void Deploy::m_scanArguments(int argc, const char** argv) {
  std::string pams = m_pams;
  for (int i = 0; i < argc; ++i) {
    const auto holds = [&](const char* option) { return std::strstr(argv[i], option) != nullptr; };
    const auto next = [&] { return i + 1 < argc ? argv[++i] : ""; };
    if (holds("-mode")) {
      const std::string mode = next();
      s_copyText(m_cfgFile, next());
      if (mode == "hmw" || mode == "extwl") next();
    } else if (holds("-post")) {
      m_lpost = true;
    } else if (holds("-itrs")) {
      m_litrs = true;
    } else if (holds("-iar")) {
      m_liar = true;
    } else if (holds("-dia")) {
      m_ldia = true;
    } else if (std::strncmp(argv[i], "-help", 5) == 0) {
      m_lhelp = true;
    } else if (holds("-trace")) {
      m_ltrace = true;
    } else if (holds("-snr")) {
      m_lsnr = true;
    } else if (holds("-debug")) {
      m_ldebug = true;
    } else if (holds("-rinput")) {
      m_rinput = next();
    } else if (holds("-pams")) {
      while (i + 1 < argc) pams += std::string(next()) + " ";
    }
  }
  s_copyText(m_pams, pams);
}

void Deploy::m_readPaths(const Json::Value& path) {
  s_copyText(m_pathBroad, s_requiredText(path, "broad"));
  s_copyText(m_pathTrace, s_requiredText(path, "trace"));
  s_copyText(m_pathObs, s_requiredText(path, "obs"));
  s_copyText(m_pathExternal, s_requiredText(path, "external"));
  s_copyText(m_pathQclog, s_requiredText(path, "qclog"));
  s_copyText(m_pathOutput, s_requiredText(path, "output"));
}

void Deploy::m_openLogs() {
  const std::string directory = m_pathTrace;
  if (m_traceFile[0] == '\0') s_copyText(m_traceFile, directory + "/tarvio.trace");
  s_copyText(m_statFile, directory + "/tarvio.stat");
  Logtrace::s_setFiles(m_statFile, m_traceFile, m_ltrace, m_tracelevel);
  if (access(m_pathTrace, F_OK) != 0) {
    s_fatal("m_readJsonFile", __LINE__, "tracedir = %s,trace dir is not exist!\n", m_pathTrace);
  }
  if (m_ltrace) Logtrace::s_defaultlogger.m_openLog(m_traceFile, true, kLogSpan);
  Logtrace::s_defaultlogger.m_openLog(m_statFile, true, kLogSpan);
}

void Deploy::m_readJsonItem(Json::Value& root, const char* item) {
  const Json::Value& groups = root;
  try {
    if (std::strstr(item, "common") != nullptr) {
      m_readCommon(groups["common"]);
    } else if (std::strstr(item, "dcbdatum") != nullptr) {
      m_readDcbDatum(groups["dcbdatum"]);
    } else if (std::strstr(item, "amb") != nullptr) {
      m_parseAmbiguityConfigures(s_requiredText(groups, "amb").c_str());
    }
  } catch (const std::exception& error) {
    Logtrace::m_logStatInfo("item = %s,%s\n", item, error.what());
    s_fatal(__func__, __LINE__, "item = %s,parse item error!\n", item);
  }
}

void Deploy::m_readCommon(const Json::Value& common) {
  const auto text = [&](const char* key) { return s_requiredText(common, key); };
  m_readTime(text("time"));
  const std::string interval = text("interval");
  if (s_scanNumbers(interval, &m_intv, 1) == 1) m_intv2 = m_intv;
  if (const std::size_t colon = interval.find(':'); colon != std::string::npos) {
    s_scanNumbers(std::string_view(interval).substr(colon + 1), &m_intv2, 1);
  }
  s_copyText(m_ztdpri, text("ztdpri"));
  s_copyText(m_ztdmodel, text("ztdmodel"));
  s_copyText(m_obsused, text("obsused"));
  s_scanNumbers(text("noisecoef"), m_noiseCoef, 2);
  s_copyText(m_refpoint, text("refpoint"));
  s_copyText(m_yawmodel, text("yawmodel"));
  s_copyText(m_pcv, common.isMember("pcv") ? text("pcv") : "PCV_NONE");
  m_parseFrequency(m_freqObs, m_nfreqObs, text("freqobs").c_str());
  m_parseFrequency(m_freqUsed, m_nfreqUsed, text("freqused").c_str());
  try {
    m_parseObsNoiseScal(text("noisebyfreq").c_str(), m_noiseByFreq);
  } catch (const std::exception&) {
    for (int s = 0; s < kSys; ++s) {
      for (int j = 0; j < m_nfreqUsed[s]; ++j) m_noiseByFreq[std::string(1, SYS[s]) + m_freqUsed[s][j]] = 1.0;
    }
  }
  s_scanNumbers(text("threads"), &m_threads, 1);
  s_copyText(m_obscomb, text("obscomb"));
  const Json::Value& dcbmodel = common["dcbmodel"];
  s_wordAndPair(s_requiredText(dcbmodel, "p1p2_dcb"), m_p1p2Dcb, m_p1p2Sig);
  s_wordAndPair(s_requiredText(dcbmodel, "icb_dcb"), m_icbDcb, m_icbSig);
  s_wordAndPair(s_requiredText(dcbmodel, "isb_dcb"), m_isbDcb, m_isbSig);
  s_copyText(m_ionmodel, text("ionmodel"));
  s_copyText(m_ionpri, text("ionpri"));
  m_readIonosphereWalk();
  s_copyText(m_ambmode, text("ambmode"));
  s_readList(common, "orbtype", m_orbtype);
  s_readList(common, "clktype", m_clktype);
  s_scanNumbers(text("tracelevel"), &m_tracelevel, 1);
}

void Deploy::m_readTime(const std::string& text) {
  std::string_view rest = text;
  int date[5] = {};  // year, month, day, hour, minute
  for (int& part : date) {
    if (!s_nextNumber(rest, part)) break;
  }
  double seconds[2] = {};  // second, length of processing
  s_scanNumbers(rest, seconds, 2);
  m_seslen = seconds[1];
  yr2year(date[0]);
  m_mjd0 = md_julday(date[0], date[1], date[2]);
  m_sod0 = date[3] * 3600.0 + date[4] * 60.0 + seconds[0];
  constexpr double kLongest = 1.0e6;  // days; keeps the conversion to int defined
  const double days = std::clamp(std::floor((m_sod0 + m_seslen) / kDay), -kLongest, kLongest);
  m_mjd1 = m_mjd0 + static_cast<int>(days);
  m_sod1 = m_sod0 + m_seslen - days * kDay;
}

void Deploy::m_readDcbDatum(const Json::Value& datum) {
  s_copyText(m_dcbtype, s_requiredText(datum, "dcbtype"));
  m_parseFrequency(m_freqDatum, m_nfreqDatum, s_requiredText(datum, "clockdatum").c_str());
  for (int s = 0; s < kSys; ++s) {
    if (m_nfreqDatum[s] > 2) {
      s_fatal("m_readJsonItem", __LINE__,
              "the number of frequency of clockdatum or dcbestdatum for %c must <= 2\n", SYS[s]);
    }
  }
  s_copyText(m_ifpbcor, s_requiredText(datum, "ifpb_cor"));
}

void Deploy::m_readThresholds(const Json::Value& threshold) {
  // The file's order is SF limit, MW limit, GF limit, gap: the last two change places in memory.
  double turboedit[4] = {m_turboedit[0], m_turboedit[1], m_turboedit[3], m_turboedit[2]};
  s_scanNumbers(s_requiredText(threshold, "turboedit"), turboedit, 4);
  m_turboedit[0] = turboedit[0];
  m_turboedit[1] = turboedit[1];
  m_turboedit[3] = turboedit[2];
  m_turboedit[2] = turboedit[3];
  if (m_turboedit[2] < 1.0) {
    Logtrace::m_logStatInfo(
        "turboedit: gap of %lf s: every epoch counts as a gap; the order is SF, MW, GF limit, gap\n",
        m_turboedit[2]);
  }
  if (threshold["rangelimit"].isString()) {
    s_scanNumbers(s_requiredText(threshold, "rangelimit"), &m_rangelimit, 1);
    s_note("m_readJsonFile", __LINE__, "rangelimit set as %lf\n", m_rangelimit);
  } else {
    s_note("m_readJsonFile", __LINE__, "ranglimit not exist, use prefined value : %lf\n", m_rangelimit);
  }
  const std::string dia = s_requiredText(threshold, "dia");
  std::string_view rest = dia;
  s_copyText(m_diaType, std::string(s_nextWord(rest)));
  m_diaReset = s_nextWord(rest).find("RESET") != std::string_view::npos;
  s_scanNumbers(s_requiredText(threshold, "dia_search-limit"), m_diaSearchLimit, 2);
  s_scanNumbers(s_requiredText(threshold, "dia_batch-limit"), m_diaBatchLimit, 2);
}

}  // namespace tarvio
