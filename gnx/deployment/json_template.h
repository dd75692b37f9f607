#pragma once
/// \file json_template.h
/// Configuration files as templates: JSON text whose places "@NAME@" are filled, and whose values can
/// be replaced by their path without touching layout and comments.

#include <json/json.h>

#include <map>
#include <string>
#include <string_view>

namespace gnx {

/// \throws std::logic_error for a place without a value (a fault of the program)
std::string fillJson(std::string_view text, const std::map<std::string, std::string>& values);

/// Replaces the value at a dotted path ("common.ionmodel"). A comment behind '!' or '#' in the old
/// text stays. An array takes the words of `value` as its elements.
/// \return false when there is no such path
bool setJsonValue(std::string& text, const std::string& path, const std::string& value);

/// Parses the text as the engine does.
/// \throws InputError with the reader's message
Json::Value parseJson(const std::string& file, const std::string& text);

}  // namespace gnx
