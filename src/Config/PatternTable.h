#pragma once
/// \file PatternTable.h
/// Where a configuration keeps its file-name patterns.

#include <string>

namespace tarvio {

class Deploy;

/// The file of the table of patterns, key "predefine" of the table of data files; "" when there is none.
std::string s_patternFile(const Deploy& deploy);

}  // namespace tarvio
