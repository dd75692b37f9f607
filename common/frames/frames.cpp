// Frames over a socket.

#include "frames/frames.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "gnx/error.h"

namespace gnx {

namespace {

constexpr std::uint32_t kLargest = 1U << 30;

}  // namespace

void FrameReader::raw(void* data, std::size_t size) {
  if (size > m_bytes.size())
    throw EngineError("a frame is shorter than its content; host and worker are of different builds");
  if (size > 0) std::memcpy(data, m_bytes.data(), size);
  m_bytes.remove_prefix(size);
}

std::size_t FrameReader::length() {
  std::uint32_t n = 0;
  get(n);
  if (n > m_bytes.size())
    throw EngineError("a frame is shorter than its content; host and worker are of different builds");
  return n;
}

FrameChannel::~FrameChannel() { close(); }

void FrameChannel::close() {
  if (m_descriptor >= 0) ::close(m_descriptor);
  m_descriptor = -1;
}

bool FrameChannel::sendAll(const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t n = ::send(m_descriptor, data, size, MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data += n;
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

bool FrameChannel::receiveAll(char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t n = ::recv(m_descriptor, data, size, 0);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data += n;
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

bool FrameChannel::sendFrame(std::uint32_t kind, const std::string& content) {
  const FrameHead head{kind, static_cast<std::uint32_t>(content.size())};
  return sendAll(reinterpret_cast<const char*>(&head), sizeof head) &&
         sendAll(content.data(), content.size());
}

bool FrameChannel::receiveFrame(std::uint32_t& kind, std::string& content) {
  FrameHead head;
  if (!receiveAll(reinterpret_cast<char*>(&head), sizeof head) || head.size > kLargest) return false;
  kind = head.kind;
  content.resize(head.size);
  return receiveAll(content.data(), content.size());
}

}  // namespace gnx
