// Starts runs, watches them, hears how they end.

#include "batch/run_process.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "gnx/error.h"

namespace gnx {

namespace {

/// The lock belongs to all who have the descriptor: it outlives this process when that is killed.
int lockOf(const std::filesystem::path& directory) {
  const std::filesystem::path file = directory / "batch.lock";
  const int lock = open(file.c_str(), O_RDWR | O_CREAT, 0644);
  if (lock < 0) throw InputError(file, 0, std::string("cannot be made: ") + std::strerror(errno));
  if (flock(lock, LOCK_EX | LOCK_NB) == 0) return lock;
  close(lock);
  throw UsageError(directory.string() + " is being worked on by another batch");
}

[[noreturn]] void becomeRun(std::vector<char*>& argv, pid_t parent, int log) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(127);
  const int none = open("/dev/null", O_RDWR);
  dup2(none, STDIN_FILENO);
  dup2(log, STDOUT_FILENO);
  dup2(log, STDERR_FILENO);
  execv("/proc/self/exe", argv.data());
  _exit(127);
}

}  // namespace

RunProcess::RunProcess(const std::vector<std::string>& words, const std::filesystem::path& directory) {
  std::string program = "gnx";
  std::vector<char*> argv{program.data()};
  for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  const int lock = lockOf(directory);
  const int log = open((directory / "run.log").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  const pid_t self = getpid();
  m_process = log < 0 ? -1 : fork();
  if (m_process == 0) becomeRun(argv, self, log);
  const int wrong = errno;
  close(lock);
  if (log >= 0) close(log);
  if (m_process < 0)
    throw InputError(directory.string(), 0, std::string("no run can be started: ") + std::strerror(wrong));
}

RunProcess::~RunProcess() {
  if (m_process <= 0) return;
  kill(m_process, SIGKILL);
  while (waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
  }
}

std::optional<int> RunProcess::status() {
  int status = 0;
  if (m_process <= 0 || waitpid(m_process, &status, WNOHANG) != m_process) return std::nullopt;
  m_process = 0;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void RunProcess::signal(int number) const {
  if (m_process > 0) kill(m_process, number);
}

std::string ownProgram() { return std::filesystem::read_symlink("/proc/self/exe").string(); }

}  // namespace gnx
