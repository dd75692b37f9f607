/// The figure of ambiguity fixing.

#include <algorithm>
#include <cmath>
#include <tuple>

#include "report/figure_frame.h"

namespace gnx {

namespace {

/// Stretches of equal status: begin, end, status. A long run of many changes keeps the status with the
/// lowest rank of every step.
struct StatusRun {
  double begin = 0.0, end = 0.0;
  int status = 0;
};

std::vector<StatusRun> statusRuns(const Frame& f) {
  constexpr double kSteps = 900.0;
  const double interval = std::max(f.analysis.summary.interval, 1e-3) / 3600.0;
  const double step = std::max(interval, (f.last - f.first) / kSteps);
  std::vector<StatusRun> runs;
  for (const SolutionEpoch& e : f.run.epochs) {
    const double at = f.hours(e.time), begin = f.first + std::floor((at - f.first) / step + 1e-6) * step;
    if (!runs.empty() && begin < runs.back().end - 1e-9) {
      runs.back().status = std::min(runs.back().status, e.status);
    } else {
      runs.push_back({begin, begin + step, e.status});
    }
  }
  std::vector<StatusRun> joined;
  for (const StatusRun& r : runs) {
    if (!joined.empty() && joined.back().status == r.status && r.begin - joined.back().end < 1e-6)
      joined.back().end = r.end;
    else joined.push_back(r);
  }
  return joined;
}

}  // namespace

std::optional<Figure> drawFixes(const Frame& f) {
  const bool any = f.analysis.summary.fixedShare > 0.0;
  const int panels = any ? 3 : 1;
  f.plot.figure(kWidth, any ? 420 : 150);
  f.plot.add("set multiplot");
  f.panel(0, panels);
  if (!any) f.plot.add("set bmargin at screen 0.38\nset tmargin at screen 0.75");
  else f.plot.add("set tmargin at screen 0.90\nset bmargin at screen 0.80");
  f.plot.add(
      "set yrange [0:1]\nunset ytics\nset ylabel 'status' offset -1.5\nunset grid\nset key at graph 1,1 "
      "bottom right horizontal samplen 1 width 1");
  const std::tuple<int, const char*, const char*> kinds[] = {{kFixedStatus, "fixed", kNorth},
                                                             {2, "float", "#f0ad4e"},
                                                             {1, "code", kUp},
                                                             {0, "no solution", "#888888"}};
  const std::vector<StatusRun> runs = statusRuns(f);
  PlotCommand command;
  for (const auto& [status, name, color] : kinds) {
    std::vector<std::vector<double>> boxes;
    for (const StatusRun& r : runs)
      if (r.status == status) boxes.push_back({(r.begin + r.end) / 2.0, 0.5, r.begin, r.end, 0.0, 1.0});
    if (boxes.empty()) continue;
    command.add(
        f.plot.data(boxes) +
        printed(" using 1:2:3:4:5:6 with boxxyerror fs solid noborder fc rgb '%s' title '%s'", color, name));
  }
  f.plot.add(command.empty() ? "plot NaN notitle" : command.text());
  if (any) {
    f.plot.add(
        "set grid lw 0.4 lc rgb '#888888'\nset ytics autofreq nomirror\nset yrange [0:*]\nset ylabel 'fixed' "
        "offset "
        "1\nset key at graph 1,1 bottom right horizontal samplen 1.2 width 0");
    f.panel(1, panels);
    f.plot.add("set tmargin at screen 0.74\nset bmargin at screen 0.47");
    PlotCommand numbers;
    numbers.add(f.plot.data(seriesOf(f, [](const SolutionEpoch& e) {
      return static_cast<double>(e.fixed);
    })) + printed(" with steps lw 1.1 lc rgb '%s' title 'of the last level'", kNorth));
    const std::tuple<const char*, const char*, const char*> levels[] = {
        {"ewl", "extra-wide-lane", "#f0ad4e"}, {"wl", "wide-lane", kEast}, {"n1", "narrow-lane", kUp}};
    for (const auto& [tag, name, color] : levels) {
      const auto level = f.run.levels.find(tag);
      if (level == f.run.levels.end()) continue;
      std::vector<Sample> samples;
      for (const LevelSample& s : level->second) samples.push_back({s.time, static_cast<double>(s.fixed)});
      if (std::all_of(samples.begin(), samples.end(), [](const Sample& s) { return s.value == 0.0; }))
        continue;
      numbers.add(f.plot.data(seriesOf(f, samples)) +
                  printed(" with steps lw 1 dt 2 lc rgb '%s' title '%s'", color, name));
    }
    f.plot.add("set offsets 0,0,graph 0.2,0\n" + numbers.text());
    f.panel(2, panels);
    f.plot.add(
        "set tmargin at screen 0.43\nset bmargin at screen 0.14\nset offsets 0,0,0,0\nset logscale y\nset "
        "yrange [1:1000]\nset ylabel 'ratio' offset 1\nunset key");
    f.plot.add(
        "plot 3 with lines lw 0.6 dt 2 lc rgb '#888888', " +
        f.plot.data(seriesOf(f, [](const SolutionEpoch& e) { return std::clamp(e.ratio, 1.0, 999.0); })) +
        printed(" with lines lw 0.9 lc rgb '%s'", kNeutral));
  }
  f.plot.add("unset multiplot");
  return Figure{"fixes", "Fixing",
                any ? "Status of the solution, satellites with fixed ambiguities, ratio of the integer "
                      "search (1000 and above at the upper edge)."
                    : "Status of the solution; no epoch is fixed.",
                "", false};
}

}  // namespace gnx
