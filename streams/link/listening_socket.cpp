// Listens on a port; a source reads the client that came last.

#include "link/listening_socket.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "link/connection.h"

namespace gnx {

namespace {

constexpr int kBacklog = 8;

class ListeningConnection : public Connection {
 public:
  explicit ListeningConnection(const StreamUrl& url) : m_socket(url.host, url.port) {}

  std::size_t read(std::span<std::uint8_t> bytes, int timeout_ms) override {
    take(m_client ? 0 : timeout_ms);
    if (!m_client) return 0;
    try {
      return m_client->read(bytes, timeout_ms);
    } catch (const std::runtime_error&) {  // the client is gone; the next one may come
      m_client.reset();
      return 0;
    }
  }
  using Connection::write;
  void write(std::span<const std::uint8_t> bytes) override {
    if (m_client) m_client->write(bytes);
  }

 private:
  /// A sender that comes back replaces the connection that it has lost.
  void take(int timeout_ms) {
    const int client = m_socket.accept(timeout_ms);
    if (client >= 0) m_client = std::make_unique<DescriptorConnection>(client, true);
  }

  ListeningSocket m_socket;
  std::unique_ptr<DescriptorConnection> m_client;
};

}  // namespace

ListeningSocket::ListeningSocket(const std::string& host, int port) {
  addrinfo hints{}, *found = nullptr;
  hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
  hints.ai_socktype = SOCK_STREAM;
  const int wrong =
      getaddrinfo(host.empty() ? nullptr : host.c_str(), std::to_string(port).c_str(), &hints, &found);
  if (wrong != 0) throw ConnectionError(std::string("cannot be listened on: ") + gai_strerror(wrong));
  int error = 0;
  for (const addrinfo* a = found; a != nullptr && m_descriptor < 0; a = a->ai_next) {
    m_descriptor = socket(a->ai_family, a->ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int on = 1;
    setsockopt(m_descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (bind(m_descriptor, a->ai_addr, a->ai_addrlen) == 0 && listen(m_descriptor, kBacklog) == 0) break;
    error = errno;
    close(m_descriptor);
    m_descriptor = -1;
  }
  freeaddrinfo(found);
  if (m_descriptor < 0) throw ConnectionError(std::string("cannot be listened on: ") + std::strerror(error));
}

ListeningSocket::~ListeningSocket() { close(m_descriptor); }

int ListeningSocket::accept(int timeout_ms) const {
  if (!awaitDescriptor(m_descriptor, false, timeout_ms)) return -1;
  return accept4(m_descriptor, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
}

int ListeningSocket::port() const {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  if (getsockname(m_descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
  return ntohs(address.ss_family == AF_INET6 ? reinterpret_cast<const sockaddr_in6*>(&address)->sin6_port
                                             : reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
}

std::unique_ptr<Connection> listenTcp(const StreamUrl& url) {
  return std::make_unique<ListeningConnection>(url);
}

}  // namespace gnx
