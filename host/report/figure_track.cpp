// Where a receiver went, and what the ionosphere did on the way of its signals.

#include <algorithm>
#include <map>

#include "report/figure_frame.h"
#include "report/system_order.h"

namespace gnx {

std::optional<Figure> drawTrack(const Frame& f) {
  const auto& errors = f.analysis.errors;
  if (errors.empty()) return std::nullopt;
  std::vector<PlotPoint> path;
  const Vector3 first = errors.front().enu;
  for (const PositionError& e : errors) path.push_back({e.enu[0] - first[0], e.enu[1] - first[1]});
  f.plot.figure(kSquare, kSquare);
  f.plot.add(
      "set size ratio -1\nset xlabel 'east [m]'\nset ylabel 'north [m]' offset 1\nset border 15 lw 0.7");
  PlotCommand command;
  // A track crosses itself: thinning as of a series would take its loops away.
  std::vector<PlotPoint> kept;
  const std::size_t step = std::max<std::size_t>(1, path.size() / (2 * kSeriesPoints));
  for (std::size_t i = 0; i < path.size(); i += step) kept.push_back(path[i]);
  command.add(f.plot.data(kept) + printed(" with lines lw 1.1 lc rgb '%s' notitle", kEast));
  command.add(f.plot.data({path.front()}) +
              printed(" with points pt 7 ps 0.6 lc rgb '%s' title 'begin'", kNorth));
  command.add(f.plot.data({path.back()}) + printed(" with points pt 5 ps 0.6 lc rgb '%s' title 'end'", kUp));
  f.plot.add(command.text());
  return Figure{"track", "Track", "From the first position.", "", true};
}

std::optional<Figure> drawIonosphere(const Frame& f) {
  if (f.run.ionosphere.empty()) return std::nullopt;
  const double gap_h = std::max(600.0, 2.5 * f.run.plan.details) / 3600.0;
  constexpr std::size_t kPoints = 160;  // of a line, of which there are many
  std::map<char, std::vector<std::vector<double>>, SystemOrder> rows;
  for (const auto& [satellite, samples] : f.run.ionosphere) {
    auto& list = rows[satellite[0]];
    std::vector<PlotPoint> points;
    for (const Sample& sample : samples) points.push_back({f.hours(sample.time), sample.value});
    points = thinSeries(points, kPoints);
    for (std::size_t i = 0; i < points.size(); ++i) {
      if (i > 0 && points[i].x - points[i - 1].x > gap_h) list.emplace_back();
      list.push_back({points[i].x, points[i].y});
    }
    list.emplace_back();  // the next satellite's line begins anew
  }
  f.plot.figure(kWidth, 280);
  f.panel(0, 1);
  f.plot.add(
      "set bmargin at screen 0.2\nset ylabel 'slant delay [m]' offset 0\nset key at graph 1,1 bottom right "
      "horizontal");
  PlotCommand command;
  for (const auto& [system, lines] : rows)
    command.add(f.plot.data(lines) + printed(" with lines lw 0.9 %s lc rgb '%s' title '%s'",
                                             systemDash(system), systemColor(system), systemName(system)));
  f.plot.add(command.text());
  return Figure{"ionosphere", "Ionosphere",
                "Slant delay on the first frequency, a line for each satellite; receiver and satellite "
                "biases are in it.",
                "", false};
}

}  // namespace gnx
