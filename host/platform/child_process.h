#pragma once
/// \file child_process.h
/// The worker process: the engine prints on standard output, reads its working directory and ends the
/// process on bad configuration, so it never runs inside the program itself.

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace gnx {

struct ChildResult {
  int exitStatus = -1;  ///< -1 when a signal ended it
  int signal = 0;
  std::string errors;  ///< its standard error, at most the last 64 kB
};

/// Descriptor on which the worker writes its records.
inline constexpr int kRecordDescriptor = 3;

/// Runs `program arguments...` in `directory`; every line of its standard output goes to `onOutput`,
/// every line of its record channel to `onRecord`, as they come.
/// \throws EngineError when it cannot be started
ChildResult runChild(const std::string& program, const std::vector<std::string>& arguments,
                     const std::filesystem::path& directory,
                     const std::function<void(std::string_view)>& onOutput,
                     const std::function<void(std::string_view)>& onRecord);

}  // namespace gnx
