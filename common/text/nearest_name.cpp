// Compares names by their letters.

#include "text/nearest_name.h"

#include <algorithm>
#include <numeric>

namespace gnx {

namespace {

/// Letters to change, add or leave out.
std::size_t distance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
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
