#pragma once
/// \file deployed_keys.h
/// Keys of a deployment's files that nobody reads: a misspelt one leaves its value at the default, or
/// missing.

#include <filesystem>
#include <string>
#include <vector>

namespace gnx {

/// A sentence about each, with the nearest key that is read. Files that are absent or damaged have none:
/// whoever opens them says so.
std::vector<std::string> unknownDeployedKeys(const std::filesystem::path& deployment);

/// Dotted keys of the values of the main file, the ambiguity file ("amb.") and the table of files ("files.").
std::vector<std::string> keysOfDeployments();

}  // namespace gnx
