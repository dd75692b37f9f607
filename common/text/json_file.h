#pragma once
/// \file json_file.h
/// JSON files of this program's own: read and written whole.

#include <json/json.h>

#include <array>
#include <filesystem>
#include <string>

namespace gnx {

/// Throws InputError: no file, no JSON.
Json::Value readJson(const std::filesystem::path& file);
/// The same for files of a deployment or a run, which hold an object.
Json::Value readJsonFile(const std::filesystem::path& file);
/// Text of a configuration value without its remark, "" when it is none.
std::string plainValue(const Json::Value& value);
/// Throws InputError when it cannot be written.
void writeJsonFile(const std::filesystem::path& file, const Json::Value& root);

Json::Value toJson(const std::array<double, 3>& v);
/// Throws Json::Exception unless the value holds three numbers.
std::array<double, 3> toVector(const Json::Value& list);

}  // namespace gnx
