#pragma once
/// \file station_result.h
/// What a run says about its station: the final coordinate with its 95 % ellipse, frame and epoch.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "gnx/geodesy.h"
#include "run/run_plan.h"
#include "run/solution.h"

namespace gnx {

/// The coordinate of a station that stands still, from the last solved epoch.
struct StationResult {
  std::string station;                  ///< word of the marker
  std::string frame;                    ///< "IGb14"; of the orbits
  GpsTime time;                         ///< of the coordinate
  Vector3 position{};                   ///< marker, earth-fixed, m
  int status = 0;                       ///< of the epoch, as in solution.csv
  std::size_t epochs = 0;               ///< with a solution
  bool hasSigmas = false;               ///< the engine told a covariance
  Vector3 sigma{};                      ///< east, north, up, m
  double major_m = 0.0, minor_m = 0.0;  ///< semi-axes of the ellipse of 95 %
  double azimuth_deg = 0.0;             ///< of the major one, from north to east, 0 to 180
  double height95_m = 0.0;              ///< half the interval of 95 %
};

/// Nothing for a receiver that may move, and without a solution.
std::optional<StationResult> stationResult(const RunPlan& plan, const std::vector<SolutionEpoch>& epochs);

/// Year with its fraction, as coordinates have it: 2020.4809.
double yearOf(const GpsTime& time);

/// The frame of the orbits in words.
std::string frameOf(const RunPlan& plan);

/// For a terminal, lines ended.
std::string formatStation(const StationResult& result);

/// One row with column names, to be joined with those of other runs. \throws InputError
void writeStationTable(const std::filesystem::path& file, const StationResult& result);

}  // namespace gnx
