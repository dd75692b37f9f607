// Puts the page of a run together: what stands where, and how each number is written.

#include "report/page.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <map>
#include <set>

#include "report/station_section.h"
#include "report/system_order.h"
#include "report/template.h"
#include "text/printed.h"

namespace gnx {

namespace {

/// Millimetres below a centimetre, metres from one metre on.
std::string length(double metres) {
  if (std::abs(metres) < 0.01) return printed("%.1f mm", metres * 1000.0);
  return std::abs(metres) < 1.0 ? printed("%.1f cm", metres * 100.0) : printed("%.2f m", metres);
}

double percent(std::size_t part, std::size_t whole) {
  return whole == 0 ? 0.0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

/// Rows of a table of names and values.
class Rows {
 public:
  void add(const std::string& name, const std::string& value) {
    m_rows.push_back(fillPage("row.html", {{"name", name}, {"value", value}}));
  }
  void addJudged(const std::string& name, bool good, const std::string& value) {
    m_rows.push_back(fillPage("judged_row.html",
                              {{"name", name}, {"judgement", good ? "good" : "bad"}, {"value", value}}));
  }
  Markup markup() const { return joined(m_rows); }

 private:
  std::vector<Markup> m_rows;
};

/// Whether the run was to fix integers, or did.
bool fixes(const RunFiles& run, const RunAnalysis& a) {
  return run.plan.resolution || a.summary.fixedShare > 0.0;
}

Markup cards(const RunFiles& run, const RunAnalysis& a) {
  const RunSummary& s = a.summary;
  const ErrorStatistics& best = s.tail ? *s.tail : s.whole;
  std::vector<Markup> list;
  const auto card = [&](const std::string& value, const std::string& name) {
    list.push_back(fillPage("card.html", {{"value", value}, {"name", name}}));
  };
  const std::string part = s.tail ? "last " + duration(s.tailSeconds) : "whole run";
  const char* what = s.againstReference ? "rms" : "repeatability";
  if (best.east.count > 0 && !a.wanders) {  // the mean of a track is no place to repeat
    card(length(best.horizontalRms), printed("horizontal %s, ", what) + part);
    card(length(best.up.rms), printed("vertical %s, ", what) + part);
    card(duration(s.horizontalConvergence), "horizontal below 10 cm after");
  }
  if (fixes(run, a)) card(printed("%.1f %%", 100.0 * s.fixedShare), "epochs fixed");
  card(printed("%.1f %%", percent(s.solved, s.epochs)), "epochs solved");
  card(printed("%.1f", s.satellitesMean), "satellites, mean");
  if (s.timed > 0) card(printed("%.2f ms", s.medianMilliseconds), "per epoch, median");
  if (!run.account.empty()) {
    const SystemAccount total = totalOf(run.account);
    const double share =
        total.in == 0 ? 0.0 : 100.0 * static_cast<double>(total.used) / static_cast<double>(total.in);
    card(printed("%.1f %%", share), "observations used");
  }
  return joined(list);
}

Markup errorRows(const std::string& part, const ErrorStatistics& e) {
  std::vector<Markup> components;
  const auto component = [&](const char* name, const SeriesStatistics& s) {
    components.push_back(fillPage("error.html", {{"component", name},
                                                 {"mean", printed("%.4f", s.mean)},
                                                 {"deviation", printed("%.4f", s.deviation)},
                                                 {"rms", printed("%.4f", s.rms)},
                                                 {"largest", printed("%.4f", s.largest)}}));
  };
  component("east", e.east);
  component("north", e.north);
  component("up", e.up);
  return fillPage("errors.html", {{"part", part},
                                  {"epochs", std::to_string(e.east.count)},
                                  {"components", joined(components)},
                                  {"horizontal", printed("%.4f", e.horizontalRms)},
                                  {"spatial", printed("%.4f", e.spatialRms)}});
}

Markup summarySection(const RunAnalysis& a) {
  const RunSummary& s = a.summary;
  std::vector<Markup> errors;
  const bool told = s.whole.east.count > 0 && !a.wanders;
  if (told) errors.push_back(errorRows("whole run", s.whole));
  if (told && s.afterHour) errors.push_back(errorRows("after 1 h", *s.afterHour));
  if (told && s.tail) errors.push_back(errorRows("last " + duration(s.tailSeconds), *s.tail));
  Rows rows;
  if (told) {
    rows.add("horizontal below 10 cm, for good, after", duration(s.horizontalConvergence));
    rows.add("vertical below 20 cm, for good, after", duration(s.verticalConvergence));
  }
  rows.add("epochs, solved", printed("%zu, %zu", s.epochs, s.solved));
  rows.add("interval", printed("%g s", s.interval));
  rows.add("satellites, mean (min to max)",
           printed("%.1f (%d to %d)", s.satellitesMean, s.satellitesMin, s.satellitesMax));
  rows.add("sigma0, median (min to max)",
           printed("%.3f (%.3f to %.3f)", s.sigma0Median, s.sigma0Min, s.sigma0Max));
  if (s.timed > 0) {
    rows.add("time per epoch, median, 99 %, max",
             printed("%.2f, %.2f, %.2f ms", s.medianMilliseconds, s.p99Milliseconds, s.maxMilliseconds));
    rows.add("first epoch", printed("%.0f ms", s.firstMilliseconds));
  }
  return fillPage("summary.html", {{"error", s.againstReference ? "error, m" : "about the own mean, m"},
                                   {"errors", joined(errors)},
                                   {"rows", rows.markup()}});
}

/// Which levels fixed how much.
void addLevels(const RunFiles& run, Rows& rows) {
  for (const char* tag : {"ewl", "wl", "n1"}) {
    const auto level = run.levels.find(tag);
    if (level == run.levels.end() || level->second.empty()) continue;
    double sum = 0.0;
    std::size_t with = 0;
    for (const LevelSample& l : level->second) sum += l.fixed, with += l.fixed > 0 ? 1 : 0;
    if (with > 0)
      rows.add(printed("%s: epochs with fixes, satellites fixed on average", levelName(tag)),
               printed("%.1f %%, %.1f", percent(with, level->second.size()),
                       sum / static_cast<double>(level->second.size())));
  }
}

Markup fixTable(const RunFiles& run, const RunAnalysis& a) {
  const RunSummary& s = a.summary;
  Rows rows;
  rows.add("epochs fixed, of the solved", printed("%.1f %%", 100.0 * s.fixedShare));
  rows.add("first fix after", duration(s.firstFix));
  for (const std::string& remark : run.integerRemarks) rows.add("products", remark);
  if (a.fixes.fixed > 0 && s.againstReference) {
    rows.addJudged(printed("fixed epochs off by more than %.0f cm", 100.0 * kWrongFix_m), a.fixes.wrong == 0,
                   printed("%zu of %zu", a.fixes.wrong, a.fixes.fixed));
    rows.add("largest error of a fixed epoch", length(a.fixes.worst));
  }
  addLevels(run, rows);
  for (const auto& [tag, level] : a.integers.levels) {
    const std::string name = levelName(tag);
    rows.add(name + printed(": floats within %.2f cycle of an integer", kNearInteger),
             printed("%.1f %% of the values, %zu of %zu arcs in the mean", 100.0 * shareNearInteger(level),
                     arcsNearInteger(level), level.arcs.size()));
    if (level.checked > 0)
      rows.addJudged(name + ": wrong integers, against the simulation", level.wrong == 0,
                     printed("%zu of %zu", level.wrong, level.checked));
  }
  return fillPage("table.html", {{"rows", rows.markup()}});
}

std::string eventNote(const RunEvents& run, std::size_t listed) {
  std::string note = printed("Not listed: satellites that entered the filter (%zu) or left it (%zu).",
                             run.satellitesIn, run.satellitesOut);
  if (listed < run.events.size())
    note += printed(" The first %zu of %zu other events are listed; all are in events.csv.", listed,
                    run.events.size());
  return note;
}

Markup eventSection(const RunEvents& run) {
  constexpr std::size_t kMost = 40;
  std::vector<Markup> rows;
  for (std::size_t i = 0; i < std::min(kMost, run.events.size()); ++i) {
    const RunEvent& e = run.events[i];
    rows.push_back(fillPage("event.html", {{"time", e.time}, {"event", e.name}, {"details", e.details}}));
  }
  return fillPage("events.html", {{"note", eventNote(run, rows.size())}, {"rows", joined(rows)}});
}

Markup accountSection(const RunAccount& account) {
  if (account.empty()) return fillPage("no_account.html");
  std::vector<SystemAccount> columns;
  std::vector<Markup> head, rows;
  for (const char system : systemsOf(account)) {
    head.push_back(fillPage("head_cell.html", {{"text", systemName(system)}}));
    columns.push_back(account.at(system));
  }
  head.push_back(fillPage("head_cell.html", {{"text", "all"}}));
  columns.push_back(totalOf(account));
  const auto row = [&](const std::string& item, const char* style, auto value) {
    std::vector<Markup> counts;
    for (const SystemAccount& c : columns)
      counts.push_back(fillPage("cell.html", {{"text", std::to_string(value(c))}}));
    rows.push_back(
        fillPage("account_row.html", {{"style", style}, {"item", item}, {"counts", joined(counts, "")}}));
  };
  row("came in", "sum", [](const SystemAccount& c) { return c.in; });
  row("used", "sum", [](const SystemAccount& c) { return c.used; });
  for (const std::string& keyword : reasonsOf(account))
    row(describeReason(keyword), "",
        [&](const SystemAccount& c) { return c.reasons.contains(keyword) ? c.reasons.at(keyword) : 0; });
  if (columns.back().unexplained() != 0)
    row("not explained: the run broke off", "", [](const SystemAccount& c) { return c.unexplained(); });
  const long others = unplannedSystems(account);
  const SystemAccount* all = &columns.back();
  row("besides, on signals outside the plan", "mute",
      [&](const SystemAccount& c) { return c.unplanned - (&c == all ? others : 0); });
  if (others != 0)
    row("besides, of other systems", "mute", [&](const SystemAccount& c) { return &c == all ? others : 0; });
  return fillPage("account.html", {{"systems", joined(head, "")}, {"rows", joined(rows)}});
}

Markup residualTable(const RunAnalysis& a) {
  if (a.residuals.empty()) return fillPage("no_residuals.html");
  std::vector<Markup> rows;
  for (const auto& [system, r] : a.residuals)
    rows.push_back(fillPage("residual_row.html", {{"system", systemName(system)},
                                                  {"phases", std::to_string(r.phases)},
                                                  {"phase_rms", printed("%.1f", r.phaseRms * 1e3)},
                                                  {"phase_largest", printed("%.1f", r.phaseLargest * 1e3)},
                                                  {"codes", std::to_string(r.codes)},
                                                  {"code_rms", printed("%.2f", r.codeRms)},
                                                  {"code_largest", printed("%.2f", r.codeLargest)}}));
  return fillPage("residuals.html", {{"rows", joined(rows)}});
}

/// Residuals, slips and rejections by satellite.
Markup satelliteTable(const RunFiles& run) {
  std::map<SatName, std::array<std::vector<double>, 2>, SystemOrder> residuals;
  for (const Residual& r : run.residuals)
    if (parseSat(r.satellite)) residuals[r.satellite][r.phase ? 0 : 1].push_back(r.value);
  std::map<SatName, std::set<GpsTime>> slips;
  std::map<SatName, std::size_t> rejected;
  for (const PhaseArc& arc : run.arcs)
    if (arc.slipped()) slips[arc.satellite].insert(arc.from);
  for (const Rejection& r : run.rejections) ++rejected[r.satellite];
  std::vector<Markup> rows;
  for (const auto& [satellite, values] : residuals) {
    const SeriesStatistics phase = describeSeries(values[0]), code = describeSeries(values[1]);
    rows.push_back(fillPage("satellite_row.html", {{"satellite", std::string(satellite)},
                                                   {"phases", std::to_string(phase.count)},
                                                   {"phase_rms", printed("%.1f", phase.rms * 1e3)},
                                                   {"phase_largest", printed("%.1f", phase.largest * 1e3)},
                                                   {"code_rms", printed("%.2f", code.rms)},
                                                   {"code_largest", printed("%.2f", code.largest)},
                                                   {"slips", std::to_string(slips[satellite].size())},
                                                   {"rejected", std::to_string(rejected[satellite])}}));
  }
  return fillPage("satellites.html", {{"rows", joined(rows)}});
}

std::string listOf(const std::vector<std::string>& words, const char* separator) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
  return text;
}

/// Rows of the input files, by their names without folders.
void addFiles(const RunPlan& p, Rows& rows) {
  const auto add = [&](const char* name, const std::vector<std::string>& files) {
    std::vector<std::string> names;
    for (const std::string& file : files) names.push_back(std::filesystem::path(file).filename().string());
    if (!names.empty()) rows.add(name, listOf(names, ", "));
  };
  add("observations", p.obs);
  add("navigation", p.nav);
  add("orbits", p.sp3);
  add("clocks", p.clk);
  add("biases", p.bia);
  add("corrections", p.ssr);
  add("attitudes", p.orbex);
  add("ionosphere", p.ionex);
}

Markup stationSection(const RunFiles& run) {
  Rows rows;
  const auto facts = stationFacts(run);
  for (const auto& [name, value] : facts) rows.add(name, value);
  return facts.empty() ? Markup() : fillPage("station.html", {{"rows", rows.markup()}});
}

Markup settingsSection(const RunFiles& run, const RunAnalysis& a) {
  const RunPlan& p = run.plan;
  Rows rows;
  const auto row = [&](const std::string& name, const std::string& value) {
    if (!value.empty()) rows.add(name, value);
  };
  addFiles(p, rows);
  if (p.broadcastOnly) row("corrections", "none, broadcast orbits and clocks");
  row("mode, interval, mask", p.mode + printed(", %g s, %g°", p.interval, p.cutoffDeg));
  if (a.moving) row("reference", p.referenceFile);
  else if (a.reference)
    row(a.summary.againstReference ? "reference, m" : "reference, m (own mean)",
        printed("%.4f  %.4f  %.4f", (*a.reference)[0], (*a.reference)[1], (*a.reference)[2]));
  row("excluded satellites", listOf(p.excluded, " "));
  for (const auto& [name, value] : run.settings) row("ppp.json: " + name, value);
  const Markup notes = run.signals.empty() ? Markup() : fillPage("notes.html", {{"text", run.signals}});
  return fillPage("settings.html", {{"rows", rows.markup()}, {"notes", notes}});
}

Markup figureMarkup(const Figure& f) {
  return fillPage("figure.html",
                  {{"id", f.id}, {"title", f.title}, {"svg", Markup(f.svg)}, {"caption", f.caption}});
}

/// Those of the figures that the run has, in the order of the names.
std::vector<Markup> figuresOf(const std::vector<Figure>& figures, std::initializer_list<const char*> ids) {
  std::vector<Markup> list;
  for (const std::string id : ids)
    for (const Figure& f : figures)
      if (f.id == id) list.push_back(figureMarkup(f));
  return list;
}

Markup squareFigures(const std::vector<Figure>& figures) {
  std::vector<Markup> list;
  for (const Figure& f : figures)
    if (f.square) list.push_back(fillPage("square_figure.html", {{"figure", figureMarkup(f)}}));
  return joined(list);
}

Markup fixSections(const RunFiles& run, const RunAnalysis& a, const std::vector<Figure>& figures) {
  std::vector<Markup> parts = figuresOf(figures, {"fixes"});
  if (fixes(run, a)) parts.push_back(fixTable(run, a));
  if (!a.events.events.empty()) parts.push_back(eventSection(a.events));
  for (Markup& figure : figuresOf(figures, {"fractions", "satellites", "arcs"}))
    parts.push_back(std::move(figure));
  return joined(parts);
}

Markup residualSections(const RunFiles& run, const RunAnalysis& a, const std::vector<Figure>& figures) {
  std::vector<Markup> parts = figuresOf(figures, {"residuals-time"});
  parts.push_back(residualTable(a));
  if (!run.residuals.empty()) parts.push_back(satelliteTable(run));
  for (Markup& figure :
       figuresOf(figures, {"residuals-elevation", "snr", "zenith-delay", "ionosphere", "clock", "sigma0"}))
    parts.push_back(std::move(figure));
  return joined(parts);
}

/// One for each heading, in the order of the page.
Markup links(const std::string& page) {
  constexpr std::string_view kHeading = "<h2 id=\"";
  std::vector<Markup> list;
  for (auto at = page.find(kHeading); at != std::string::npos; at = page.find(kHeading, at)) {
    at += kHeading.size();
    const auto quote = page.find('"', at), end = page.find("</h2>", at);
    if (quote == std::string::npos || end == std::string::npos) break;
    list.push_back(fillPage("link.html", {{"id", page.substr(at, quote - at)},
                                          {"title", Markup(page.substr(quote + 2, end - quote - 2))}}));
  }
  return joined(list, "");
}

}  // namespace

std::string htmlPage(const RunFiles& run, const RunAnalysis& a, const std::vector<Figure>& figures) {
  const RunSummary& s = a.summary;
  const Markup body = fillPage("body.html", {{"station", stationSection(run)},
                                             {"position_figure", joined(figuresOf(figures, {"enu"}))},
                                             {"square_figures", squareFigures(figures)},
                                             {"summary", summarySection(a)},
                                             {"fix_sections", fixSections(run, a, figures)},
                                             {"account", accountSection(run.account)},
                                             {"residual_sections", residualSections(run, a, figures)},
                                             {"settings", settingsSection(run, a)}});
  return fillPage("page.html",
                  {{"name", stationName(run)},
                   {"date", formatTime(s.begin).substr(0, 10)},
                   {"style", pageFile("style.css")},
                   {"script", pageFile("report.js")},
                   {"begin", formatTime(s.begin)},
                   {"end", formatTime(s.end)},
                   {"duration", duration(s.end - s.begin)},
                   {"interval", printed("%g", s.interval)},
                   {"mode", run.plan.mode},
                   {"version", GNX_VERSION},
                   {"unfinished",
                    run.finished ? Markup() : fillPage("unfinished.html", {{"end", formatTime(s.end)}})},
                   {"links", links(body.html)},
                   {"cards", cards(run, a)},
                   {"body", body}})
             .html +
         "\n";
}

}  // namespace gnx
