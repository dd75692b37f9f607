#pragma once
/// \file Deploy.h
/// The one configuration object: filled once by m_readJsonFile, read by everything afterwards.
/// Values stay text and are tested by substring where they are used ("ZTD:30" passes for "ZTD").

#include <array>
#include <map>
#include <string>
#include <vector>

#include "Common/ComFreq.h"
#include "Common/Constants.h"
#include "Config/IntegritySettings.h"
#include "Config/NoiseSettings.h"
#include "Config/RatioTable.h"
#include "Config/UpdAmbconfig.h"
#include "Records/Antatx.h"
#include "Records/Satallite.h"

namespace Json {
class Value;
}

namespace tarvio {

/// Frequency names by system and slot: "L1", "L2", "L5", "L6", "L7", "L8".
using FreqTable = char[kSys][kFreq][4];

class Deploy {
 public:
  Deploy();
  Deploy(const Deploy&) = delete;
  Deploy& operator=(const Deploy&) = delete;

  char m_statFile[256] = "", m_traceFile[256] = "";
  bool m_lpost = false, m_liar = false, m_litrs = false, m_ldia = false, m_lhelp = false;
  bool m_ltrace = false, m_lsnr = false, m_ldebug = false;
  // By contract the configuration also holds what changes with the epoch: its time here, orbits, clocks and
  // body axes in m_satellites. Everything else is constant after loading.
  int m_curMjd = 0;
  double m_curSod = 0.0;  ///< current epoch
  int m_mjd0 = 0, m_mjd1 = 0;
  double m_sod0 = 0.0, m_sod1 = 0.0;  ///< start and end of processing
  int m_ndays = 30;
  double m_seslen = 0.0;                        ///< s
  double m_intv = 30.0, m_intv2 = 30.0;         ///< s
  double m_noiseCoef[2] = {1000.0, 1000.0};     ///< coordinate sigma and noise factors
  std::map<std::string, double> m_noiseByFreq;  ///< key "GL1"
  std::string m_cprn[kMaxSat];                  ///< satellite names, the row index of all arrays
  std::string m_sysname[kMaxSat];               ///< second names: "B06" for BDS-2 C06
  bool m_clockUnset = false;  ///< the wall clock was no date when the satellites were looked up
  int m_nsat = 0, m_nsys = 0, m_threads = 1, m_promode = 0;
  int m_refsys = -1;        ///< reference system of the receiver clock
  char m_syslist[16] = "";  ///< letters of the configured systems
  char m_ztdmodel[256] = "", m_ztdpri[256] = "";
  char m_pathObs[256] = "", m_pathQclog[256] = "", m_pathBroad[256] = "", m_pathOutput[256] = "";
  char m_pathTrace[256] = "", m_pathExternal[256] = "";
  char m_obsused[256] = "", m_obscomb[256] = "", m_refpoint[256] = "";
  char m_yawmodel[256] = "MODEL";
  char m_pcv[256] = "PCV_NONE";  ///< antenna patterns
  char m_ifpbcor[256] = "IFPB_NONE";
  int m_nfreqIf[kSys] = {}, m_nfreqUsed[kSys] = {}, m_nfreqObs[kSys] = {}, m_nfreqDatum[kSys] = {};
  FreqTable m_freqIf = {}, m_freqUsed = {}, m_freqObs = {}, m_freqDatum = {};
  std::map<char, std::vector<std::string>> m_freqExtra;  ///< used names beyond the first two
  char m_dcbtype[256] = "";
  char m_ionpri[256] = "", m_ionmodel[256] = "", m_ambmode[256] = "";
  char m_p1p2Dcb[256] = "", m_isbDcb[256] = "", m_icbDcb[256] = "";
  double m_p1p2Sig[2] = {}, m_icbSig[2] = {}, m_isbSig[2] = {};
  char m_clktype[32][64] = {}, m_orbtype[32][64] = {};
  int m_tracelevel = 0;
  char m_cfgFile[1024] = "", m_tablesFile[1024] = "";
  std::string m_rinput;
  RatioTable m_ratioTable;
  double m_turboedit[4] = {2.0, 3.0, 1200.0, 0.72};  ///< SF limit, MW limit, gap (s), GF limit
  double m_rangelimit = 50.0;                        ///< m
  double m_diaBatchLimit[2] = {}, m_diaSearchLimit[2] = {};
  char m_diaType[256] = "";
  bool m_diaReset = false;
  bool m_losb = false;
  Upd_ambconfig m_ambconfig[4];  ///< by place of the level; the last one is not used
  const Upd_ambconfig& m_settingsOf(Level level) const { return m_ambconfig[s_place(level)]; }
  std::vector<Satellite> m_satellites;
  std::map<std::string, std::string> m_fileTable;
  std::map<std::string, Antatx> m_antennas;
  char m_pams[1024] = "";
  NoiseSettings m_noise;
  IntegritySettings m_integrity;
  /// "ION_WALK s0 q" in m_ionpri: slant delays as random walks.
  struct IonosphereWalk {
    bool on = false;
    double sigma_m = 0.0;  ///< of a new delay
    double noise_mPerRootS = 0.0;
  } m_ionWalk;

