// Compares names by their letters.

#include "text/nearest_name.h"

#include <algorithm>

namespace gnx {

namespace {

/// Letters to change, add, leave out or swap with the next one.
std::size_t distance(const std::string& a, const std::string& b) {
  std::vector<std::vector<std::size_t>> rows(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i)
    for (std::size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        rows[i][j] = i + j;
        continue;
      }
      rows[i][j] = std::min(
          {rows[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1), rows[i - 1][j] + 1, rows[i][j - 1] + 1});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
    }
  return rows.back().back();
}

}  // namespace

std::string nearestName(const std::string& word, const std::vector<std::string>& names) {
  std::string nearest;
  std::size_t least = (std::max<std::size_t>(word.size(), 3) + 2) / 3;
  for (const std::string& name : names) {
    const std::size_t letters = distance(word, name);
    if (letters > least || (letters == least && !nearest.empty())) continue;
    least = letters;
    nearest = name;
  }
  return nearest;
}

}  // namespace gnx
