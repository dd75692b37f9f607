// Looks at names and at the tails of files.

#include "run/observation_end.h"

#include <cctype>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <vector>

namespace gnx {

namespace {

constexpr double kHour_s = 3600.0, kDay_s = 86400.0;

/// "01D", "15M"; 0 when the word is no period.
double periodOf(const std::string& word) {
  static const std::map<char, double> units = {{'M', 60.0}, {'H', kHour_s}, {'D', kDay_s}};
  if (word.size() != 3 || std::isdigit(static_cast<unsigned char>(word[0])) == 0 ||
      std::isdigit(static_cast<unsigned char>(word[1])) == 0 || !units.contains(word[2]))
    return 0.0;
  return std::stoi(word.substr(0, 2)) * units.at(word[2]);
}

/// SITE00CCC_R_20201770000_01D_30S_MO.rnx.gz, or site1770.20o and site177a.20o.
double periodInName(const std::string& name) {
  std::istringstream in(name);
  std::vector<std::string> words;
  for (std::string word; std::getline(in, word, '_');) words.push_back(word);
  if (words.size() >= 5 && words[2].size() == 11) return periodOf(words[3]);
  const auto isDigit = [&](std::size_t i) { return std::isdigit(static_cast<unsigned char>(name[i])) != 0; };
  if (name.size() < 12 || name[8] != '.' || !isDigit(4) || !isDigit(5) || !isDigit(6) || !isDigit(9))
    return 0.0;
  if (name[7] == '0') return kDay_s;
  return std::isalpha(static_cast<unsigned char>(name[7])) != 0 ? kHour_s : 0.0;
}

/// Of a plain file of version 3 or 4.
std::optional<GpsTime> lastEpochLine(const std::string& file) {
  constexpr std::streamoff kTail = 1 << 16;
  std::ifstream in(file, std::ios::binary | std::ios::ate);
  const std::streamoff size = in.tellg();
  if (!in || size <= 0) return std::nullopt;
  in.seekg(std::max<std::streamoff>(0, size - kTail));
  std::optional<GpsTime> last;
  for (std::string line; std::getline(in, line);) {
    Calendar c;
    if (std::sscanf(line.c_str(), "> %d %d %d %d %d %lf", &c.year, &c.month, &c.day, &c.hour, &c.minute,
                    &c.second) == 6 &&
        c.year >= 1980 && c.year < 2100 && c.month >= 1 && c.month <= 12)
      last = toGpsTime(c);
  }
  return last;
}

}  // namespace

std::optional<GpsTime> observationEnd(const std::string& file, const GpsTime& first) {
  const double period = periodInName(std::filesystem::path(file).filename().string());
  if (period <= 0.0) return lastEpochLine(file);
  const double since = secondsOfDay(first);
  return first + (std::floor(since / period + 1.0) * period - since);
}

}  // namespace gnx
