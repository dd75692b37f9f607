// Choices of a live run as a file.

#include "live/live_options.h"

#include <json/json.h>

#include <memory>

#include "gnx/error.h"

namespace gnx {

namespace {

void addWord(const std::string& key, const Json::Value& value, const std::string& name,
             std::vector<std::string>& words) {
  if (value.isBool()) {
    if (value.asBool()) words.push_back("--" + key);
  } else if (value.isString() || value.isNumeric()) {
    words.push_back("--" + key + "=" + value.asString());
  } else {
    throw InputError(name, 0, key, "is no text, number, true, false or list of these");
  }
}

}  // namespace

RunSettings GivenSettings::over(RunSettings settings) const {
  settings.mode = mode.value_or(settings.mode);
  settings.interval_s = interval_s.value_or(settings.interval_s);
  settings.stationName = stationName.value_or(settings.stationName);
  settings.galileo = galileo.value_or(settings.galileo);
  return settings;
}

std::vector<std::string> wordsOfJson(const std::string& text, const std::string& name) {
  Json::CharReaderBuilder builder;
  builder["stackLimit"] = 32;
  Json::Value root;
  std::string wrong;
  try {
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &root, &wrong) || !root.isObject())
      throw InputError(name, 0, "is no JSON object of options" + (wrong.empty() ? "" : ": " + wrong));
  } catch (const Json::Exception& e) {
    throw InputError(name, 0, std::string("is no JSON: ") + e.what());
  }
  std::vector<std::string> words;
  for (const std::string& key : root.getMemberNames()) {
    const Json::Value& value = root[key];
    if (!value.isArray()) addWord(key, value, name, words);
    else
      for (const Json::Value& one : value) addWord(key, one, name, words);
  }
  return words;
}

}  // namespace gnx
