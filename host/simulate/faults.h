#pragma once
/// \file faults.h
/// What goes wrong in a simulation, on purpose and at known times.
///
/// A list in JSON, times in seconds from the start of the simulation:
///
///     [{"kind": "slip",      "sat": "G05", "signal": "1C", "from": 3600, "size": 7},
///      {"kind": "gap",       "sat": "E11", "from": 1800, "to": 2100},
///      {"kind": "code",      "sat": "G07", "signal": "1C", "from": 900, "to": 900, "size": 30.0},
///      {"kind": "phase",     "sat": "G07", "from": 960, "to": 990, "size": 0.5},
///      {"kind": "ssr_gap",   "from": 5000, "to": 5400},
///      {"kind": "ssr_clock", "sat": "E03", "from": 4000, "to": 4600, "size": 0.8},
///      {"kind": "bias_drift", "from": 2700, "size": 0.3}]
///
/// Without "sat" a fault strikes all satellites, without "signal" all signals, without "to" it strikes
/// at the one moment (slips and biases last). Both ends count.

#include <filesystem>
#include <string>
#include <vector>

#include "gnx/records.h"

namespace gnx {

struct Fault {
  enum class Kind {
    slip,          ///< phase jumps by `size` whole cycles and stays; the loss-of-lock indicator stays silent
    gap,           ///< no observations
    code,          ///< range wrong by `size` m
    phase,         ///< phase wrong by `size` cycles
    ssrGap,        ///< no orbit, clock and bias corrections
    ssrClock,      ///< clock correction wrong by `size` m
    ssrOrbitGap,   ///< no orbit and clock corrections, biases go on
    ssrPhaseGap,   ///< no phase biases
    ssrPhaseSign,  ///< phase biases sent with the wrong sign
    ssrPhaseRandom,  ///< phase biases sent wrong by a constant of each signal, up to `size`/2 cycles either
                     ///< way
    biasJump,        ///< true phase bias of each signal jumps, normal with sigma `size` cycles; not in the
                     ///< corrections
    biasDrift,       ///< the same, growing from `from` to `to`, sigma `size` cycles an hour
  };
  Kind kind = Kind::gap;
  SatName sat;                  ///< "" = all
  std::string signal;           ///< "" = all
  double from = 0.0, to = 0.0;  ///< s from the start
  double size = 0.0;
};

class FaultList {
 public:
  FaultList() = default;
  explicit FaultList(std::vector<Fault> faults) : m_faults(std::move(faults)) {}
  /// \throws InputError with the number of the entry.
  static FaultList read(const std::filesystem::path& file);

  bool strikes(Fault::Kind kind, const SatName& sat, double seconds) const;
  /// Sum of the sizes that act at a time.
  double size(Fault::Kind kind, const SatName& sat, const std::string& signal, double seconds) const;
  /// Sigma of the change of true phase biases up to a time, cycles.
  double biasChange(const SatName& sat, const std::string& signal, double seconds) const;
  /// Cycles that the slips up to a time have added.
  double slippedCycles(const SatName& sat, const std::string& signal, double seconds) const;

 private:
  std::vector<Fault> m_faults;
};

}  // namespace gnx
