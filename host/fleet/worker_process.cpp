// Starts workers, sends them frames without waiting, hears how they end.

#include "fleet/worker_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "gnx/error.h"

namespace gnx {

namespace {

constexpr std::size_t kMostWaiting = std::size_t{8} << 20;  ///< half an hour of observations and corrections
constexpr std::size_t kLargestFrame = std::size_t{64} << 20;
constexpr const char* kSelf = "/proc/self/exe";

/// What the child's descriptors are made of; released with the object.
class SpawnActions {
 public:
  SpawnActions() { posix_spawn_file_actions_init(&m_actions); }
  ~SpawnActions() { posix_spawn_file_actions_destroy(&m_actions); }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;
  posix_spawn_file_actions_t* get() { return &m_actions; }

 private:
  posix_spawn_file_actions_t m_actions;
};

}  // namespace

WorkerProcess::WorkerProcess(const std::filesystem::path& log) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
    throw InputError(log.string(), 0, std::string("no socket for a worker: ") + std::strerror(errno));
  m_descriptor = ends[0];
  fcntl(m_descriptor, F_SETFL, O_NONBLOCK);
  SpawnActions actions;
  posix_spawn_file_actions_addopen(actions.get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(actions.get(), STDOUT_FILENO, log.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0644);
  posix_spawn_file_actions_adddup2(actions.get(), STDOUT_FILENO, STDERR_FILENO);
  posix_spawn_file_actions_adddup2(actions.get(), ends[1], kWorkerSocket);
  // Connections of sources would stay open as long as the worker runs.
  posix_spawn_file_actions_addclosefrom_np(actions.get(), kWorkerSocket + 1);
  std::string program = "gnx", command = kWorkerCommand;
  std::array<char*, 3> words = {program.data(), command.data(), nullptr};
  const int wrong = posix_spawn(&m_process, kSelf, actions.get(), nullptr, words.data(), environ);
  close(ends[1]);
  if (wrong == 0) return;
  close(std::exchange(m_descriptor, -1));
  throw InputError(log.string(), 0, std::string("no worker can be started: ") + std::strerror(wrong));
}

WorkerProcess::~WorkerProcess() {
  if (m_descriptor >= 0) close(m_descriptor);
  if (m_process <= 0) return;
  kill(m_process, SIGKILL);
  while (waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
  }
}

void WorkerProcess::post(std::string frames) {
  m_bytes += frames.size();
  m_waiting.push_back(std::make_shared<const std::string>(std::move(frames)));
}

void WorkerProcess::post(const Posted& posted) {
  if (m_bytes + posted.frames->size() > kMostWaiting) {
    ++m_lost;
    return;
  }
  m_bytes += posted.frames->size();
  m_waiting.push_back(posted.frames);
}

bool WorkerProcess::send() {
  while (!m_waiting.empty()) {
    const std::string& first = *m_waiting.front();
    const ssize_t n =
        ::send(m_descriptor, first.data() + m_sent, first.size() - m_sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n < 0) return errno == EAGAIN || errno == EINTR;
    m_sent += static_cast<std::size_t>(n);
    m_taken += static_cast<std::uint64_t>(n);
    if (m_sent < first.size()) continue;
    m_bytes -= first.size();
    m_sent = 0;
    m_waiting.pop_front();
  }
  return true;
}

bool WorkerProcess::receive(const Take& take) {
  std::array<char, 65536> piece;
  ssize_t n = 0;
  while ((n = recv(m_descriptor, piece.data(), piece.size(), MSG_DONTWAIT)) > 0)
    m_received.append(piece.data(), static_cast<std::size_t>(n));
  const bool there = n < 0 && (errno == EAGAIN || errno == EINTR);
  std::string_view rest = m_received;
  FrameHead head;
  while (rest.size() >= sizeof head) {
    std::memcpy(&head, rest.data(), sizeof head);
    if (head.size > kLargestFrame) throw EngineError("the worker sends what is no frame");
    if (rest.size() < sizeof head + head.size) break;
    FrameReader content(rest.substr(sizeof head, head.size));
    rest.remove_prefix(sizeof head + head.size);
    take(static_cast<StationFrame>(head.kind), content);
  }
  m_received.erase(0, m_received.size() - rest.size());
  return there;
}

std::string WorkerProcess::end() {
  int status = 0;
  if (m_process <= 0 || waitpid(m_process, &status, WNOHANG) != m_process) return "";
  m_process = 0;
  if (WIFSIGNALED(status)) return "was ended by signal " + std::to_string(WTERMSIG(status));
  return WEXITSTATUS(status) == 0 ? "has ended" : "has failed";
}

}  // namespace gnx
