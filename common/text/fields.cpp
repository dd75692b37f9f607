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

// A whole number below 2^53 and a power of ten up to 1e22 are exact as doubles, so that their quotient is the
// nearest double to the decimal number.
std::from_chars_result readNumber(const char* first, const char* last, double& value) {
  constexpr int kExactDigits = 15;
  static constexpr std::array<double, kExactDigits + 1> kPowers{1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                                1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  const char* p = first;
  const bool negative = p != last && *p == '-';
  if (negative) ++p;
  std::int64_t whole = 0;
  int digits = 0;
  const auto take = [&] {
    for (; p != last && *p >= '0' && *p <= '9' && digits <= kExactDigits; ++p, ++digits)
      whole = whole * 10 + (*p - '0');
  };
  take();
  int decimals = 0;
  if (digits > 0 && p != last && *p == '.') {
    ++p;
    const int before = digits;
    take();
    decimals = digits - before;
  }
  const bool more = p != last && (*p == 'e' || *p == 'E' || (*p >= '0' && *p <= '9'));
  if (digits == 0 || digits > kExactDigits || more) return std::from_chars(first, last, value);
  const double size = static_cast<double>(whole) / kPowers[static_cast<std::size_t>(decimals)];
  value = negative ? -size : size;
  return {p, std::errc{}};
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
  const auto [end, error] = readNumber(text.data(), text.data() + text.size(), value);
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
