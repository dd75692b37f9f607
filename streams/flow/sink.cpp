// Sends lines: to a file, a port of a host, a serial port, or whoever connects.

#include "flow/sink.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <utility>
#include <vector>

#include "flow/back_off.h"
#include "gnx/error.h"
#include "link/listening_socket.h"

namespace gnx {

namespace {

constexpr std::size_t kMostBytes = std::size_t{1} << 20, kMostClients = 16;
constexpr std::size_t kMostPending = std::size_t{1} << 16;  ///< of a client
constexpr int kLook_ms = 100;

/// A reader at a port; what it does not take in time is left out, line by line.
class Client {
 public:
  explicit Client(int descriptor) : m_descriptor(descriptor) {}
  ~Client() {
    if (m_descriptor >= 0) close(m_descriptor);
  }
  Client(Client&& other) noexcept
      : m_descriptor(std::exchange(other.m_descriptor, -1)), m_pending(std::move(other.m_pending)) {}
  Client& operator=(Client&& other) noexcept {
    std::swap(m_descriptor, other.m_descriptor);
    std::swap(m_pending, other.m_pending);
    return *this;
  }

  /// False when it is gone.
  bool send(const std::string& lines) {
    if (m_pending.size() + lines.size() <= kMostPending) m_pending += lines;
    while (!m_pending.empty()) {
      const ssize_t n = ::send(m_descriptor, m_pending.data(), m_pending.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
      if (n < 0) return errno == EAGAIN || errno == EINTR;
      m_pending.erase(0, static_cast<std::size_t>(n));
    }
    return true;
  }

 private:
  int m_descriptor;
  std::string m_pending;
};

}  // namespace

Sink::Sink(std::string name, const StreamUrl& url, Say say)
    : m_name(std::move(name)), m_url(url), m_say(std::move(say)) {
  if (url.ofCaster())
    throw UsageError("'" + url.text + "' is a caster; lines go to tcp, tcp-listen, serial, file, -");
  m_thread = std::thread([this] { run(); });
}

Sink::~Sink() {
  m_stop = true;
  m_news.notify_one();
  m_thread.join();
}

void Sink::write(std::string lines) {
  const std::lock_guard lock(m_mutex);
  m_bytes += lines.size();
  m_lines.push_back(std::move(lines));
  while (m_bytes > kMostBytes) {
    m_bytes -= m_lines.front().size();
    m_lines.pop_front();
  }
  m_news.notify_one();
}

bool Sink::take(std::string& lines, int timeout_ms) {
  std::unique_lock lock(m_mutex);
  m_news.wait_for(lock, std::chrono::milliseconds(timeout_ms), [this] { return !m_lines.empty() || m_stop; });
  if (m_lines.empty()) return false;
  lines = std::move(m_lines.front());
  m_bytes -= lines.size();
  m_lines.pop_front();
  return true;
}

void Sink::run() {
  if (m_url.scheme == StreamScheme::tcpListen) runServer();
  else runClient();
}

void Sink::runClient() {
  BackOff pauses;
  const Credentials none;
  std::string last, lines;
  while (true) {
    try {
      const auto connection = openConnection(m_url, {none, m_stop, true});
      pauses.reset();
      last.clear();
      while (true) {
        if (take(lines, kLook_ms)) connection->write(lines);
        else if (m_stop) return;
      }
    } catch (const std::runtime_error& e) {
      if (last != e.what()) tell(std::string(e.what()) + "; lines are lost until it works");
      last = e.what();
    }
    const auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(pauses.next());
    while (std::chrono::steady_clock::now() < until) {
      if (m_stop) return;
      take(lines, kLook_ms);
    }
  }
}

void Sink::runServer() {
  try {
    const ListeningSocket socket(m_url.host, m_url.port);
    std::vector<Client> clients;
    std::string lines;
    while (true) {
      const int client = socket.accept(0);
      if (client >= 0 && clients.size() < kMostClients) clients.emplace_back(client);
      else if (client >= 0) close(client);
      const bool any = take(lines, kLook_ms);
      if (!any && m_stop) return;
      if (!any) lines.clear();
      std::erase_if(clients, [&](Client& c) { return !c.send(lines); });
    }
  } catch (const ConnectionError& e) {
    tell(e.what());
  }
}

}  // namespace gnx
