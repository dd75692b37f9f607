// Writes the tables of the page of a live run.

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

#include "live/live_page.h"
#include "live/page_words.h"
#include "report/template.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr double kDegrees = 180.0 / std::numbers::pi;

Markup card(const std::string& value, const std::string& name) {
  return fillPage("card.html", {{"value", value}, {"name", name}});
}

std::string bytesText(double bytes) {
  if (bytes < 1e4) return printed("%.0f B", bytes);
  return bytes < 1e7 ? printed("%.1f kB", bytes * 1e-3) : printed("%.1f MB", bytes * 1e-6);
}

// ---- position ----

/// Sigmas of east, north, up.
Vector3 sigmasOf(const Solution& s, const Geodetic& place) {
  Vector3 sigmas{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    Vector3 unit{};
    unit[axis] = 1.0;
    const Vector3 u = fromEastNorthUp(unit, place);
    double variance = 0.0;
    for (std::size_t i = 0; i < 3; ++i)
      for (std::size_t j = 0; j < 3; ++j) variance += u[i] * s.covariance[i][j] * u[j];
    sigmas[axis] = std::sqrt(std::max(variance, 0.0));
  }
  return sigmas;
}

std::string angle(double radians, char positive, char negative) {
  return printed("%.8f\u00B0 %c", std::abs(radians) * kDegrees, radians < 0.0 ? negative : positive);
}

std::string satellitesText(const Solution& s) {
  constexpr char kSystems[] = "GRECBJ";
  std::string text;
  for (std::size_t i = 0; i < s.satelliteCounts.size(); ++i)
    if (s.satelliteCounts[i] > 0)
      text += printed("%s%c %d", text.empty() ? "" : ", ", kSystems[i], s.satelliteCounts[i]);
  return text.empty() ? "satellites used" : "satellites used: " + text;
}

void addPlace(const Solution& s, std::vector<Markup>& cards) {
  const Geodetic place = toGeodetic(s.position);
  const Vector3 sigma = sigmasOf(s, place);
  cards.push_back(card(angle(place.latitude, 'N', 'S'), "latitude, \u00B1 " + metres(sigma[1])));
  cards.push_back(card(angle(place.longitude, 'E', 'W'), "longitude, \u00B1 " + metres(sigma[0])));
  cards.push_back(card(printed("%.4f m", place.height), "ellipsoidal height, \u00B1 " + metres(sigma[2])));
}

/// Whether a position should be there and is not.
bool isMissed(const LiveView& view) { return !view.sinceSolved_s || *view.sinceSolved_s > view.patience_s; }

std::string positionPart(const LiveView& view) {
  // What was, however good, is no position of now.
  const SolutionState state = view.solution && !isMissed(view) ? view.solution->state : SolutionState::none;
  const std::string why = !isMissed(view) || view.why.empty() ? view.why : "the last one: " + view.why;
  std::vector<Markup> cards = {fillPage("live/state_card.html", {{"badge", badge(state)}, {"why", why}})};
  if (view.solution) {
    const Solution& s = *view.solution;
    if (s.solved()) addPlace(s, cards);
    const int used = std::accumulate(s.satelliteCounts.begin(), s.satelliteCounts.end(), 0);
    cards.push_back(card(std::to_string(used), satellitesText(s)));
    cards.push_back(card(printed("%d", s.fixed), printed("satellites fixed, ratio %.1f", s.ratio)));
    cards.push_back(card(printed("%.1f", s.dop.position),
                         printed("PDOP; horizontal %.1f, vertical %.1f", s.dop.horizontal, s.dop.vertical)));
    cards.push_back(card(printed("%.2f s", view.facts.latency_s), "from observation to arrival"));
    cards.push_back(card(seconds(s.ages.orbitClock_s), "age of orbits and clocks; code biases " +
                                                           seconds(s.ages.codeBias_s) + ", phase biases " +
                                                           seconds(s.ages.phaseBias_s)));
    cards.push_back(card(formatTime(s.time).substr(11), "GPS time, " + formatTime(s.time).substr(0, 10)));
  }
  return joined(cards).html;
}

std::string noticePart(const LiveView& view) {
  if (!isMissed(view)) return "";
  const std::string since =
      view.sinceSolved_s ? "No position for " + printed("%.0f s", *view.sinceSolved_s) : "No position yet";
  const bool silent = view.sinceEpoch_s.value_or(0.0) > view.patience_s;
  const std::string why = silent ? "no epoch has come since" : view.why;
  return fillPage("live/notice.html", {{"text", since + (why.empty() ? "." : ": " + why + ".")}}).html;
}

// ---- satellites ----

std::string fateText(const ValueFate& value, bool isPhase) {
  if (value.fate != "used") return value.fate;
  return isPhase ? printed("%.1f mm", value.residual_m * 1e3) : printed("%.2f m", value.residual_m);
}

bool isUsed(const SatelliteSolution& sat) {
  return std::ranges::any_of(
      sat.bands, [](const BandSolution& b) { return b.code.fate == "used" || b.phase.fate == "used"; });
}

