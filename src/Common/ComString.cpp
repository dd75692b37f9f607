// Splits, trims and copies text within its bounds.

#include "Common/ComString.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string_view>

namespace tarvio {

namespace {

bool s_isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::string_view s_trimmed(std::string_view s) {
  while (!s.empty() && s_isSpace(s.front())) s.remove_prefix(1);
  while (!s.empty() && s_isSpace(s.back())) s.remove_suffix(1);
  return s;
}

/// A value without its leading blanks and without the remark behind '!' or '#'.
std::string_view s_value(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\n')) s.remove_prefix(1);
  return s_trimmed(s.substr(0, s.find_first_of("!#")));
}

/// Puts a view back into the array that it looks into.
char* s_store(char* dst, std::string_view s) {
  std::memmove(dst, s.data(), s.size());
  dst[s.size()] = '\0';
  return dst;
}

/// Pads a fixed-column line with blanks to `count` fields of `width` from column `start` on, and
/// puts a '0' into each empty field, behind its first column so that it touches no neighbour.
void s_fillFields(char* line, int start, int count, int width) {
  const int full = start + count * width;
  int length = static_cast<int>(std::strlen(line));
  while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r')) --length;
  std::fill(line + length, line + std::max(length, full), ' ');
  line[std::max(length, full)] = '\0';
  for (int i = 0; i < count; ++i) {
    char* field = line + start + i * width;
    if (std::all_of(field, field + width, s_isSpace)) field[std::min(1, width - 1)] = '0';
  }
}

}  // namespace

char* excludeAnnoValue(char* dst, const char* src) { return s_store(dst, s_value(src)); }

std::string excludeAnnoValue(const std::string& src) { return std::string(s_value(src)); }

std::string zipJson(const std::string& s) {
  std::string out;
  out.reserve(s.size());
  std::copy_if(s.begin(), s.end(), std::back_inserter(out),
               [](char c) { return c != ' ' && c != '\t' && c != '\n'; });
  return out;
}

void s_copyText(char* dst, int n, const char* src) {
  if (n < 1) return;
  const std::size_t length = src == nullptr ? 0 : strnlen(src, static_cast<std::size_t>(n - 1));
  if (length > 0) std::memmove(dst, src, length);
  dst[length] = '\0';
}

char* trim(char* s) { return s_store(s, s_trimmed(s)); }

char* left_justify_string(char* s) {
  std::string_view rest(s);
  while (!rest.empty() && s_isSpace(rest.front())) rest.remove_prefix(1);
  return s_store(s, rest);
}

int len_trim(const char* s) {
  int n = static_cast<int>(std::strlen(s));
  while (n > 0 && s[n - 1] == ' ') --n;
  return n;
}

char* toUpper(char* s) {
  for (char* p = s; *p != '\0'; ++p) *p = static_cast<char>(std::toupper(static_cast<unsigned char>(*p)));
  return s;
}

char* toLower(char* s) {
  for (char* p = s; *p != '\0'; ++p) *p = static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
  return s;
}

bool isUpperLetter(char c) { return c >= 'A' && c <= 'Z'; }

void substringEx(char* dst, const char* src, int start, int n) {
  const int length = static_cast<int>(std::strlen(src));
  if (start < 0 || n < 0 || start > length || n > length - start) {
    dst[0] = '\0';
    return;
  }
  s_store(dst, std::string_view(src + start, static_cast<std::size_t>(n)));
}

void split_string(bool flag, const char* line, char begin, char end, char separator, int* count, char* table,
                  int width) {
  *count = 0;
  std::string_view text(line);
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.remove_suffix(1);
  if (begin != ' ') {
    const std::size_t at = text.find(begin);
    if (at == std::string_view::npos) return;
    text.remove_prefix(at + 1);
  }
  if (end != ' ') text = text.substr(0, text.find(end));

  for (std::size_t from = 0; from <= text.size();) {
    const std::size_t to = std::min(text.find(separator, from), text.size());
    const std::string_view field = text.substr(from, to - from);
    from = to + 1;
    if (field.empty() && !flag) continue;
    s_copyText(table + *count * width, width, field.empty() ? "  " : std::string(field).c_str());
    ++*count;
  }
}

void fillobs(char* line, int nfield, int width, double version) {
  s_fillFields(line, version > 3.0 ? 3 : 0, nfield, width);
}

void filleph(char* line, double version) {
  const int length = version >= 3.0 ? 80 : 79, start = version >= 3.0 ? 4 : 3, width = 19;
  s_fillFields(line, start, (length - start) / width, width);
}

}  // namespace tarvio
