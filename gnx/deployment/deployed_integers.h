#pragma once
/// \file deployed_integers.h
/// Whether the levels of a deployment can resolve integers, judged by the engine's own rules.

#include <json/json.h>

#include <filesystem>
#include <string>
#include <vector>

namespace gnx {

/// Why integers are never fixed under these files, in sentences; empty when they may be.
/// \param main       content of "ppp.json"
/// \param ambiguity  of the file of the levels
/// \throws UsageError when integers would be wrong
std::vector<std::string> checkIntegers(const Json::Value& main, const Json::Value& ambiguity);

/// The same for a deployment. Files that are missing or damaged are left to the engine's own words.
std::vector<std::string> checkDeployedIntegers(const std::filesystem::path& deployment);

}  // namespace gnx
