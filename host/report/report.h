#pragma once
/// \file report.h
/// The report of a run: one HTML page that needs nothing besides itself.

#include <array>
#include <filesystem>
#include <optional>
#include <string>

namespace gnx {

struct ReportOptions {
  std::optional<std::array<double, 3>> reference;  ///< marker, m; without: what the run stored
  std::filesystem::path file;                      ///< "" = report.html in the run directory
  std::filesystem::path figures;                   ///< "" = none; folder for each figure as an SVG file
  std::string gnuplot;                             ///< program, "" = search PATH
};

/// Writes the page of the run in `directory`. \return its path
/// \throws InputError, UsageError (no gnuplot)
std::filesystem::path writeReport(const std::filesystem::path& directory, const ReportOptions& options);

}  // namespace gnx
