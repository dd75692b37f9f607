// Keeps the last events for those who watch.

#include "http/page_events.h"

#include <utility>

namespace gnx {

namespace {

constexpr std::size_t kKept_bytes = 1 << 20, kPiece_bytes = 1 << 16;

}  // namespace

std::string eventText(std::string_view name, std::string_view data) {
  std::string text = "event: " + std::string(name) + "\n";
  while (data.ends_with('\n')) data.remove_suffix(1);
  while (true) {
    const std::size_t end = data.find('\n');
    text += "data: ";
    text += data.substr(0, end);
    text += '\n';
    if (end == std::string_view::npos) break;
    data.remove_prefix(end + 1);
  }
  return text + '\n';
}

PageEvents::PageEvents(Made greeting, Made beat) : m_greeting(std::move(greeting)), m_beat(std::move(beat)) {}

void PageEvents::send(std::string_view name, std::string_view data) { add(eventText(name, data)); }

void PageEvents::add(std::string text) {
  const std::lock_guard lock(m_mutex);
  m_bytes += text.size();
  m_events.push_back(std::move(text));
  for (; m_bytes > kKept_bytes && m_events.size() > 1; ++m_first) {
    m_bytes -= m_events.front().size();
    m_events.pop_front();
  }
}

std::string PageEvents::greet(std::uint64_t& next) const {
  {
    const std::lock_guard lock(m_mutex);
    next = m_first + m_events.size();
  }
  return m_greeting ? m_greeting() : std::string();
}

std::string PageEvents::read(std::uint64_t& next) const {
  const std::lock_guard lock(m_mutex);
  std::string text;
  if (next < m_first) {
    text = eventText("lost", std::to_string(m_first - next));
    next = m_first;
  }
  for (; next < m_first + m_events.size() && text.size() < kPiece_bytes; ++next)
    text += m_events[static_cast<std::size_t>(next - m_first)];
  return text;
}

/// A line of remark where there is nothing to tell, so that a client that is gone is noticed.
void PageEvents::beat() {
  std::string text = m_beat ? m_beat() : std::string();
  add(text.empty() ? ":\n\n" : std::move(text));
}

}  // namespace gnx
