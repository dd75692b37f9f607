/// \file DeployAmbiguity.cpp
/// The file of the levels of the ambiguity resolution: settings, frequency pairs, wavelengths,
/// smoothing combinations, and the ratio table.

#include <json/json.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <stdexcept>
#include <utility>

#include "Common/ComFreq.h"
#include "Common/ComString.h"
#include "Common/Fatal.h"
#include "Common/TextScan.h"
#include "Config/ConfigInput.h"
#include "Config/Deploy.h"
#include "Config/SatelliteTable.h"

namespace tarvio {

namespace {

bool s_holds(const std::string& text, const char* word) { return text.find(word) != std::string::npos; }
bool s_holds(const char* text, const char* word) { return std::strstr(text, word) != nullptr; }
bool s_isOn(const std::string& text) { return s_holds(text, "on") || s_holds(text, "ON"); }

/// A switch that the file need not hold: its value must be one of the two words.
bool s_onOrOff(const Json::Value& level, const char* key, const char* tag) {
  const std::string text = s_requiredScalar(level, key);
  if (text != "on" && text != "off") {
    s_fatal("m_parseAmbiguityConfigures", __LINE__, "%s:%s = %s, it is either 'on' or 'off'\n", tag, key,
            text.c_str());
  }
  return text == "on";
}

/// Frequency names inside one token of a smoothing combination: "PIF:L1:L2" names two, "PL1:1.0" one.
std::vector<std::string> s_tokenFrequencies(const std::string& token) {
  const auto part = [&](std::size_t first) { return std::string(s_columns(token, first, 2)); };
  if (token.starts_with("PIF")) return {part(4), part(7)};
  return {part(1)};
}

/// Frequencies whose codes a combination uses; a later token for the same one stands.
int s_codeCount(const std::string& tokens) {
  std::map<std::string, double> codes;
  for (const std::string& token : s_fields(tokens, '_')) {
    if (!token.starts_with('P')) continue;
    const bool pair = token.starts_with("PIF");
    double coefficient = pair ? 1.0 : 0.0;
    if (!pair) s_scanNumbers(s_columns(token, 4, token.size()), &coefficient, 1);
    for (const std::string& name : s_tokenFrequencies(token)) codes[name] = coefficient;
  }
  return static_cast<int>(
      std::count_if(codes.begin(), codes.end(), [](const auto& code) { return code.second != 0.0; }));
}

}  // namespace

void Deploy::m_parseAmbiguityConfigures(const char* file) {
  Json::Value root =
      s_readJson(__func__, file, "can't open file to write!\n", "can't parse file updating!\n");
  const Json::Value& top = root;
  const Json::Value& layers = top["amb"];
  for (const LevelTraits& level : kLevels) {
    Upd_ambconfig& config = m_ambconfig[s_place(level.level)];
    config = Upd_ambconfig();
    config.m_tag = level.tag;
    const Json::Value& layer = layers[level.tag];
    m_readLayer(layer, config);
    m_parseAMBFrequency(config, s_requiredScalar(layer, "comb").c_str());
    if (s_holds(config.m_ambType, "mw")) {
      m_parseMWconfigure(config, config.m_tag, s_requiredScalar(layer["analyse"], "smoothconfig"));
    }
    m_parseAMBWavelength(config);
    m_checkLayer(config);
  }
  m_readIntegrity(layers["integrity"]);
  m_checkNarrowLanePairs();
  m_losb = false;
  for (const Json::Value* place : {&top, &layers}) {
    if (!place->isMember("osb_switch")) continue;
    m_losb = s_isOn(s_requiredScalar(*place, "osb_switch"));
    break;
  }
  m_loadRatioTable();
}

void Deploy::m_readLayer(const Json::Value& layer, Upd_ambconfig& config) {
  const Json::Value& lambda = layer["lambda"];
  const Json::Value& analyse = layer["analyse"];
  if (const Json::Value& smooth = layer["smoothconfig"]; smooth.isObject() && smooth.isMember("switch")) {
    config.m_smooth = s_holds(s_requiredScalar(smooth, "switch"), "on") ? 1 : 0;
  }
  if (layer.isMember("mwfix")) config.m_mwFix = s_onOrOff(layer, "mwfix", config.m_tag.c_str());
  if (lambda.isMember("fix_ifuplayer")) {
    const std::string text = s_requiredScalar(lambda, "fix_ifuplayer");
    if (s_holds(text, "false") || s_holds(text, "off")) config.m_fixIfUplayer = 0;
  }
  s_copyText(config.m_fixmode, s_requiredScalar(layer, "fixmode"));
  s_copyText(config.m_updType, s_requiredScalar(layer, "upd_type"));
  s_copyText(config.m_ambType, s_requiredScalar(layer, "amb_type"));
  config.m_cutoff = s_requiredNumber(layer, "cutoff_amb") * kDegToRad;
  config.m_minCommonLambda = s_requiredNumber(lambda, "minseccommon");
  config.m_minCommon = s_requiredNumber(analyse, "minseccommon");
  s_scanNumbers(s_requiredScalar(analyse, "decision"), config.m_decision, 3);
  config.m_successRate = s_requiredNumber(lambda, "success_rate");
  config.m_fixIndividual = s_holds(s_requiredScalar(lambda, "fix_individual"), "true");
  config.m_updSwitch = s_isOn(s_requiredScalar(layer, "upd_switch"));
  config.m_resolution = s_holds(s_requiredScalar(layer, "resolution"), "on") && m_liar;
  const Json::Value& hold = layer["hold"];
  for (Json::ArrayIndex i = 0; i < 3; ++i) {
    if (!hold.isArray() || i >= hold.size() || hold[i].isArray() || hold[i].isObject()) {
      throw std::invalid_argument("key hold is no array of 3 numbers");
    }
    s_scanNumbers(excludeAnnoValue(hold[i].asString()), &config.m_hold[i], 1);
  }
  config.m_hold[0] *= kDegToRad;
}

void Deploy::m_checkLayer(const Upd_ambconfig& config) const {
  static constexpr const char* kFunction = "m_parseAmbiguityConfigures";
  const char* tag = config.m_tag.c_str();
  if (!s_holds(config.m_fixmode, "round") && !s_holds(config.m_fixmode, "lambda")) {
    s_fatal(kFunction, __LINE__, "%s:fixmode = %s, fixmode only support 'round' and 'lambda'\n", tag,
            config.m_fixmode);
  }
  if (!s_holds(config.m_updType, "snx") && !s_holds(config.m_updType, "comb")) {
    s_fatal(kFunction, __LINE__, "%s:upd_type = %s, only support 'snx' and 'comb'\n", tag, config.m_updType);
  }
  if (!s_holds(config.m_ambType, "mw") && !s_holds(config.m_ambType, "raw") &&
      !s_holds(config.m_ambType, "NL")) {
    s_fatal(kFunction, __LINE__, "%s:amb_type = %s, only support 'mw' 'raw' and 'NL' \n", tag,
            config.m_ambType);
  }
  if (s_holds(m_obscomb, "IF") && s_levelOf(config.m_tag) == Level::last &&
      !s_holds(config.m_ambType, "NL")) {
    s_fatal(kFunction, __LINE__, "%s:amb_type = %s, N1 only support 'NL' for IF \n", tag, config.m_ambType);
  }
}

/// A narrow lane follows from the wide lane of the same two frequencies only.
void Deploy::m_checkNarrowLanePairs() const {
  static constexpr const char* kFunction = "m_parseAmbiguityConfigures";
  const Upd_ambconfig& wl = m_settingsOf(Level::wideLane);
  const Upd_ambconfig& n1 = m_settingsOf(Level::last);
  if (!s_holds(n1.m_ambType, "NL") || !wl.m_resolution || !n1.m_resolution) return;
  for (const char* letter = m_syslist; *letter != '\0'; ++letter) {
    const int s = s_systemIndex(*letter);
    for (int k = 0; k < 2; ++k) {
      if (wl.ambfreq[s][k] == -1 || n1.ambfreq[s][k] == -1) {
        s_fatal(kFunction, __LINE__, "wl or nl comb configure set error for %c!\n", *letter);
      }
    }
    if (!std::equal(wl.ambfreq[s], wl.ambfreq[s] + 2, n1.ambfreq[s])) {
      s_fatal(kFunction, __LINE__, "wl and NL comb configure is set different for %c!\n", *letter);
    }
  }
}

void Deploy::m_loadRatioTable() {
  static constexpr const char* kFunction = "m_parseAmbiguityConfigures";
  const auto item = m_fileTable.find("ratio");
  if (item == m_fileTable.end()) return;
  const char* path = item->second.c_str();
  if (access(path, F_OK) != 0) {
    s_fatal(kFunction, __LINE__, "file = %s, ratio table not exist, please check!\n", path);
  }
  if (!m_ratioTable.read_table(path)) s_fatal(kFunction, __LINE__, "file = %s,failed to parse file\n", path);
}

void Deploy::m_parseAMBFrequency(Upd_ambconfig& config, const char* value) {
  FreqTable names = {};
  int count[kSys] = {};
  m_parseFrequency(names, count, value);
  s_sortFrequencies(names, count);
  const char* tag = config.m_tag.c_str();
  for (int s = 0; s < kSys; ++s) {
    const bool required = config.m_resolution && std::strchr(m_syslist, SYS[s]) != nullptr;
    if (required && s_holds(config.m_ambType, "NL") && count[s] < 2) {
      s_fatal(__func__, __LINE__,
              "tag = %s, ambiguity config NL is set but number of %c comb freqeuency is < 2\n", tag, SYS[s]);
    }
    for (int j = 0; j < count[s]; ++j) {
      int& slot = config.ambfreq[s][j];
      slot = pointer_charstr(m_nfreqUsed[s], 4, m_freqUsed[s][0], names[s][j]);
      if (slot < 0 && required) {
        s_fatal(__func__, __LINE__, "tag = %s, freq = %s, parse AMB frequency failed, %s is not in freq\n",
                tag, value, names[s][j]);
      }
    }
    if (count[s] == 1) config.ambfreq[s][1] = config.ambfreq[s][0];
  }
}

void Deploy::m_parseAMBWavelength(Upd_ambconfig& config) {
  for (int i = 0; i < m_nsat; ++i) {
    const int s = m_sysOfRow(i);
    const int* slot = config.ambfreq[s];
    if (slot[0] < 0 || slot[1] < 0) continue;
    const double fa = freqbytp(i, m_freqUsed[s][slot[0]]);
    const double fb = freqbytp(i, m_freqUsed[s][slot[1]]);
    if (fa == fb) continue;  // a pair of one frequency has no wide lane
    config.lamWL[i] = kLight / (fa - fb);
    config.lamNL[i] = kLight / (fa + fb);
    config.wlratio[s] = fa / fb;
  }
  if (s_holds(config.m_ambType, "mw")) m_checkSmoothValue(config);
}

void Deploy::m_checkSmoothValue(const Upd_ambconfig& config) const {
  static constexpr const char* kFunction = "m_parseAMBWavelength";
  for (const auto& [letter, tokens] : config.m_smoothValue) {
    if (std::strchr(m_syslist, letter) == nullptr) continue;
    const int s = s_systemIndex(letter);
    for (const std::string& token : s_fields(tokens, '_')) {
      for (const std::string& name : s_tokenFrequencies(token)) {
        const int slot =
            name.empty() ? -1 : pointer_charstr(m_nfreqUsed[s], 4, m_freqUsed[s][0], name.c_str());
        if (slot != config.ambfreq[s][0] && slot != config.ambfreq[s][1]) {
          s_fatal(kFunction, __LINE__, "freq = %c:%s, no this frequency in %s:comb!\n", letter, name.c_str(),
                  config.m_tag.c_str());
        }
        if (slot < 0) {
          s_fatal(kFunction, __LINE__,
                  "freq = %c:%s, mw configure set error, no this frequency in freqused!\n", letter,
                  name.c_str());
        }
      }
    }
  }
  if (!config.m_ionSwitch) return;
  for (const auto& [letter, tokens] : config.m_smoothValue) {
    const auto ion = config.m_ionValue.find(letter);
    const int count = ion == config.m_ionValue.end() ? 0 : s_codeCount(ion->second);
    if (count == 2 || std::strchr(m_syslist, letter) == nullptr) continue;
    s_fatal("m_wl_l1ionget", __LINE__, "if count = %d, not equal with 2, please check `smooth/ion/value`\n",
            count);
  }
}

void Deploy::m_parseMWconfigure(Upd_ambconfig& config, const std::string& tag, const std::string& file) {
  const char* path = file.c_str();
  Json::Value root = s_readJson(__func__, file, "can't open upd configuration file to read!\n",
                                "failed to parse upd configuration file!\n");
  try {
    for (const Json::Value& entry : std::as_const(root)["obs_smoother"]["smooth"]) {
      if (s_requiredScalar(entry, "tag") != tag) continue;
      m_parseFreqValue(s_requiredScalar(entry, "value").c_str(), config.m_smoothValue);
      config.m_cutoff = s_requiredNumber(entry, "minelev") * kDegToRad;
      config.m_minCommon = s_requiredNumber(entry, "mincommtime");
      const Json::Value& ion = entry["ion"];
      config.m_ionSwitch = s_holds(s_requiredScalar(ion, "switch"), "on");
      // An ionosphere from codes is worth nothing without an average over it.
      if (config.m_ionSwitch) config.m_smooth = 1;
      m_parseFreqValue(s_requiredScalar(ion, "value").c_str(), config.m_ionValue);
      config.m_outfile = s_requiredScalar(entry, "outfile");
      config.m_updfile = s_requiredScalar(entry, "updfile");
      return;
    }
  } catch (const std::exception&) {
    s_fatal(__func__, __LINE__, "file = %s,upd configuration format error!\n", path);
  }
  s_fatal(__func__, __LINE__, "tag = %s, no smooth tag found in %s\n", tag.c_str(), path);
}

}  // namespace tarvio
