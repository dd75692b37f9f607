#pragma once
/// \file input_error.h
/// Damage in an input: what a reader throws and the program turns into a message and exit status 2.

#include <stdexcept>
#include <string>

namespace gnx {

/// "file:line: field: what is wrong; what to do"
class InputError : public std::runtime_error {
 public:
  InputError(const std::string& file, long line, const std::string& what)
      : std::runtime_error(line > 0 ? file + ":" + std::to_string(line) + ": " + what : file + ": " + what) {}
};

/// Wrong command line or inconsistent choices: exit status 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The engine ended or could not run: exit status 3.
class EngineError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace gnx
