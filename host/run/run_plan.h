#pragma once
/// \file run_plan.h
/// All that the worker process needs to know, handed over as "run.json" in the run directory.

#include <array>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "gnx/records.h"

namespace gnx {

struct RunPlan {
  std::vector<std::string> obs, nav;            ///< RINEX files
  std::vector<std::string> sp3, clk, bia, ssr;  ///< corrections: products or SSR text
  std::vector<std::string> orbex, ionex;        ///< attitudes of satellites, maps of the ionosphere
  std::string availability;                     ///< delivery times of SSR blocks, "" = at once
  bool broadcastOnly = false;                   ///< zero corrections on broadcast orbits
  bool wideLaneBiases = false;                  ///< phase biases from the clock file's wide-lanes
  bool resolution = false;                      ///< the deployment resolves integers
  bool massCentre = true;                       ///< and refers each frequency to the centre of mass
  bool mixedProducts = false;                   ///< integers even from products of different solutions
  double sparseClocks_s = 60.0;  ///< clocks further apart fix integers at their own epochs alone
  std::string mode = "static";
  double interval = 30.0;  ///< s
  bool patterns = true;    ///< antenna patterns are taken off the observations
  double cutoffDeg = 7.0;
  std::array<double, 3> position{};                   ///< a-priori, m; zero = unknown
  bool headerPosition = false;                        ///< take the observation header's
  std::string antenna, receiver;                      ///< "" = take the observation header's
  std::optional<std::array<double, 3>> antennaDelta;  ///< east, north, up, m
  std::map<char, std::string> bands;                  ///< band digits by system letter
  std::map<char, std::vector<std::string>> signals;   ///< forced signals
  std::vector<std::string> excluded;                  ///< satellites never handed over
  std::optional<GpsTime> from, to;
  std::string diagnostics;  ///< output options of the engine, "" = none
  bool storeFiles = false;  ///< what the engine's stores hold at the end is written
  double details = 300.0;   ///< s between epochs with residuals for the report, 0 = none
  std::optional<std::array<double, 3>> reference;  ///< true position of the marker, m; not for the engine
  std::string referenceFile;                       ///< true path of a moving receiver (CSV), "" = none
};

void writeRunPlan(const std::filesystem::path& file, const RunPlan& plan);
/// Throws InputError.
RunPlan readRunPlan(const std::filesystem::path& file);

}  // namespace gnx
