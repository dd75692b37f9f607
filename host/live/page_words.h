#pragma once
/// \file page_words.h
/// How pages of runs say lengths, times and states.

#include <optional>
#include <string>
#include <vector>

#include "gnx/solution.h"
#include "report/template.h"

namespace gnx {

std::string metres(double m);
std::string seconds(const std::optional<double>& s);
/// "no position", "fixed", ...
std::string wordOf(SolutionState state);
/// A state is told by its word, its mark and its colour.
Markup badge(SolutionState state);
/// The last lines of a log.
std::string logPart(const std::vector<std::string>& log);

}  // namespace gnx
