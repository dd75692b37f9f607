#pragma once
/// \file blq.h
/// Light index of an ocean loading file in the BLQ layout: which sites it holds.

#include <optional>
#include <string>
#include <vector>

namespace gnx {

struct BlqSite {
  std::string name;                           ///< as written, up to 24 characters
  std::optional<double> longitude, latitude;  ///< degrees, from the comment with "lon/lat:"
  long line = 0;
};

/// Reads the index and checks that every site has its six rows of eleven numbers.
/// Throws InputError for damage.
std::vector<BlqSite> readBlqIndex(const std::string& path);

}  // namespace gnx
