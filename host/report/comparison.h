#pragma once
/// \file comparison.h
/// Two runs of the same time held against each other: where they differ, since when, and what they were told
/// differently.

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "report/figures.h"
#include "run/run_files.h"
#include "run/statistics.h"

namespace gnx {

/// A setting of two runs; "" where one does not have it.
struct DifferentSetting {
  std::string name, first, second;
};

struct Comparison {
  std::size_t common = 0;                     ///< epochs of both
  std::size_t onlyFirst = 0, onlySecond = 0;  ///< solved by one
  /// Second minus first, east, north, up, m, of the epochs that both have solved; fixed: by both.
  std::vector<PositionError> differences;
  ErrorStatistics all;
  std::optional<ErrorStatistics> bothFixed;
  std::size_t fixedByFirst = 0, fixedBySecond = 0, fixedByBoth = 0;  ///< of `differences`
  std::optional<PositionError> largest;
  std::vector<DifferentSetting> settings;
};

/// \throws InputError when the runs have no epoch in common
Comparison compareRuns(const RunFiles& first, const RunFiles& second);

/// As lines of text.
std::string comparisonText(const RunFiles& first, const RunFiles& second, const Comparison& comparison);
/// As an HTML page with a figure over time that needs nothing besides itself.
std::string comparisonPage(const RunFiles& first, const RunFiles& second, const Comparison& comparison,
                           Gnuplot& plot);

}  // namespace gnx
