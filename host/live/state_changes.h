#pragma once
/// \file state_changes.h
/// When a run gained and lost its fix or its position, and why.

#include <deque>
#include <string>

#include "gnx/solution.h"

namespace gnx {

/// What a user acts on: a float position and one of wide-lanes are the same here.
enum class Standing { none, position, fixed };
Standing standingOf(SolutionState state);

struct StateChange {
  GpsTime time;
  SolutionState from = SolutionState::none, to = SolutionState::none;
  double lasted_s = 0.0;  ///< what was before; 0 at the first epoch
  std::string why;        ///< it is no higher; "" for a gain of the fix
};

/// The last changes of a run.
class StateChanges {
 public:
  void take(const Solution& solution);
  /// The newest first.
  const std::deque<StateChange>& last() const { return m_last; }
  std::int64_t count() const { return m_count; }

 private:
  std::deque<StateChange> m_last;
  std::int64_t m_count = 0;
  bool m_begun = false;
  SolutionState m_state = SolutionState::none;
  GpsTime m_since;
};

}  // namespace gnx
