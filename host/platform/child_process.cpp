// Starts a worker behind a pipe, reads its output, waits for its end.

#include "platform/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "gnx/error.h"

namespace gnx {

namespace {

/// Both ends of a pipe, closed with the object.
struct Pipe {
  int read = -1, write = -1;
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
      throw EngineError(std::string("cannot make a pipe: ") + std::strerror(errno));
    read = ends[0];
    write = ends[1];
  }
  ~Pipe() {
    closeRead();
    closeWrite();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  void closeRead() { close(read), read = -1; }
  void closeWrite() {
    if (write >= 0) close(write);
    write = -1;
  }
};

/// Cuts a byte stream into lines.
class LineCutter {
 public:
  explicit LineCutter(const std::function<void(std::string_view)>& sink) : sink_(sink) {}
  void add(std::string_view bytes) {
    pending_.append(bytes);
    std::size_t start = 0;
    for (std::size_t end; (end = pending_.find('\n', start)) != std::string::npos; start = end + 1) {
      sink_(std::string_view(pending_).substr(start, end - start));
    }
    pending_.erase(0, start);
    if (pending_.size() > kLongest) finish();  // a line without an end must not fill the memory
  }
  void finish() {
    if (!pending_.empty()) sink_(pending_);
    pending_.clear();
  }

 private:
  static constexpr std::size_t kLongest = 1 << 20;
  const std::function<void(std::string_view)>& sink_;
  std::string pending_;
};

[[noreturn]] void becomeChild(const std::string& program, const std::vector<std::string>& arguments,
                              const std::filesystem::path& directory, int out, int err, int records) {
  // Above the standard descriptors first, so that one duplication cannot overwrite the next source.
  const int spare = fcntl(records, F_DUPFD, 16);
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  dup2(spare, kRecordDescriptor);
  close(spare);
  const int null = open("/dev/null", O_RDONLY);
  dup2(null, STDIN_FILENO);
  if (null > kRecordDescriptor) close(null);
  if (chdir(directory.c_str()) == 0) {
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execv(program.c_str(), argv.data());
  }
  dprintf(STDERR_FILENO, "cannot run %s in %s: %s\n", program.c_str(), directory.c_str(),
          std::strerror(errno));
  _exit(127);
}

}  // namespace

ChildResult runChild(const std::string& program, const std::vector<std::string>& arguments,
                     const std::filesystem::path& directory,
                     const std::function<void(std::string_view)>& onOutput,
                     const std::function<void(std::string_view)>& onRecord) {
  Pipe out, err, records;
  const pid_t pid = fork();
  if (pid < 0) throw EngineError(std::string("cannot start the engine's process: ") + std::strerror(errno));
  if (pid == 0) becomeChild(program, arguments, directory, out.write, err.write, records.write);
  out.closeWrite();
  err.closeWrite();
  records.closeWrite();

  ChildResult result;
  const std::function<void(std::string_view)> collect = [&](std::string_view line) {
    constexpr std::size_t kKeep = 1 << 16;
    result.errors.append(line).push_back('\n');
    if (result.errors.size() > 2 * kKeep) result.errors.erase(0, result.errors.size() - kKeep);
  };
  LineCutter cutters[] = {LineCutter(onOutput), LineCutter(onRecord), LineCutter(collect)};
  std::array<pollfd, 3> fds{pollfd{out.read, POLLIN, 0}, pollfd{records.read, POLLIN, 0},
                            pollfd{err.read, POLLIN, 0}};
  std::vector<char> buffer(1 << 16);
  for (int open = 3; open > 0;) {
    if (poll(fds.data(), fds.size(), -1) < 0 && errno != EINTR) break;
    for (std::size_t i = 0; i < fds.size(); ++i) {
      if (fds[i].fd < 0 || fds[i].revents == 0) continue;
      const ssize_t n = read(fds[i].fd, buffer.data(), buffer.size());
      if (n > 0) {
        cutters[i].add({buffer.data(), static_cast<std::size_t>(n)});
      } else if (n == 0 || errno != EINTR) {
        cutters[i].finish();
        fds[i].fd = -1;
        --open;
      }
    }
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  return result;
}

}  // namespace gnx
