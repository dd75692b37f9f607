// Metrics and health of a live run.

#include "live/live_status.h"

#include <algorithm>
#include <numbers>
#include <utility>

#include "live/metrics_text.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr double kHealthy_s = 30.0, kQuiet_s = 5.0;  ///< without a position
constexpr double kEpochs = 2.5;                      ///< the same, by the interval of the observations
constexpr double kDegrees = 180.0 / std::numbers::pi;

template <class Value>
void addSources(MetricsText& text, const char* name, const char* type, const char* help,
                const std::map<std::string, const Source*>& sources, Value&& value) {
  text.begin(name, type, help);
  for (const auto& [source, state] : sources)
    text.value(static_cast<double>(value(state->state())), "source", source);
}

}  // namespace

void LiveStatus::take(const Solution& solution, const LiveFacts& facts, double processing_s) {
  std::string line = solutionJson(solution, facts);
  const std::lock_guard lock(m_mutex);
  m_json = std::move(line);
  if (m_last) m_intervalBefore_s = std::exchange(m_interval_s, solution.time - m_last->time);
  m_last = solution;
  m_facts = facts;
  m_taken = Clock::now();
  m_point = m_history.add(solution);
  m_changes.take(solution);
  m_why = solution.why;
  m_state = solution.state;
  m_ages = solution.ages;
  m_latency_s = facts.latency_s;
  m_processing_s += processing_s;
  m_engine_s += solution.milliseconds * 1e-3;
  ++m_solutions;
  if (solution.solved()) m_solved = Clock::now(), ++m_positions;
  if (solution.state == SolutionState::fixed) ++m_fixed;
}

void LiveStatus::take(const LiveCounts& counts) {
  const std::lock_guard lock(m_mutex);
  m_counts = counts;
}

void LiveStatus::take(const RecordedEvent& event) {
  const std::lock_guard lock(m_mutex);
  m_streams.take(event, Clock::now());
}

void LiveStatus::add(const Source& source) {
  const std::lock_guard lock(m_mutex);
  m_sources[source.name()] = &source;
}

void LiveStatus::remove(const Source& source) {
  const std::lock_guard lock(m_mutex);
  std::erase_if(m_sources, [&](const auto& item) { return item.second == &source; });
}

double LiveStatus::sinceSolved_s() const {
  return std::chrono::duration<double>(Clock::now() - *m_solved).count();
}

/// Receivers that send an epoch every 30 s are not silent in between; one outage makes nobody patient.
double LiveStatus::patience_s(double least) const {
  return std::max(least, kEpochs * std::min(m_interval_s, m_intervalBefore_s));
}

HttpAnswer LiveStatus::metrics() const {
  const std::lock_guard lock(m_mutex);
  MetricsText text;
  text.one("gnx_solutions_total", "counter", "Epochs that the engine worked on.",
           static_cast<double>(m_solutions));
  text.one("gnx_positions_total", "counter", "Epochs with a position.", static_cast<double>(m_positions));
  text.one("gnx_fixed_total", "counter", "Epochs with a fixed position.", static_cast<double>(m_fixed));
  text.one("gnx_state", "gauge", "0 none, 1 codes, 2 float, 3 extra-wide-lane, 4 wide-lane, 5 fixed.",
           static_cast<double>(m_state));
  text.one("gnx_latency_seconds", "gauge", "From the time of the last observations to their arrival.",
           m_latency_s);
  text.one("gnx_engine_seconds_total", "counter", "Time in the engine.", m_engine_s);
  text.one("gnx_processing_seconds_total", "counter", "From the arrival of observations to their solution.",
           m_processing_s);
  if (m_solved) text.one("gnx_position_age_seconds", "gauge", "Since the last position.", sinceSolved_s());
  text.begin("gnx_correction_age_seconds", "gauge", "Of the corrections at the last epoch.");
  for (const auto& [kind, age] :
       {std::pair("orbit_clock", m_ages.orbitClock_s), std::pair("code_bias", m_ages.codeBias_s),
        std::pair("phase_bias", m_ages.phaseBias_s)})
    if (age) text.value(*age, "kind", kind);
  text.begin("gnx_dropped_total", "counter", "Records left out, by reason.");
  for (std::size_t i = 0; i < m_counts.drops.size(); ++i)
    text.value(static_cast<double>(m_counts.drops[i]), "reason", nameOf(static_cast<LiveDrop>(i)));
  text.one("gnx_missing_epochs_total", "counter", "Epochs that did not come.",
           static_cast<double>(m_counts.missingEpochs));
  text.one("gnx_source_changes_total", "counter", "From one source to another.",
           static_cast<double>(m_counts.switches));
  addSources(text, "gnx_source_bytes_total", "counter", "Bytes received.", m_sources,
             [](const SourceState& s) { return s.bytes.load(); });
  addSources(text, "gnx_source_connected", "gauge", "1 while it is connected.", m_sources,
             [](const SourceState& s) { return s.connected.load() ? 1 : 0; });
  addSources(text, "gnx_source_connections_total", "counter", "Connections made.", m_sources,
             [](const SourceState& s) { return s.connections.load(); });
  return {200, "text/plain; version=0.0.4; charset=utf-8", text.take()};
}

