// Scans fields and numbers in the C locale, whatever the host has set.

#include "Common/TextScan.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <system_error>
#include <type_traits>

namespace tarvio {

namespace {

constexpr std::string_view kBlank = " \t\r\n\v\f";

template <class T>
bool s_cutNumber(std::string_view& text, T& value) {
  const std::size_t first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return false;
  std::string_view rest = text.substr(first);
  if (rest.front() == '+') rest.remove_prefix(1);  // from_chars knows no plus sign
  T number{};
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
  if (error != std::errc()) return false;
  if constexpr (std::is_floating_point_v<T>) {
    if (!std::isfinite(number)) return false;
  }
  value = number;
  text = rest.substr(static_cast<std::size_t>(end - rest.data()));
  return true;
}

template <class T>
int s_scan(std::string_view text, T* values, int n) {
  int count = 0;
  while (count < n && s_cutNumber(text, values[count])) ++count;
  return count;
}

}  // namespace

bool s_readFile(const std::string& path, std::string& content) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return false;
  file.seekg(0, std::ios::end);
  const std::streamoff size = file.tellg();
  file.seekg(0);
  if (!file || size < 0) return false;
  content.clear();
  // A directory opens and has a size, but cannot be read.
  constexpr std::streamoff kLargest = std::streamoff{1} << 32;
  if (size > kLargest) return false;
  content.resize(static_cast<std::size_t>(size));
  file.read(content.data(), size);
  return file.gcount() == size;
}

bool s_nextLine(std::string_view& text, std::string_view& line) {
  if (text.empty()) return false;
  const std::size_t end = text.find('\n');
  line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return true;
}

std::string_view s_nextWord(std::string_view& text) {
  const std::size_t first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return text = {};
  const std::size_t end = std::min(text.find_first_of(kBlank, first), text.size());
  const std::string_view word = text.substr(first, end - first);
  text.remove_prefix(end);
  return word;
}

bool s_nextNumber(std::string_view& text, double& value) { return s_cutNumber(text, value); }
bool s_nextNumber(std::string_view& text, int& value) { return s_cutNumber(text, value); }

int s_scanNumbers(std::string_view text, double* values, int n) { return s_scan(text, values, n); }
int s_scanNumbers(std::string_view text, int* values, int n) { return s_scan(text, values, n); }

std::string_view s_columns(std::string_view line, std::size_t first, std::size_t n) {
  return first < line.size() ? line.substr(first, n) : std::string_view();
}

std::string_view s_trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

}  // namespace tarvio
