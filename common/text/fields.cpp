// Cuts columns and words out of lines and turns them into numbers, or says what is wrong.

#include "text/fields.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>

namespace gnx {

namespace {
bool isBlank(char c) { return c == ' ' || c == '\t'; }
}  // namespace

std::string_view trim(std::string_view text) {
  std::size_t first = 0, end = text.size();
  while (first < end && isBlank(text[first])) ++first;
  while (end > first && isBlank(text[end - 1])) --end;
  return text.substr(first, end - first);
}

void split(std::string_view line, std::vector<std::string_view>& words) {
  words.clear();
  std::size_t at = 0;
  while (true) {
    while (at < line.size() && isBlank(line[at])) ++at;
    if (at == line.size()) return;
    const std::size_t first = at;
    while (at < line.size() && !isBlank(line[at])) ++at;
    words.push_back(line.substr(first, at - first));
  }
}

std::optional<double> parseReal(std::string_view text) {
  text = trim(text);
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && text.front() == '-') return std::nullopt;
  }
  if (text.empty()) return std::nullopt;

  double value = 0.0;
  std::array<char, 40> copy;
  if (const std::size_t d = text.find_first_of("dD"); d != std::string_view::npos) {
    if (text.size() > copy.size()) return std::nullopt;
    std::copy(text.begin(), text.end(), copy.begin());
    copy[d] = 'e';
    text = {copy.data(), text.size()};
  }
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (end != text.data() + text.size()) return std::nullopt;
  // Numbers too small for a double are zero in effect; too large ones are damage.
  if (error == std::errc::result_out_of_range) {
    const std::size_t e = text.find_first_of("eE");
    if (e != std::string_view::npos && e + 1 < text.size() && text[e + 1] == '-') return 0.0;
    return std::nullopt;
  }
  if (error != std::errc{} || !std::isfinite(value)) return std::nullopt;
  return value;
}

std::optional<int> parseInt(std::string_view text) {
  text = trim(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace gnx
