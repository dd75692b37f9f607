// Events for those who watch: in order, from a bounded store, without waiting for anybody.

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>

#include "http/server.h"
#include "link/connection.h"

namespace gnx::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using Clock = std::chrono::steady_clock;

TEST(PageEvents, WhoFallsBehindIsToldHowManyEventsAreGone) {
  EXPECT_EQ(eventText("log", "a\nb\n"), "event: log\ndata: a\ndata: b\n\n");
  PageEvents events([] { return eventText("history", "[]"); });
  std::uint64_t early = 0, late = 0;
  EXPECT_EQ(events.greet(early), "event: history\ndata: []\n\n");
  events.send("epoch", "first");
  EXPECT_EQ(events.read(early), "event: epoch\ndata: first\n\n");
  EXPECT_EQ(events.read(early), "");

  const std::string large(100'000, 'x');
  for (int i = 0; i < 30; ++i) events.send("epoch", large);
  events.greet(late);
  EXPECT_EQ(events.read(late), "");
  const std::string rest = events.read(early);
  EXPECT_THAT(rest, StartsWith("event: lost\ndata: 20\n\nevent: epoch\n"));  // a megabyte holds ten
  EXPECT_LT(rest.size(), 2 * large.size());
  events.beat();
  EXPECT_EQ(events.read(late), ":\n\n");
}

/// A port that nobody listens on.
std::string freePort() { return std::to_string(ListeningSocket("127.0.0.1", 0).port()); }

struct Watcher {
  explicit Watcher(int port) : link(connectTcp("127.0.0.1", port, false, "", stop)) {
    link->write("GET /events HTTP/1.1\r\n\r\n");
  }
  /// Reads until the text has come; the end of what has been read.
  std::string readUntil(const std::string& wanted, double seconds = 10.0) {
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    std::vector<std::uint8_t> piece(1 << 20);
    try {
      while (text.find(wanted) == std::string::npos && Clock::now() < end) {
        const std::size_t n = link->read(piece, 100);
        text.append(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(n));
      }
    } catch (const std::runtime_error&) {
      text += "closed";
    }
    return text;
  }
  std::atomic<bool> stop{false};
  std::unique_ptr<Connection> link;
  std::string text;
};

TEST(PageEvents, ASlowClientLosesEventsAndHoldsUpNobody) {
  PageEvents events([] { return eventText("history", "[1]"); });
  HttpServer server(freePort(),
                    {{"/healthz",
                      [] {
                        return HttpAnswer{200, "text/plain", "ok\n"};
                      }}},
                    {{"/events", &events}});
  Watcher slow(server.port()), quick(server.port());
  ASSERT_THAT(slow.readUntil("[1]\n\n"), HasSubstr("Content-Type: text/event-stream\r\n"));
  ASSERT_THAT(quick.readUntil("[1]\n\n"), HasSubstr("default-src 'none'"));

  const std::string large(100'000, 'x');
  double longest_s = 0.0;
  for (int i = 0; i < 120; ++i) {
    const auto before = Clock::now();
    events.send("epoch", std::to_string(i) + large);
    longest_s = std::max(longest_s, std::chrono::duration<double>(Clock::now() - before).count());
    if (i % 8 != 7) continue;
    const std::string last = "data: " + std::to_string(i) + "x";
    EXPECT_NE(quick.readUntil(last).find(last), std::string::npos) << i;
    quick.text.clear();
  }
  EXPECT_LT(longest_s, 0.1);
  EXPECT_THAT(slow.readUntil("data: 119x"), HasSubstr("event: lost\ndata: "));
}

// Pages keep places that no watcher takes; a watcher that goes makes room.
TEST(PageEvents, WatchersLeaveRoomForPages) {
  PageEvents events([] { return eventText("history", "[1]"); });
  HttpServer server(freePort(),
                    {{"/healthz",
                      [] {
                        return HttpAnswer{200, "text/plain", "ok\n"};
                      }}},
                    {{"/events", &events}});
  std::vector<std::unique_ptr<Watcher>> watchers;
  for (int i = 0; i < 24; ++i) {
    watchers.push_back(std::make_unique<Watcher>(server.port()));
    ASSERT_THAT(watchers.back()->readUntil("[1]\n\n"), HasSubstr("200 OK"));
  }
  Watcher refused(server.port());
  EXPECT_THAT(refused.readUntil("closed"), HasSubstr("\r\n\r\nevent: full\ndata: 24\n\n"));
  std::atomic<bool> stop{false};
  const auto page = connectTcp("127.0.0.1", server.port(), false, "", stop);
  page->write("GET /healthz HTTP/1.1\r\n\r\n");
  std::vector<std::uint8_t> piece(4096);
  const std::size_t n = page->read(piece, 2000);
  EXPECT_THAT(std::string(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(n)), EndsWith("ok\n"));

  watchers.clear();
  std::string answer;
  for (int i = 0; i < 50 && answer.find("history") == std::string::npos; ++i)
    answer = Watcher(server.port()).readUntil("\n\n", 1.0);
  EXPECT_THAT(answer, HasSubstr("history"));
}

}  // namespace
}  // namespace gnx::test
