// Follows phase biases: adds what they change to the phases, and shifts phases to begin new arcs.

#include <algorithm>
#include <cmath>

#include "gnx/adapt.h"
#include "gnx/signal.h"

namespace gnx {

double PhaseArcs::note(const SatName& sat, const std::string& signal, double bias_m, int counter,
                       const GpsTime& t) {
  if (counter < 0 || !carrierFrequency(sat[0], signal[0])) return bias_m;
  const std::lock_guard lock(mutex_);
  const auto [entry, fresh] = arcs_.try_emplace({sat, signal}, Arc{counter, false, bias_m, 0.0, t, t});
  Arc& arc = entry->second;
  if (!fresh && arc.counter != counter) arc = {counter, !arc.shifted, bias_m, 0.0, t, t};
  arc.change_m = bias_m - arc.first_m;
  arc.last = newest_[sat[0]] = t;
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

/// Callers hold the lock.
bool PhaseArcs::running(char system) const {
  constexpr double kShortest_s = 120.0;  // steps of single sets are no drift
  constexpr double kSlow_mps = 1e-4;     // what a float ambiguity of an hour can bear is far below
  constexpr int kFewest = 4;
  double sum = 0.0;
  int n = 0;
  for (const auto& [name, arc] : arcs_) {
    if (name.first[0] != system || arc.last - arc.begin < kShortest_s) continue;
    sum += std::pow(arc.change_m / (arc.last - arc.begin), 2);
    ++n;
  }
  return n >= kFewest && std::sqrt(sum / n) > kSlow_mps;
}

bool PhaseArcs::adrift(const SatName& sat, const std::string& signal) const {
  constexpr double kOld_s = 60.0;
  const std::lock_guard lock(mutex_);
  const auto newest = newest_.find(sat[0]);
  if (newest == newest_.end() || !carrierFrequency(sat[0], signal[0])) return false;
  const auto entry = arcs_.find({sat, signal});
  if (entry != arcs_.end() && newest->second - entry->second.last <= kOld_s) return false;
  return running(sat[0]);
}

bool PhaseArcs::biasesRun() const {
  const std::lock_guard lock(mutex_);
  return std::any_of(newest_.begin(), newest_.end(), [&](const auto& of) { return running(of.first); });
}

}  // namespace gnx
