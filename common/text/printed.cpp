// Text of any length by a printf format.

#include "text/printed.h"

#include <cstdarg>
#include <cstdio>

namespace gnx {

std::string printed(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  char brief[256];
  const int length = std::vsnprintf(brief, sizeof brief, format, arguments);
  va_end(arguments);
  std::string text(brief, length < 0                                        ? 0
                          : static_cast<std::size_t>(length) < sizeof brief ? static_cast<std::size_t>(length)
                                                                            : sizeof brief - 1);
  if (length >= static_cast<int>(sizeof brief)) {
    text.resize(static_cast<std::size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
  return text;
}

std::string inQuotes(std::string_view text) { return std::string(1, '\'').append(text).append(1, '\''); }

}  // namespace gnx
