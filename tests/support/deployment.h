#pragma once
/// A small complete deployment of the engine in a temporary directory. A test changes what it is
/// about, then writes and loads it:
///
///     support::Deployment deployment;
///     deployment.config["common"]["obscomb"] = "SF";
///     const support::ChildResult result = deployment.loadInChild();
///
/// Everything is made up but plausible: satellites without end of validity, antenna offsets that
/// tell satellite and frequency apart, one receiver antenna.

#include <json/json.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "Interface/Controller.h"
#include "support/child.h"
#include "support/files.h"
#include "support/places.h"
#include "text/printed.h"

namespace support {

using gnx::printed;

/// Name and type word, as in the satellite list.
using SatelliteList = std::vector<std::pair<std::string, std::string>>;

/// By letter, first and last number, type word.
inline SatelliteList satelliteRange(const std::vector<std::tuple<char, int, int, const char*>>& spans) {
  SatelliteList list;
  for (const auto& [letter, first, last, type] : spans)
    for (int k = first; k <= last; ++k) list.emplace_back(printed("%c%02d", letter, k), type);
  return list;
}

/// GPS 32, Galileo 36, BDS-3 28, BDS-2 5, QZSS 3: a full sky for runs.
inline SatelliteList fullSky() {
  return satelliteRange({{'G', 1, 32, "GPS"},
                         {'E', 1, 36, "GAL"},
                         {'C', 19, 46, "BD3"},
                         {'C', 6, 10, "BD2"},
                         {'J', 1, 3, "QZS"}});
}

/// Name in the satellite table, and frequency codes in the antenna file, by letter.
struct SatelliteBlock {
  const char *name = "NONE", *codes = "";
};
inline SatelliteBlock blockOf(char letter) {
  static const std::map<char, SatelliteBlock> blocks = {{'G', {"BLOCK IIF", "G01 G02 G05"}},
                                                        {'E', {"GALILEO-2", "E01 E05 E06 E07 E08"}},
                                                        {'C', {"BEIDOU-3M-CAST", "C01 C02 C05 C06 C07 C08"}},
                                                        {'J', {"QZSS", "J01 J02 J05"}},
                                                        {'R', {"GLONASS-M", "R01 R02"}}};
  return blocks.contains(letter) ? blocks.at(letter) : SatelliteBlock{};
}

/// A line of an ANTEX file: content, label in column 60.
inline std::string antexLine(const std::string& content, const char* label) {
  return printed("%-60s%-20s\n", content.c_str(), label);
}

inline std::string antexHeader(char type = 'A') {
  return antexLine("     1.4            M", "ANTEX VERSION / SYST") +
         antexLine(std::string(1, type), "PCV TYPE / REFANT") + antexLine("", "END OF HEADER");
}

/// One frequency section with a pattern of zeros; north, east, up in millimetres.
inline std::string antexFrequency(const std::string& code, double north, double east, double up) {
  return antexLine("   " + code, "START OF FREQUENCY") +
         antexLine(printed("%10.2f%10.2f%10.2f", north, east, up), "NORTH / EAST / UP") +
         "   NOAZI    0.00    0.00    0.00\n" + antexLine("   " + code, "END OF FREQUENCY");
}

/// An antenna block around its frequency sections. `validity`: lines "VALID FROM" and "VALID UNTIL".
inline std::string antexBlock(const std::string& type, const std::string& serial,
                              const std::string& frequencies, const std::string& validity = "") {
  return antexLine("", "START OF ANTENNA") +
         antexLine(printed("%-20s%-20s", type.c_str(), serial.c_str()), "TYPE / SERIAL NO") +
         antexLine("     0.0", "DAZI") + antexLine("     0.0  14.0   7.0", "ZEN1 / ZEN2 / DZEN") +
         antexLine("     3", "# OF FREQUENCIES") + validity + frequencies + antexLine("", "END OF ANTENNA");
}

inline std::string antexTime(int year, int month, int day, const char* label) {
  return antexLine(printed("%6d%6d%6d     0     0    0.0000000", year, month, day), label);
}

/// Offsets of satellites: north 1000 mm, east the satellite number in mm, up 2000 mm plus the code
/// number. Receiver TRM59800.00: 1, 2, 80 mm on G01 and 3, 4, 120 mm on G02.
inline std::string antexFile(const SatelliteList& satellites) {
  std::string text = antexHeader();
  for (const auto& [name, type] : satellites) {
    std::string sections, code;
    for (std::istringstream codes(blockOf(name[0]).codes); codes >> code;)
      sections += antexFrequency(code, 1000.0, std::stod(name.substr(1)), 2000.0 + std::stod(code.substr(1)));
    text += antexBlock(blockOf(name[0]).name, name, sections);
  }
  return text + antexBlock("TRM59800.00     SCIS", "",
                           antexFrequency("G01", 1.0, 2.0, 80.0) + antexFrequency("G02", 3.0, 4.0, 120.0));
}

inline std::string satnavRow(const std::string& name, const std::string& block, int startYear, int endYear) {
  std::string field = block;
  std::ranges::replace(field, ' ', '~');
  const auto day = [](int year) {
    return year == 0 ? std::string("0000 00 00 00 00 00") : printed("%04d 01 01 00 00 00", year);
  };
  return printed("%-3s  %03d  %-20s  %-9s  %s  %s  %6.1f  %4d\n", name.c_str(), 700, field.c_str(),
                 "2011-036A", day(startYear).c_str(), day(endYear).c_str(), 1633.0, 7);
}

/// PART 1 only unless rows of PART 2 are given.
inline std::string satnavFile(const std::string& rows, const std::string& part2 = "") {
  const std::string header = "1\n2\n3\n4\n5\n";
  return "Satellite table of a test\nPART 1\n" + header + rows + "PART 2\n" + header + part2;
}

inline std::string satelliteListFile(const SatelliteList& satellites) {
  std::string text = "-Satellite used\n";
  for (const auto& [name, type] : satellites) text += " " + name + " " + type + "\n";
  return text + "+Satellite used\n";
}

/// GPT2w grid of 1 degree, the same mid-latitude atmosphere in every cell. Made once per machine.
inline fs::path flatTroposphereGrid() {
  const fs::path path =
      fs::temp_directory_path() / printed("gnx-test-grid-%d-v1.grd", static_cast<int>(getuid()));
  if (fs::exists(path)) return path;
  // p (Pa), T (K), Q, dT, undulation, height, ah, aw, lambda, Tm; Q, dT, ah, aw times 1000
  const std::string cell =
      " 101325 0 0 0 0 288.0 0 0 0 0 7.00 0 0 0 0 -6.5 0 0 0 0 0.00 0.00 1.2500 0 0 0 0 0.5500 0 0 0 0"
      " 2.5000 0 0 0 0 277.0 0 0 0 0\n";
  std::string text = "%  lat    lon   constant atmosphere\n";
  for (int row = 0; row < 180; ++row)
    for (int column = 0; column < 360; ++column)
      text += printed("%6.1f %6.1f", 89.5 - row, 0.5 + column) + cell;
  const fs::path draft = path.string() + "." + std::to_string(getpid());
  writeFile(draft, text);
  fs::rename(draft, path);  // whole or not at all, whoever else makes it at the same time
  return path;
}

class Deployment {
 public:
  Json::Value config;     ///< ppp.json
  Json::Value tables;     ///< table of data files
  Json::Value ambiguity;  ///< ambiguity layers
  Json::Value smoothing;  ///< smoothing combinations, read by layers of type "mw"
  SatelliteList satellites = satelliteRange(
      {{'G', 1, 4, "GPS"}, {'E', 1, 3, "GAL"}, {'C', 19, 21, "BD3"}, {'C', 6, 7, "BD2"}, {'J', 2, 2, "QZS"}});
  bool withGrid = false;  ///< provide the troposphere grid (9 MB, needed by runs, not by the load)
  // Contents of the data files; empty ones are made from the satellite list by write().
  std::string satconf, satnav, antpcv;
  std::string leapsc = "+leap sec\n 41317 10\n 57204 36\n 57754 37\n 99999 37\n-leap sec\n";
  std::string ratio = "nrow 0 ndim 0\n";

