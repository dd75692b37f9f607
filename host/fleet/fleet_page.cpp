// Writes the page of a fleet.

#include "fleet/fleet_page.h"

#include <array>
#include <utility>

#include "live/page_words.h"
#include "report/template.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr std::size_t kStates = 6;

Markup stateOf(const StationRow& row) {
  if (!row.state.here || !row.state.running || !row.healthy())
    return fillPage("live/badge.html", {{"number", row.state.here ? "1" : "0"},
                                        {"mark", row.state.here ? "\u2715" : "\u25CB"},
                                        {"word", row.word()}});
  return badge(row.report.state);
}

Markup rowOf(const StationRow& row) {
  const bool known = row.state.here && row.report.epochs > 0;
  const auto told = [&](std::string text) { return known ? std::move(text) : std::string(); };
  return fillPage("fleet/station_row.html",
                  {{"name", row.name},
                   {"state", stateOf(row)},
                   {"sigma", known && row.report.positions > 0 ? metres(row.report.sigma_m) : ""},
                   {"since", told(seconds(row.sincePosition_s))},
                   {"age", told(seconds(row.report.ages.orbitClock_s))},
                   {"latency", told(printed("%.3f s", row.report.latency_s))},
                   {"satellites", told(std::to_string(row.report.satellites))},
                   {"fixed", told(std::to_string(row.report.fixedSatellites))},
                   {"restarts", row.state.here ? std::to_string(row.state.restarts) : ""},
                   {"lost", row.state.here ? std::to_string(row.state.lost) : ""},
                   {"node", row.state.node}});
}

std::string stationsPart(const std::vector<StationRow>& rows) {
  std::vector<Markup> lines;
  for (const StationRow& row : rows) lines.push_back(rowOf(row));
  return fillPage("fleet/stations.html", {{"rows", joined(lines)}}).html;
}

/// How many stations of this machine are in which state.
std::string summaryPart(const std::vector<StationRow>& rows) {
  std::array<int, kStates> states{};
  int here = 0, elsewhere = 0, restarts = 0;
  for (const StationRow& row : rows) {
    if (!row.state.here) {
      ++elsewhere;
      continue;
    }
    ++here;
    restarts += row.state.restarts;
    ++states[row.healthy() ? static_cast<std::size_t>(row.report.state) : 0];
  }
  std::vector<Markup> cards;
  const auto add = [&](int count, const std::string& name) {
    cards.push_back(fillPage("card.html", {{"value", std::to_string(count)}, {"name", name}}));
  };
  add(here, elsewhere == 0 ? "stations" : printed("stations here, %d elsewhere", elsewhere));
  for (std::size_t i = kStates; i-- > 0;)
    if (states[i] > 0) add(states[i], i == 0 ? "without a position" : nameOf(static_cast<SolutionState>(i)));
  add(restarts, "workers started again");
  return joined(cards).html;
}

}  // namespace

FleetPage::FleetPage(const FleetStatus& status, const LiveLog& log, std::string name)
    : m_status(status),
      m_log(log),
      m_name(std::move(name)),
      m_events([this] { return helloEvent() + partsEvent(parts()); },
               [this] { return m_teller.news(parts(), {"stations"}); }) {}

PageParts FleetPage::parts() const {
  const std::vector<StationRow> rows = m_status.rows();
  const HttpAnswer health = m_status.health();
  return {{"notice", health.status == 200 ? "" : fillPage("live/notice.html", {{"text", health.body}}).html},
          {"summary", summaryPart(rows)},
          {"stations", stationsPart(rows)},
          {"log", logPart(m_log.last())}};
}

HttpAnswer FleetPage::page() const {
  Fields fields = {{"name", m_name}, {"version", GNX_VERSION}};
  for (auto& [name, html] : parts()) fields[name] = Markup(html);
  return {200, "text/html; charset=utf-8", fillPage("fleet/page.html", fields).html};
}

std::map<std::string, HttpServer::Page> FleetPage::pages() const {
  auto pages = pageAssets();
  pages["/"] = [this] { return page(); };
  pages["/fleet.js"] = [] { return scriptOf("fleet/fleet.js"); };
  pages["/metrics"] = [this] { return m_status.metrics(); };
  pages["/healthz"] = [this] { return m_status.health(); };
  return pages;
}

}  // namespace gnx
