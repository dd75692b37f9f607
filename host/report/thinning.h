#pragma once
/// \file thinning.h
/// Fewer points for a plot of bounded size that still looks the same.

#include <vector>

namespace gnx {

struct PlotPoint {
  double x = 0.0, y = 0.0;
};

/// At most about `most` points of a series in order of x: the range of x is cut into equal steps, of each
/// the first, lowest, highest and last point stay. Every extreme of the series is among them.
std::vector<PlotPoint> thinSeries(const std::vector<PlotPoint>& points, std::size_t most);

/// At most about `most` points of a cloud: of every cell of a fine grid over the cloud the first point
/// met stays (points are met in a scattered order, so that no pattern of the grid shows), so that dense parts
/// lose points and the outline, outliers included, remains.
std::vector<PlotPoint> thinCloud(const std::vector<PlotPoint>& points, std::size_t most);

}  // namespace gnx
