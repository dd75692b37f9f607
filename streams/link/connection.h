#pragma once
/// \file connection.h
/// A way on which bytes come and go, once it is open.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

#include "link/credentials.h"
#include "link/stream_url.h"

namespace gnx {

/// A connection could not be made or has ended; a sentence without an end.
class ConnectionError : public std::runtime_error {
 public:
  explicit ConnectionError(const std::string& what) : std::runtime_error(what) {}
};

/// A connection that brings no more, in order: the end of a file.
class StreamEnded : public std::runtime_error {
 public:
  StreamEnded() : std::runtime_error("ends") {}
};

class Connection {
 public:
  virtual ~Connection() = default;
  /// Bytes that have come within the time, 0 for none. \throws ConnectionError, StreamEnded
  virtual std::size_t read(std::span<std::uint8_t> bytes, int timeout_ms) = 0;
  /// Sends all of it. \throws ConnectionError, also when the other side takes nothing for two seconds
  virtual void write(std::span<const std::uint8_t> bytes) = 0;
  void write(const std::string& text) {
    write({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  }
};

/// What a connection is made with.
struct LinkContext {
  const Credentials& credentials;
  const std::atomic<bool>& stop;  ///< ends the waiting for a connection
  bool forOutput = false;
  int ntripVersion = 2;  ///< where the URL does not say it
  std::string gga{};     ///< position for a caster that asks for one, "" = not known
};

/// Opens what a URL names. \throws ConnectionError, UsageError
std::unique_ptr<Connection> openConnection(const StreamUrl& url, const LinkContext& context);

// ---- kinds ----

/// To a host; with TLS its certificate is verified. `authority`: a file of certificates beside the system's,
/// "" = none.
std::unique_ptr<Connection> connectTcp(const std::string& host, int port, bool tls,
                                       const std::string& authority, const std::atomic<bool>& stop);
/// Waits for a client on a port; serves one at a time.
std::unique_ptr<Connection> listenTcp(const StreamUrl& url);
std::unique_ptr<Connection> openSerial(const StreamUrl& url);
/// Standard input or output, a file, plain or packed when it is read.
std::unique_ptr<Connection> openFile(const StreamUrl& url, bool forOutput);
/// A stream of a caster.
std::unique_ptr<Connection> openNtrip(const StreamUrl& url, const LinkContext& context);

/// Waits until a descriptor may be read (or written). False when the time is over.
bool awaitDescriptor(int descriptor, bool forWriting, int timeout_ms);
/// A descriptor that does not block, read and written by poll.
class DescriptorConnection : public Connection {
 public:
  /// \param owned  closed with this
  DescriptorConnection(int descriptor, bool owned) : m_descriptor(descriptor), m_owned(owned) {}
  ~DescriptorConnection() override;
  DescriptorConnection(const DescriptorConnection&) = delete;
  DescriptorConnection& operator=(const DescriptorConnection&) = delete;
  std::size_t read(std::span<std::uint8_t> bytes, int timeout_ms) override;
  void write(std::span<const std::uint8_t> bytes) override;

 private:
  int m_descriptor;
  bool m_owned;
};

}  // namespace gnx