  Deployment() {
    makeConfig();
    makeTables();
    makeAmbiguity();
  }

  fs::path path(const std::string& name) const { return m_directory.path() / name; }

  /// Writes every file. Members of `tables` that a test removed stay away from the table.
  void write() const {
    std::string rows;
    for (const auto& [name, type] : satellites) rows += satnavRow(name, blockOf(name[0]).name, 1990, 0);
    const std::pair<const char*, std::string> files[] = {
        {"ppp.json", config.toStyledString()},
        {"tables.json", tables.toStyledString()},
        {"amb.json", ambiguity.toStyledString()},
        {"smooth.json", smoothing.toStyledString()},
        {"satconf.txt", satconf.empty() ? satelliteListFile(satellites) : satconf},
        {"satnav.txt", satnav.empty() ? satnavFile(rows) : satnav},
        {"antenna.atx", antpcv.empty() ? antexFile(satellites) : antpcv},
        {"antnam.txt", "MAIN  TRM59800.00     SCIS\nMAIN  LEIAR25.R4      LEIT\n"},
        {"leapsc.txt", leapsc},
        {"ratio.txt", ratio},
        {"ocload.blq", "$$ no site\n"}};
    for (const auto& [name, content] : files) writeFile(path(name), content);
    if (withGrid && !fs::exists(path("gpt2_1w.grd")))
      fs::create_symlink(flatTroposphereGrid(), path("gpt2_1w.grd"));
    fs::create_directories(path("log"));
  }

  /// Loads into a fresh configuration object of this process. Bad configuration ends the process.
  tarvio::Deploy& load(std::vector<std::string> options = {"-itrs", "-dia", "-iar"}) const {
    write();
    tarvio::Controller::s_getInstance()->_finalize();
    std::vector<std::string> words = {"-mode", "ppp", path("ppp.json").string()};
    words.insert(words.end(), options.begin(), options.end());
    std::vector<const char*> arguments;
    for (const std::string& word : words) arguments.push_back(word.c_str());
    tarvio::Deploy& deploy = tarvio::Controller::s_getInstance()->m_deploy;
    deploy.m_readJsonFile(static_cast<int>(arguments.size()), arguments.data());
    return deploy;
  }

