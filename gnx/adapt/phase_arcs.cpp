// Follows phase biases: adds what they change to the phases, and shifts phases to begin new arcs.

#include "gnx/adapt.h"
#include "gnx/signal.h"

namespace gnx {

double PhaseArcs::note(const SatName& sat, const std::string& signal, double bias_m, int counter) {
  if (counter < 0 || !carrierFrequency(sat[0], signal[0])) return bias_m;
  const std::lock_guard lock(mutex_);
  const auto [entry, fresh] = arcs_.try_emplace({sat, signal}, Arc{counter, false, bias_m, 0.0});
  Arc& arc = entry->second;
  if (!fresh && arc.counter != counter) arc = {counter, !arc.shifted, bias_m, 0.0};
  arc.change_m = bias_m - arc.first_m;
  return arc.first_m;
}

double PhaseArcs::shift(const SatName& sat, const std::string& signal) const {
  constexpr double kShift = 1000.0;
  const std::lock_guard lock(mutex_);
  const auto entry = arcs_.find({sat, signal});
  if (entry == arcs_.end()) return 0.0;
  const Arc& arc = entry->second;
  const double change = arc.change_m * *carrierFrequency(sat[0], signal[0]) / kLightSpeed;
  return change + (arc.shifted ? kShift : 0.0);
}

}  // namespace gnx
