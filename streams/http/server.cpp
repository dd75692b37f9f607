// Serves pages and events.

#include "http/server.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
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

constexpr std::size_t kMostClients = 32, kMostWatchers = 24;  ///< the rest stays for pages
constexpr auto kPatience = std::chrono::seconds(5);           ///< with a client, from its coming to its going
constexpr auto kWatcherPatience = std::chrono::seconds(30);   ///< with one that takes no event
constexpr auto kBeat = std::chrono::seconds(1);
constexpr int kLook_ms = 100;
constexpr int kSystemBuffer_bytes = 1 << 17;  ///< of a watcher: what is told late is not worth more

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

bool comesLater() { return errno == EAGAIN || errno == EINTR; }

}  // namespace

struct HttpServer::Client {
  int descriptor = -1;
  Clock::time_point until;
  std::string head, out;               ///< received, to be sent
  const PageEvents* events = nullptr;  ///< watched
  std::uint64_t next = 0;              ///< event
  bool answered = false;
};

HttpServer::HttpServer(const std::string& place, std::map<std::string, Page> pages,
                       std::map<std::string, PageEvents*> events)
    : m_socket(listenAt(place)),
      m_pages(std::move(pages)),
      m_events(std::move(events)),
      m_thread([this] { run(); }) {}

HttpServer::~HttpServer() {
  m_stop = true;
  m_thread.join();
}

HttpAnswer HttpServer::pageOf(const HttpRequest& request) const {
  const auto page = m_pages.find(request.path);
  if (page != m_pages.end()) return page->second();
  std::string known;
  for (const auto& [path, made] : m_pages) known += path + "\n";
  for (const auto& [path, events] : m_events) known += path + "\n";
  return {404, "text/plain; charset=utf-8", "there are\n" + known};
}

void HttpServer::answer(const HttpRequest& request, const std::vector<Client>& clients,
                        Client& client) const {
  client.answered = true;
  const bool withBody = request.method != "HEAD";
  const auto events = m_events.find(request.path);
  if (withBody && request.method != "GET") {
    client.out = httpText({405, "text/plain", "pages are read\n"}, true);
  } else if (events == m_events.end()) {
    client.out = httpText(pageOf(request), withBody);
  } else if (std::ranges::count_if(clients, [](const Client& c) { return c.events != nullptr; }) >=
             static_cast<std::ptrdiff_t>(kMostWatchers)) {
    // A browser does not show a page the status of events that are refused.
    client.out = httpEventsHead() + (withBody ? eventText("full", std::to_string(kMostWatchers)) : "");
  } else {
    client.out = httpEventsHead();
    if (!withBody) return;
    client.events = events->second;
    client.out += client.events->greet(client.next);
    client.until = Clock::now() + kWatcherPatience;
    setsockopt(client.descriptor, SOL_SOCKET, SO_SNDBUF, &kSystemBuffer_bytes, sizeof kSystemBuffer_bytes);
  }
}

/// \return whether the client stays
bool HttpServer::receive(const std::vector<Client>& clients, Client& client) const {
  char bytes[2048];
  const ssize_t n = recv(client.descriptor, bytes, sizeof bytes, MSG_DONTWAIT);
  if (n <= 0) return n < 0 && comesLater();
  if (client.answered) return false;  // it has nothing more to say
  client.head.append(bytes, static_cast<std::size_t>(n));
  HttpRequest request;
  const HttpProgress progress = parseHttpRequest(client.head, request);
  if (progress == HttpProgress::complete) answer(request, clients, client);
  if (progress == HttpProgress::damaged) {
    client.answered = true;
    client.out = httpText({400, "text/plain", "no request\n"}, true);
  }
  return true;
}

/// \return whether the client stays
bool HttpServer::send(Client& client) {
  const ssize_t n =
      ::send(client.descriptor, client.out.data(), client.out.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  if (n < 0) return comesLater();
  client.out.erase(0, static_cast<std::size_t>(n));
  if (client.events == nullptr) return !client.out.empty();
  client.until = Clock::now() + kWatcherPatience;
  return true;
}

void HttpServer::beat(const std::vector<Client>& clients) {
  for (const auto& [path, events] : m_events)
    if (std::ranges::any_of(clients, [&, of = events](const Client& c) { return c.events == of; }))
      events->beat();
}

void HttpServer::run() {
  std::vector<Client> clients;
  Clock::time_point nextBeat = Clock::now();
  while (!m_stop) {
    if (Clock::now() >= nextBeat) {
      beat(clients);
      nextBeat = Clock::now() + kBeat;
    }
    std::vector<pollfd> wanted{{m_socket.descriptor(), POLLIN, 0}};
    for (Client& c : clients) {
      if (c.events != nullptr && c.out.empty()) c.out = c.events->read(c.next);
      const int news = c.out.empty() || c.events != nullptr ? POLLIN : 0;
      wanted.push_back({c.descriptor, static_cast<short>(news | (c.out.empty() ? 0 : POLLOUT)), 0});
    }
    poll(wanted.data(), wanted.size(), kLook_ms);
    for (std::size_t i = 0; i < clients.size(); ++i) {
      Client& c = clients[i];
      const short ready = wanted[i + 1].revents;
      bool stays = Clock::now() < c.until;
      if (stays && (ready & ~POLLOUT) != 0) stays = receive(clients, c);
      if (stays && (ready & POLLOUT) != 0) stays = send(c);
      if (!stays) close(std::exchange(c.descriptor, -1));
    }
    std::erase_if(clients, [](const Client& c) { return c.descriptor < 0; });
    const int client = (wanted[0].revents & POLLIN) != 0 ? m_socket.accept(0) : -1;
    if (client >= 0 && clients.size() < kMostClients)
      clients.push_back({client, Clock::now() + kPatience, {}, {}, nullptr, 0, false});
    else if (client >= 0) close(client);
  }
  for (const Client& c : clients) close(c.descriptor);
}

}  // namespace gnx
