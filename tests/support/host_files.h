#pragma once
/// \file host_files.h
/// Small input files for the readers of the program.

#include <gtest/gtest.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "formats/input_error.h"

namespace gnx_test {

/// A directory of its own for one test, removed with it.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "gnx-files-XXXXXX").string();
    m_path = mkdtemp(pattern.data());
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  std::string write(const std::string& name, const std::string& content) const {
    const std::string path = (m_path / name).string();
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }
  std::string writeGzip(const std::string& name, const std::string& content) const {
    const std::string path = (m_path / name).string();
    gzFile file = gzopen(path.c_str(), "wb");
    gzwrite(file, content.data(), static_cast<unsigned>(content.size()));
    gzclose(file);
    return path;
  }

 private:
  std::filesystem::path m_path;
};

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

inline std::string realFile(const std::string& name) { return std::string(GNX_DATA_DIR) + "/" + name; }

}  // namespace gnx_test

/// Skips a test whose real data set is not there.
#define GNX_REQUIRE_DATA(name) \
  if (!std::filesystem::exists(gnx_test::realFile(name))) GTEST_SKIP() << "no " << gnx_test::realFile(name)
