#pragma once
/// \file fuzzed_file.h
/// Bytes of a fuzzer as the file that a reader opens.

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "gnx/error.h"

namespace gnx::fuzz {

/// A file in memory, for as long as the object lives.
class FuzzedFile {
 public:
  FuzzedFile(const std::uint8_t* data, std::size_t size) : m_file(memfd_create("fuzzed", MFD_CLOEXEC)) {
    if (m_file < 0 || write(m_file, data, size) != static_cast<ssize_t>(size)) std::abort();
  }
  ~FuzzedFile() { close(m_file); }
  FuzzedFile(const FuzzedFile&) = delete;
  FuzzedFile& operator=(const FuzzedFile&) = delete;
  std::string path() const { return "/proc/self/fd/" + std::to_string(m_file); }

 private:
  int m_file;
};

/// Gives the bytes to a reader. It may refuse them in a sentence and do nothing else.
template <class Reader>
int readAsFile(const std::uint8_t* data, std::size_t size, Reader&& reader) {
  const FuzzedFile file(data, size);
  try {
    reader(file.path());
  } catch (const InputError&) {  // told with file, line and field
  }
  return 0;
}

}  // namespace gnx::fuzz
