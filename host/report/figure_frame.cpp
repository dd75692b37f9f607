// Series over time, colours and names of systems for all figures.

#include "report/figure_frame.h"

#include "formats/printed.h"
#include "run/solution_files.h"

namespace gnx {

std::vector<PlotPoint> seriesOf(const Frame& f, const std::vector<Sample>& samples, double scale) {
  std::vector<PlotPoint> points;
  for (const Sample& s : samples) points.push_back({f.hours(s.time), s.value * scale});
  return thinSeries(points, kSeriesPoints);
}

std::vector<PlotPoint> seriesOf(const Frame& f, const std::function<double(const SolutionEpoch&)>& value) {
  std::vector<PlotPoint> points;
  for (const SolutionEpoch& e : f.run.epochs)
    if (isSolved(e)) points.push_back({f.hours(e.time), value(e)});
  return thinSeries(points, kSeriesPoints);
}

const char* systemColor(char system) {
  switch (system) {
    case 'G':
      return "#3b82f6";
    case 'R':
      return "#ef4444";
    case 'E':
      return "#10a37f";
    case 'C':
      return "#f59e0b";
    case 'B':
      return "#c2780a";
    case 'J':
      return "#a855f7";
    default:
      return "#888888";
  }
}

const char* systemName(char system) {
  switch (system) {
    case 'G':
      return "GPS";
    case 'R':
      return "GLONASS";
    case 'E':
      return "Galileo";
    case 'C':
      return "BeiDou";
    case 'B':
      return "BeiDou-2";
    case 'J':
      return "QZSS";
    case 'S':
      return "SBAS";
    default:
      return "other";
  }
}

}  // namespace gnx
