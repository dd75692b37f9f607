// Draws the figures of a run and puts them into the order of the page.

#include "report/figures.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

#include "report/figure_frame.h"
#include "report/system_order.h"
#include "run/solution_files.h"
#include "text/fields.h"

namespace gnx {

namespace {

/// Half height of a frame about zero that holds all but the start of a run.
double robustRange(const std::vector<double>& sizes, const std::vector<double>& later) {
  const double largest = later.empty() ? 0.0 : *std::max_element(later.begin(), later.end());
  return 1.15 * std::max({quantile(sizes, 0.97), largest, 1e-4});
}

/// Frame of the errors: they are drawn in centimetres up to a metre.
struct ErrorScale {
  double range = 0.1;  ///< m
  double factor = 100.0;
  const char* unit = "cm";
  std::size_t outside = 0;
};

ErrorScale errorScale(const Frame& f, bool horizontal) {
  const auto& errors = f.analysis.errors;
  std::vector<double> sizes, later;
  const GpsTime settled =
      errors.front().time + std::min(3600.0, 0.5 * (errors.back().time - errors.front().time));
  for (const PositionError& e : errors)
    for (std::size_t i = 0; i < (horizontal ? 2U : 3U); ++i) {
      sizes.push_back(std::abs(e.enu[i]));
      if (e.time - settled >= 0.0) later.push_back(sizes.back());
    }
  ErrorScale scale;
  scale.range = robustRange(sizes, later);
  if (scale.range >= 1.0) scale.factor = 1.0, scale.unit = "m";
  for (const PositionError& e : errors)
    if (std::abs(e.enu[0]) > scale.range || std::abs(e.enu[1]) > scale.range ||
        (!horizontal && std::abs(e.enu[2]) > scale.range))
      ++scale.outside;
  return scale;
}

std::string outsideNote(const ErrorScale& scale, std::size_t all) {
  return scale.outside == 0 ? "" : printed(" %zu of %zu epochs lie outside the frame.", scale.outside, all);
}

std::string referenceNote(const RunAnalysis& a) {
  return a.summary.againstReference ? "Position minus reference."
                                    : "Position minus the mean position of the last part of the run.";
}

std::optional<Figure> drawHorizontal(const Frame& f) {
  const auto& errors = f.analysis.errors;
  if (errors.empty()) return std::nullopt;
  const ErrorScale scale = errorScale(f, true);
  std::vector<PlotPoint> floating, fixed;
  for (const PositionError& e : errors)
    if (std::abs(e.enu[0]) <= scale.range && std::abs(e.enu[1]) <= scale.range)
      (e.fixed ? fixed : floating).push_back({e.enu[0] * scale.factor, e.enu[1] * scale.factor});
  const double range = scale.range * scale.factor;
  f.plot.figure(kSquare, kSquare);
  f.plot.add(
      printed("set size square\nset xrange [%g:%g]\nset yrange [%g:%g]", -range, range, -range, range));
  f.plot.add(printed("set xlabel 'east [%s]'\nset ylabel 'north [%s]' offset 1\nset border 15 lw 0.7",
                     scale.unit, scale.unit));
  f.plot.add("set arrow from graph 0.5,0 to graph 0.5,1 nohead lw 0.6 lc rgb '#888888'");
  f.plot.add("set arrow from graph 0,0.5 to graph 1,0.5 nohead lw 0.6 lc rgb '#888888'");
  PlotCommand command;
  if (!floating.empty()) command.addCloud(f.plot.data(thinCloud(floating, kCloudPoints)), kEast, "float");
  if (!fixed.empty()) command.addCloud(f.plot.data(thinCloud(fixed, kCloudPoints)), kNorth, "fixed");
  if (command.empty()) command.add("NaN notitle");
  f.plot.add(command.text());
  return Figure{"horizontal", "Horizontal scatter",
                referenceNote(f.analysis) + outsideNote(scale, errors.size()), "", true};
}

std::optional<Figure> drawSatellites(const Frame& f) {
  f.plot.figure(kWidth, 380);
  f.plot.add("set multiplot");
  f.panel(0, 2);
  f.plot.add(
      "set yrange [0:*]\nset ylabel 'satellites' offset 1\nset key at graph 1,1 bottom right horizontal\nset "
      "offsets 0,0,1,0");
  PlotCommand command;
  command.add(f.plot.data(seriesOf(f, [](const SolutionEpoch& e) {
    return static_cast<double>(satelliteCount(e));
  })) + " with steps lw 1.3 lc rgb '#888888' title 'all'");
  constexpr const char* kLetters = "GRECBJ";
  for (std::size_t i = 0; i < 6; ++i) {
    const auto count = [i](const SolutionEpoch& e) { return static_cast<double>(e.satellites[i]); };
    if (std::none_of(f.run.epochs.begin(), f.run.epochs.end(),
                     [&](const SolutionEpoch& e) { return count(e) > 0; }))
      continue;
    command.add(f.plot.data(seriesOf(f, count)) + printed(" with steps lw 1.1 %s lc rgb '%s' title '%s'",
                                                          systemDash(kLetters[i]), systemColor(kLetters[i]),
                                                          systemName(kLetters[i])));
  }
  f.plot.add(command.text());
  f.panel(1, 2);
  const std::vector<PlotPoint> pdop = seriesOf(f, [](const SolutionEpoch& e) { return e.pdop; });
  std::vector<double> values;
  for (const PlotPoint& p : pdop) values.push_back(p.y);
  f.plot.add(printed("set offsets 0,0,0,0\nset yrange [0:%g]\nset ylabel 'PDOP' offset 1\nunset key",
                     std::max(2.0, 1.3 * quantile(values, 0.995))));
  f.plot.add("plot " + f.plot.data(pdop) + printed(" with lines lw 1.1 lc rgb '%s'", kNeutral));
  f.plot.add("unset multiplot");
  return Figure{"satellites", "Satellites and PDOP", "Satellites in the solution.", "", false};
}

/// Residuals as clouds, phase above code, over time or over elevation.
std::optional<Figure> drawResiduals(const Frame& f, bool byElevation) {
  if (f.run.residuals.empty()) return std::nullopt;
  f.plot.figure(kWidth, 460);
  f.plot.add("set multiplot");
  for (int kind = 0; kind < 2; ++kind) {
    const bool phase = kind == 0;
    const double scale = phase ? 1000.0 : 1.0;
    std::map<char, std::vector<PlotPoint>, SystemOrder> clouds;
    std::vector<double> sizes;
    for (const Residual& r : f.run.residuals) {
      if (r.phase != phase) continue;
      clouds[r.satellite[0]].push_back({byElevation ? r.elevationDeg : f.hours(r.time), r.value * scale});
      sizes.push_back(std::abs(r.value) * scale);
    }
    const double range = sizes.empty() ? 1.0 : std::max(1.25 * quantile(sizes, 0.998), 1e-3);
    f.panel(kind, 2);
    if (byElevation) {
      f.plot.add("set xrange [0:90]\nset xtics 10");
      f.plot.add(phase ? "set format x ''" : "set format x '%g'\nset xlabel 'elevation [°]'");
    }
    f.plot.add(printed("set yrange [%g:%g]\nset ylabel '%s' offset 1\n", -range, range,
                       phase ? "phase [mm]" : "code [m]"));
    f.plot.add(phase ? "set key at graph 1,1 bottom right horizontal" : "unset key");
    PlotCommand command;
    for (auto& [system, points] : clouds) {
      std::erase_if(points, [range](const PlotPoint& p) { return std::abs(p.y) > range; });
      command.addCloud(f.plot.data(thinCloud(points, kCloudPoints)), systemColor(system), systemName(system),
                       systemPoint(system));
    }
    if (command.empty()) command.add("NaN notitle");
    f.plot.add(command.text());
  }
  f.plot.add("unset multiplot");
  return byElevation
             ? Figure{"residuals-elevation", "Residuals by elevation",
                      "Of the float solution; dense parts are thinned.", "", false}
             : Figure{"residuals-time", "Residuals over time",
                      "Of the float solution, all satellites and frequencies; dense parts are thinned.", "",
                      false};
}

/// Wet and dry part; what an older run has kept is their sum.
std::optional<Figure> drawZenithDelay(const Frame& f) {
  if (f.run.zenithDelay.empty()) return std::nullopt;
  const bool parts = f.run.zenithDry.size() == f.run.zenithDelay.size();
  std::vector<Sample> wet = f.run.zenithDelay;
  for (std::size_t i = 0; parts && i < wet.size(); ++i) wet[i].value -= f.run.zenithDry[i].value;
  f.plot.figure(kWidth, parts ? 360 : 240);
  f.plot.add("set multiplot");
  for (int i = 0; i < (parts ? 2 : 1); ++i) {
    f.panel(i, parts ? 2 : 1);
    if (!parts) f.plot.add("set bmargin at screen 0.23");
    f.plot.add(printed("set ylabel '%s [m]' offset 0\nset format y '%%.3f'\nunset key", !parts
                                                                                            ? "zenith delay"
                                                                                        : i == 0 ? "wet"
                                                                                                 : "dry"));
    f.plot.add("plot " + f.plot.data(seriesOf(f, i == 0 ? wet : f.run.zenithDry)) +
               printed(" with lines lw 1.2 lc rgb '%s'", i == 0 ? kEast : kNeutral));
  }
  f.plot.add("unset multiplot");
  return Figure{"zenith-delay", "Zenith troposphere delay",
                parts ? "The wet part is estimated; the dry one is that of the climatology, whose error the "
                        "wet one holds."
                      : "Dry and wet together.",
                "", false};
}

std::optional<Figure> drawClock(const Frame& f) {
  if (f.run.clocks.empty()) return std::nullopt;
  const bool offsets = f.run.clocks.size() > 1;
  const int panels = offsets ? 2 : 1;
  constexpr double kNanoseconds = 1e9 / 299792458.0;
  f.plot.figure(kWidth, offsets ? 360 : 240);
  f.plot.add("set multiplot");
  f.panel(0, panels);
  if (!offsets) f.plot.add("set bmargin at screen 0.23");
  f.plot.add("set ylabel 'clock [ns]' offset 0\nunset key");
  // Steered clocks stay at hundreds of microseconds: their variation is what shows.
  std::vector<Sample> clock;
  double median = 0.0;
  if (const auto found = f.run.clocks.find(f.run.clockSystem); found != f.run.clocks.end()) {
    clock = found->second;
    std::vector<double> values;
    for (const Sample& sample : clock) values.push_back(sample.value);
    median = quantile(values, 0.5);
    for (Sample& sample : clock) sample.value -= median;
  }
  if (clock.empty()) f.plot.add("set yrange [-1:1]");
  f.plot.add("plot " + f.plot.data(seriesOf(f, clock, kNanoseconds)) +
             printed(" with lines lw 1.1 lc rgb '%s'", systemColor(f.run.clockSystem)));
  if (offsets) {
    f.panel(1, 2);
    f.plot.add(
        "set ylabel 'offset [ns]' offset 0\nset key top right horizontal\nset offsets 0,0,graph 0.25,0");
    PlotCommand command;
    for (const auto& [system, samples] : f.run.clocks)
      if (system != f.run.clockSystem)
        command.add(f.plot.data(seriesOf(f, samples, kNanoseconds)) +
                    printed(" with lines lw 1.1 %s lc rgb '%s' title '%s'", systemDash(system),
                            systemColor(system), systemName(system)));
    f.plot.add(command.text());
  }
  f.plot.add("unset multiplot");
  return Figure{
      "clock", "Receiver clock",
      printed("Clock of the reference system %s minus %.6f ms%s", systemName(f.run.clockSystem),
              median * kNanoseconds * 1e-6, offsets ? "; offsets of the other systems from it." : "."),
      "", false};
}

std::optional<Figure> drawSigma(const Frame& f) {
  f.plot.figure(kWidth, 240);
  f.panel(0, 1);
  f.plot.add("set bmargin at screen 0.23\nset yrange [0:*]\nset ylabel 'sigma0' offset 0\nunset key");
  f.plot.add("plot 1 with lines lw 0.6 dt 2 lc rgb '#888888', " +
             f.plot.data(seriesOf(f, [](const SolutionEpoch& e) { return e.sigma0; })) +
             printed(" with lines lw 1.1 lc rgb '%s'", kNeutral));
  return Figure{"sigma0", "Standard deviation of unit weight",
                "1 means that residuals are as large as assumed; below, that the assumed noise is generous.",
                "", false};
}

}  // namespace

std::optional<Figure> drawErrors(const Frame& f, const std::string& what) {
  const auto& errors = f.analysis.errors;
  if (errors.empty()) return std::nullopt;
  const ErrorScale scale = errorScale(f, false);
  f.plot.figure(kWidth, 520);
  f.plot.add("set multiplot");
  const std::pair<const char*, const char*> names[] = {{"east", kEast}, {"north", kNorth}, {"up", kUp}};
  for (int i = 0; i < 3; ++i) {
    std::vector<PlotPoint> points;
    for (const PositionError& e : errors)
      points.push_back({f.hours(e.time), e.enu[static_cast<std::size_t>(i)] * scale.factor});
    f.panel(i, 3);
    const double range = scale.range * scale.factor;
    f.plot.add(printed("set yrange [%g:%g]\nset ylabel '%s [%s]' offset 1\nunset key", -range, range,
                       names[i].first, scale.unit));
    f.plot.add("plot 0 with lines lw 0.6 lc rgb '#888888', " +
               f.plot.data(thinSeries(points, kSeriesPoints)) +
               printed(" with lines lw 1.1 lc rgb '%s'", names[i].second));
  }
  f.plot.add("unset multiplot");
  return Figure{"enu", "East, north, up", what + outsideNote(scale, errors.size()), "", false};
}

Frame frameOf(const RunFiles& run, const RunAnalysis& analysis, Gnuplot& plot) {
  const GpsTime begin = run.epochs.front().time;
  Frame f{run, analysis, plot, begin + -secondsOfDay(begin), formatTime(begin).substr(0, 10)};
  f.first = f.hours(begin);
  f.last = std::max(f.hours(run.epochs.back().time), f.first + 1.0 / 60.0);
  return f;
}

std::vector<Figure> drawFigures(const RunFiles& run, const RunAnalysis& analysis, Gnuplot& plot) {
  const Frame f = frameOf(run, analysis, plot);
  std::vector<Figure> figures;
  const auto take = [&](std::optional<Figure> figure) {
    if (figure) figures.push_back(std::move(*figure));
  };
  if (!analysis.wanders) take(drawErrors(f, referenceNote(analysis)));
  take(analysis.wanders ? drawTrack(f) : drawHorizontal(f));
  take(drawSky(f));
  take(drawSatellites(f));
  take(drawArcs(f));
  if (run.plan.resolution || analysis.summary.fixedShare > 0.0) take(drawFixes(f));
  take(drawFractions(f));
  take(drawResiduals(f, false));
  take(drawResiduals(f, true));
  take(drawSnr(f));
  take(drawZenithDelay(f));
  take(drawIonosphere(f));
  take(drawClock(f));
  take(drawSigma(f));
  std::size_t drawn = 0;
  const std::vector<std::string> svgs = plot.draw();
  for (Figure& figure : figures)
    if (figure.svg.empty()) figure.svg = svgs.at(drawn++);
  return figures;
}

}  // namespace gnx
