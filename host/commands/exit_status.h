#pragma once
/// \file exit_status.h
/// What the program's exit status says, and how a command ends with another one than its errors have.

#include <stdexcept>
#include <string>

namespace gnx {

enum ExitStatus {
  kGood = 0,
  kNoResult = 1,      ///< no position, or for less than half of the epochs
  kBadUse = 2,        ///< command line, input, directory
  kEngineFailed = 3,  ///< refused its configuration or ended by a signal
  kSignal = 128,      ///< and the number of the signal that ended the run; results so far are written
};

/// The command has done what it can; the reason is told on standard error.
class EndWithStatus : public std::runtime_error {
 public:
  EndWithStatus(int status, const std::string& reason) : std::runtime_error(reason), m_status(status) {}
  int status() const { return m_status; }

 private:
  int m_status;
};

}  // namespace gnx
