#pragma once
/// \file child_process.h
/// Another program, run to its end.

#include <filesystem>
#include <string>
#include <vector>

namespace gnx {

struct ChildResult {
  int exitStatus = -1;  ///< -1 when a signal ended it
  std::string errors;   ///< its standard error, at most the last 64 kB
};

/// Runs `program arguments...` in `directory`; its standard output is dropped.
/// \throws InputError when it cannot be started
ChildResult runChild(const std::string& program, const std::vector<std::string>& arguments,
                     const std::filesystem::path& directory);

}  // namespace gnx
