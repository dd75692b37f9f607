#pragma once
/// \file ConfigInput.h
/// What the configuration readers share: JSON files, required texts, messages that let a load go on.

#include <string>
#include <string_view>
#include <vector>

namespace Json {
class Value;
}

namespace tarvio {

/// Reads a JSON file, comments allowed; ends the process with "file = PATH,REASON" when that fails.
/// \param function  name for the head of that message
Json::Value s_readJson(const char* function, const std::string& path, const char* notOpened,
                       const char* notParsed);

/// The cleaned text of a member, annotation behind '!' or '#' cut off.
/// \throws std::exception naming the key, when the member is missing or is not a string
std::string s_requiredText(const Json::Value& object, const char* key);
/// The same for files that write scalars as text, number or truth value.
std::string s_requiredScalar(const Json::Value& object, const char* key);
double s_requiredNumber(const Json::Value& object, const char* key);

/// Words of a configuration value, separated by blanks, at most 1024 characters each.
std::vector<std::string> s_words(std::string_view value);
/// Non-empty fields between separators.
std::vector<std::string> s_fields(std::string_view text, char separator);

}  // namespace tarvio
