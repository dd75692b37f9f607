#pragma once
/// \file host_files.h
/// Small input files for the readers of the program.

#include <string>

#include "formats/input_error.h"
#include "support/files.h"

namespace gnx_test {

using support::realFile;
using TempDir = support::TemporaryDirectory;

/// A RINEX header line: content padded to the label in column 61.
inline std::string headerLine(std::string text, const std::string& label) {
  text.resize(60, ' ');
  return text + label + "\n";
}

/// The message of the InputError that an action throws; "" when it throws none.
template <class Action>
std::string inputError(Action&& action) {
  try {
    action();
  } catch (const gnx::InputError& e) {
    return e.what();
  }
  return "";
}

/// What gzip makes of a content.
inline std::string packed(const std::string& content) {
  const support::TemporaryDirectory dir;
  const std::string path = (dir.path() / "packed.gz").string();
  gzFile file = gzopen(path.c_str(), "wb");
  gzwrite(file, content.data(), static_cast<unsigned>(content.size()));
  gzclose(file);
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace gnx_test
