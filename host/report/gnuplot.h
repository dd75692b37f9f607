#pragma once
/// \file gnuplot.h
/// Figures by gnuplot, run as a child process on files in a directory of its own.

#include <filesystem>
#include <string>
#include <vector>

#include "report/thinning.h"

namespace gnx {

/// A drawing in the making: data and commands gather until draw().
class Gnuplot {
 public:
  /// \param program  "" searches PATH. Throws UsageError when there is no gnuplot.
  explicit Gnuplot(const std::string& program = "");
  ~Gnuplot();
  Gnuplot(const Gnuplot&) = delete;
  Gnuplot& operator=(const Gnuplot&) = delete;

  /// Whether draw() will find a gnuplot.
  static bool installed();

  /// Stores columns of numbers; the result is their name for a plot command, quotes included.
  std::string data(const std::vector<PlotPoint>& points);
  std::string data(const std::vector<std::vector<double>>& rows);
  /// Begins the next figure, `width` by `height` units.
  void figure(int width, int height);
  /// Commands of the present figure, one a line.
  void add(const std::string& commands) { script_ += commands + "\n"; }
  /// Runs gnuplot once over all figures. \return each as an SVG element for an HTML page, in order
  /// Throws InputError with gnuplot's words when it fails.
  std::vector<std::string> draw();

 private:
  std::string program_;
  std::filesystem::path directory_;
  std::string script_;
  int figures_ = 0, files_ = 0;
};

/// Turns an SVG file of gnuplot into an element of an HTML page: no header, no outside names, colours of
/// text and axes from the page, points of a colour joined to one path.
std::string inlineSvg(const std::string& file);
/// The reverse way for a picture of its own: a file with its own colours on white.
std::string standaloneSvg(const std::string& element);

}  // namespace gnx
