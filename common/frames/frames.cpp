// Frames over a socket.

#include "frames/frames.h"

#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "gnx/error.h"

namespace gnx {

namespace {

constexpr std::uint32_t kLargest = 1U << 30;
constexpr std::size_t kRoom = 16384;         ///< bytes that are taken over at a time
constexpr std::size_t kMostPosted = 262144;  ///< bytes that wait for a frame to go with

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

/// Takes what has arrived already, which may be several frames, with one call.
bool FrameChannel::receiveAll(char* data, std::size_t size) {
  while (size > 0) {
    if (!holdsBytes()) {
      m_arrived.resize(kRoom);
      const ssize_t n = ::recv(m_descriptor, m_arrived.data(), kRoom, 0);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) return false;
      m_begin = 0;
      m_end = static_cast<std::size_t>(n);
    }
    const std::size_t taken = std::min(size, m_end - m_begin);
    std::memcpy(data, m_arrived.data() + m_begin, taken);
    m_begin += taken;
    data += taken;
    size -= taken;
  }
  return true;
}

bool FrameChannel::sendFrame(std::uint32_t kind, const std::string& content) {
  FrameHead head{kind, static_cast<std::uint32_t>(content.size())};
  iovec parts[3] = {{m_posted.data(), m_posted.size()},
                    {&head, sizeof head},
                    {const_cast<char*>(content.data()), content.size()}};
  msghdr message{};
  message.msg_iov = m_posted.empty() ? parts + 1 : parts;
  message.msg_iovlen = m_posted.empty() ? 2 : 3;
  while (message.msg_iovlen > 0) {
    const ssize_t n = ::sendmsg(m_descriptor, &message, MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    auto sent = static_cast<std::size_t>(n);
    while (message.msg_iovlen > 0 && sent >= message.msg_iov->iov_len) {
      sent -= message.msg_iov->iov_len;
      ++message.msg_iov;
      --message.msg_iovlen;
    }
    if (message.msg_iovlen == 0) break;
    message.msg_iov->iov_base = static_cast<char*>(message.msg_iov->iov_base) + sent;
    message.msg_iov->iov_len -= sent;
  }
  m_posted.clear();
  return true;
}

bool FrameChannel::postFrame(std::uint32_t kind, const std::string& content) {
  const FrameHead head{kind, static_cast<std::uint32_t>(content.size())};
  if (m_posted.size() + sizeof head + content.size() > kMostPosted) return sendFrame(kind, content);
  m_posted.append(reinterpret_cast<const char*>(&head), sizeof head);
  m_posted += content;
  return true;
}

bool FrameChannel::receiveFrame(std::uint32_t& kind, std::string& content) {
  FrameHead head;
  if (!receiveAll(reinterpret_cast<char*>(&head), sizeof head) || head.size > kLargest) return false;
  kind = head.kind;
  content.resize(head.size);
  return receiveAll(content.data(), content.size());
}

}  // namespace gnx
