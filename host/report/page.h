#pragma once
/// \file page.h
/// The HTML of a report, filled into the templates of host/report/page.

#include <string>
#include <vector>

#include "report/analysis.h"
#include "report/figures.h"
#include "run/run_files.h"

namespace gnx {

/// A whole page, style included; it refers to nothing outside itself.
std::string htmlPage(const RunFiles& run, const RunAnalysis& analysis, const std::vector<Figure>& figures);

}  // namespace gnx
