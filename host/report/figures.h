#pragma once
/// \file figures.h
/// The figures of a report.

#include <string>
#include <vector>

#include "report/analysis.h"
#include "report/gnuplot.h"
#include "run/run_files.h"

namespace gnx {

struct Figure {
  std::string id;  ///< anchor in the page
  std::string title;
  std::string caption;
  std::string svg;
  bool square = false;  ///< narrow, stands beside another
};

/// Figures for which the run has data, in the order of the page.
std::vector<Figure> drawFigures(const RunFiles& run, const RunAnalysis& analysis, Gnuplot& plot);

/// Colour of a system in every figure and table.
const char* systemColor(char system);
const char* systemName(char system);

}  // namespace gnx
