#pragma once
/// \file product_records.h
/// Points of several product files in one series.

#include <algorithm>
#include <cstddef>
#include <vector>

#include "gnx/read.h"

namespace gnx {

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
