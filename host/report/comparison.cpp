// Holds two runs against each other.

#include "report/comparison.h"

#include <json/json.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <set>

#include "gnx/error.h"
#include "report/figure_frame.h"
#include "report/template.h"
#include "run/solution_files.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr double kSameEpoch_s = 0.005;  ///< receivers' clocks wander; 20 Hz stay apart

/// What a run was told: its plan and the engine's settings, as text by name.
std::map<std::string, std::string> settingsOf(const RunFiles& run) {
  std::map<std::string, std::string> settings(run.settings.begin(), run.settings.end());
  std::ifstream in(run.directory / "run.json");
  Json::Value plan;
  Json::CharReaderBuilder reader;
  Json::StreamWriterBuilder writer;
  writer["indentation"] = "";
  if (!in || !Json::parseFromStream(reader, in, &plan, nullptr) || !plan.isObject()) return settings;
  for (const std::string& name : plan.getMemberNames())
    settings["run." + name] = Json::writeString(writer, plan[name]);
  return settings;
}

std::vector<DifferentSetting> differentSettings(const RunFiles& first, const RunFiles& second) {
  const auto a = settingsOf(first), b = settingsOf(second);
  std::set<std::string> names;
  for (const auto& [name, value] : a) names.insert(name);
  for (const auto& [name, value] : b) names.insert(name);
  std::vector<DifferentSetting> different;
  for (const std::string& name : names) {
    const auto of = [&name](const auto& settings) {
      const auto found = settings.find(name);
      return found == settings.end() ? std::string() : found->second;
    };
    if (of(a) != of(b)) different.push_back({name, of(a), of(b)});
  }
  return different;
}

void takeEpoch(const SolutionEpoch& a, const SolutionEpoch& b, Comparison& c) {
  ++c.common;
  const bool solved[] = {isSolved(a), isSolved(b)};
  if (!solved[0] || !solved[1]) {
    c.onlyFirst += solved[0] ? 1 : 0;
    c.onlySecond += solved[1] ? 1 : 0;
    return;
  }
  const bool fixed[] = {a.status == kFixedStatus, b.status == kFixedStatus};
  c.fixedByFirst += fixed[0] ? 1 : 0;
  c.fixedBySecond += fixed[1] ? 1 : 0;
  c.fixedByBoth += fixed[0] && fixed[1] ? 1 : 0;
  const Vector3 d{b.xyz[0] - a.xyz[0], b.xyz[1] - a.xyz[1], b.xyz[2] - a.xyz[2]};
  c.differences.push_back({a.time, toEastNorthUp(d, toGeodetic(a.xyz)), fixed[0] && fixed[1]});
}

double sizeOf(const PositionError& e) { return std::hypot(e.enu[0], e.enu[1], e.enu[2]); }

std::string statisticsText(const char* title, const ErrorStatistics& e) {
  std::string text = printed("%s, %zu epochs\n%8s%10s%10s%10s%10s\n", title, e.east.count, "m", "mean", "std",
                             "rms", "largest");
  for (const auto& [name, s] : {std::pair{"east", e.east}, {"north", e.north}, {"up", e.up}})
    text += printed("%8s%10.4f%10.4f%10.4f%10.4f\n", name, s.mean, s.deviation, s.rms, s.largest);
  return text;
}

Markup statisticsRows(const char* title, const ErrorStatistics& e) {
  std::vector<Markup> components;
  for (const auto& [name, s] : {std::pair{"east", e.east}, {"north", e.north}, {"up", e.up}})
    components.push_back(fillPage("error.html", {{"component", name},
                                                 {"mean", printed("%.4f", s.mean)},
                                                 {"deviation", printed("%.4f", s.deviation)},
                                                 {"rms", printed("%.4f", s.rms)},
                                                 {"largest", printed("%.4f", s.largest)}}));
  return fillPage("errors.html", {{"part", title},
                                  {"epochs", std::to_string(e.east.count)},
                                  {"components", joined(components)},
                                  {"horizontal", printed("%.4f", e.horizontalRms)},
                                  {"spatial", printed("%.4f", e.spatialRms)}});
}

Markup card(const std::string& value, const std::string& name) {
  return fillPage("card.html", {{"value", value}, {"name", name}});
}

}  // namespace

