// Counts what streams bring and how long they are silent.

#include "live/stream_watch.h"

#include <algorithm>

namespace gnx {

namespace {

constexpr double kGap_s = 10.0;

std::int64_t secondOf(StreamWatch::Clock::time_point t) {
  return std::chrono::duration_cast<std::chrono::seconds>(t.time_since_epoch()).count();
}

}  // namespace

void StreamWatch::take(const RecordedEvent& event, Clock::time_point now) {
  const Arrival& arrival = event.arrival;
  if (event.kind == RecordedEvent::Kind::begin) {
    Stream& begun = m_streams[arrival.source] = {};
    begun.state.name = event.source.name;
    begun.state.roles = event.source.roles;
    begun.begun = now;
    return;
  }
  const auto found = m_streams.find(arrival.source);
  if (found == m_streams.end()) return;
  if (event.kind == RecordedEvent::Kind::end) {
    m_streams.erase(found);
    return;
  }
  if (arrival.bytes.empty()) return;
  Stream& s = found->second;
  const double silent_s = s.heard ? arrival.time - *s.heard : 0.0;
  if (silent_s > kGap_s) {
    ++s.state.gaps;
    s.state.longestGap_s = std::max(s.state.longestGap_s, silent_s);
  }
  s.heard = arrival.time;
  s.last = now;
  const auto size = static_cast<std::int64_t>(arrival.bytes.size());
  s.state.bytes += size;
  const std::int64_t second = secondOf(now);
  const auto slot = static_cast<std::size_t>(second) % s.second.size();
  if (s.second[slot] != second) s.second[slot] = second, s.bytes[slot] = 0;
  s.bytes[slot] += size;
}

/// Over whole seconds: the one that has not ended counts for the next look.
double StreamWatch::rateOf(const Stream& s, Clock::time_point now) {
  const std::int64_t second = secondOf(now);
  const std::int64_t since = std::max(second - static_cast<std::int64_t>(kRateSeconds), secondOf(s.begun));
  if (second <= since) return 0.0;
  std::int64_t sum = 0;
  for (std::size_t i = 0; i < s.second.size(); ++i)
    if (s.second[i] >= since && s.second[i] < second) sum += s.bytes[i];
  return static_cast<double>(sum) / static_cast<double>(second - since);
}

std::vector<StreamState> StreamWatch::states(Clock::time_point now) const {
  std::vector<StreamState> states;
  for (const auto& [number, s] : m_streams) {
    StreamState state = s.state;
    state.bytesPerSecond = rateOf(s, now);
    if (s.heard) state.silent_s = std::chrono::duration<double>(now - s.last).count();
    states.push_back(std::move(state));
  }
  return states;
}

}  // namespace gnx
