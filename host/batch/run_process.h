#pragma once
/// \file run_process.h
/// This program in a process of its own, beside others: whatever becomes of it costs its own run alone.

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace gnx {

class RunProcess {
 public:
  /// Starts `gnx words...`. Its output goes to "run.log" of the directory, which it keeps locked as long as
  /// it lives. It ends with the process that has started it. \throws InputError when it cannot be started,
  /// UsageError when another process holds the directory
  RunProcess(const std::vector<std::string>& words, const std::filesystem::path& directory);
  /// Ends it at once, if it runs still.
  ~RunProcess();
  RunProcess(const RunProcess&) = delete;
  RunProcess& operator=(const RunProcess&) = delete;

  /// Its exit status, 128 and the number of the signal that ended it; nothing while it runs.
  std::optional<int> status();
  void signal(int number) const;

 private:
  pid_t m_process = 0;
};

/// The program that runs, absolute.
std::string ownProgram();

}  // namespace gnx
