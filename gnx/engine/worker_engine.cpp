// An engine in a process of its own: starts the worker, hands records over, finds out how it ended.

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <utility>

#include "engine/frame_records.h"
#include "engine/last_words.h"
#include "gnx/error.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr int kWorkerDescriptor = 3;
constexpr int kCannotRun = 127;

/// Runs in the child between fork and exec: nothing but system calls.
[[noreturn]] void becomeWorker(const char* program, const char* directory, const char* log, int socket) {
  const int spare = fcntl(socket, F_DUPFD, 16);  // above the others, so that no duplication overwrites it
  const int out = open(log, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0644);
  const int null = open("/dev/null", O_RDONLY);
  // Control-C reaches every process of the terminal; the host ends its engine when it has what it wants.
  signal(SIGINT, SIG_IGN);
  signal(SIGTERM, SIG_IGN);
  if (out >= 0 && null >= 0 && spare >= 0) {
    dup2(null, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(out, STDERR_FILENO);
    dup2(spare, kWorkerDescriptor);
    close_range(kWorkerDescriptor + 1, ~0U, 0);  // connections of the host too, which it may want to end
    if (chdir(directory) == 0) execl(program, program, static_cast<char*>(nullptr));
    dprintf(STDERR_FILENO, "ERROR cannot run %s in %s: %s\n", program, directory, std::strerror(errno));
  }
  _exit(kCannotRun);
}

class WorkerEngine : public EngineCore {
 public:
  WorkerEngine(const fs::path& directory, const fs::path& program, EventSink onEvent)
      : m_directory(directory), m_onEvent(std::move(onEvent)), m_channel(launch(program)) {
    FrameKind kind{};
    std::string content;
    std::uint32_t version = 0;
    if (!m_channel.receive(kind, content)) ended();
    FrameReader in(content);
    if (kind == FrameKind::hello) in(version);
    if (version == kProtocolVersion) return;
    m_channel.close();
    await();
    throw EngineError("the worker " + program.string() + " is of another version; install one that belongs " +
                      "to this library");
  }

  ~WorkerEngine() override {
    m_channel.close();  // the worker ends when nobody is there
    if (m_process > 0) await();
  }

  void start(const Start& start) override { call(FrameKind::start, start); }
  void setClock(std::int64_t utc) override { post(FrameKind::clock, utc); }
  void setOutputOptions(const std::string& options) override { call(FrameKind::options, options); }
  void restart() override { call(FrameKind::restart); }
  std::vector<std::string> writeStoreFiles(const GNX_IO::gtime_t& time) override {
    return call(FrameKind::stores, time);
  }
  std::string state() override { return call(FrameKind::state).at(0); }
  void resume(const std::string& state) override { call(FrameKind::resume, state); }
  void finish() override {
    call(FrameKind::finish);
    m_channel.close();
    await();
    if (m_status != 0) throwEnd();
  }
  long processId() const override { return m_process; }

  void inputMessage(int sat, const GNX_IO::eph_entry_t& eph) override {
    post(FrameKind::message, static_cast<std::int32_t>(sat), eph);
  }
  void inputMessage(int sat, int prn, const GNX_IO::geph_entry_t& eph) override {
    post(FrameKind::glonass, static_cast<std::int32_t>(sat), static_cast<std::int32_t>(prn), eph);
  }
  void inputCorrections(GNX_IO::ssr_t* ssr) override {
    sendNews(
        FrameKind::corrections, ssr, [](const GNX_IO::ssr_t& s) { return s.update != 0; },
        [](GNX_IO::ssr_t& s) {
          s.mark_orb = s.mark_clk = GNX_IO::kConsumed;
          s.update = 0;
        });
  }
  void inputBiases(GNX_IO::ssr_t* ssr) override {
    sendNews(
        FrameKind::biases, ssr,
        [](const GNX_IO::ssr_t& s) {
          return s.mark_cbias != GNX_IO::kConsumed || s.mark_pbias != GNX_IO::kConsumed ||
                 s.mark_ifpb != GNX_IO::kConsumed;
        },
        [](GNX_IO::ssr_t& s) { s.mark_cbias = s.mark_pbias = s.mark_ifpb = GNX_IO::kConsumed; });
  }
  void inputEpoch(const GNX_IO::gtime_t& time, std::span<GNX_IO::obs_entry_t> entries) override {
    m_solution.reset();
    call(FrameKind::epoch, time, std::vector(entries.begin(), entries.end()));
  }

 private:
  int launch(const fs::path& program) {
    if (access(program.c_str(), X_OK) != 0)
      throw EngineError("the worker " + program.string() + " cannot be run: " + std::strerror(errno) +
                        "; name it in EngineOptions or by the environment variable GNX_WORKER");
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
      throw EngineError(std::string("cannot make a pair of sockets: ") + std::strerror(errno));
    const std::string log = (m_directory / kWorkerOutput).string();
    m_process = fork();
    if (m_process == 0) becomeWorker(program.c_str(), m_directory.c_str(), log.c_str(), ends[1]);
    ::close(ends[1]);
    if (m_process < 0) {
      ::close(ends[0]);
      throw EngineError(std::string("cannot start the engine's process: ") + std::strerror(errno));
    }
    return ends[0];
  }

  void begin() {
    if (!m_end.empty()) throw EngineError(m_end);
    m_frame.clear();
  }
  template <class... T>
  void send(FrameKind kind, const T&... values) {
    begin();
    m_frame(values...);
    if (!m_channel.send(kind, m_frame.bytes())) ended();
  }
  template <class... T>
  void post(FrameKind kind, const T&... values) {
    begin();
    m_frame(values...);
    if (!m_channel.post(kind, m_frame.bytes())) ended();
  }

  /// Sends a frame and waits for its end; events and a solution come in between.
  template <class... T>
  std::vector<std::string> call(FrameKind request, const T&... values) {
    send(request, values...);
    FrameKind kind{};
    while (m_channel.receive(kind, m_answer)) {
      FrameReader in(m_answer);
      if (kind == FrameKind::event) {
        EngineEvent event;
        in(event);
        if (m_onEvent) m_onEvent(event);
      } else if (kind == FrameKind::solution) {
        in(m_solution.emplace());
      } else if (kind == FrameKind::done) {
        std::string wrong;
        std::vector<std::string> names;
        in(wrong, names);
        if (!wrong.empty()) throw UsageError(wrong);
        return names;
      }
    }
    ended();
  }

  /// `consume` marks what the engine takes of a satellite with news as taken.
  template <class News, class Consume>
  void sendNews(FrameKind kind, GNX_IO::ssr_t* ssr, News&& news, Consume&& consume) {
    m_news.clear();
    for (std::size_t index = 0; index < GNX_IO::kMaxSatellite; ++index)
      if (news(ssr[index])) m_news.push_back(index);
    begin();
    m_frame(static_cast<std::uint32_t>(m_news.size()));
    for (const std::size_t index : m_news) {
      m_told.tell(m_frame, index, ssr[index]);
      consume(ssr[index]);
    }
    if (!m_channel.post(kind, m_frame.bytes())) ended();
  }

  void await() {
    int status = 0;
    while (waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
    }
    m_status = status;
    m_process = 0;
  }

  /// The worker is gone in the middle of its work.
  [[noreturn]] void ended() {
    m_channel.close();
    if (m_process > 0) await();
    throwEnd();
  }

  [[noreturn]] void throwEnd() {
    const std::string words = lastWords(m_directory / kWorkerOutput);
    if (WIFSIGNALED(m_status))
      m_end = "the engine's process was ended by signal " + std::to_string(WTERMSIG(m_status)) +
              "; its last words: " + words;
    else m_end = "the engine ended: " + words;
    m_end += "\n(run directory " + m_directory.string() + ")";
    throw EngineError(m_end);
  }

  fs::path m_directory;
  EventSink m_onEvent;
  pid_t m_process = 0;
  int m_status = 0;
  FrameChannel m_channel;
  FrameWriter m_frame;
  std::string m_answer, m_end;
  CorrectionRecords m_told;
  std::vector<std::size_t> m_news;
};

}  // namespace

std::unique_ptr<EngineCore> makeWorkerEngine(const fs::path& directory, const fs::path& program,
                                             EventSink onEvent) {
  return std::make_unique<WorkerEngine>(directory, program, std::move(onEvent));
}

}  // namespace gnx
