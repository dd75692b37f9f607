#pragma once
/// \file page_events.h
/// Server-sent events: what happens, told to all who watch, in the order of its coming.
///
/// The last events are kept once, in a ring of bounded size that every client reads at its own pace. Whoever
/// falls behind the oldest one loses events and is told how many; whoever sends them never waits.

#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

namespace gnx {

/// An event as it is sent; the data may have several lines.
std::string eventText(std::string_view name, std::string_view data);

class PageEvents {
 public:
  using Made = std::function<std::string()>;

  /// Both are called from the thread of the server and give events in the form of eventText.
  /// \param greeting  what a client gets first
  /// \param beat      for all clients, once a second
  explicit PageEvents(Made greeting = {}, Made beat = {});

  /// From any thread.
  void send(std::string_view name, std::string_view data);

  // ---- for the server ----

  /// What a new client gets first. \param next  the place of that client in the stream
  std::string greet(std::uint64_t& next) const;
  /// What a client at `next` has not had yet, not more than some 64 KB at a time; "" when it has everything.
  std::string read(std::uint64_t& next) const;
  /// A second has passed and somebody watches.
  void beat();

 private:
  void add(std::string text);

  Made m_greeting, m_beat;
  mutable std::mutex m_mutex;
  std::deque<std::string> m_events;
  std::uint64_t m_first = 0;  ///< number of the oldest that is kept
  std::size_t m_bytes = 0;
};

}  // namespace gnx
