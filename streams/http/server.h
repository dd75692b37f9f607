#pragma once
/// \file server.h
/// A few read-only pages over HTTP, in a thread of their own. Clients are few and have little time, so that
/// none of them matters to the run.

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include "http/request.h"
#include "link/listening_socket.h"

namespace gnx {

class HttpServer {
 public:
  using Page = std::function<HttpAnswer()>;

  /// \param place  "HOST:PORT", "[::1]:PORT", or "PORT" on this machine alone
  /// \param pages  by path; called from the server's thread
  /// \throws UsageError for a place that cannot be listened on
  HttpServer(const std::string& place, std::map<std::string, Page> pages);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;
  int port() const { return m_socket.port(); }

 private:
  void run();
  HttpAnswer answer(const HttpRequest& request) const;

  ListeningSocket m_socket;
  std::map<std::string, Page> m_pages;
  std::atomic<bool> m_stop{false};
  std::thread m_thread;
};

}  // namespace gnx
