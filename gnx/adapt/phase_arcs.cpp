// Counts discontinuities of phase biases and shifts phases to begin new arcs.

#include "gnx/adapt.h"

namespace gnx {

void PhaseArcs::note(const SatName& sat, const std::string& signal, int counter) {
  if (counter < 0) return;
  const std::lock_guard lock(mutex_);
  const auto [entry, fresh] = arcs_.try_emplace({sat, signal}, Arc{counter, false});
  if (fresh || entry->second.counter == counter) return;
  entry->second = {counter, !entry->second.shifted};
}

double PhaseArcs::shift(const SatName& sat, const std::string& signal) const {
  constexpr double kShift = 1000.0;
  const std::lock_guard lock(mutex_);
  const auto entry = arcs_.find({sat, signal});
  return entry != arcs_.end() && entry->second.shifted ? kShift : 0.0;
}

}  // namespace gnx
