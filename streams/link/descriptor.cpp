// Descriptors, files and the choice of a connection by its URL.

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "gnx/error.h"
#include "link/connection.h"
#include "text/byte_source.h"

namespace gnx {

namespace {

constexpr int kWriteTimeout_ms = 2000;

/// A file that is read from its beginning to its end, plain or packed.
class FileConnection : public Connection {
 public:
  explicit FileConnection(const std::string& path) : m_bytes(openBytes(path)) {}
  std::size_t read(std::span<std::uint8_t> bytes, int /*timeout_ms*/) override {
    const std::size_t n = m_bytes->read(reinterpret_cast<char*>(bytes.data()), bytes.size());
    if (n == 0) throw StreamEnded();
    return n;
  }
  using Connection::write;
  void write(std::span<const std::uint8_t> /*bytes*/) override {}

 private:
  std::unique_ptr<ByteSource> m_bytes;
};

}  // namespace

bool awaitDescriptor(int descriptor, bool forWriting, int timeout_ms) {
  pollfd wanted{descriptor, static_cast<short>(forWriting ? POLLOUT : POLLIN), 0};
  return poll(&wanted, 1, timeout_ms) > 0;
}

DescriptorConnection::~DescriptorConnection() {
  if (m_owned) close(m_descriptor);
}

std::size_t DescriptorConnection::read(std::span<std::uint8_t> bytes, int timeout_ms) {
  if (!awaitDescriptor(m_descriptor, false, timeout_ms)) return 0;
  const ssize_t n = ::read(m_descriptor, bytes.data(), bytes.size());
  if (n > 0) return static_cast<std::size_t>(n);
  if (n == 0) throw StreamEnded();
  if (errno == EINTR || errno == EAGAIN) return 0;
  throw ConnectionError(std::string("cannot be read: ") + std::strerror(errno));
}

void DescriptorConnection::write(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    if (!awaitDescriptor(m_descriptor, true, kWriteTimeout_ms))
      throw ConnectionError("takes nothing for two seconds");
    const ssize_t n = ::write(m_descriptor, bytes.data(), bytes.size());
    if (n >= 0) bytes = bytes.subspan(static_cast<std::size_t>(n));
    else if (errno != EINTR && errno != EAGAIN)
      throw ConnectionError(std::string("cannot be written: ") + std::strerror(errno));
  }
}

std::unique_ptr<Connection> openFile(const StreamUrl& url, bool forOutput) {
  if (url.scheme == StreamScheme::standard)
    return std::make_unique<DescriptorConnection>(forOutput ? STDOUT_FILENO : STDIN_FILENO, false);
  if (!forOutput) return std::make_unique<FileConnection>(url.path);
  const int descriptor = open(url.path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (descriptor < 0) throw ConnectionError(std::string("cannot be written: ") + std::strerror(errno));
  return std::make_unique<DescriptorConnection>(descriptor, true);
}

std::unique_ptr<Connection> openConnection(const StreamUrl& url, const LinkContext& context) {
  switch (url.scheme) {
    case StreamScheme::ntrip:
    case StreamScheme::ntrips:
      return openNtrip(url, context);
    case StreamScheme::tcp:
      return connectTcp(url.host, url.port, false, "", context.stop);
    case StreamScheme::tcpListen:
      return listenTcp(url);
    case StreamScheme::serial:
      return openSerial(url);
    case StreamScheme::file:
    case StreamScheme::standard:
      break;
  }
  return openFile(url, context.forOutput);
}

}  // namespace gnx
