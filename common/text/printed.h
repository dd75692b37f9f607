#pragma once
/// \file printed.h
/// Formatted text as a string.

#include <string>

namespace gnx {

/// As printf; of any length.
[[gnu::format(printf, 1, 2)]] std::string printed(const char* format, ...);

}  // namespace gnx
