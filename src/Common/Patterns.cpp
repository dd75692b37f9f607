// Expands words of file names and reads the table of names.

#include "Common/Patterns.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <istream>
#include <utility>

#include "Common/ComTime.h"
#include "Common/Fatal.h"
#include "Common/TextScan.h"

namespace tarvio {

namespace {

constexpr const char* kStationWord = "SITE";
constexpr const char* kMissing = "EMPTY";
constexpr int kHour_s = 3600, kMinute_s = 60;

using Expansion = std::vector<std::pair<std::string, std::string>>;  ///< word and its text

std::string s_digits(int width, int value) {
  char text[32];
  std::snprintf(text, sizeof text, "%*.*d", width, width, value);
  return text;
}

Expansion s_expansion(const std::string& station, int mjd, double sod) {
  double second = 0.0;
  timinc(mjd, sod, 0.0, &mjd, &second);
  int year = 0, doy = 0, week = 0, weekday = 0;
  mjd2doy(mjd, &year, &doy);
  gpsweek(0, 0, mjd, &week, &weekday);
  const int whole = static_cast<int>(second);
  Expansion table = {{"Y", s_digits(1, year % 10)},
                     {"YY", s_digits(2, year % 100)},
                     {"YYYY", s_digits(4, year)},
                     {"DDD", s_digits(3, doy)},
                     {"HH", s_digits(2, whole / kHour_s)},
                     {"WWWW", s_digits(4, week)},
                     {"GPSW", s_digits(4, week)},
                     {"WWWWD", s_digits(5, 10 * week + weekday)},
                     {"MJD", s_digits(5, mjd)},
                     {"MM", s_digits(2, whole % kHour_s / kMinute_s)}};
  const std::size_t equals = station.find('=');
  if (equals == std::string::npos) table.emplace_back(kStationWord, station);
  else table.emplace_back(station.substr(0, equals), station.substr(equals + 1));
  return table;
}

/// A line without its remark and without blanks at both ends.
std::string_view s_content(std::string_view line) {
  return s_trimmed(line.substr(0, line.find_first_of("!#")));
}

}  // namespace

bool findkey(std::istream& in, std::string_view keyword, const std::string& fallback, std::string& value) {
  in.clear();
  in.seekg(0);
  for (std::string line; std::getline(in, line);) {
    const std::string_view content = s_content(line);
    const std::size_t equals = content.find('=');
    if (s_trimmed(content.substr(0, equals)) != keyword) continue;
    value = equals == std::string_view::npos ? "" : s_trimmed(content.substr(equals + 1));
    if (value.empty()) value = kMissing;
    return true;
  }
  value = fallback.empty() ? kMissing : fallback;
  return false;
}

void Patterns::readFile(const std::string& file) {
  const std::string wrong = m_load(file);
  if (!wrong.empty()) s_fatal(__func__, __LINE__, "%s\n", wrong.c_str());
}

std::string Patterns::m_load(const std::string& file) {
  m_pairs.clear();
  std::ifstream in(file);
  if (!in) return "ERROR(s_getPatternName) can not access to " + file + " file!";
  std::string value;
  if (!findkey(in, kBlock, "", value)) return "ERROR(PatternName):can not access mrvfln file!";
  for (std::string line; std::getline(in, line);) {
    std::string_view rest = s_content(line);
    if (rest.empty()) continue;
    const std::string_view keyword = s_nextWord(rest), pattern = s_nextWord(rest);
    if (pattern.empty() || !s_nextWord(rest).empty()) break;
    if (m_count() == kMaxPatterns) return "ERROR(get_file_name):too many files defined in mirva_file_name!";
    m_pairs.push_back(
        {std::string(keyword.substr(0, kMaxLength)), std::string(pattern.substr(0, kMaxLength))});
  }
  return "";
}

const std::string* Patterns::m_pattern(const std::string& keyword) const {
  const auto found =
      std::find_if(m_pairs.begin(), m_pairs.end(), [&](const Pair& pair) { return pair.keyword == keyword; });
  return found == m_pairs.end() ? nullptr : &found->pattern;
}

bool Patterns::s_expand(std::string_view pattern, const std::string& station, int mjd, double sod,
                        std::string& name, std::string& word) {
  const Expansion table = s_expansion(station, mjd, sod);
  name.clear();
  while (!pattern.empty()) {
    const std::size_t open = std::min(pattern.find('['), pattern.size());
    name += pattern.substr(0, open);
    pattern.remove_prefix(open);
    if (pattern.empty()) break;
    const std::size_t close = pattern.find(']');
    word = pattern.substr(1, close == std::string_view::npos ? close : close - 1);
    const auto found =
        std::find_if(table.begin(), table.end(), [&](const auto& entry) { return entry.first == word; });
    if (close == std::string_view::npos || found == table.end()) return false;
    name += found->second;
    pattern.remove_prefix(close + 1);
  }
  word.clear();
  return true;
}

std::vector<std::string> Patterns::s_words() {
  std::vector<std::string> words;
  for (const auto& [word, text] : s_expansion(kStationWord, 51544, 0.0)) words.push_back(word);
  words.back() = kStationWord;
  return words;
}

void Patterns::m_getPatternName(int index, const std::string& keyword, const std::string& station, int mjd,
                                double sod, std::string& name) const {
  const bool byIndex = index >= 0 && index < m_count();
  const std::string* pattern =
      byIndex ? &m_pairs[static_cast<std::size_t>(index)].pattern : m_pattern(keyword);
  if (pattern == nullptr)
    s_fatal(__func__, __LINE__, "keyword = %s,keyword not defined in mirva_file_name\n", keyword.c_str());
  std::string word;
  if (!s_expand(*pattern, station, mjd, sod, name, word))
    s_fatal(__func__, __LINE__, "word = %s,keyword = %s,word is not defined in keyword\n", word.c_str(),
            keyword.c_str());
}

}  // namespace tarvio
