#pragma once
/// \file diagnostics.h
/// Lines of "diagnostics.log", in which the engine tells the details of a run: residuals, zenith delays,
/// clocks, levels and integers of ambiguity resolution.

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gnx/records.h"

namespace gnx {

/// Walks over the lines that carry a time: "TAG mjd seconds-of-day station ...". Damaged lines, such as the
/// last one of a run that broke off, are passed over.
class DiagnosticsReader {
 public:
  explicit DiagnosticsReader(const std::filesystem::path& file) : m_in(file) {}

  bool opened() const { return m_in.is_open(); }
  /// False at the end of the file.
  bool next();

  std::string_view tag() const { return m_words[0]; }
  const GpsTime& time() const { return m_time; }
  /// Words of the line, the tag being number 0.
  std::size_t size() const { return m_words.size(); }
  std::string_view word(std::size_t i) const { return m_words[i]; }
  /// Nothing for a word that is absent or is not a number.
  std::optional<double> real(std::size_t i) const;
  std::optional<int> whole(std::size_t i) const;

 private:
  bool takeLine();

  std::ifstream m_in;
  std::string m_line;
  std::vector<std::string_view> m_words;
  GpsTime m_time;
};

}  // namespace gnx
