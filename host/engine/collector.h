#pragma once
/// \file collector.h
/// What the worker process sends, as it comes: its standard output into "engine.log" and solutions, its
/// records into times and the account.

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "gnx/account.h"
#include "run/solution.h"

namespace gnx {

/// One epoch as the worker saw it.
struct EpochRecord {
  GpsTime time;
  double milliseconds = 0.0;
  int satellites = 0;
  double ratio = 0.0;                  ///< of the integer search
  std::array<double, 6> covariance{};  ///< as in SolutionEpoch
  double share = 0.0;                  ///< of the observation files read so far, 0..1
};

using EpochListener = std::function<void(const EpochRecord&, std::size_t epochs)>;

class Collector {
 public:
  /// \param onEpoch  told of every epoch of the observation files and how many there were; may be empty
  /// \throws InputError when the log cannot be written
  Collector(const std::filesystem::path& dir, EpochListener onEpoch);

  /// A line of the worker's standard output.
  void output(std::string_view line);
  /// A line of its records: an epoch, or a part of the account.
  void record(std::string_view line);
  /// Behind the last line: gives every solution what its record tells.
  void complete();

  std::vector<SolutionEpoch> epochs;
  std::vector<std::string> lastLines;  ///< the last ones that are no solutions
  RunAccount account;
  std::size_t read = 0;  ///< epochs of the observation files

 private:
  std::vector<EpochRecord> records_;
  std::ofstream log_;
  EpochListener onEpoch_;
};

}  // namespace gnx
