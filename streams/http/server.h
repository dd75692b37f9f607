#pragma once
/// \file server.h
/// A few read-only pages and streams of events over HTTP, in a thread of their own. Clients are few, pages
/// have little time and those who watch events lose what they do not take, so that none of them matters to
/// the run.

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include "http/page_events.h"
#include "http/request.h"
#include "link/listening_socket.h"

namespace gnx {

class HttpServer {
 public:
  using Page = std::function<HttpAnswer()>;

  /// \param place   "HOST:PORT", "[::1]:PORT", or "PORT" on this machine alone
  /// \param pages   by path; called from the server's thread
  /// \param events  by path; they must outlive this. Who comes when too many watch gets the event "full"
  /// \throws UsageError for a place that cannot be listened on
  HttpServer(const std::string& place, std::map<std::string, Page> pages,
             std::map<std::string, PageEvents*> events = {});
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;
  int port() const { return m_socket.port(); }

 private:
  struct Client;
  void run();
  void beat(const std::vector<Client>& clients);
  void answer(const HttpRequest& request, const std::vector<Client>& clients, Client& client) const;
  HttpAnswer pageOf(const HttpRequest& request) const;
  bool receive(const std::vector<Client>& clients, Client& client) const;
  static bool send(Client& client);

  ListeningSocket m_socket;
  std::map<std::string, Page> m_pages;
  std::map<std::string, PageEvents*> m_events;
  std::atomic<bool> m_stop{false};
  std::thread m_thread;
};

}  // namespace gnx
