#pragma once
/// \file svg_canvas.h
/// Drawings that are made of elements with words of their own (shown when one points at them), which a plot
/// program does not give.

#include <string>
#include <string_view>
#include <vector>

#include "report/thinning.h"

namespace gnx {

class SvgCanvas {
 public:
  SvgCanvas(int width, int height);

  /// Elements up to endGroup() have these words. \param words  plain text
  void beginGroup(const std::string& words);
  void endGroup();
  void line(PlotPoint from, PlotPoint to, const char* style);
  void circle(PlotPoint center, double radius, const char* style);
  void box(PlotPoint corner, double width, double height, const char* style);
  /// \param style  attributes such as "stroke=\"red\""
  void polyline(const std::vector<PlotPoint>& points, const std::string& style);
  /// \param anchor  start, middle or end
  void text(PlotPoint at, const std::string& words, const char* anchor, int size,
            const char* color = "currentColor");

  /// The element for an HTML page.
  std::string svg() const { return m_head + m_body + "</svg>"; }

 private:
  std::string m_head, m_body;
};

}  // namespace gnx
