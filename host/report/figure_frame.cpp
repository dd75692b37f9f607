// Series over time, colours and names of systems for all figures.

#include "report/figure_frame.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "run/solution_files.h"

namespace gnx {

namespace {

/// Systems differ in more than colour: in the dashes of their lines and the form of their points.
struct SystemStyle {
  char letter;
  const char* name;
  const char* color;
  const char* dashes;  ///< of SVG, "" = unbroken
  const char* dash;    ///< of gnuplot
  int point;           ///< of gnuplot: 1 plus, 2 cross, 5 square, 7 dot, 9 triangle, 13 diamond
};

constexpr SystemStyle kSystems[] = {{'G', "GPS", "#3b82f6", "", "dt 1", 7},
                                    {'R', "GLONASS", "#ef4444", "7 3", "dt (12,5)", 1},
                                    {'E', "Galileo", "#10a37f", "5 2", "dt (8,3)", 2},
                                    {'C', "BeiDou", "#f59e0b", "2 2", "dt (3,3)", 9},
                                    {'B', "BeiDou-2", "#c2780a", "1 3", "dt (2,5)", 13},
                                    {'J', "QZSS", "#a855f7", "7 2 2 2", "dt (10,3,3,3)", 5},
                                    {'S', "SBAS", "#888888", "1 1", "dt (1,2)", 7}};
constexpr SystemStyle kOther = {' ', "other", "#888888", "1 1", "dt (1,2)", 7};

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

std::string hourText(double hours) {
  const long minutes = std::lround(hours * 60.0), day = minutes / 1440;
  const std::string clock = printed("%02ld:%02ld", minutes % 1440 / 60, minutes % 60);
  return day > 0 && minutes > 1440 ? printed("%ldd ", day) + clock : minutes == 1440 ? "24:00" : clock;
}

std::vector<std::pair<double, std::string>> timeTicks(double first, double last) {
  constexpr double kMost = 9.0;
  double step = 1.0 / 60.0;
  for (const double minutes : {1.0, 2.0, 5.0, 10.0, 15.0, 30.0, 60.0, 120.0, 180.0, 360.0, 720.0, 1440.0})
    if (step = minutes / 60.0; (last - first) / step <= kMost) break;
  while ((last - first) / step > kMost) step *= 2.0;
  std::vector<std::pair<double, std::string>> ticks;
  for (double tick = std::ceil(first / step - 1e-6) * step; tick <= last + 0.02 * step; tick += step)
    ticks.emplace_back(tick, hourText(tick));
  return ticks;
}

std::string systemStroke(char system) {
  const SystemStyle& style = styleOf(system);
  const std::string dashes = *style.dashes == 0 ? "" : printed(" stroke-dasharray=\"%s\"", style.dashes);
  return printed("stroke=\"%s\" stroke-width=\"1.4\"", style.color) + dashes;
}

const char* systemDash(char system) { return styleOf(system).dash; }

int systemPoint(char system) { return styleOf(system).point; }

const char* systemColor(char system) { return styleOf(system).color; }

const char* systemName(char system) { return styleOf(system).name; }

}  // namespace gnx
