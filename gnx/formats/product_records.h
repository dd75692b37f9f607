#pragma once
/// \file product_records.h
/// Precise orbits and clocks as read from product files.

#include <algorithm>
#include <array>
#include <map>
#include <vector>

#include "formats/records.h"

namespace gnx {

/// Position in the Earth-fixed frame of the product, m.
struct OrbitPoint {
  GpsTime time;
  std::array<double, 3> position{};
};

/// Satellite clock minus system time, s, without the periodic relativistic term.
struct ClockPoint {
  GpsTime time;
  double bias = 0.0;
};

/// Sorts by time; of points at the same time the one that came last stays.
template <class Point>
void sortAndUnite(std::vector<Point>& points) {
  std::stable_sort(points.begin(), points.end(),
                   [](const Point& a, const Point& b) { return a.time < b.time; });
  std::size_t kept = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (kept > 0 && points[i].time - points[kept - 1].time < 1e-3) --kept;
    points[kept++] = points[i];
  }
  points.resize(kept);
}

}  // namespace gnx
