#pragma once
/// \file statistics.h
/// What a run achieved, as numbers: availability, errors against a reference, convergence, fixing, time.
///
/// Errors are position minus reference in the local east, north, up axes of the reference point, metres.
/// Only epochs with a solution enter them. Without a reference the mean position of the last part of
/// the run takes its place, and the figures mean repeatability.

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "gnx/geodesy.h"
#include "run/solution.h"

namespace gnx {

/// Mean, deviation about the mean (n-1), root mean square about zero, largest absolute value.
struct SeriesStatistics {
  std::size_t count = 0;
  double mean = 0.0, deviation = 0.0, rms = 0.0, largest = 0.0;
};
SeriesStatistics describeSeries(const std::vector<double>& values);

/// Value below which the share `p` (0..1) of the values lies, linear between neighbours; 0 for none.
double quantile(std::vector<double> values, double p);

/// Errors over a stretch of the run, metres.
struct ErrorStatistics {
  SeriesStatistics east, north, up;
  double horizontalRms = 0.0, spatialRms = 0.0;
};

struct RunSummary {
  std::size_t epochs = 0, solved = 0;
  GpsTime begin, end;     ///< of all epochs
  double interval = 0.0;  ///< median step, s
  double satellitesMean = 0.0;
  int satellitesMin = 0, satellitesMax = 0;
  double sigma0Median = 0.0, sigma0Min = 0.0, sigma0Max = 0.0;

  bool againstReference = false;  ///< false: errors are about the run's own mean
  ErrorStatistics whole;
  std::optional<ErrorStatistics> afterHour;  ///< from one hour behind the first solution
  std::optional<ErrorStatistics> tail;       ///< last 12 h, or the last half of a run under 24 h
  double tailSeconds = 0.0;

  /// Seconds from the first solution to the moment after which the horizontal error (10 cm) and the
  /// absolute vertical error (20 cm) stay below the limit to the end; nothing when they never do.
  std::optional<double> horizontalConvergence, verticalConvergence;

  double fixedShare = 0.0;         ///< of the solved epochs, 0..1
  std::optional<double> firstFix;  ///< seconds from the first epoch

  std::size_t timed = 0;  ///< epochs with a measured time, without the first
  double firstMilliseconds = 0.0, medianMilliseconds = 0.0, p99Milliseconds = 0.0, maxMilliseconds = 0.0;
};

/// Position minus reference, m.
struct PositionError {
  GpsTime time;
  Vector3 enu{};
  bool fixed = false;
};

/// Of the errors from a time on.
ErrorStatistics describeErrors(const std::vector<PositionError>& errors, const GpsTime& from);

/// Reference of a moving receiver: its position at a time, nothing outside the known stretch.
using ReferencePath = std::function<std::optional<std::array<double, 3>>(const GpsTime&)>;

/// Errors of the solved epochs against a reference.
std::vector<PositionError> positionErrors(const std::vector<SolutionEpoch>& epochs,
                                          const ReferencePath& reference);

RunSummary summariseRun(const std::vector<SolutionEpoch>& epochs,
                        const std::optional<std::array<double, 3>>& reference = std::nullopt);
RunSummary summariseRun(const std::vector<SolutionEpoch>& epochs, const ReferencePath& reference);

/// The place that stands in for a missing reference: the mean position of the last part of the run.
std::array<double, 3> meanOfTail(const std::vector<SolutionEpoch>& epochs);

/// "90 s", "12.5 min", "3.00 h"; "never" for nothing.
std::string duration(const std::optional<double>& seconds);

/// The summary as aligned text for a terminal, lines ended.
std::string formatSummary(const RunSummary& summary);

}  // namespace gnx
