#pragma once
/// \file fields.h
/// Numbers, columns and words of text records.

#include <optional>
#include <string_view>
#include <vector>

#include "formats/records.h"

namespace gnx {

/// The part of a line from column `start` (0-based), at most `width` characters; shorter or empty
/// where the line ends.
inline std::string_view column(std::string_view line, std::size_t start, std::size_t width) {
  return start < line.size() ? line.substr(start, width) : std::string_view{};
}

std::string_view trim(std::string_view text);
/// Words between blanks.
void split(std::string_view line, std::vector<std::string_view>& words);

/// A finite number; blanks around it, a leading plus and the exponent letters e, E, d, D are
/// accepted. Nothing for blank or damaged text.
std::optional<double> parseReal(std::string_view text);
std::optional<int> parseInt(std::string_view text);

/// A satellite name; " 5" and "G 5" are read as GPS 5 and "G05". Nothing for number 0 or bad text.
std::optional<SatName> parseSat(std::string_view text);

/// A calendar reading whose parts are in range; second up to 60 inclusive (leap second).
std::optional<GpsTime> parseDate(std::optional<int> year, std::optional<int> month, std::optional<int> day,
                                 std::optional<int> hour, std::optional<int> minute,
                                 std::optional<double> second);

}  // namespace gnx
