#pragma once
/// \file page.h
/// The HTML of a report.

#include <string>
#include <vector>

#include "report/analysis.h"
#include "report/figures.h"
#include "run/run_files.h"

namespace gnx {

/// A whole page, style included; it refers to nothing outside itself.
std::string htmlPage(const RunFiles& run, const RunAnalysis& analysis, const std::vector<Figure>& figures);

/// Text with the characters that mean something in HTML replaced.
std::string escapeHtml(const std::string& text);

}  // namespace gnx
