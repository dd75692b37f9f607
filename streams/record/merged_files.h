#pragma once
/// \file merged_files.h
/// Several files as streams that run side by side, at a pace.

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

#include "record/timed_file.h"

namespace gnx {

/// The pieces of several files in order of time; of the same time those of lower rank first.
class MergedFiles {
 public:
  void add(int source, int rank, TimedFile file);
  /// False at the end.
  bool next(Arrival& arrival);

 private:
  struct Track {
    int source = 0, rank = 0;
    TimedFile file;
    Arrival next;
    bool ended = false;
  };
  std::vector<Track> m_tracks;
  bool m_begun = false;
};

/// Keeps a run to the times of what it is fed.
class Pace {
 public:
  /// \param speed  1 as recorded, 10 ten times as fast, 0 as fast as possible
  explicit Pace(double speed) : m_speed(speed) {}
  /// Waits until a time has come, or `stop` says that nobody waits.
  void await(const GpsTime& t, const std::function<bool()>& stop);

 private:
  double m_speed;
  std::optional<GpsTime> m_first;
  std::chrono::steady_clock::time_point m_begun{};
};

}  // namespace gnx