Comparison compareRuns(const RunFiles& first, const RunFiles& second) {
  Comparison c;
  for (std::size_t i = 0, j = 0; i < first.epochs.size() && j < second.epochs.size();) {
    const double apart = second.epochs[j].time - first.epochs[i].time;
    if (std::abs(apart) <= kSameEpoch_s) takeEpoch(first.epochs[i++], second.epochs[j++], c);
    else if (apart > 0.0) ++i;
    else ++j;
  }
  if (c.common == 0)
    throw InputError(second.directory, 0,
                     "has no epoch in common with " + first.directory.string() +
                         "; compare runs over the same observations");
  c.settings = differentSettings(first, second);
  if (c.differences.empty()) return c;
  const GpsTime begin = c.differences.front().time;
  c.all = describeErrors(c.differences, begin);
  c.largest = *std::ranges::max_element(c.differences, {}, sizeOf);
  std::vector<PositionError> fixed;
  std::ranges::copy_if(c.differences, std::back_inserter(fixed), &PositionError::fixed);
  if (!fixed.empty()) c.bothFixed = describeErrors(fixed, begin);
  return c;
}

std::string comparisonText(const RunFiles& first, const RunFiles& second, const Comparison& c) {
  std::string text = "second minus first: " + second.directory.string() + " minus " +
                     first.directory.string() + "\n" +
                     printed(
                         "epochs of both %zu, solved by both %zu, by the first alone %zu, by the second "
                         "alone %zu\n",
                         c.common, c.differences.size(), c.onlyFirst, c.onlySecond);
  if (c.largest) {
    text += printed("fixed by the first %zu, by the second %zu, by both %zu\n", c.fixedByFirst,
                    c.fixedBySecond, c.fixedByBoth);
    text += "\n" + statisticsText("all", c.all);
    if (c.bothFixed) text += "\n" + statisticsText("fixed by both", *c.bothFixed);
    text += printed("\nlargest %.4f m in space at %s\n", sizeOf(*c.largest),
                    formatTime(c.largest->time, 1).c_str());
  }
  if (!c.settings.empty()) text += "\nsettings that differ\n";
  for (const DifferentSetting& s : c.settings)
    text += "  " + s.name + ": " + (s.first.empty() ? "-" : s.first) + " | " +
            (s.second.empty() ? "-" : s.second) + "\n";
  return text;
}

std::string comparisonPage(const RunFiles& first, const RunFiles& second, const Comparison& c,
                           Gnuplot& plot) {
  RunAnalysis analysis;
  analysis.errors = c.differences;
  const Frame frame = frameOf(first, analysis, plot);
  std::vector<Markup> figures;
  if (auto figure = drawErrors(frame, "Second minus first.")) {
    const std::string svg = plot.draw().front();
    figures.push_back(fillPage(
        "figure.html",
        {{"id", figure->id}, {"title", figure->title}, {"caption", figure->caption}, {"svg", Markup(svg)}}));
  }
  std::vector<Markup> cards, errors, settings;
  cards.push_back(card(std::to_string(c.differences.size()), "epochs solved by both"));
  cards.push_back(card(printed("%zu, %zu", c.onlyFirst, c.onlySecond), "by the first alone, by the second"));
  cards.push_back(
      card(printed("%zu, %zu", c.fixedByFirst, c.fixedBySecond), "fixed by the first, by the second"));
  if (c.largest) {
    cards.push_back(card(printed("%.4f m", c.all.spatialRms), "rms in space"));
    cards.push_back(card(printed("%.4f m", sizeOf(*c.largest)), "largest, " + formatTime(c.largest->time)));
    errors.push_back(statisticsRows("all", c.all));
    if (c.bothFixed) errors.push_back(statisticsRows("fixed by both", *c.bothFixed));
  }
  for (const DifferentSetting& s : c.settings)
    settings.push_back(
        fillPage("setting_pair.html", {{"name", s.name}, {"first", s.first}, {"second", s.second}}));
  return fillPage("comparison.html", {{"first", first.directory.string()},
                                      {"second", second.directory.string()},
                                      {"style", pageFile("style.css")},
                                      {"version", GNX_VERSION},
                                      {"cards", joined(cards)},
                                      {"figures", joined(figures)},
                                      {"errors", joined(errors)},
                                      {"settings", joined(settings)}})
             .html +
         "\n";
}

}  // namespace gnx
