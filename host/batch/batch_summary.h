#pragma once
/// \file batch_summary.h
/// What a batch has given: one table (batch.csv, batch.json) and one page.

#include <filesystem>
#include <string>
#include <vector>

#include "batch/batch.h"

namespace gnx {

/// How many runs ended how.
struct BatchCount {
  std::size_t good = 0, partial = 0, failed = 0, missing = 0;
};
BatchCount countOf(const BatchResult& result);

/// "good", "no or partial result", "bad input", "engine failed", "ended by a signal", "not run"
std::string outcomeOf(const std::optional<BatchRecord>& record);

/// Writes batch.csv, batch.json and batch.html. \throws InputError
void writeBatchSummary(const std::filesystem::path& directory, const std::vector<BatchRun>& runs,
                       const BatchResult& result);

}  // namespace gnx