  /// Loads and validates everything; ends the process on bad configuration.
  void m_readJsonFile(int argc, const char** argv);
  void m_readJsonItem(Json::Value& root, const char* item);
  bool m_checkConfigure();
  [[noreturn]] void m_printUsage();

  void m_parseFrequency(char (*freq)[kFreq][4], int* nfreq, const char* value);
  void m_parseFreqValue(const char* value, std::map<char, std::string>& out);
  void m_parseObsNoiseScal(const char* value, std::map<std::string, double>& out);
  void m_sortOrderofFreq();

  void m_parseTablesConfigures(const char* file);
  void m_parseSatelliteConfigures();
  /// Looks blocks and antennas of all satellites up again, as of an epoch; a satellite that the files do not
  /// know then keeps what it has. For hosts whose clock was not set when the configuration was loaded.
  void m_renewAntennas(int mjd, double sod);

  void m_parseAmbiguityConfigures(const char* file);
  void m_parseAMBFrequency(Upd_ambconfig& config, const char* value);
  void m_parseAMBWavelength(Upd_ambconfig& config);
  void m_parseMWconfigure(Upd_ambconfig& config, const std::string& tag, const std::string& file);

  /// Row of a satellite name, -1 when not configured.
  int m_satRow(const char* cprn) const;
  /// System index of a row by m_sysname (BDS-2 and BDS-3 apart), -1 when no satellite has the row.
  int m_sysOfRow(int isat) const {
    if (isat < 0 || isat >= kMaxSat || m_sysname[isat].empty()) return -1;
    return s_systemIndex(m_sysname[isat][0]);
  }
  /// Enters the two names of a row; its system follows from the first letter of the second.
  void m_setRow(int isat, const std::string& cprn, const std::string& sysname);

 private:
  /// Sorts each system's names by falling carrier frequency; equal ones keep their order.
  static void s_sortFrequencies(char (*freq)[kFreq][4], const int* nfreq);

  void m_resetTables();
  void m_scanArguments(int argc, const char** argv);
  void m_noteUnsetClock() const;
  void m_readPaths(const Json::Value& path);
  void m_openLogs();
  void m_readCommon(const Json::Value& common);
  void m_readTime(const std::string& text);
  void m_readDcbDatum(const Json::Value& datum);
  void m_readThresholds(const Json::Value& threshold);
  void m_readNoise(const Json::Value& group);
  void m_readIntegrity(const Json::Value& group);
  void m_readIonosphereWalk();
  void m_traceSummary(const std::string& program) const;
  bool m_addSatellite(const std::string& cprn, const std::string& type, double jd);
  void m_readLayer(const Json::Value& layer, Upd_ambconfig& config);
  void m_checkLayer(const Upd_ambconfig& config) const;
  void m_checkNarrowLanePairs() const;
  void m_checkSmoothValue(const Upd_ambconfig& config) const;
  void m_loadRatioTable();

  /// Row by name "X##": 26 letters by 100 numbers, -1 = none. A look-up that it cannot answer
  /// falls back to the search of m_cprn.
  std::array<short, 2600> m_rowOfName;
};

/// Names of processing modes by number; row 10 does not exist.
extern const std::map<int, std::string> str_promode;

/// Whether a two-level map holds a key pair.
bool s_validCmd(const std::map<std::string, std::map<std::string, std::string>>& table,
                const std::string& key1, const std::string& key2);

}  // namespace tarvio
