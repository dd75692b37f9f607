// Notes when the standing of a run changes.

#include "live/state_changes.h"

namespace gnx {

namespace {

constexpr std::size_t kKept = 50;

}  // namespace

Standing standingOf(SolutionState state) {
  if (state == SolutionState::none) return Standing::none;
  return state == SolutionState::fixed ? Standing::fixed : Standing::position;
}

void StateChanges::take(const Solution& solution) {
  const bool changes = standingOf(solution.state) != standingOf(m_state);
  if (!m_begun) m_since = solution.time;
  m_begun = true;
  if (changes) {
    m_last.push_front({solution.time, m_state, solution.state, solution.time - m_since, solution.why});
    if (m_last.size() > kKept) m_last.pop_back();
    m_since = solution.time;
    ++m_count;
  }
  m_state = solution.state;
}

}  // namespace gnx
