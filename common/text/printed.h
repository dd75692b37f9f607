#pragma once
/// \file printed.h
/// Formatted text as a string.

#include <string>
#include <string_view>

namespace gnx {

/// As printf; of any length.
[[gnu::format(printf, 1, 2)]] std::string printed(const char* format, ...);
/// 'text'
std::string inQuotes(std::string_view text);

}  // namespace gnx
