// Writes elements of SVG; all text is escaped here.

#include "report/svg_canvas.h"

#include "report/template.h"
#include "text/printed.h"

namespace gnx {

namespace {

std::string escaped(const std::string& words) {
  return fillTemplate("words", "{{words}}", {{"words", words}}).html;
}

}  // namespace

SvgCanvas::SvgCanvas(int width, int height)
    : m_head(printed("<svg viewBox=\"0 0 %d %d\" role=\"img\">\n", width, height)) {}

void SvgCanvas::beginGroup(const std::string& words) { m_body += "<g><title>" + escaped(words) + "</title>"; }

void SvgCanvas::endGroup() { m_body += "</g>\n"; }

void SvgCanvas::line(PlotPoint from, PlotPoint to, const char* style) {
  m_body += printed("<path d=\"M%.1f,%.1fL%.1f,%.1f\" %s/>", from.x, from.y, to.x, to.y, style);
}

void SvgCanvas::circle(PlotPoint center, double radius, const char* style) {
  m_body += printed("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"%.1f\" %s/>", center.x, center.y, radius, style);
}

void SvgCanvas::box(PlotPoint corner, double width, double height, const char* style) {
  m_body += printed("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" %s/>", corner.x, corner.y,
                    width, height, style);
}

void SvgCanvas::polyline(const std::vector<PlotPoint>& points, const std::string& style) {
  m_body += "<path fill=\"none\" " + style + " d=\"";
  for (std::size_t i = 0; i < points.size(); ++i)
    m_body += printed("%c%.1f,%.1f", i == 0 ? 'M' : 'L', points[i].x, points[i].y);
  m_body += "\"/>";
}

void SvgCanvas::text(PlotPoint at, const std::string& words, const char* anchor, int size,
                     const char* color) {
  m_body +=
      printed(
          "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\" "
          "style=\"font-size:%dpx;paint-order:stroke;stroke:var(--bg,#fff);stroke-width:2px\" fill=\"%s\">",
          at.x, at.y, anchor, size, color) +
      escaped(words) + "</text>";
}

}  // namespace gnx