HttpAnswer LiveStatus::health() const {
  const std::lock_guard lock(m_mutex);
  if (m_solved && sinceSolved_s() <= patience_s(kHealthy_s))
    return {200, "text/plain; charset=utf-8", "ok\n"};
  const std::string since = m_solved ? printed("no position for %.0f s", sinceSolved_s()) : "no position yet";
  return {503, "text/plain; charset=utf-8", since + (m_why.empty() ? "" : ": " + m_why) + "\n"};
}

HttpAnswer LiveStatus::solution() const {
  const std::lock_guard lock(m_mutex);
  if (m_json.empty()) return {503, "application/json", "{\"why\": \"no epoch yet\"}\n"};
  return {200, "application/json", m_json};
}

LiveView LiveStatus::view() const {
  const std::lock_guard lock(m_mutex);
  const Clock::time_point now = Clock::now();
  LiveView v;
  v.solution = m_last;
  v.facts = m_facts;
  v.why = m_why;
  v.patience_s = patience_s(kQuiet_s);
  if (m_taken) v.sinceEpoch_s = std::chrono::duration<double>(now - *m_taken).count();
  if (m_solved) v.sinceSolved_s = sinceSolved_s();
  v.epochs = m_solutions;
  v.positions = m_positions;
  v.fixed = m_fixed;
  v.changeCount = m_changes.count();
  v.counts = m_counts;
  v.changes.assign(m_changes.last().begin(), m_changes.last().end());
  v.streams = m_streams.states(now);
  for (const auto& [name, source] : m_sources) {
    const SourceState& state = source->state();
    v.connections[name] = {source->url().text, state.connected, state.connections, state.lost};
  }
  return v;
}

std::string LiveStatus::historyJson() const {
  std::vector<TrackPoint> points;
  std::optional<Geodetic> origin;
  {
    const std::lock_guard lock(m_mutex);
    points = m_history.points();
    origin = m_history.origin();
  }
  std::string text = "{";
  if (origin)
    text += printed("\"latitude_deg\":%.10f,\"longitude_deg\":%.10f,\"height_m\":%.4f,",
                    origin->latitude * kDegrees, origin->longitude * kDegrees, origin->height);
  text += "\"points\":[";
  for (const TrackPoint& point : points) {
    if (&point != points.data()) text += ',';
    text += trackPointJson(point);
  }
  return text + "]}";
}

std::string LiveStatus::epochJson() const {
  const std::lock_guard lock(m_mutex);
  if (m_json.empty()) return "";
  return "{\"point\":" + trackPointJson(m_point) + ",\"solution\":" + m_json.substr(0, m_json.find('\n')) +
         "}";
}

}  // namespace gnx
