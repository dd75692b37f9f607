#pragma once
/// \file ComString.h
/// Text helpers on plain character arrays and the cleaning of configuration values.

#include <string>

namespace tarvio {

/// Skips leading blanks, tabs, line feeds; copies up to the first '!', '#' or end; trims. Returns dst.
char* excludeAnnoValue(char* dst, const char* src);
/// The same into a string.
std::string excludeAnnoValue(const std::string& src);
/// Whether a text contains a word. Both are short, as names and configured values are, and asked for by every
/// observation: the library's search costs more than it finds.
constexpr bool s_contains(const char* text, const char* word) {
  for (; *text != '\0'; ++text) {
    int i = 0;
    while (word[i] != '\0' && text[i] == word[i]) ++i;
    if (word[i] == '\0') return true;
  }
  return *word == '\0';
}
/// False when the value contains "NONE".
constexpr bool validConfig(const char* s) { return !s_contains(s, "NONE"); }
/// The text without blanks, tabs and line feeds.
std::string zipJson(const std::string& s);
/// Copies at most n-1 characters and terminates.
void s_copyText(char* dst, int n, const char* src);
template <int N>
void s_copyText(char (&dst)[N], const char* src) {
  s_copyText(dst, N, src);
}
template <int N>
void s_copyText(char (&dst)[N], const std::string& src) {
  s_copyText(dst, N, src.c_str());
}

char* trim(char* s);  ///< removes blanks, tabs, CR, LF at both ends, in place
char* left_justify_string(char* s);
int len_trim(const char* s);  ///< length without trailing blanks
char* toUpper(char* s);
char* toLower(char* s);
bool isUpperLetter(char c);
/// Characters [start, start+n) of src; an out-of-range stretch gives "".
void substringEx(char* dst, const char* src, int start, int n);
/// Splits the part of `line` between two marks (' ' = start, end of line) at `separator` into rows
/// of `width` characters. With `flag` an empty field gives a row "  ".
void split_string(bool flag, const char* line, char begin, char end, char separator, int* count, char* table,
                  int width);
void fillobs(char* line, int nfield, int width, double version);
void filleph(char* line, double version);

}  // namespace tarvio
