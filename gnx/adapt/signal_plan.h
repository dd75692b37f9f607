#pragma once
/// \file signal_plan.h
/// Which signal of the receiver goes into each band of the engine, and under which name its biases
/// are found in the corrections.
///
/// The engine keeps one signal a band, and a code bias belongs to a signal: mixing C1C and C1W within
/// a system costs decimetres. So one signal a band is chosen for the whole run: the one to which the
/// corrections refer.

#include <map>
#include <set>
#include <string>
#include <vector>

#include "formats/records.h"

namespace gnx {

struct PlannedSignal {
  std::string code;   ///< signal of the pseudorange, "1W"; the name that the engine sees
  std::string phase;  ///< signal of the carrier phase, "1C" where the receiver gives no L1W
  std::string bias;   ///< its name in the corrections, "" when they carry none
};

class SignalPlan {
 public:
  struct Request {
    std::map<char, std::string> bands;                  ///< by system letter, band digits: "12"
    std::map<char, std::vector<std::string>> received;  ///< observation types of the file: "C1C"
    std::map<char, std::set<std::string>> corrected;    ///< signals with code biases; empty: products without
    std::map<char, std::vector<std::string>> forced;    ///< user's choice by system, "1W"
  };

  /// Throws UsageError when a forced signal is not in the file.
  explicit SignalPlan(const Request& request);

  /// Planned signals of a system letter, at most five.
  const std::vector<PlannedSignal>& of(char system) const;
  /// One line a system, for the log.
  std::string describe() const;
  /// Systems whose bands could not all be served, with the reason.
  const std::vector<std::string>& warnings() const { return warnings_; }

 private:
  void planSystem(char system, const Request& request);

  std::map<char, std::vector<PlannedSignal>> signals_;
  std::vector<std::string> warnings_;
};

/// Whether two signals of a band are data, pilot or combined forms of one another, so that their
/// carrier phases and code biases may stand for each other (1C and 1X of Galileo, 2L and 2X of GPS).
bool sameSignalFamily(char system, const std::string& a, const std::string& b);

}  // namespace gnx
