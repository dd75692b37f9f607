// Reads a true path and interpolates it between its epochs.

#include "run/reference_path.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "gnx/error.h"
#include "text/csv_reader.h"

namespace gnx {

namespace {

struct Point {
  GpsTime time;
  std::array<double, 3> xyz{};
};

std::vector<Point> readPoints(const std::filesystem::path& file) {
  CsvReader rows(file.string(), {"week", "sow_s", "x_m", "y_m", "z_m"}, "give a truth.csv of gnx simulate");
  std::vector<Point> points;
  while (rows.next()) {
    points.push_back({rows.time(), {rows.real("x_m"), rows.real("y_m"), rows.real("z_m")}});
    if (points.size() > 1 && points.back().time <= points[points.size() - 2].time)
      rows.fail("sow_s", "times do not rise");
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
