#pragma once
/// \file position_history.h
/// Where a run has been, in bounded memory: the last epochs as they were, those before ever thinner, from the
/// first one on.

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "gnx/solution.h"

namespace gnx {

/// An epoch in the plane through the first position. Far from there `up` is the difference of ellipsoidal
/// heights, not the distance from that plane.
struct TrackPoint {
  GpsTime time;
  SolutionState state = SolutionState::none;
  double east_m = 0.0, north_m = 0.0, up_m = 0.0;  ///< without meaning for the state `none`
};
/// "[seconds, state, east, north, up]", or "[seconds, 0]" without a position.
std::string trackPointJson(const TrackPoint& point);

class PositionHistory {
 public:
  /// \param recent  so many epochs are kept as they were, and as many of all that came before
  explicit PositionHistory(std::size_t recent = 1500) : m_most(recent) {}

  TrackPoint add(const Solution& solution);
  /// In order of time.
  std::vector<TrackPoint> points() const;
  /// The first position; none before.
  const std::optional<Geodetic>& origin() const { return m_origin; }

 private:
  std::size_t m_most, m_stride = 1, m_count = 0;
  std::deque<TrackPoint> m_recent;
  std::vector<TrackPoint> m_old;  ///< every m_stride-th of those that have left m_recent
  std::optional<Geodetic> m_origin;
  Vector3 m_first{};
};

}  // namespace gnx
