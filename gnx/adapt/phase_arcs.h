#pragma once
/// \file phase_arcs.h
/// Arcs of carrier phase that have to begin anew because the phase bias of a satellite's signal has.
///
/// A provider counts the discontinuities of each phase bias: behind one, the integers of that signal are
/// others. The boundary has no call that ends an arc. What it offers is a slip: from the next epoch on the
/// host adds a thousand whole cycles to the signal's phase, or takes them off again, the engine finds the
/// jump and begins a new arc. Whole cycles leave everything else as it is.

#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "formats/records.h"

namespace gnx {

/// Written by the thread of the corrections, read by that of the epochs.
class PhaseArcs {
 public:
  /// Takes note of a signal's discontinuity counter, -1 when unknown.
  void note(const SatName& sat, const std::string& signal, int counter) {
    if (counter < 0) return;
    const std::lock_guard lock(mutex_);
    const auto [entry, fresh] = arcs_.try_emplace({sat, signal}, Arc{counter, false});
    if (fresh || entry->second.counter == counter) return;
    entry->second = {counter, !entry->second.shifted};
  }

  /// Whole cycles to be added to a signal's phase.
  double shift(const SatName& sat, const std::string& signal) const {
    constexpr double kShift = 1000.0;
    const std::lock_guard lock(mutex_);
    const auto entry = arcs_.find({sat, signal});
    return entry != arcs_.end() && entry->second.shifted ? kShift : 0.0;
  }

 private:
  struct Arc {
    int counter = 0;
    bool shifted = false;
  };
  mutable std::mutex mutex_;
  std::map<std::pair<SatName, std::string>, Arc> arcs_;
};

}  // namespace gnx
