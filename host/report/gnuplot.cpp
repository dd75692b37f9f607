// Runs gnuplot and turns what it drew into elements of a page.

#include "report/gnuplot.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "gnx/error.h"
#include "platform/child_process.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

std::string findProgram() {
  const char* path = std::getenv("PATH");
  std::istringstream folders(path == nullptr ? "" : path);
  for (std::string folder; std::getline(folders, folder, ':');) {
    const fs::path candidate = fs::path(folder) / "gnuplot";
    if (access(candidate.c_str(), X_OK) == 0) return fs::absolute(candidate).string();
  }
  return "";
}

fs::path makeDirectory() {
  std::string name = (fs::temp_directory_path() / "gnx-plot-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr)
    throw InputError(name, 0, "cannot be made; check the folder for temporary files");
  return name;
}

std::string figureName(int number) { return "f" + std::to_string(number) + ".svg"; }

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
  std::string result;
  std::size_t at = 0;
  for (std::size_t found; (found = text.find(from, at)) != std::string::npos; at = found + from.size())
    result.append(text, at, found - at).append(to);
  text = result.append(text, at);
}

/// Removes every stretch from `open` to the end of the next `close`.
void removeBetween(std::string& text, std::string_view open, std::string_view close) {
  for (std::size_t from; (from = text.find(open)) != std::string::npos;) {
    const std::size_t to = text.find(close, from + open.size());
    if (to == std::string::npos) return;
    text.erase(from, to + close.size() - from);
  }
}

/// The text between two marks behind `at`; "" when they are not there.
std::string_view between(std::string_view text, std::string_view open, std::string_view close) {
  const std::size_t from = text.find(open);
  if (from == std::string_view::npos) return {};
  const std::size_t to = text.find(close, from + open.size());
  return to == std::string_view::npos ? std::string_view{}
                                      : text.substr(from + open.size(), to - from - open.size());
}

/// gnuplot makes an element of every point; a zero-length stroke with a round cap looks the same and is a
/// fifth as long.
class PointJoiner {
 public:
  bool take(std::string_view line) {
    if (line.find("<use ") == std::string_view::npos) return false;
    const std::string_view place = between(line, "translate(", ")"), scale = between(line, "scale(", ")"),
                           color = between(line, "color='", "'"), kind = between(line, "#gpPt", "'");
    if (place.empty() || scale.empty()) return false;
    if (color != color_ || scale != scale_ || kind != kind_) flush();
    color_ = color;
    scale_ = scale;
    kind_ = kind;
    path_.append("M").append(place).append(formOf(kind_, std::strtod(scale_.c_str(), nullptr)));
    return true;
  }
  void flush() {
    if (path_.empty()) return;
    std::ostringstream width;
    const bool dot = isDot(kind_);
    width << (dot ? 2.0 * std::strtod(scale_.c_str(), nullptr) : 0.7);
    out.append("<path d=\"")
        .append(path_)
        .append("\" stroke=\"")
        .append(color_.empty() ? "currentColor" : color_);
    out.append("\" stroke-width=\"")
        .append(width.str())
        .append("\"")
        .append(dot ? " stroke-linecap=\"round\"" : " fill=\"none\"")
        .append("/>\n");
    path_.clear();
  }
  std::string out;

 private:
  /// Systems have forms of their own; a form is its number less one.
  static bool isDot(const std::string& kind) {
    return kind != "0" && kind != "1" && kind != "4" && kind != "8" && kind != "12";
  }
  /// The outline about a place, back to which a path need not come.
  static std::string formOf(const std::string& kind, double scale) {
    const double a = 1.1 * scale;  // half its width
    if (kind == "0") return printed("m%.1f,0h%.1fm%.1f,%.1fv%.1f", -a, 2 * a, -a, -a, 2 * a);
    if (kind == "1")
      return printed("m%.1f,%.1fl%.1f,%.1fm0,%.1fl%.1f,%.1f", -a, -a, 2 * a, 2 * a, -2 * a, -2 * a, 2 * a);
    if (kind == "4") return printed("m%.1f,%.1fh%.1fv%.1fh%.1fz", -a, -a, 2 * a, 2 * a, -2 * a);
    if (kind == "8") return printed("m0,%.1fl%.1f,%.1fh%.1fz", -a, a, 2 * a, -2 * a);
    if (kind == "12") return printed("m0,%.1fl%.1f,%.1fl%.1f,%.1fl%.1f,%.1fz", -a, a, a, -a, a, -a, -a);
    return "h0";
  }

  std::string path_, color_, scale_, kind_;
};