std::string satellitesPart(const LiveView& view) {
  if (!view.solution || view.solution->satellites.empty())
    return fillPage("live/nothing.html", {{"text", "No satellite has been observed yet."}}).html;
  std::vector<Markup> rows;
  std::ptrdiff_t used = 0;
  for (const SatelliteSolution& sat : view.solution->satellites) {
    const bool placed = sat.elevation_deg != 0.0 || sat.azimuth_deg != 0.0;  // not without an orbit
    const double azimuth_deg = std::fmod(sat.azimuth_deg + 360.0, 360.0);
    used += isUsed(sat) ? 1 : 0;
    for (const BandSolution& band : sat.bands)
      rows.push_back(fillPage("live/satellite_row.html",
                              {{"sat", sat.sat},
                               {"elevation", placed ? printed("%.0f", sat.elevation_deg) : ""},
                               {"azimuth", placed ? printed("%.0f", azimuth_deg) : ""},
                               {"signal", band.signal},
                               {"snr", printed("%.0f", band.snr_dBHz)},
                               {"code", fateText(band.code, false)},
                               {"phase", fateText(band.phase, true)}}));
  }
  return fillPage("live/satellites.html", {{"used", std::to_string(used)},
                                           {"all", std::to_string(view.solution->satellites.size())},
                                           {"rows", joined(rows)}})
      .html;
}

// ---- streams ----

std::string rolesText(int roles) {
  std::string text;
  for (const auto& [role, name] :
       {std::pair(LiveRole::observations, "observations"), std::pair(LiveRole::ephemerides, "messages"),
        std::pair(LiveRole::corrections, "corrections")})
    if ((roles & static_cast<int>(role)) != 0) text += (text.empty() ? "" : ", ") + std::string(name);
  return text;
}

/// From the time that the data are of to their arrival; of corrections to the epoch that uses them.
std::string delayOf(const StreamState& stream, const LiveView& view) {
  if (!view.solution) return "";
  const bool observed = (stream.roles & static_cast<int>(LiveRole::observations)) != 0;
  if (observed) return printed("%.2f s", view.facts.latency_s);
  if (stream.name == view.facts.corrections && view.solution->ages.orbitClock_s)
    return printed("%.1f s", *view.solution->ages.orbitClock_s);
  return "";
}

std::string streamsPart(const LiveView& view) {
  if (view.streams.empty()) return fillPage("live/nothing.html", {{"text", "No stream is read yet."}}).html;
  std::vector<Markup> rows;
  for (const StreamState& s : view.streams) {
    const auto link = view.connections.find(s.name);
    const bool linked = link != view.connections.end();
    const bool up = !linked || link->second.connected;
    const bool isSource = s.name == view.facts.corrections && !view.facts.corrections.empty();
    rows.push_back(
        fillPage("live/stream_row.html",
                 {{"name", s.name},
                  {"roles", rolesText(s.roles) + (isSource ? ", in use" : "")},
                  {"url", linked ? link->second.url : "file or recording"},
                  {"judgement", up ? "good" : "bad"},
                  {"connection", up ? "\u25CF up" : "\u25CB down"},
                  {"rate", bytesText(s.bytesPerSecond) + "/s"},
                  {"silent", seconds(s.silent_s)},
                  {"delay", delayOf(s, view)},
                  {"gaps", s.gaps == 0 ? "0" : printed("%d, longest ", s.gaps) + seconds(s.longestGap_s)},
                  {"reconnects",
                   linked ? std::to_string(std::max<std::int64_t>(link->second.connections - 1, 0)) : ""},
                  {"bytes", bytesText(static_cast<double>(s.bytes))}}));
  }
  return fillPage("live/streams.html", {{"rows", joined(rows)}}).html;
}

// ---- what happened ----

std::string changesPart(const LiveView& view) {
  if (view.changes.empty())
    return fillPage("live/nothing.html", {{"text", "No position and no fix has been gained or lost yet."}})
        .html;
  std::vector<Markup> rows;
  for (const StateChange& c : view.changes)
    rows.push_back(
        fillPage("live/change_row.html",
                 {{"time", formatTime(c.time)},
                  {"before", c.lasted_s > 0.0 ? seconds(c.lasted_s) + " " + wordOf(c.from) : "the start"},
                  {"to", badge(c.to)},
                  {"why", c.why}}));
  const auto shown = static_cast<std::int64_t>(view.changes.size());
  const std::string note = view.changeCount > shown
                               ? printed("The last %lld of %lld changes.", static_cast<long long>(shown),
                                         static_cast<long long>(view.changeCount))
                               : "";
  return fillPage("live/changes.html", {{"rows", joined(rows)}, {"note", note}}).html;
}

std::string accountPart(const LiveView& view) {
  std::vector<Markup> rows;
  const auto row = [&](const std::string& name, std::int64_t value) {
    rows.push_back(fillPage("row.html", {{"name", name}, {"value", std::to_string(value)}}));
  };
  row("epochs", view.epochs);
  row("with a position", view.positions);
  row("fixed", view.fixed);
  row("epochs that did not come", view.counts.missingEpochs);
  row("changes of a source", view.counts.switches);
  for (std::size_t i = 0; i < view.counts.drops.size(); ++i)
    if (view.counts.drops[i] > 0)
      row(std::string("left out: ") + nameOf(static_cast<LiveDrop>(i)), view.counts.drops[i]);
  return fillPage("table.html", {{"rows", joined(rows)}}).html;
}

}  // namespace

PageParts livePageParts(const LiveView& view, const std::vector<std::string>& log) {
  return {{"notice", noticePart(view)},         {"position", positionPart(view)},
          {"satellites", satellitesPart(view)}, {"streams", streamsPart(view)},
          {"changes", changesPart(view)},       {"log", logPart(log)},
          {"account", accountPart(view)}};
}

}  // namespace gnx
