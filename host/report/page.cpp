#include "report/page.h"

#include <cmath>
#include <filesystem>

#include "formats/printed.h"
#include "run/solution_files.h"

namespace gnx {

namespace {

constexpr const char* kStyle = R"(
:root{color-scheme:light dark;--fg:#1c2733;--bg:#fff;--soft:#f3f5f8;--line:#d5dbe3;--mute:#5d6b7a;--good:#178a50;--bad:#c9302c}
@media(prefers-color-scheme:dark){:root{--fg:#dfe6ee;--bg:#14181d;--soft:#1d232a;--line:#37414c;--mute:#95a3b3;--good:#4cc38a;--bad:#ff7b72}}
*{box-sizing:border-box}
body{margin:0 auto;max-width:1040px;padding:1.2rem 1rem 3rem;font:15px/1.45 system-ui,sans-serif;color:var(--fg);background:var(--bg)}
h1{font-size:1.5rem;margin:0}h2{font-size:1.1rem;margin:2rem 0 .5rem;padding-top:.3rem;border-top:1px solid var(--line)}
p{margin:.3rem 0}.mute{color:var(--mute)}.good{color:var(--good)}.bad{color:var(--bad)}
nav{margin:.6rem 0;font-size:.88rem}nav a{color:inherit;margin-right:.9rem}
.cards{display:grid;grid-template-columns:repeat(auto-fit,minmax(200px,1fr));gap:.6rem;margin:1rem 0}
.card{background:var(--soft);border-radius:8px;padding:.55rem .75rem}.card b{display:block;font-size:1.2rem;font-weight:600}.card span{font-size:.82rem;color:var(--mute)}
.scroll{overflow-x:auto}table{border-collapse:collapse;font-size:.9rem;margin:.4rem 0}
td,th{padding:.2rem .65rem;text-align:right;border-bottom:1px solid var(--line);font-variant-numeric:tabular-nums}
td:first-child,th:first-child{text-align:left}.text td{text-align:left;vertical-align:top;overflow-wrap:anywhere}
tr.sum td{font-weight:600}
figure{margin:.4rem 0}svg{display:block;width:100%;height:auto}svg text{font:11px system-ui,sans-serif}
.pair{display:grid;grid-template-columns:repeat(auto-fit,minmax(320px,1fr));gap:1rem}
pre{background:var(--soft);border-radius:8px;padding:.6rem .8rem;overflow-x:auto;font-size:.82rem}
@media print{body{max-width:none}h2{break-after:avoid}figure,table{break-inside:avoid}}
)";

std::string duration(const std::optional<double>& seconds) {
  if (!seconds) return "never";
  if (*seconds < 120.0) return printed("%.0f s", *seconds);
  if (*seconds < 7200.0) return printed("%.1f min", *seconds / 60.0);
  return printed("%.2f h", *seconds / 3600.0);
}

/// Millimetres below a centimetre, metres from one metre on.
std::string length(double metres) {
  if (std::abs(metres) < 0.01) return printed("%.1f mm", metres * 1000.0);
  return std::abs(metres) < 1.0 ? printed("%.1f cm", metres * 100.0) : printed("%.2f m", metres);
}

std::string heading(const char* id, const std::string& title) {
  return std::string("<h2 id=\"") + id + "\">" + title + "</h2>\n";
}

std::string card(const std::string& value, const std::string& name) {
  return "<div class=\"card\"><b>" + value + "</b><span>" + name + "</span></div>\n";
}

std::string cards(const RunFiles& run, const RunAnalysis& a) {
  const RunSummary& s = a.summary;
  const ErrorStatistics& best = s.tail ? *s.tail : s.whole;
  std::string html = "<div class=\"cards\">\n";
  const std::string part = s.tail ? "last " + duration(s.tailSeconds) : "whole run";
  const char* what = s.againstReference ? "rms" : "repeatability";
  html += card(length(best.horizontalRms), printed("horizontal %s, ", what) + part);
  html += card(length(best.up.rms), printed("vertical %s, ", what) + part);
  html += card(duration(s.horizontalConvergence), "horizontal below 10 cm after");
  html += card(printed("%.1f %%", 100.0 * s.fixedShare), "epochs fixed");
  html += card(
      printed("%.1f %%",
              s.epochs == 0 ? 0.0 : 100.0 * static_cast<double>(s.solved) / static_cast<double>(s.epochs)),
      "epochs solved");
  html += card(printed("%.1f", s.satellitesMean), "satellites, mean");
  if (s.timed > 0) html += card(printed("%.2f ms", s.medianMilliseconds), "per epoch, median");
  if (!run.account.empty()) {
    const SystemAccount total = totalOf(run.account);
    html += card(printed("%.1f %%", total.in == 0 ? 0.0
                                                  : 100.0 * static_cast<double>(total.used) /
                                                        static_cast<double>(total.in)),
                 "observations used");
  }
  return html + "</div>\n";
}

std::string errorRows(const std::string& title, const ErrorStatistics& e) {
  std::string html;
  const auto row = [&](const std::string& name, const SeriesStatistics& s) {
    html += "<tr><td>" + name + "</td>" +
            printed("<td>%.4f</td><td>%.4f</td><td>%.4f</td><td>%.4f</td></tr>\n", s.mean, s.deviation, s.rms,
                    s.largest);
  };
  html += "<tr class=\"sum\"><td>" + title +
          printed("</td><td colspan=\"4\">%zu epochs</td></tr>\n", e.east.count);
  row("east", e.east);
  row("north", e.north);
  row("up", e.up);
  html += printed("<tr><td>horizontal</td><td></td><td></td><td>%.4f</td><td></td></tr>\n", e.horizontalRms);
  return html + printed("<tr><td>3D</td><td></td><td></td><td>%.4f</td><td></td></tr>\n", e.spatialRms);
}

std::string summarySection(const RunAnalysis& a) {
  const RunSummary& s = a.summary;
  std::string html = heading("summary", "Convergence and summary");
  html += "<div class=\"pair\"><div class=\"scroll\"><table>\n<tr><th>" +
          std::string(s.againstReference ? "error, m" : "about the own mean, m") +
          "</th><th>mean</th><th>std</th><th>rms</th><th>max</th></tr>\n";
  if (s.whole.east.count > 0) html += errorRows("whole run", s.whole);
  if (s.afterHour) html += errorRows("after 1 h", *s.afterHour);
  if (s.tail) html += errorRows("last " + duration(s.tailSeconds), *s.tail);
  html += "</table></div><div class=\"scroll\"><table>\n";
  const auto row = [&](const std::string& name, const std::string& value) {
    html += "<tr><td>" + name + "</td><td>" + value + "</td></tr>\n";
  };
  row("horizontal below 10 cm, for good, after", duration(s.horizontalConvergence));
  row("vertical below 20 cm, for good, after", duration(s.verticalConvergence));
  row("epochs, solved", printed("%zu, %zu", s.epochs, s.solved));
  row("interval", printed("%g s", s.interval));
  row("satellites, mean (min to max)",
      printed("%.1f (%d to %d)", s.satellitesMean, s.satellitesMin, s.satellitesMax));
  row("sigma0, median (min to max)",
      printed("%.3f (%.3f to %.3f)", s.sigma0Median, s.sigma0Min, s.sigma0Max));
  if (s.timed > 0) {
    row("time per epoch, median, 99 %, max",
        printed("%.2f, %.2f, %.2f ms", s.medianMilliseconds, s.p99Milliseconds, s.maxMilliseconds));
    row("first epoch", printed("%.0f ms", s.firstMilliseconds));
  }
  return html + "</table></div></div>\n";
}

std::string fixSection(const RunFiles& run, const RunAnalysis& a) {
  const RunSummary& s = a.summary;
  std::string html = "<div class=\"scroll\"><table>\n";
  const auto row = [&](const std::string& name, const std::string& value) {
    html += "<tr><td>" + name + "</td><td>" + value + "</td></tr>\n";
  };
  row("epochs fixed, of the solved", printed("%.1f %%", 100.0 * s.fixedShare));
  row("first fix after", duration(s.firstFix));
  if (a.fixes.fixed > 0 && s.againstReference) {
    row(printed("fixed epochs off by more than %.0f cm", 100.0 * kWrongFix_m),
        printed("<span class=\"%s\">%zu of %zu</span>", a.fixes.wrong == 0 ? "good" : "bad", a.fixes.wrong,
                a.fixes.fixed));
    row("largest error of a fixed epoch", length(a.fixes.worst));
  }
  for (const char* tag : {"ewl", "wl", "n1"}) {
    const char* name = levelName(tag);
    const auto level = run.levels.find(tag);
    if (level == run.levels.end() || level->second.empty()) continue;
    double sum = 0.0;
    std::size_t with = 0;
    for (const LevelSample& l : level->second) sum += l.fixed, with += l.fixed > 0 ? 1 : 0;
    const auto n = static_cast<double>(level->second.size());
    if (with > 0)
      row(printed("%s: epochs with fixes, satellites fixed on average", name),
          printed("%.1f %%, %.1f", 100.0 * static_cast<double>(with) / n, sum / n));
  }
  for (const auto& [tag, level] : a.integers.levels) {
    const std::string name = levelName(tag);
    row(name + printed(": floats within %.2f cycle of an integer", kNearInteger),
        printed("%.1f %% of the values, %zu of %zu arcs in the mean", 100.0 * shareNearInteger(level),
                arcsNearInteger(level), level.arcs.size()));
    if (level.checked > 0)
      row(name + ": wrong integers, against the simulation",
          printed("<span class=\"%s\">%zu of %zu</span>", level.wrong == 0 ? "good" : "bad", level.wrong,
                  level.checked));
  }
  return html + "</table></div>\n";
}

std::string accountSection(const RunAccount& account) {
  std::string html = heading("account", "Account of observations");
  if (account.empty())
    return html + "<p class=\"mute\">None: the run broke off, or was made without an account.</p>\n";
  html +=
      "<p>Code and phase values of the planned signals: every value that came in is used or has one "
      "reason.</p>\n<div class=\"scroll\"><table>\n<tr><th></th>";
  std::vector<SystemAccount> columns;
  for (const char system : systemsOf(account)) {
    html += std::string("<th>") + systemName(system) + "</th>";
    columns.push_back(account.at(system));
  }
  columns.push_back(totalOf(account));
  html += "<th>all</th></tr>\n";
  const auto row = [&](const std::string& name, const char* style, auto value) {
    html += std::string("<tr class=\"") + style + "\"><td>" + escapeHtml(name) + "</td>";
    for (const SystemAccount& c : columns) html += printed("<td>%ld</td>", static_cast<long>(value(c)));
    html += "</tr>\n";
  };
  row("came in", "sum", [](const SystemAccount& c) { return c.in; });
  row("used", "sum", [](const SystemAccount& c) { return c.used; });
  for (const std::string& keyword : reasonsOf(account))
    row(describeReason(keyword), "",
        [&](const SystemAccount& c) { return c.reasons.contains(keyword) ? c.reasons.at(keyword) : 0; });
  if (columns.back().unexplained() != 0)
    row("not explained: the run broke off", "", [](const SystemAccount& c) { return c.unexplained(); });
  row("besides, on signals outside the plan", "mute", [](const SystemAccount& c) { return c.unplanned; });
  return html + "</table></div>\n";
}

std::string residualTable(const RunAnalysis& a) {
  if (a.residuals.empty()) return "<p class=\"mute\">No residuals were kept in this run (--details 0).</p>\n";
  std::string html =
      "<div class=\"scroll\"><table>\n<tr><th>residuals</th><th>phases</th><th>rms, mm</th><th>max, "
      "mm</th><th>codes</th><th>rms, m</th><th>max, m</th></tr>\n";
  for (const auto& [system, r] : a.residuals)
    html +=
        std::string("<tr><td>") + systemName(system) +
        printed("</td><td>%zu</td><td>%.1f</td><td>%.1f</td><td>%zu</td><td>%.2f</td><td>%.2f</td></tr>\n",
                r.phases, r.phaseRms * 1e3, r.phaseLargest * 1e3, r.codes, r.codeRms, r.codeLargest);
  return html + "</table></div>\n";
}

std::string settingsSection(const RunFiles& run, const RunAnalysis& a) {
  const RunPlan& p = run.plan;
  std::string html =
      heading("settings", "Settings and files") + "<div class=\"scroll\"><table class=\"text\">\n";
  const auto row = [&](const std::string& name, const std::string& value) {
    if (!value.empty())
      html += "<tr><td>" + escapeHtml(name) + "</td><td>" + escapeHtml(value) + "</td></tr>\n";
  };
  const auto files = [&](const char* name, const std::vector<std::string>& list) {
    std::string names;
    for (const std::string& file : list)
      names += (names.empty() ? "" : ", ") + std::filesystem::path(file).filename().string();
    row(name, names);
  };
  files("observations", p.obs);
  files("navigation", p.nav);
  files("orbits", p.sp3);
  files("clocks", p.clk);
  files("biases", p.bia);
  files("corrections", p.ssr);
  if (p.broadcastOnly) row("corrections", "none, broadcast orbits and clocks");
  row("receiver", p.receiver);
  row("antenna", p.antenna);
  row("mode, interval, mask", p.mode + printed(", %g s, %g°", p.interval, p.cutoffDeg));
  if (a.moving) row("reference", p.referenceFile);
  else if (a.reference)
    row(a.summary.againstReference ? "reference, m" : "reference, m (own mean)",
        printed("%.4f  %.4f  %.4f", (*a.reference)[0], (*a.reference)[1], (*a.reference)[2]));
  std::string excluded;
  for (const SatName& sat : p.excluded) excluded += (excluded.empty() ? "" : " ") + sat;
  row("excluded satellites", excluded);
  std::string floating;
  for (const std::string& name : p.floating) floating += (floating.empty() ? "" : " ") + name;
  row("never fixed", floating);
  for (const auto& [name, value] : run.settings) row("ppp.json: " + name, value);
  html += "</table></div>\n";
  if (!run.signals.empty())
    html += "<p>Signals and notes of the run:</p><pre>" + escapeHtml(run.signals) + "</pre>\n";
  return html;
}

const Figure* figureOf(const std::vector<Figure>& figures, const std::string& id) {
  for (const Figure& f : figures)
    if (f.id == id) return &f;
  return nullptr;
}

std::string figureHtml(const Figure& f) {
  return heading(f.id.c_str(), escapeHtml(f.title)) + "<figure>" + f.svg + "<figcaption class=\"mute\">" +
         escapeHtml(f.caption) + "</figcaption></figure>\n";
}

}  // namespace

std::string escapeHtml(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '&') result += "&amp;";
    else if (c == '<') result += "&lt;";
    else if (c == '>') result += "&gt;";
    else if (c == '"') result += "&quot;";
    else result += c;
  }
  return result;
}

std::string htmlPage(const RunFiles& run, const RunAnalysis& a, const std::vector<Figure>& figures) {
  const RunSummary& s = a.summary;
  const std::string name = run.plan.obs.empty()
                               ? run.directory.string()
                               : std::filesystem::path(run.plan.obs.front()).filename().string();
  std::string html =
      "<!doctype html>\n<html lang=\"en\">\n<head><meta charset=\"utf-8\"><meta name=\"viewport\" "
      "content=\"width=device-width,initial-scale=1\">\n<title>" +
      escapeHtml(name) + "</title>\n<style>" + kStyle + "</style></head>\n<body>\n";
  html +=
      "<h1>" + escapeHtml(name) + "</h1>\n<p class=\"mute\">" + formatTime(s.begin) + " to " +
      formatTime(s.end) + " GPS time, " + duration(s.end - s.begin) +
      printed(", every %g s, %s; gnx %s</p>\n", s.interval, escapeHtml(run.plan.mode).c_str(), GNX_VERSION);
  html += "<nav><a href=\"#summary\">Summary</a><a href=\"#account\">Account</a>";
  for (const Figure& f : figures) html += "<a href=\"#" + f.id + "\">" + escapeHtml(f.title) + "</a>";
  html += "<a href=\"#settings\">Settings</a></nav>\n" + cards(run, a);
  const auto show = [&](const char* id) {
    if (const Figure* f = figureOf(figures, id)) html += figureHtml(*f);
  };
  show("enu");
  html += "<div class=\"pair\">\n";
  for (const Figure& f : figures)
    if (f.square) html += "<div>" + figureHtml(f) + "</div>\n";
  html += "</div>\n" + summarySection(a);
  show("fixes");
  html += fixSection(run, a);
  show("fractions");
  show("satellites");
  html += accountSection(run.account);
  show("residuals-time");
  html += residualTable(a);
  for (const char* id : {"residuals-elevation", "zenith-delay", "clock", "sigma0"}) show(id);
  return html + settingsSection(run, a) + "</body>\n</html>\n";
}

}  // namespace gnx