/// One decimal of a unit is less than any screen shows.
std::string shortenNumbers(const std::string& text) {
  std::string result;
  result.reserve(text.size());
  bool data = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text.compare(i, 3, "d='") == 0 || text.compare(i, 3, "d=\"") == 0 ||
        text.compare(i, 8, "points =") == 0)
      data = true;
    if (data && (text[i] == '/' || text[i] == '>')) data = false;
    result += text[i];
    if (!data || text[i] != '.' || i + 2 >= text.size()) continue;
    result += text[i + 1];
    i += 2;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') ++i;
    --i;
  }
  return result;
}

}  // namespace

std::string inlineSvg(const std::string& file) {
  const auto start = file.find("<svg");
  if (start == std::string::npos) return "";
  const auto head = file.find('>', start);
  const std::string view(between(std::string_view(file).substr(start, head - start), "viewBox=\"", "\""));
  std::string body = file.substr(head + 1);
  removeBetween(body, "<title>", "</title>");
  removeBetween(body, "<desc>", "</desc>");
  removeBetween(body, "<defs>", "</defs>");
  removeBetween(body, " id=\"gnuplot", "\"");
  for (const char* drop : {" color=\"black\"", " color=\"white\"", " font-family=\"sans\"",
                           " stroke-linecap=\"butt\"", " stroke-linejoin=\"miter\"", "\t"})
    replaceAll(body, drop, "");
  replaceAll(body, "stroke=\"black\"", "stroke=\"currentColor\"");
  replaceAll(body, "fill=\"black\"", "fill=\"currentColor\"");
  replaceAll(body, "stroke='black'", "stroke='currentColor'");
  replaceAll(body, ",   ", ",");
  replaceAll(body, ",  ", ",");
  PointJoiner points;
  std::istringstream lines(body);
  for (std::string line; std::getline(lines, line);) {
    if (points.take(line)) continue;
    points.flush();
    if (!line.empty()) points.out += line + "\n";
  }
  points.flush();
  return "<svg viewBox=\"" + view + "\" role=\"img\">" + shortenNumbers(points.out);
}

std::string standaloneSvg(const std::string& element) {
  constexpr std::string_view kOpen = "<svg ";
  const auto head = element.find('>');
  if (!element.starts_with(kOpen) || head == std::string::npos) return element;
  return "<svg xmlns=\"http://www.w3.org/2000/svg\" color=\"#26323e\" " +
         element.substr(kOpen.size(), head + 1 - kOpen.size()) +
         "<style>text{font:11px sans-serif}</style><rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>" +
         element.substr(head + 1);
}

Gnuplot::Gnuplot(const std::string& program) : program_(program.empty() ? findProgram() : program) {
  if (program_.empty() || access(program_.c_str(), X_OK) != 0)
    throw UsageError(
        "the report needs gnuplot, which is not installed (Debian: apt-get install gnuplot-nox)");
  directory_ = makeDirectory();
}

Gnuplot::~Gnuplot() {
  std::error_code ignored;
  fs::remove_all(directory_, ignored);
}

bool Gnuplot::installed() { return !findProgram().empty(); }

std::string Gnuplot::data(const std::vector<PlotPoint>& points) {
  std::vector<std::vector<double>> rows;
  rows.reserve(points.size());
  for (const PlotPoint& p : points) rows.push_back({p.x, p.y});
  return data(rows);
}

std::string Gnuplot::data(const std::vector<std::vector<double>>& rows) {
  std::string name = "d";
  name += std::to_string(files_++);
  std::ofstream out(directory_ / name);
  out.precision(9);
  for (const auto& row : rows) {
    for (const double value : row) out << value << ' ';
    out << '\n';
  }
  if (rows.empty()) out << "NaN NaN NaN NaN NaN NaN\n";  // gnuplot takes an empty file for an error
  if (!out.flush())
    throw InputError((directory_ / name).string(), 0, "cannot be written; check the free space");
  return "'" + name + "'";
}

void Gnuplot::figure(int width, int height) {
  if (figures_ > 0) add("unset output\nreset");
  add("set terminal svg size " + std::to_string(width) + "," + std::to_string(height) +
      " dynamic rounded font 'sans,11'");
  add("set output '" + figureName(figures_++) + "'");
  add("set border 3 lw 0.7\nset tics nomirror out scale 0.5\nset grid lw 0.4 lc rgb '#888888'");
  add("set key top right horizontal samplen 1.2");
}

std::vector<std::string> Gnuplot::draw() {
  std::ofstream(directory_ / "script") << script_ << "unset output\n";
  const ChildResult child = runChild(program_, {"script"}, directory_);
  if (child.exitStatus != 0) throw InputError(program_, 0, "could not draw the figures: " + child.errors);
  std::vector<std::string> svgs;
  for (int i = 0; i < figures_; ++i) svgs.push_back(inlineSvg(readTextFile(directory_ / figureName(i))));
  return svgs;
}

}  // namespace gnx
