// Serves pages.

#include "http/server.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <utility>
#include <vector>

#include "gnx/error.h"
#include "link/connection.h"
#include "link/stream_url.h"

namespace gnx {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostClients = 32;
constexpr auto kPatience = std::chrono::seconds(5);  ///< with a client, from its coming to its going
constexpr int kLook_ms = 100;

struct Client {
  int descriptor = -1;
  Clock::time_point until;
  std::string head, answer;
};

ListeningSocket listenAt(const std::string& place) {
  const bool port = place.find(':') == std::string::npos;
  const StreamUrl url =
      parseStreamUrl("tcp-listen://" + (port || place.starts_with(':') ? "127.0.0.1" : std::string()) +
                     (port ? ":" : "") + place);
  try {
    return {url.host, url.port};
  } catch (const ConnectionError& e) {
    throw UsageError("--http " + place + " " + e.what());
  }
}

}  // namespace

HttpServer::HttpServer(const std::string& place, std::map<std::string, Page> pages)
    : m_socket(listenAt(place)), m_pages(std::move(pages)), m_thread([this] { run(); }) {}

HttpServer::~HttpServer() {
  m_stop = true;
  m_thread.join();
}

HttpAnswer HttpServer::answer(const HttpRequest& request) const {
  if (request.method != "GET" && request.method != "HEAD") return {405, "text/plain", "pages are read\n"};
  const auto page = m_pages.find(request.path);
  if (page != m_pages.end()) return page->second();
  std::string known;
  for (const auto& [path, made] : m_pages) known += path + "\n";
  return {404, "text/plain; charset=utf-8", "there are\n" + known};
}

void HttpServer::run() {
  std::vector<Client> clients;
  const auto receive = [&](Client& c) {
    char bytes[2048];
    const ssize_t n = recv(c.descriptor, bytes, sizeof bytes, MSG_DONTWAIT);
    if (n <= 0) return n < 0 && (errno == EAGAIN || errno == EINTR);
    c.head.append(bytes, static_cast<std::size_t>(n));
    HttpRequest request;
    const HttpProgress progress = parseHttpRequest(c.head, request);
    if (progress == HttpProgress::damaged) c.answer = httpText({400, "text/plain", "no request\n"}, true);
    if (progress == HttpProgress::complete) c.answer = httpText(answer(request), request.method != "HEAD");
    return true;
  };
  const auto send = [](Client& c) {
    const ssize_t n = ::send(c.descriptor, c.answer.data(), c.answer.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (n < 0) return errno == EAGAIN || errno == EINTR;
    c.answer.erase(0, static_cast<std::size_t>(n));
    return !c.answer.empty();
  };
  while (!m_stop) {
    std::vector<pollfd> wanted{{m_socket.descriptor(), POLLIN, 0}};
    for (const Client& c : clients)
      wanted.push_back({c.descriptor, static_cast<short>(c.answer.empty() ? POLLIN : POLLOUT), 0});
    poll(wanted.data(), wanted.size(), kLook_ms);
    for (std::size_t i = 0; i < clients.size(); ++i) {
      Client& c = clients[i];
      const bool ready = wanted[i + 1].revents != 0;
      const bool stays = Clock::now() < c.until && (!ready || (c.answer.empty() ? receive(c) : send(c)));
      if (!stays) close(std::exchange(c.descriptor, -1));
    }
    std::erase_if(clients, [](const Client& c) { return c.descriptor < 0; });
    const int client = (wanted[0].revents & POLLIN) != 0 ? m_socket.accept(0) : -1;
    if (client >= 0 && clients.size() < kMostClients)
      clients.push_back({client, Clock::now() + kPatience, {}, {}});
    else if (client >= 0) close(client);
  }
  for (const Client& c : clients) close(c.descriptor);
}

}  // namespace gnx
