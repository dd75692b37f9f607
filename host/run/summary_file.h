#pragma once
/// \file summary_file.h
/// The summary of a run for programs, "summary.json".

#include <filesystem>

#include "run/station_result.h"
#include "run/statistics.h"

namespace gnx {

/// \param integers  "integers.json" of the run, taken over as the member "integers" when it is there
void writeSummaryFile(const std::filesystem::path& file, const RunSummary& summary,
                      const std::optional<StationResult>& station, const std::filesystem::path& integers);

}  // namespace gnx
