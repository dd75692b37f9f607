// Puts the page of a batch together.

#include "batch/batch_page.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

#include "batch/batch_summary.h"
#include "geometry/vector3.h"
#include "gnx/geodesy.h"
#include "report/figure_frame.h"
#include "report/gnuplot.h"
#include "report/template.h"
#include "run/statistics.h"
#include "text/printed.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr double kDay_s = 86400.0;

/// Positions of a station by day, and what they repeat to.
struct StationDays {
  std::vector<std::pair<GpsTime, Vector3>> positions;
  std::size_t runs = 0;
  Vector3 mean{};
  std::vector<Vector3> enu;  ///< about the mean, m
};

std::map<std::string, StationDays> stationsOf(const std::vector<BatchRun>& runs, const BatchResult& result) {
  std::map<std::string, StationDays> stations;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    StationDays& station = stations[runs[i].station];
    ++station.runs;
    const auto& record = result.records[i];
    if (!record || !record->figures.isMember("x_m")) continue;
    const Json::Value& f = record->figures;
    station.positions.emplace_back(runs[i].day,
                                   Vector3{f["x_m"].asDouble(), f["y_m"].asDouble(), f["z_m"].asDouble()});
  }
  for (auto& [name, station] : stations) {
    const auto count = static_cast<double>(station.positions.size());
    const Vector3 first = station.positions.empty() ? Vector3{} : station.positions.front().second;
    station.mean = first;
    for (const auto& [day, place] : station.positions)
      for (std::size_t i = 0; i < 3; ++i) station.mean[i] += (place[i] - first[i]) / count;
    for (const auto& [day, place] : station.positions)
      station.enu.push_back(toEastNorthUp(minus(place, station.mean), toGeodetic(station.mean)));
  }
  return stations;
}

SeriesStatistics repeatability(const StationDays& station, std::size_t axis) {
  std::vector<double> values;
  for (const Vector3& enu : station.enu) values.push_back(enu[axis]);
  return describeSeries(values);
}

Markup stationRows(const std::map<std::string, StationDays>& stations) {
  std::vector<Markup> rows;
  for (const auto& [name, station] : stations) {
    Fields fields = {{"station", name},
                     {"days", printed("%zu of %zu", station.positions.size(), station.runs)},
                     {"position", std::string("-")}};
    if (!station.positions.empty())
      fields["position"] = printed("%.4f  %.4f  %.4f", station.mean[0], station.mean[1], station.mean[2]);
    const char* const names[] = {"east", "north", "up"};
    for (std::size_t axis = 0; axis < 3; ++axis)
      fields[names[axis]] = station.enu.size() < 2
                                ? std::string("-")
                                : printed("%.1f", 1e3 * repeatability(station, axis).deviation);
    rows.push_back(fillPage("batch_station.html", fields));
  }
  return joined(rows);
}

/// The axis of days.
struct Days {
  GpsTime first;
  double count = 1.0;
  std::string ticks;  ///< for gnuplot, a dozen at most
};

Days daysOf(const std::map<std::string, StationDays>& stations) {
  Days days;
  std::optional<GpsTime> first, last;
  for (const auto& [name, station] : stations)
    for (const auto& [day, place] : station.positions) {
      if (!first || day < *first) first = day;
      if (!last || *last < day) last = day;
    }
  if (!first) return days;
  constexpr double kMostTicks = 9.0;
  days.first = *first;
  days.count = (*last - *first) / kDay_s + 1.0;
  const double step = std::ceil(days.count / kMostTicks);
  for (double day = 0.0; day < days.count; day += step)
    days.ticks += (days.ticks.empty() ? "" : ", ") +
                  printed("'%s' %g", formatTime(*first + day * kDay_s).substr(0, 10).c_str(), day);
  return days;
}

