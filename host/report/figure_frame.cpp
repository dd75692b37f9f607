// Series over time, colours and names of systems for all figures.

#include "report/figure_frame.h"

#include <algorithm>
#include <iterator>

#include "run/solution_files.h"

namespace gnx {

namespace {

struct SystemStyle {
  char letter;
  const char* name;
  const char* color;
};

constexpr SystemStyle kSystems[] = {{'G', "GPS", "#3b82f6"},      {'R', "GLONASS", "#ef4444"},
                                    {'E', "Galileo", "#10a37f"},  {'C', "BeiDou", "#f59e0b"},
                                    {'B', "BeiDou-2", "#c2780a"}, {'J', "QZSS", "#a855f7"},
                                    {'S', "SBAS", "#888888"}};
constexpr SystemStyle kOther = {' ', "other", "#888888"};

const SystemStyle& styleOf(char system) {
  const auto* found = std::ranges::find(kSystems, system, &SystemStyle::letter);
  return found == std::end(kSystems) ? kOther : *found;
}

}  // namespace

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

const char* systemColor(char system) { return styleOf(system).color; }

const char* systemName(char system) { return styleOf(system).name; }

}  // namespace gnx
