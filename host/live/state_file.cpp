// A head of one line with the version, the size and the checksum, then the content.

#include "live/state_file.h"

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdio>

#include "gnx/error.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

std::string headOf(const std::string& content) {
  const auto sum = crc32_z(0, reinterpret_cast<const Bytef*>(content.data()), content.size());
  return printed("GNX STATE 1 %zu %08lx\n", content.size(), static_cast<unsigned long>(sum));
}

bool writeAll(int file, const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t n = ::write(file, text.data() + done, text.size() - done);
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

}  // namespace

void writeStateFile(const fs::path& path, const std::string& content) {
  const std::string beside = path.string() + ".new";
  const int file = ::open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  const bool written =
      file >= 0 && writeAll(file, headOf(content)) && writeAll(file, content) && fdatasync(file) == 0;
  if (file >= 0) ::close(file);
  if (!written || std::rename(beside.c_str(), path.c_str()) != 0)
    throw InputError(path.string(), 0, "cannot be written; check the folder and the free space");
}

std::optional<std::string> readStateFile(const fs::path& path) {
  if (!fs::exists(path)) return std::nullopt;
  const std::string whole = readTextFile(path);
  const std::size_t end = whole.find('\n');
  std::string content = end == std::string::npos ? "" : whole.substr(end + 1);
  if (end == std::string::npos || whole.substr(0, end + 1) != headOf(content))
    throw InputError(path.string(), 0, "is damaged or of another version and of no use");
  return content;
}

std::optional<std::string> takeStateFile(const fs::path& path) {
  const std::string beside = path.string() + ".taken";
  std::error_code none;
  fs::rename(path, beside, none);
  if (none) return std::nullopt;
  const auto content = readStateFile(beside);
  fs::remove(beside, none);
  return content;
}

}  // namespace gnx
