#include "report/reference_path.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "formats/fields.h"
#include "formats/input_error.h"

namespace gnx {

namespace {

struct Point {
  GpsTime time;
  std::array<double, 3> xyz{};
};

std::vector<std::string> cells(const std::string& line) {
  std::vector<std::string> result;
  std::istringstream in(line);
  for (std::string cell; std::getline(in, cell, ',');) result.emplace_back(trim(cell));
  return result;
}

std::vector<Point> readPoints(const std::filesystem::path& file) {
  std::ifstream in(file);
  if (!in) throw InputError(file.string(), 0, "cannot be opened");
  std::string line;
  std::getline(in, line);
  const std::vector<std::string> names = cells(line);
  std::array<std::size_t, 5> columns{};
  constexpr std::array<const char*, 5> kNeeded = {"week", "sow_s", "x_m", "y_m", "z_m"};
  for (std::size_t i = 0; i < kNeeded.size(); ++i) {
    const auto found = std::find(names.begin(), names.end(), kNeeded[i]);
    if (found == names.end())
      throw InputError(file.string(), 1,
                       std::string("has no column ") + kNeeded[i] + "; give a truth.csv of gnx simulate");
    columns[i] = static_cast<std::size_t>(found - names.begin());
  }
  std::vector<Point> points;
  for (long number = 2; std::getline(in, line); ++number) {
    if (trim(line).empty()) continue;
    const std::vector<std::string> row = cells(line);
    std::array<double, 5> values{};
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const auto value = columns[i] < row.size() ? parseReal(row[columns[i]]) : std::nullopt;
      if (!value) throw InputError(file.string(), number, std::string(kNeeded[i]) + ": is not a number");
      values[i] = *value;
    }
    points.push_back({fromWeek(static_cast<int>(values[0]), values[1]), {values[2], values[3], values[4]}});
    if (points.size() > 1 && points.back().time <= points[points.size() - 2].time)
      throw InputError(file.string(), number, "times do not rise");
  }
  if (points.empty()) throw InputError(file.string(), 0, "holds no position");
  return points;
}

}  // namespace

ReferencePath readReferencePath(const std::filesystem::path& file, double longestStep) {
  return [points = readPoints(file), longestStep](const GpsTime& t) -> std::optional<std::array<double, 3>> {
    constexpr double kSame = 1e-3;  // s
    const auto later = std::lower_bound(points.begin(), points.end(), t + -kSame,
                                        [](const Point& p, const GpsTime& time) { return p.time < time; });
    if (later == points.end()) return std::nullopt;
    if (std::abs(later->time - t) <= kSame) return later->xyz;
    if (later == points.begin()) return std::nullopt;
    const Point& earlier = *(later - 1);
    const double step = later->time - earlier.time;
    if (step > longestStep) return std::nullopt;
    const double share = (t - earlier.time) / step;
    std::array<double, 3> xyz{};
    for (std::size_t i = 0; i < 3; ++i) xyz[i] = earlier.xyz[i] + share * (later->xyz[i] - earlier.xyz[i]);
    return xyz;
  };
}

}  // namespace gnx
