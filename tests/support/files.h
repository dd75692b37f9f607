#pragma once
/// Files of tests: a directory that goes away, reading and writing.

#include <gtest/gtest.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/places.h"

namespace support {

namespace fs = std::filesystem;

inline void writeFile(const fs::path& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary);
  file << content;
  if (!file) throw std::runtime_error("cannot write " + path.string());
}

/// The whole file, unpacked; "" when there is none.
inline std::string readFile(const fs::path& path) {
  std::string text;
  char buffer[65536];
  if (gzFile file = gzopen(path.c_str(), "rb")) {
    for (int n; (n = gzread(file, buffer, sizeof buffer)) > 0;)
      text.append(buffer, static_cast<std::size_t>(n));
    gzclose(file);
  }
  return text;
}

inline std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

/// A directory that goes away with the object.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string name = (fs::temp_directory_path() / "gnx-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make " + name);
    m_path = name;
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  const fs::path& path() const { return m_path; }

  std::string write(const std::string& name, const std::string& content) const {
    writeFile(m_path / name, content);
    return (m_path / name).string();
  }

 private:
  fs::path m_path;
};

/// Where real data sets lie: the directory of the build, or that of the environment variable.
inline std::string realFile(const std::string& name) {
  const char* given = std::getenv("GNX_DATA_DIR");
  return (given != nullptr ? std::string(given) : support::kDataDirectory) + "/" + name;
}

}  // namespace support

/// Skips a test whose real data set is not there.
#define GNX_REQUIRE_DATA(name) \
  if (!std::filesystem::exists(support::realFile(name))) GTEST_SKIP() << "no " << support::realFile(name)
