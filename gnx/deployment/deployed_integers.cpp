// Reads the settings of the levels and asks the engine's rules about them.

#include "deployment/deployed_integers.h"

#include "GNX_SDK_ext.h"
#include "gnx/error.h"
#include "text/json_file.h"

namespace gnx {

namespace {

Json::Value memberOf(const Json::Value& object, const char* key) {
  return object.isObject() ? object[key] : Json::Value();
}

bool isOn(const Json::Value& value) {
  const std::string text = plainValue(value);
  return text.find("on") != std::string::npos || text.find("ON") != std::string::npos;
}

GNX_EXT::IntegerSettings settingsOf(const Json::Value& main, const Json::Value& ambiguity) {
  const Json::Value common = memberOf(main, "common"), levels = memberOf(ambiguity, "amb");
  GNX_EXT::IntegerSettings s;
  s.combination = plainValue(memberOf(common, "obscomb"));
  s.ionosphere = plainValue(memberOf(common, "ionmodel"));
  s.osb = isOn(memberOf(ambiguity, "osb_switch")) || isOn(memberOf(levels, "osb_switch"));
  std::size_t place = 0;
  for (const char* tag : {"ewl", "wl", "n1"}) {
    const Json::Value level = memberOf(levels, tag);
    s.levels[place++] = {isOn(memberOf(level, "resolution")), plainValue(memberOf(level, "amb_type")),
                         isOn(memberOf(level, "upd_switch")), plainValue(memberOf(level, "upd_type")),
                         plainValue(memberOf(level, "mwfix")) == "on"};
  }
  return s;
}

}  // namespace

std::vector<std::string> checkIntegers(const Json::Value& main, const Json::Value& ambiguity) {
  std::vector<std::string> sentences;
  for (const GNX_EXT::IntegerFault& fault : GNX_EXT::integerFaults(settingsOf(main, ambiguity))) {
    if (fault.wrong) throw UsageError(fault.sentence);
    sentences.push_back(fault.sentence);
  }
  return sentences;
}

std::vector<std::string> checkDeployedIntegers(const std::filesystem::path& deployment) {
  try {
    const Json::Value main = readJsonFile(deployment / "ppp.json");
    return checkIntegers(main, readJsonFile(deployment / plainValue(main["amb"])));
  } catch (const InputError&) {
    return {};
  }
}

}  // namespace gnx
