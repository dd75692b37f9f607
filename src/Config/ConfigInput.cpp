// Reads JSON documents and required texts; refusals name key and file.

#include "Config/ConfigInput.h"

#include <json/json.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "Common/ComString.h"
#include "Common/Fatal.h"
#include "Common/TextScan.h"

namespace tarvio {

namespace {

constexpr std::size_t kWordLimit = 1024;

[[noreturn]] void s_refuse(const char* key, const char* reason) {
  throw std::invalid_argument(std::string("key ") + key + " " + reason);
}

}  // namespace

Json::Value s_readJson(const char* function, const std::string& path, const char* notOpened,
                       const char* notParsed) {
  const auto refuse = [&](const char* reason) {
    s_fatal(function, __LINE__, "file = %s,%s", path.c_str(), reason);
  };
  std::ifstream file(path);
  if (!file) refuse(notOpened);
  Json::CharReaderBuilder builder;
  builder["collectComments"] = false;
  Json::Value root;
  std::string errors;
  try {
    if (Json::parseFromStream(builder, file, &root, &errors)) return root;
  } catch (const std::exception&) {  // nesting beyond the reader's stack limit
  }
  refuse(notParsed);
  return root;
}

std::string s_requiredText(const Json::Value& object, const char* key) {
  const Json::Value& value = object[key];
  if (!value.isString()) s_refuse(key, "is missing or is not a string");
  return excludeAnnoValue(value.asString());
}

std::string s_requiredScalar(const Json::Value& object, const char* key) {
  const Json::Value& value = object[key];
  if (value.isNull() || value.isArray() || value.isObject()) s_refuse(key, "is missing or is no scalar");
  return excludeAnnoValue(value.asString());
}

double s_requiredNumber(const Json::Value& object, const char* key) {
  double number = 0.0;
  if (s_scanNumbers(s_requiredScalar(object, key), &number, 1) != 1) s_refuse(key, "is not a number");
  return number;
}

std::vector<std::string> s_words(std::string_view value) {
  std::vector<std::string> words;
  for (std::string_view word = s_nextWord(value); !word.empty(); word = s_nextWord(value)) {
    words.emplace_back(word.substr(0, kWordLimit));
  }
  return words;
}

std::vector<std::string> s_fields(std::string_view text, char separator) {
  std::vector<std::string> fields;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(separator), text.size());
    if (end > 0) fields.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return fields;
}

}  // namespace tarvio
