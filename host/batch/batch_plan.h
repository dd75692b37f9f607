#pragma once
/// \file batch_plan.h
/// Which runs a batch has: stations and days of its table, or of observation files as they lie in a folder.
///
/// Values that name files may hold the words of file names ([SITE], [YYYY], [DDD] ...), which are expanded
/// for station and day, and wildcards (* and ?).

#include <filesystem>
#include <string>
#include <vector>

#include "batch/batch_table.h"

namespace gnx {

/// One station on one day.
struct BatchRun {
  std::string station;
  GpsTime day;                      ///< its beginning
  std::filesystem::path directory;  ///< of its results
  std::vector<std::string> words;   ///< options of 'gnx replay', without --out
  std::vector<std::string> inputs;  ///< files that they name
  std::string fault;                ///< why it cannot be run, a sentence; "" = it can
};

/// The runs of all rows by station and day, each in STATION/YYYYDDD of a directory.
/// \throws InputError, UsageError
std::vector<BatchRun> planBatch(const std::vector<BatchRow>& rows, const BatchOptions& common,
                                const ArityOf& arityOf, const std::filesystem::path& directory);

}  // namespace gnx
