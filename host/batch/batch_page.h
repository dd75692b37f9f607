#pragma once
/// \file batch_page.h
/// The page of a batch: its stations, where they were day by day, and a row for every run.

#include <filesystem>
#include <string>
#include <vector>

#include "batch/batch.h"

namespace gnx {

/// \param directory  in which the page will lie: links to reports lead from there
std::string batchPage(const std::filesystem::path& directory, const std::vector<BatchRun>& runs,
                      const BatchResult& result);

}  // namespace gnx
