#pragma once
/// \file fields.h
/// Numbers, columns and words of text records.

#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

namespace gnx {

/// The part of a line from column `start` (0-based), at most `width` characters; shorter or empty
/// where the line ends.
inline std::string_view column(std::string_view line, std::size_t start, std::size_t width) {
  return start < line.size() ? line.substr(start, width) : std::string_view{};
}

std::string_view trim(std::string_view text);
/// Words between blanks.
void split(std::string_view line, std::vector<std::string_view>& words);

/// As std::from_chars of a double, to the last bit; what tables hold, some digits and a point, in a fifth of
/// its time.
std::from_chars_result readNumber(const char* first, const char* last, double& value);

/// A finite number; blanks around it, a leading plus and the exponent letters e, E, d, D are
/// accepted. Nothing for blank or damaged text.
std::optional<double> parseReal(std::string_view text);
std::optional<int> parseInt(std::string_view text);

}  // namespace gnx
