// A queue between the threads of sources and the run.

#include "flow/arrival_queue.h"

#include <utility>

namespace gnx {

void ArrivalQueue::add(Arrival arrival) {
  m_bytes += arrival.bytes.size();
  m_arrivals.push_back(std::move(arrival));
  m_news.notify_one();
  if (m_bell) m_bell();
}

bool ArrivalQueue::push(Arrival arrival) {
  const std::lock_guard lock(m_mutex);
  if (m_bytes + arrival.bytes.size() > m_most) return false;
  add(std::move(arrival));
  return true;
}

std::optional<Arrival> ArrivalQueue::pop(std::chrono::milliseconds timeout) {
  std::unique_lock lock(m_mutex);
  if (!m_news.wait_for(lock, timeout, [this] { return !m_arrivals.empty(); })) return std::nullopt;
  Arrival arrival = std::move(m_arrivals.front());
  m_arrivals.pop_front();
  m_bytes -= arrival.bytes.size();
  m_room.notify_one();
  return arrival;
}

}  // namespace gnx
