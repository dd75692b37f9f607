#pragma once
/// \file batch_record.h
/// What a finished run leaves for the batch: which inputs and options it had, how it ended, and its row of
/// the batch's table. A run that has a record of the same inputs and options is done.

#include <json/json.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "batch/batch_plan.h"

namespace gnx {

struct BatchRecord {
  std::vector<std::string> basis;          ///< program, options, size and time of change of every input
  int status = 0;                          ///< as the run's exit status, 128 and the signal that ended it
  std::string message;                     ///< its last words, "" when it went well
  double seconds = 0.0;                    ///< that it took
  Json::Value figures{Json::objectValue};  ///< by column of the table

  /// Whether it need not be run again while its basis stays: failures may have other causes than inputs.
  bool isDone() const;
};

/// \param before  record of the run whose state it goes on with, null for none
std::vector<std::string> basisOf(const BatchRun& run, const BatchRecord* before);

/// Columns of figures, in order.
const std::vector<std::string>& figureColumns();
/// From what the run has written; empty when it has not come to its end.
Json::Value figuresOf(const BatchRun& run);

/// The file appears whole or not at all. \throws InputError
void writeRecord(const std::filesystem::path& directory, const BatchRecord& record);
/// Nothing when there is none, or a damaged one.
std::optional<BatchRecord> readRecord(const std::filesystem::path& directory);

}  // namespace gnx
