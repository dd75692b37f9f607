#pragma once
/// Small input files for the readers of the program.

#include <gmock/gmock.h>

#include <string>

#include "gnx/error.h"
#include "support/files.h"
#include "text/printed.h"

namespace gnx::test {

using support::readFile;
using support::realFile;
using TempDir = support::TemporaryDirectory;
using namespace testing;

/// A RINEX header line: content padded to the label in column 61.
inline std::string headerLine(std::string text, const std::string& label) {
  text.resize(60, ' ');
  return text + label + "\n";
}

/// The message of the error that an action throws; "" when it throws none.
template <class Error, class Action>
std::string messageOf(Action&& action) {
  try {
    action();
  } catch (const Error& e) {
    return e.what();
  }
  return "";
}
template <class Action>
std::string inputError(Action&& action) {
  return messageOf<InputError>(action);
}

/// What gzip makes of a content.
inline std::string packed(const std::string& content) {
  const TempDir dir;
  const std::string path = dir.path() / "packed.gz";
  gzFile file = gzopen(path.c_str(), "wb");
  gzwrite(file, content.data(), static_cast<unsigned>(content.size()));
  gzclose(file);
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace gnx::test
