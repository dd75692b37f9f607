/// \file deployed.cpp
/// Reads "ppp.json" and the file table of a deployment.

#include "deployment/deployed.h"

#include <sstream>

#include "gnx/error.h"
#include "text/json_file.h"

namespace gnx {

namespace {

/// Letter of a system word of a frequency list.
char systemOf(const std::string& word) {
  static const std::pair<const char*, char> words[] = {{"GPS", 'G'}, {"GLS", 'R'}, {"GAL", 'E'},
                                                       {"BDS", 'C'}, {"CPS", 'C'}, {"CMS", 'C'},
                                                       {"BD2", 'C'}, {"BD3", 'C'}, {"QZS", 'J'}};
  for (const auto& [name, letter] : words) {
    if (word.find(name) != std::string::npos) return letter;
  }
  return ' ';
}

/// Band digit of a frequency word, the engine's normalisation.
char bandOf(const std::string& word) {
  const auto has = [&](const char* text) { return word.find(text) != std::string::npos; };
  if (has("L1") || has("G1") || has("E1") || word == "B1c") return '1';
  if (has("L2") || has("G2") || has("E2") || word == "B1") return '2';
  if (has("L5") || has("E5a") || word == "B2a") return '5';
  if (has("E6") || has("LEX") || word == "B3") return '6';
  if (has("E5b") || word == "B2b") return '7';
  if (has("E5") || word == "B2") return '8';
  return word.size() == 2 ? word[1] : ' ';
}

/// A text of the object "common" without its comment.
std::string deployedText(const std::filesystem::path& deployment, const std::string& key) {
  const auto file = deployment / "ppp.json";
  const Json::Value root = readJsonFile(file);
  const Json::Value& common = root["common"];
  if (!common.isObject() || !common[key].isString()) {
    throw InputError(file.string(), 0,
                     "has no text common." + key + "; write the deployment anew with 'gnx init'");
  }
  const std::string text = common[key].asString();
  return text.substr(0, text.find_first_of("!#"));
}

}  // namespace

bool deployedToMassCentre(const std::filesystem::path& deployment) {
  return deployedText(deployment, "refpoint").find("CoM") != std::string::npos;
}

bool deployedPatterns(const std::filesystem::path& deployment) {
  // A deployment of an earlier version has no such key: absent means that the engine leaves them to the host.
  const Json::Value root = readJsonFile(deployment / "ppp.json");
  const Json::Value& common = root["common"];
  return common.isObject() && plainValue(common["pcv"]).find("PCV_APPLY") != std::string::npos;
}

bool deployedResolution(const std::filesystem::path& deployment) {
  const std::string name = plainValue(readJsonFile(deployment / "ppp.json")["amb"]);
  if (name.empty() || !std::filesystem::exists(deployment / name)) return false;  // the engine says so itself
  const Json::Value levels = readJsonFile(deployment / name)["amb"];
  if (!levels.isObject()) return false;
  for (const char* level : {"ewl", "wl", "n1"})
    if (levels[level].isObject() && plainValue(levels[level]["resolution"]).find("on") != std::string::npos)
      return true;
  return false;
}

std::map<char, std::string> deployedBands(const std::filesystem::path& deployment) {
  std::map<char, std::string> bands;
  std::istringstream words(deployedText(deployment, "freqobs"));
  for (std::string word; words >> word;) {
    const auto colon = word.find(':');
    const char system = systemOf(word.substr(0, colon));
    if (colon == std::string::npos || system == ' ') continue;  // the engine refuses it with its own message
    std::istringstream names(word.substr(colon + 1));
    for (std::string name; std::getline(names, name, '_');) {
      std::string& digits = bands[system];
      if (digits.find(bandOf(name)) == std::string::npos) digits += bandOf(name);
    }
  }
  return bands;
}

std::filesystem::path deploymentFile(const std::filesystem::path& deployment, const std::string& key) {
  const std::string tableFile = plainValue(readJsonFile(deployment / "ppp.json")["files"]);
  if (tableFile.empty()) return {};
  const Json::Value tables = readJsonFile(deployment / tableFile);
  const Json::Value& files = tables["files"];
  const Json::Value names = files.isObject() ? files[key] : Json::Value();
  const std::string name = names.isArray() && !names.empty() ? plainValue(names[0]) : "";
  return name.empty() ? std::filesystem::path() : deployment / name;
}

}  // namespace gnx
