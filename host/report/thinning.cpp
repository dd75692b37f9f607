// Chooses the points of a plot that stay.

#include "report/thinning.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_set>

namespace gnx {

namespace {

/// The points that stay of one step, in order of the series.
void keepOfStep(const std::vector<PlotPoint>& points, std::size_t begin, std::size_t end,
                std::vector<PlotPoint>& kept) {
  std::size_t low = begin, high = begin;
  for (std::size_t i = begin; i < end; ++i) {
    if (points[i].y < points[low].y) low = i;
    if (points[i].y > points[high].y) high = i;
  }
  std::vector<std::size_t> chosen = {begin, low, high, end - 1};
  std::sort(chosen.begin(), chosen.end());
  chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
  for (const std::size_t i : chosen) kept.push_back(points[i]);
}

std::vector<PlotPoint> onePerCell(const std::vector<PlotPoint>& points, const PlotPoint& low,
                                  const PlotPoint& size, std::int64_t cells) {
  std::vector<PlotPoint> kept;
  std::unordered_set<std::int64_t> taken;
  const auto cell = [cells](double v, double from, double span) {
    return span > 0.0 ? static_cast<std::int64_t>((v - from) / span * static_cast<double>(cells)) : 0;
  };
  // Multiples of a prime that does not divide the number visit every point once.
  constexpr std::size_t kPrime = 1000003;
  const std::size_t n = points.size(), step = n % kPrime == 0 ? 1 : kPrime % n;
  for (std::size_t i = 0, at = 0; i < n; ++i, at = (at + step) % n) {
    const PlotPoint& p = points[at];
    if (taken.insert(cell(p.x, low.x, size.x) * (cells + 1) + cell(p.y, low.y, size.y)).second)
      kept.push_back(p);
  }
  return kept;
}

}  // namespace

std::vector<PlotPoint> thinSeries(const std::vector<PlotPoint>& points, std::size_t most) {
  if (points.size() <= most || most < 4) return points;
  const double from = points.front().x, span = points.back().x - from;
  const std::size_t buckets = most / 4;
  const auto steps = static_cast<double>(buckets);
  if (!(span > 0.0)) return points;
  std::vector<PlotPoint> kept;
  for (std::size_t begin = 0; begin < points.size();) {
    const double step = std::floor((points[begin].x - from) / span * steps);
    std::size_t end = begin + 1;
    while (end < points.size() && std::floor((points[end].x - from) / span * steps) <= step) ++end;
    keepOfStep(points, begin, end, kept);
    begin = end;
  }
  return kept;
}

std::vector<PlotPoint> thinCloud(const std::vector<PlotPoint>& points, std::size_t most) {
  if (points.size() <= most) return points;
  PlotPoint low = points.front(), high = points.front();
  for (const PlotPoint& p : points) {
    low = {std::min(low.x, p.x), std::min(low.y, p.y)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y)};
  }
  std::vector<PlotPoint> kept = points;
  for (std::int64_t cells = 512; kept.size() > most && cells >= 4; cells = cells * 3 / 4)
    kept = onePerCell(points, low, {high.x - low.x, high.y - low.y}, cells);
  return kept;
}

}  // namespace gnx
