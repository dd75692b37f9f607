// Starts a program, keeps what it has to complain, waits for its end.

#include "platform/child_process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "gnx/error.h"

namespace gnx {

namespace {

[[noreturn]] void becomeChild(std::vector<char*>& argv, const char* directory, int err) {
  const int null = open("/dev/null", O_RDWR);
  dup2(err, STDERR_FILENO);
  dup2(null, STDIN_FILENO);
  dup2(null, STDOUT_FILENO);
  if (chdir(directory) == 0) execv(argv[0], argv.data());
  dprintf(STDERR_FILENO, "cannot run %s in %s: %s\n", argv[0], directory, std::strerror(errno));
  _exit(127);
}

std::string readAll(int descriptor) {
  constexpr std::size_t kKeep = 1 << 16;
  std::string text;
  char buffer[4096];
  for (ssize_t n; (n = read(descriptor, buffer, sizeof buffer)) != 0;) {
    if (n < 0 && errno != EINTR) break;
    if (n > 0) text.append(buffer, static_cast<std::size_t>(n));
    if (text.size() > 2 * kKeep) text.erase(0, text.size() - kKeep);
  }
  return text;
}

}  // namespace

ChildResult runChild(const std::string& program, const std::vector<std::string>& arguments,
                     const std::filesystem::path& directory) {
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0)
    throw InputError(program, 0, std::string("cannot be run: ") + std::strerror(errno));
  const pid_t pid = fork();
  if (pid == 0) becomeChild(argv, directory.c_str(), ends[1]);
  close(ends[1]);
  ChildResult result;
  if (pid > 0) result.errors = readAll(ends[0]);
  close(ends[0]);
  if (pid < 0) throw InputError(program, 0, std::string("cannot be run: ") + std::strerror(errno));
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
  return result;
}

}  // namespace gnx
