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

/// Of lines that often coincide: the later ones are thinner.
struct LevelStyle {
  const char* tag;
  const char* color;
  double width;
};
constexpr LevelStyle kLevels[] = {{"ewl", "#f0ad4e", 4.0}, {"wl", kEast, 2.4}, {"n1", kUp, 1.0}};

/// Status of the solution as a strip of colours.
void drawStrip(const Frame& f) {
  f.plot.add(
      "set yrange [0:1]\nunset ytics\nset ylabel 'status' offset -1.5\nunset grid\nset key at graph 1,1 "
      "bottom right horizontal samplen 1 width 1");
  const std::tuple<int, const char*, const char*> kinds[] = {{kFixedStatus, "fixed", kNorth},
                                                             {4, "wide-lanes fixed", "#a5d6b9"},
                                                             {3, "extra-wide-lanes fixed", "#d4ead9"},
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
}

/// Samples of a level; nothing for one that never fixed anything.
template <typename Value>
std::vector<Sample> levelSamples(const Frame& f, const char* tag, Value value) {
  std::vector<Sample> samples;
  const auto level = f.run.levels.find(tag);
  if (level == f.run.levels.end()) return samples;
  const bool any = std::ranges::any_of(level->second, [](const LevelSample& s) { return s.fixed > 0; });
  if (!any) return samples;
  for (const LevelSample& s : level->second) samples.push_back({s.time, value(s)});
  return samples;
}

/// Lines of all levels; without samples of the levels that of every epoch, as the solution tells it.
template <typename OfLevel, typename OfEpoch>
void drawLevels(const Frame& f, OfLevel ofLevel, OfEpoch ofEpoch) {
  PlotCommand command;
  for (const LevelStyle& style : kLevels) {
    const std::vector<Sample> samples = levelSamples(f, style.tag, ofLevel);
    if (samples.empty()) continue;
    command.add(f.plot.data(seriesOf(f, samples)) + printed(" with steps lw %.1f lc rgb '%s' title '%s'",
                                                            style.width, style.color, levelName(style.tag)));
  }
  if (command.empty())
    command.add(f.plot.data(seriesOf(f, ofEpoch)) +
                printed(" with steps lw 1.1 lc rgb '%s' notitle", kNorth));
  f.plot.add(command.text());
}

}  // namespace

std::optional<Figure> drawFixes(const Frame& f) {
  const bool any = f.analysis.summary.fixedShare > 0.0;
  const int panels = any ? 3 : 1;
  f.plot.figure(kWidth, any ? 420 : 150);
  f.plot.add("set multiplot");
  f.panel(0, panels);
  if (!any) f.plot.add("set bmargin at screen 0.38\nset tmargin at screen 0.75");
  else f.plot.add("set tmargin at screen 0.92\nset bmargin at screen 0.84");
  const auto& first = f.analysis.summary.firstFix;
  if (first)
    f.plot.add(printed("set arrow 1 from %.6f,graph 0 to %.6f,graph 1 nohead lw 1 dt 3 front",
                       f.first + *first / 3600.0, f.first + *first / 3600.0));
  drawStrip(f);
  if (any) {
    f.panel(1, panels);
    f.plot.add(
        "set tmargin at screen 0.79\nset bmargin at screen 0.49\nset grid lw 0.4 lc rgb '#888888'\nset ytics "
        "autofreq nomirror\nset yrange [0:*]\nset ylabel 'satellites fixed' offset 1\nset offsets 0,0,graph "
        "0.1,0\nset key at graph 1,1 bottom right horizontal samplen 1.2 width 0");
    drawLevels(
        f, [](const LevelSample& s) { return static_cast<double>(s.fixed); },
        [](const SolutionEpoch& e) { return static_cast<double>(e.fixed); });
    f.panel(2, panels);
    f.plot.add(
        "set tmargin at screen 0.44\nset bmargin at screen 0.14\nset offsets 0,0,0,0\nset logscale y\nset "
        "yrange [1:1000]\nset ylabel 'ratio' offset 1\nunset key\nset arrow 2 from graph 0,first 3 to graph "
        "1,first 3 nohead lw 0.6 dt 2 lc rgb '#888888'");
    drawLevels(
        f, [](const LevelSample& s) { return std::clamp(s.ratio, 1.0, 999.0); },
        [](const SolutionEpoch& e) { return std::clamp(e.ratio, 1.0, 999.0); });
  }
  f.plot.add("unset multiplot");
  return Figure{
      "fixes", "Fixing",
      any ? "Status of the solution with the first fix (dotted), satellites with fixed ambiguities and "
            "ratio of the integer search by level (1000 and above at the upper edge, 3 dashed)."
          : "Status of the solution; no epoch is fixed.",
      "", false};
}

std::optional<Figure> drawFractions(const Frame& f) {
  constexpr int kBins = 50;
  const auto& levels = f.analysis.integers.levels;
  std::vector<const char*> shown;
  for (const LevelStyle& style : kLevels)
    if (levels.contains(style.tag)) shown.push_back(style.tag);
  if (shown.empty()) return std::nullopt;
  f.plot.figure(kWidth, 260);
  f.plot.add("set multiplot");
  std::string caption = printed(
      "Floats between satellites minus the nearest integer. Within %.2f cycle (dashed):", kNearInteger);
  for (std::size_t k = 0; k < shown.size(); ++k) {
    const LevelCheck& level = levels.at(shown[k]);
    std::vector<double> share(kBins, 0.0);
    for (const double fraction : level.fractions) {
      const auto bin = static_cast<int>(std::floor((fraction + 0.5) * kBins));
      share[static_cast<std::size_t>(std::clamp(bin, 0, kBins - 1))] +=
          100.0 / static_cast<double>(level.fractions.size());
    }
    std::vector<std::vector<double>> bars;
    for (int bin = 0; bin < kBins; ++bin)
      bars.push_back({(bin + 0.5) / kBins - 0.5, share[static_cast<std::size_t>(bin)]});
    const double width = 0.91 / static_cast<double>(shown.size()),
                 left = 0.075 + static_cast<double>(k) * width;
    f.plot.add(printed("set lmargin at screen %.4f\nset rmargin at screen %.4f", left, left + 0.86 * width));
    f.plot.add(
        printed("set tmargin at screen 0.88\nset bmargin at screen 0.22\nset xrange [-0.5:0.5]\nset xtics "
                "0.25\nset format x '%%g'\nset yrange [0:*]\nset title '%s' offset 0,-0.7\nset xlabel "
                "'cycles'\nset ylabel '%s' offset 1\nunset key",
                levelName(shown[k]), k == 0 ? "share [%]" : ""));
    for (const int sign : {-1, 1})
      f.plot.add(printed("set arrow %d from %g,graph 0 to %g,graph 1 nohead lw 0.6 dt 2 lc rgb '#888888'",
                         sign + 2, sign * kNearInteger, sign * kNearInteger));
    f.plot.add("plot " + f.plot.data(bars) +
               printed(" using 1:2 with boxes fs solid 0.7 noborder fc rgb '%s'",
                       std::string(shown[k]) == "wl"   ? kEast
                       : std::string(shown[k]) == "n1" ? kUp
                                                       : "#f0ad4e"));
    caption += printed("%s %s %.0f %% of the values, %zu of %zu arcs in the mean", k == 0 ? "" : ";",
                       levelName(shown[k]), 100.0 * shareNearInteger(level), arcsNearInteger(level),
                       level.arcs.size());
  }
  f.plot.add("unset multiplot");
  return Figure{"fractions", "Fractions of the ambiguities", caption + ".", "", false};
}

}  // namespace gnx