/// A panel an axis over the days, a line a station.
Markup figureOf(const std::map<std::string, StationDays>& stations) {
  constexpr std::size_t kMostStations = 8;
  constexpr const char* kColors[] = {"#3b78c3", "#d9822b", "#2a9d57", "#a34fb5",
                                     "#c9302c", "#7a7a2a", "#2a9d9d", "#888888"};
  constexpr int kPoints[] = {7, 5, 9, 13, 1, 2};
  const bool several = std::ranges::any_of(stations, [](const auto& s) { return s.second.enu.size() > 1; });
  if (!several || stations.size() > kMostStations || !Gnuplot::installed()) return Markup();
  const Days days = daysOf(stations);
  Gnuplot plot;
  plot.figure(980, 460);
  plot.add("set multiplot layout 3,1\nset border 3\nset tics nomirror\nset lmargin 10\nset ytics nomirror\n" +
           printed("set xrange [-0.5:%g]\nset xtics (", days.count - 0.5) + days.ticks + ")");
  const char* const names[] = {"east", "north", "up"};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    plot.add(printed("set ylabel '%s [mm]'\n%s", names[axis],
                     axis == 0 ? "set key top right horizontal" : "unset key"));
    std::string command = "plot 0 with lines lw 0.6 lc rgb '#888888' notitle";
    std::size_t k = 0;
    for (const auto& [name, station] : stations) {
      std::vector<PlotPoint> points;
      for (std::size_t i = 0; i < station.enu.size(); ++i)
        points.push_back({(station.positions[i].first - days.first) / kDay_s, 1e3 * station.enu[i][axis]});
      const std::string data = plot.data(points);
      const char* const color = kColors[k % std::size(kColors)];
      command +=
          ", " + data +
          printed(" with lines lw 0.7 dt %zu lc rgb '%s' title '%s', ", k % 5 + 1, color, name.c_str()) +
          data +
          printed(" with points pt %d ps 0.5 lc rgb '%s' notitle", kPoints[k % std::size(kPoints)], color);
      ++k;
    }
    plot.add(command);
  }
  plot.add("unset multiplot");
  return fillPage("figure.html", {{"id", "days"},
                                  {"title", "Days"},
                                  {"svg", Markup(plot.draw().front())},
                                  {"caption", "Last position of each day minus the station's mean."}});
}

/// "" for what a run has not told.
std::string numberIn(const Json::Value& figures, const char* column, const char* format, double scale) {
  return figures.isMember(column) && figures[column].isNumeric()
             ? printed(format, scale * figures[column].asDouble())
             : "";
}

Markup runRow(const fs::path& directory, const BatchRun& run, const std::optional<BatchRecord>& record) {
  static const Json::Value none(Json::objectValue);
  const Json::Value& f = record ? record->figures : none;
  const std::string day = formatTime(run.day).substr(0, 10);
  const fs::path report = run.directory / "report.html";
  const Markup link = fs::exists(report)
                          ? fillPage("batch_link.html",
                                     {{"file", report.lexically_relative(directory).string()}, {"text", day}})
                          : fillPage("batch_text.html", {{"text", day}});
  const double epochs = f["epochs"].asDouble();
  return fillPage("batch_row.html",
                  {{"station", run.station},
                   {"day", link},
                   {"judgement", record && record->status == 0 ? "good" : "bad"},
                   {"outcome", outcomeOf(record)},
                   {"solved", epochs > 0.0 ? printed("%.1f", 100.0 * f["solved"].asDouble() / epochs) : ""},
                   {"fixed", numberIn(f, "fixed_share", "%.1f", 100.0)},
                   {"satellites", numberIn(f, "satellites_mean", "%.1f", 1.0)},
                   {"convergence", numberIn(f, "convergence_s", "%.0f", 1.0 / 60.0)},
                   {"seconds", record ? printed("%.1f", record->seconds) : ""},
                   {"message", record ? record->message : ""}});
}

}  // namespace

std::string batchPage(const fs::path& directory, const std::vector<BatchRun>& runs,
                      const BatchResult& result) {
  const BatchCount count = countOf(result);
  std::vector<Markup> cards, rows;
  const auto card = [&](const std::string& value, const std::string& name) {
    cards.push_back(fillPage("card.html", {{"value", value}, {"name", name}}));
  };
  const auto stations = stationsOf(runs, result);
  card(printed("%zu of %zu", count.good, runs.size()), "runs good");
  if (count.partial > 0) card(std::to_string(count.partial), "without or with a partial result");
  if (count.failed > 0) card(std::to_string(count.failed), "failed");
  if (count.missing > 0) card(std::to_string(count.missing), "not run");
  card(std::to_string(stations.size()), "stations");
  for (std::size_t i = 0; i < runs.size(); ++i) rows.push_back(runRow(directory, runs[i], result.records[i]));
  return fillPage("batch.html", {{"style", pageFile("style.css")},
                                 {"version", GNX_VERSION},
                                 {"cards", joined(cards)},
                                 {"figure", figureOf(stations)},
                                 {"stations", stationRows(stations)},
                                 {"rows", joined(rows)}})
             .html +
         "\n";
}

}  // namespace gnx
