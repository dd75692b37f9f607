#pragma once
/// \file Patterns.h
/// File names from patterns: words between brackets stand for parts of an epoch.
///
///     [SITE]_[YYYY][DDD][HH].pos   ->   ESBC_202017709.pos
///
/// Words: Y, YY, YYYY year (last digit, two, four), DDD day of year, HH hour, MM minute, WWWW and GPSW
/// GPS week, WWWWD week and day of week, MJD, and the station word. A pattern has no way to hold a
/// bracket of its own.
///
/// The table of patterns is a text file. Below a line with the word "mirva_file_name" every line holds a
/// keyword and its pattern; the block ends with a line of another kind. Blank lines and lines that begin
/// with '!' or '#' count for nothing.

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace tarvio {

class Patterns {
 public:
  static constexpr int kMaxPatterns = 128;        ///< pairs that the table holds
  static constexpr std::size_t kMaxLength = 256;  ///< characters of a keyword and of a pattern
  static constexpr const char* kBlock = "mirva_file_name";

  /// Reads the table. Ends the process when the file cannot be opened, has no block, or holds too many
  /// pairs. \param file  its name; what is longer than kMaxLength is cut
  void readFile(const std::string& file);
  /// The same for callers that must go on. \return what is wrong with the file; "" when it was read
  std::string m_load(const std::string& file);
  int m_count() const { return static_cast<int>(m_pairs.size()); }

  /// The name of a file at an epoch. A keyword that the table does not hold, or a word that no pattern
  /// knows, ends the process.
  /// \param index    position in the table, or -1 to look for the keyword
  /// \param station  the station's name, or a word of its own as "WORD=text"
  /// \param mjd, sod  GPS time
  void m_getPatternName(int index, const std::string& keyword, const std::string& station, int mjd,
                        double sod, std::string& name) const;

  /// The pattern of a keyword; null when the table does not hold it.
  const std::string* m_pattern(const std::string& keyword) const;

  /// Expands one pattern. \return false, with the first unknown word in `word`, when it holds one
  static bool s_expand(std::string_view pattern, const std::string& station, int mjd, double sod,
                       std::string& name, std::string& word);
  /// The words of a pattern; "SITE" stands for the station.
  static std::vector<std::string> s_words();

 private:
  struct Pair {
    std::string keyword, pattern;
  };
  std::vector<Pair> m_pairs;
};

/// Looks through a file of lines "keyword" or "keyword = value", from its beginning, for the first line of a
/// keyword. What stands behind '!' or '#' is a remark. The stream then stands behind that line.
/// \param value  the text; "EMPTY" when the line has none; without such a line `fallback`, or "EMPTY" when
///               that is empty too
/// \return whether there is such a line
bool findkey(std::istream& in, std::string_view keyword, const std::string& fallback, std::string& value);

}  // namespace tarvio
