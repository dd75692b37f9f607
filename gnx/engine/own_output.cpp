// Puts the output of this process aside when it has grown too large.

#include "engine/own_output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace gnx {

void boundOutput(const std::filesystem::path& file, std::int64_t bytes) {
  struct stat now {};
  if (bytes <= 0 || fstat(STDOUT_FILENO, &now) != 0 || !S_ISREG(now.st_mode) || now.st_size < bytes) return;
  std::fflush(stdout);
  std::error_code failed;
  std::filesystem::rename(file, file.string() + ".1", failed);
  if (failed) return;
  const int out = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644);
  if (out < 0) return;
  dup2(out, STDOUT_FILENO);
  dup2(out, STDERR_FILENO);
  close(out);
}

}  // namespace gnx
