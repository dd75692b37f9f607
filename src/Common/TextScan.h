#pragma once
/// \file TextScan.h
/// Reading of columns, words and numbers from text that is already in memory. Numbers have the
/// form of the C locale whatever locale the host has set, and are finite: "nan" and "inf" are no
/// numbers. All views point into the text given.

#include <string>
#include <string_view>

namespace tarvio {

/// Whole file into `content`; false when it cannot be opened or read.
bool s_readFile(const std::string& path, std::string& content);
/// Cuts the next line off `text`, without line feed and carriage return; false at the end.
bool s_nextLine(std::string_view& text, std::string_view& line);
/// Cuts the next word off `text`; empty at the end.
std::string_view s_nextWord(std::string_view& text);
/// Cuts the next number off `text` after blanks; false, and `text` as it was, when none stands there.
bool s_nextNumber(std::string_view& text, double& value);
bool s_nextNumber(std::string_view& text, int& value);
/// Reads up to n numbers from the start of `text`, as "%lf%lf..." does. \return how many; the rest
/// of `values` is left alone
int s_scanNumbers(std::string_view text, double* values, int n);
int s_scanNumbers(std::string_view text, int* values, int n);
/// Columns [first, first + n) of a line, shorter or empty where the line ends before.
std::string_view s_columns(std::string_view line, std::size_t first, std::size_t n);
/// Without blanks, tabs and line ends at both ends.
std::string_view s_trimmed(std::string_view text);

}  // namespace tarvio
