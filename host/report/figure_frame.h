#pragma once
/// \file figure_frame.h
/// What the figures of a report have in common: axis of time, sizes, colours.

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "report/figures.h"
#include "text/printed.h"

namespace gnx {

inline constexpr int kWidth = 900;
inline constexpr int kSquare = 440;
inline constexpr std::size_t kSeriesPoints = 1600;  ///< of a line
inline constexpr std::size_t kCloudPoints = 2500;   ///< of a system in a cloud
inline constexpr const char* kEast = "#2f7ed8";
inline constexpr const char* kNorth = "#1aa260";
inline constexpr const char* kUp = "#d9534f";
inline constexpr const char* kNeutral = "#8a7fd0";

/// "09:05" of hours since midnight, "1d 09:05" behind the first day.
std::string hourText(double hours);
/// Ticks of an axis of time, at most ten or so: hours since midnight, and their texts.
std::vector<std::pair<double, std::string>> timeTicks(double first, double last);
/// How lines of a system look: colour and dashes, as attributes of SVG.
std::string systemStroke(char system);
/// Dashes of a system's lines in a plot, "dt 2".
const char* systemDash(char system);
/// Kind of its points in a plot.
int systemPoint(char system);

/// What all figures of a run share: its axis of time.
struct Frame {
  const RunFiles& run;
  const RunAnalysis& analysis;
  Gnuplot& plot;
  GpsTime midnight;
  std::string date;
  double first = 0.0, last = 1.0;  ///< hours

  double hours(const GpsTime& t) const { return (t - midnight) / 3600.0; }
  /// Range and ticks of the time axis; only the lowest panel of a stack is labelled.
  void timeAxis(bool labelled) const {
    const double pad = 0.01 * (last - first);
    plot.add(printed("set xrange [%.6f:%.6f]", first - pad, last + pad));
    std::string ticks;
    for (const auto& [hour, label] : timeTicks(first, last))
      ticks += printed("%s'%s' %.6f", ticks.empty() ? "" : ", ", labelled ? label.c_str() : "", hour);
    plot.add("set xtics (" + ticks + ")");
    if (labelled) plot.add("set xlabel '" + date + ", GPS time'");
    else plot.add("unset xlabel");
  }
  /// Place of panel `i` of `n` in a stack.
  void panel(int i, int n) const {
    constexpr double kTop = 0.94, kBottom = 0.14, kGap = 0.05;
    const double height = (kTop - kBottom - kGap * (n - 1)) / n;
    const double top = kTop - i * (height + kGap);
    plot.add(printed("set tmargin at screen %.4f\nset bmargin at screen %.4f", top, top - height));
    plot.add("set lmargin at screen 0.075\nset rmargin at screen 0.985");
    timeAxis(i == n - 1);
  }
};

/// Lines of a plot command.
class PlotCommand {
 public:
  void add(const std::string& part) { parts_ += (parts_.empty() ? "plot " : ", ") + part; }
  /// Small dots, with a larger one in the key.
  void addCloud(const std::string& data, const char* color, const char* title, int point = 7) {
    add(data +
        printed(" with points pt %d ps %.2f lc rgb '%s' notitle", point, point == 7 ? 0.22 : 0.3, color));
    add(printed("keyentry with points pt %d ps 0.6 lc rgb '%s' title '%s'", point, color, title));
  }
  bool empty() const { return parts_.empty(); }
  const std::string& text() const { return parts_; }

 private:
  std::string parts_;
};

/// Points of a line over time, thinned.
std::vector<PlotPoint> seriesOf(const Frame& f, const std::vector<Sample>& samples, double scale = 1.0);
std::vector<PlotPoint> seriesOf(const Frame& f, const std::function<double(const SolutionEpoch&)>& value);

Frame frameOf(const RunFiles& run, const RunAnalysis& analysis, Gnuplot& plot);

/// Errors of the analysis over time. \param what  a sentence that says what is drawn
std::optional<Figure> drawErrors(const Frame& f, const std::string& what);
/// Satellites in the sky.
std::optional<Figure> drawSky(const Frame& f);
/// Use, slips and rejections of each satellite over time.
std::optional<Figure> drawArcs(const Frame& f);
/// Carrier-to-noise density by elevation; nothing when the observation files are gone.
std::optional<Figure> drawSnr(const Frame& f);
/// Slant delays of the ionosphere.
std::optional<Figure> drawIonosphere(const Frame& f);
/// Where a receiver went.
std::optional<Figure> drawTrack(const Frame& f);
/// Status strip, satellites fixed by level, ratio.
std::optional<Figure> drawFixes(const Frame& f);
/// How near the candidates of each level are to integers.
std::optional<Figure> drawFractions(const Frame& f);

}  // namespace gnx
