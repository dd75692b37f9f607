// Merges files by time and waits for their times.

#include "record/merged_files.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace gnx {

void MergedFiles::add(int source, int rank, TimedFile file) {
  m_tracks.push_back({source, rank, std::move(file), {}, false});
}

bool MergedFiles::next(Arrival& arrival) {
  if (!std::exchange(m_begun, true))
    for (Track& track : m_tracks) track.ended = !track.file.next(track.next);
  Track* first = nullptr;
  for (Track& track : m_tracks) {
    const auto key = [](const Track& t) { return std::pair(t.next.time, t.rank); };
    if (!track.ended && (first == nullptr || key(track) < key(*first))) first = &track;
  }
  if (first == nullptr) return false;
  arrival = std::exchange(first->next, {});
  arrival.source = first->source;
  first->ended = !first->file.next(first->next);
  if (arrival.time == GpsTime{}) {  // there from the beginning
    std::optional<GpsTime> begin;
    for (const Track& track : m_tracks)
      if (!track.ended && track.next.time != GpsTime{})
        begin = std::min(begin.value_or(track.next.time), track.next.time);
    if (begin) arrival.time = *begin;
  }
  return true;
}

void Pace::await(const GpsTime& t, const std::function<bool()>& stop) {
  if (m_speed <= 0.0) return;
  if (!m_first) m_first = t, m_begun = std::chrono::steady_clock::now();
  const auto due = m_begun + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                 std::chrono::duration<double>((t - *m_first) / m_speed));
  constexpr auto kLook = std::chrono::milliseconds(100);
  while (!stop()) {
    const auto now = std::chrono::steady_clock::now();
    if (now >= due) return;
    std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(kLook, due - now));
  }
}

}  // namespace gnx
