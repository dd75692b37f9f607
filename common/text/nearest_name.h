#pragma once
/// \file nearest_name.h
/// Which of some names was meant by one that is none of them.

#include <string>
#include <vector>

namespace gnx {

/// The name that the fewest changed, missing or additional letters make; "" when that takes more than a third
/// of the word.
std::string nearestName(const std::string& word, const std::vector<std::string>& names);

}  // namespace gnx
