#pragma once
/// \file listening_socket.h
/// A port on which clients are taken.

#include <string>

namespace gnx {

/// \param host  "" = every address of the machine
class ListeningSocket {
 public:
  /// \throws ConnectionError
  ListeningSocket(const std::string& host, int port);
  ~ListeningSocket();
  ListeningSocket(const ListeningSocket&) = delete;
  ListeningSocket& operator=(const ListeningSocket&) = delete;
  /// Descriptor of the next client, which does not block; -1 when none has come within the time.
  int accept(int timeout_ms) const;
  /// The port, also when 0 let the system choose one.
  int port() const;
  int descriptor() const { return m_descriptor; }

 private:
  int m_descriptor = -1;
};

}  // namespace gnx