  ChildResult loadInChild(const std::vector<std::string>& options = {"-itrs", "-dia", "-iar"}) const {
    return runInChild([&] { load(options); });
  }

  std::string statusLog() const { return readFile(path("log/tarvio.stat")); }

  /// The layer "ewl", "wl" or "n1".
  Json::Value& layer(const char* tag) { return ambiguity["amb"][tag]; }

 private:
  static Json::Value parsed(const char* text) {
    Json::Value value;
    std::istringstream(text) >> value;
    return value;
  }

  void makeConfig() {
    config = parsed(R"({
      "common": {"time": "2020 06 25 0 0 0 86400", "interval": "30.0", "ztdpri": "ZTD_VMF1",
        "ztdmodel": "ZTD:1800", "obsused": "PHASE_CODE", "noisecoef": "1000.0 1000.0", "refpoint": "CoM_ITRF",
        "yawmodel": "MODEL", "threads": "1", "obscomb": "RAW", "ionmodel": "ION_EST", "ionpri": "ION_NONE",
        "ambmode": "CONT", "tracelevel": "4", "orbtype": ["SSR"], "clktype": ["SSR"]},
      "dcbdatum": {"dcbtype": "P1P2", "ifpb_cor": "IFPB_NONE"},
      "threshold": {"turboedit": "2.0 3.0 0.72 1200.0", "rangelimit": "50.0", "dia": "batch RESET",
        "dia_search-limit": "4.0 3.0", "dia_batch-limit": "4.0 3.0"}})");
    for (const char* key : {"broad", "obs", "external", "qclog", "output", "trace"})
      config["path"][key] = path("log").string();
    for (const char* bias : {"p1p2_dcb", "icb_dcb", "isb_dcb"})
      config["common"]["dcbmodel"][bias] = "DCB_NONE 0.0 0.0";
    for (const char* key : {"freqobs", "freqused"}) config["common"][key] = kFrequencies;
    config["dcbdatum"]["clockdatum"] = kFrequencies;
    config["files"] = path("tables.json").string();
    config["amb"] = path("amb.json").string();
  }

  void makeTables() {
    const std::pair<const char*, const char*> files[] = {
        {"satconf", "satconf.txt"}, {"satnav", "satnav.txt"}, {"antnam", "antnam.txt"},
        {"antpcv", "antenna.atx"},  {"leapsc", "leapsc.txt"}, {"ocload", "ocload.blq"},
        {"predefine", "none"},      {"polut1", "none"},       {"gptgrd_w", "gpt2_1w.grd"},
        {"rinput", "ratio.txt"}};
    for (const auto& [key, file] : files) tables["files"][key].append(path(file).string());
    tables["files"]["ut1t10"].append(support::kSourceDirectory + "/deploy/ut1t10.txt");
  }

  void makeAmbiguity() {
    for (const char* tag : {"ewl", "wl", "n1"}) {
      Json::Value& values = layer(tag) = parsed(R"({
        "fixmode": "lambda", "upd_type": "comb", "amb_type": "raw", "cutoff_amb": "10.0", "upd_switch": "on",
        "resolution": "on", "hold": ["30.0", "5.0", "3.0"],
        "lambda": {"minseccommon": "300.0", "success_rate": "3.0", "fix_individual": "false"},
        "analyse": {"minseccommon": "600.0", "decision": "0.25 0.15 1000.0"}})");
      values["analyse"]["smoothconfig"] = path("smooth.json").string();
      values["comb"] = kFrequencies;
      smoothing["obs_smoother"]["smooth"].append(parsed(R"({
        "value": "GPS:LL1:1.0_LL2:-1.0_PL1:-0.6_PL2:-0.4", "minelev": "15.0", "mincommtime": "900.0",
        "ion": {"switch": "off", "value": ""}, "outfile": "none", "updfile": "none"})"))["tag"] = tag;
    }
    layer("ewl")["resolution"] = "off";
    layer("n1")["amb_type"] = "NL";
  }

  static constexpr const char* kFrequencies = "GPS:L1_L2 GAL:E1_E5a BD3:B1_B3 BD2:B1_B2b QZS:L1_L2";
  TemporaryDirectory m_directory;
};

/// The process ended with status 1, the message stands on the console behind "[function,line]:" and the
/// exit line behind it.
inline void expectRefused(const ChildResult& result, const std::string& message) {
  EXPECT_EQ(result.status, 1) << message;
  const std::size_t at = result.output.find("]:" + message);
  EXPECT_NE(at, std::string::npos) << "want: " << message << "got: " << result.output;
  EXPECT_NE(result.output.find("]:exit by code\n", at), std::string::npos) << result.output;
}
inline void expectRefused(const Deployment& deployment, const std::string& message) {
  expectRefused(deployment.loadInChild(), message);
}

}  // namespace support
