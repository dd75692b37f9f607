#pragma once
/// \file analysis.h
/// The figures of merit of a run beyond its summary: every error, residuals by system, wrong fixes.

#include <array>
#include <map>
#include <optional>
#include <vector>

#include "report/integer_check.h"
#include "report/run_events.h"
#include "report/system_order.h"
#include "run/run_files.h"
#include "run/statistics.h"

namespace gnx {

/// Fixed epochs held against the reference.
struct FixCheck {
  std::size_t fixed = 0;
  std::size_t wrong = 0;  ///< off by more than kWrongFix_m in space
  std::size_t loose = 0;  ///< off by more than kLooseFix_m horizontally
  double worst = 0.0;     ///< m, of the fixed epochs
  Vector3 rms{};          ///< of the fixed epochs: east, north, up, m
};
inline constexpr double kWrongFix_m = 0.10, kLooseFix_m = 0.03;

/// Residuals of one system.
struct ResidualStatistics {
  std::size_t phases = 0, codes = 0;
  double phaseRms = 0.0, codeRms = 0.0;          ///< m
  double phaseLargest = 0.0, codeLargest = 0.0;  ///< m
};

struct RunAnalysis {
  RunSummary summary;
  bool moving = false;                ///< the reference is a path
  bool wanders = false;               ///< the receiver moves, and nobody knows its true path
  std::optional<Vector3> reference;   ///< point: the given one, or the mean of the last part of the run
  std::vector<PositionError> errors;  ///< of the solved epochs with a reference
  FixCheck fixes;                     ///< of `errors`; without a true reference nothing is wrong
  IntegerCheck integers;              ///< with the truth that lies beside simulated observations
  std::map<char, ResidualStatistics, SystemOrder> residuals;
  RunEvents events;
};

/// `reference` goes before what the run stored.
RunAnalysis analyseRun(const RunFiles& run, const std::optional<std::array<double, 3>>& reference);

FixCheck checkFixes(const std::vector<PositionError>& errors);
/// Fixed epochs, their errors and integers as lines of text, empty when nothing was fixed.
std::string formatFixes(const RunAnalysis& analysis);
std::map<char, ResidualStatistics, SystemOrder> describeResiduals(const std::vector<Residual>& residuals);

}  // namespace gnx
