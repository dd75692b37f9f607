// Follows phase biases: adds what they change to the phases, and shifts phases to begin new arcs.

#include <algorithm>
#include <cmath>
#include <utility>

#include "gnx/adapt.h"
#include "gnx/signal.h"

namespace gnx {

double PhaseArcs::note(const SatName& sat, const std::string& signal, double bias_m, int counter,
                       const GpsTime& t) {
  constexpr double kStep_m = 0.03, kRun_mps = 5e-4;  // that a bias takes between two runs of a host
  if (counter < 0 || !carrierFrequency(sat[0], signal[0])) return bias_m;
  const std::lock_guard lock(mutex_);
  const auto [entry, fresh] = state_.arcs.try_emplace({sat, signal}, Arc{counter, false, bias_m, 0.0, t, t});
  Arc& arc = entry->second;
  const bool taken = state_.unheard.erase({sat, signal}) > 0;
  const bool jumped =
      taken && std::fabs(bias_m - arc.first_m - arc.change_m) > kStep_m + kRun_mps * std::fabs(t - arc.last);
  if (!fresh && (arc.counter != counter || jumped)) arc = {counter, !arc.shifted, bias_m, 0.0, t, t};
  arc.change_m = bias_m - arc.first_m;
  arc.last = state_.newest[sat[0]] = t;
  return arc.first_m;
}

double PhaseArcs::shift(const SatName& sat, const std::string& signal) const {
  constexpr double kShift = 1000.0;
  const std::lock_guard lock(mutex_);
  const double turned = state_.turned.contains({sat, signal}) ? 2.0 * kShift : 0.0;
  const auto entry = state_.arcs.find({sat, signal});
  if (entry == state_.arcs.end()) return turned;
  const Arc& arc = entry->second;
  const double change = arc.change_m * *carrierFrequency(sat[0], signal[0]) / kLightSpeed;
  return change + (arc.shifted ? kShift : 0.0) + turned;
}

void PhaseArcs::begin(const SatName& sat, const std::string& signal) {
  const std::lock_guard lock(mutex_);
  if (const auto [at, fresh] = state_.turned.insert({sat, signal}); !fresh) state_.turned.erase(at);
}

PhaseArcs::State PhaseArcs::state() const {
  const std::lock_guard lock(mutex_);
  return state_;
}

void PhaseArcs::take(State state) {
  const std::lock_guard lock(mutex_);
  state_ = std::move(state);
  for (const auto& [name, arc] : state_.arcs) state_.unheard.insert(name);
}

/// Callers hold the lock.
bool PhaseArcs::running(char system) const {
  constexpr double kShortest_s = 120.0;  // steps of single sets are no drift
  constexpr double kSlow_mps = 1e-4;     // what a float ambiguity of an hour can bear is far below
  constexpr int kFewest = 4;
  double sum = 0.0;
  int n = 0;
  for (const auto& [name, arc] : state_.arcs) {
    if (name.first[0] != system || arc.last - arc.begin < kShortest_s) continue;
    sum += std::pow(arc.change_m / (arc.last - arc.begin), 2);
    ++n;
  }
  return n >= kFewest && std::sqrt(sum / n) > kSlow_mps;
}

bool PhaseArcs::adrift(const SatName& sat, const std::string& signal) const {
  constexpr double kOld_s = 60.0;
  const std::lock_guard lock(mutex_);
  const auto newest = state_.newest.find(sat[0]);
  if (newest == state_.newest.end() || !carrierFrequency(sat[0], signal[0])) return false;
  const auto entry = state_.arcs.find({sat, signal});
  if (entry != state_.arcs.end() && newest->second - entry->second.last <= kOld_s) return false;
  return running(sat[0]);
}

bool PhaseArcs::biasesRun() const {
  const std::lock_guard lock(mutex_);
  return std::any_of(state_.newest.begin(), state_.newest.end(),
                     [&](const auto& of) { return running(of.first); });
}

}  // namespace gnx
