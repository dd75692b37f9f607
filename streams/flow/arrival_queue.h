#pragma once
/// \file arrival_queue.h
/// Bytes of all sources in the order in which they came; of bounded size.

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "gnx/time.h"

namespace gnx {

/// Bytes of a source, and when they came. Without bytes: the clock has come to that time.
struct Arrival {
  int source = -1;
  GpsTime time;
  std::vector<std::uint8_t> bytes;
};

class ArrivalQueue {
 public:
  /// \param bell  called when something has come, from the thread that brings it
  explicit ArrivalQueue(std::size_t mostBytes = std::size_t{16} << 20, std::function<void()> bell = {})
      : m_most(mostBytes), m_bell(std::move(bell)) {}

  /// False when there is no room: the bytes are lost.
  bool push(Arrival arrival);
  /// Waits for room until `stop` says that nobody waits any longer.
  template <class Stop>
  void pushWhenRoom(Arrival arrival, const Stop& stop) {
    std::unique_lock lock(m_mutex);
    while (m_bytes + arrival.bytes.size() > m_most && !stop()) m_room.wait_for(lock, kLook);
    add(std::move(arrival));
  }
  /// The next one; nothing when none has come within the time.
  std::optional<Arrival> pop(std::chrono::milliseconds timeout);

 private:
  static constexpr std::chrono::milliseconds kLook{100};
  void add(Arrival arrival);

  std::size_t m_most, m_bytes = 0;
  std::function<void()> m_bell;
  std::mutex m_mutex;
  std::condition_variable m_news, m_room;
  std::deque<Arrival> m_arrivals;
};

}  // namespace gnx
