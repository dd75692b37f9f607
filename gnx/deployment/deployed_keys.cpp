// Compares the keys of a deployment's files with those of a complete one.

#include "deployment/deployed_keys.h"

#include <algorithm>

#include "deployment/built_in_files.h"
#include "deployment/json_template.h"
#include "gnx/error.h"
#include "text/json_file.h"
#include "text/nearest_name.h"

namespace gnx {

namespace {

void collect(const Json::Value& value, const std::string& path, std::vector<std::string>& keys) {
  if (!value.isObject()) return keys.push_back(path);
  for (const std::string& name : value.getMemberNames())
    collect(value[name], path.empty() ? name : path + "." + name, keys);
}

/// Dotted keys of a built-in file.
std::vector<std::string> builtInKeys(const std::string& name) {
  std::vector<std::string> keys;
  collect(parseJson(name, std::string(builtInFiles().at(name))), "", keys);
  return keys;
}

void compare(const std::filesystem::path& file, std::vector<std::string> known,
             std::vector<std::string>& sentences) {
  std::vector<std::string> present;
  if (!std::filesystem::exists(file)) return;
  collect(readJsonFile(file), "", present);
  std::ranges::sort(known);
  for (const std::string& key : present) {
    if (std::ranges::binary_search(known, key)) continue;
    const std::string nearest = nearestName(key, known);
    sentences.push_back(file.filename().string() + ": the key " + key + " is unknown and has no effect" +
                        (nearest.empty() ? "" : "; did you mean " + nearest + "?"));
  }
}

}  // namespace

std::vector<std::string> keysOfDeployments() {
  std::vector<std::string> keys;
  for (const char* file : {"ppp.json.in", "ambiguity.json.in", "tables.json.in"})
    std::ranges::copy(builtInKeys(file), std::back_inserter(keys));
  return keys;
}

std::vector<std::string> unknownDeployedKeys(const std::filesystem::path& deployment) {
  std::vector<std::string> sentences;
  try {
    const Json::Value main = readJsonFile(deployment / "ppp.json");
    compare(deployment / "ppp.json", builtInKeys("ppp.json.in"), sentences);
    std::vector<std::string> tables = builtInKeys("tables.json.in");
    for (const char* optional : {"files.jpleph", "files.ut1t03", "files.stacoo"})
      tables.emplace_back(optional);
    const auto named = [&](const char* key) { return deployment / plainValue(main[key]); };
    if (main["files"].isString()) compare(named("files"), std::move(tables), sentences);
    std::vector<std::string> levels = builtInKeys("ambiguity.json.in");
    levels.emplace_back("amb.osb_switch");
    if (main["amb"].isString()) compare(named("amb"), std::move(levels), sentences);
    compare(deployment / "gnx.json",
            {"mode", "interval_s", "cutoff_deg", "station", "antenna", "position_m", "antenna_delta_enu_m"},
            sentences);
  } catch (const InputError&) {
    // told where the file is opened
  }
  return sentences;
}

}  // namespace gnx
