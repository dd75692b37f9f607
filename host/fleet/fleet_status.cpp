// Metrics and health of a fleet.

#include "fleet/fleet_status.h"

#include <array>
#include <utility>

#include "live/metrics_text.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr double kHealthy_s = 30.0;  ///< without a position
constexpr std::size_t kNamed = 10;   ///< stations of a sentence

double since_s(std::chrono::steady_clock::time_point t) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t).count();
}

std::string labels(const std::string& station, const char* label = nullptr, const std::string& of = "") {
  return station + (label == nullptr ? "" : "\"," + std::string(label) + "=\"" + of);
}

template <class Value>
void addRows(MetricsText& text, const char* name, const char* type, const char* help,
             const std::vector<StationRow>& rows, Value&& value) {
  text.begin(name, type, help);
  for (const StationRow& row : rows)
    if (row.state.here) text.value(static_cast<double>(value(row)), "station", row.name);
}

void addReports(MetricsText& text, const std::vector<StationRow>& rows) {
  const auto add = [&](const char* name, const char* type, const char* help, auto value) {
    addRows(text, name, type, help, rows, [&](const StationRow& row) { return value(row.report); });
  };
  add("gnx_solutions_total", "counter", "Epochs that the engine worked on, since the worker's start.",
      [](const StationReport& r) { return r.epochs; });
  add("gnx_positions_total", "counter", "Epochs with a position.",
      [](const StationReport& r) { return r.positions; });
  add("gnx_fixed_total", "counter", "Epochs with a fixed position.",
      [](const StationReport& r) { return r.fixed; });
  add("gnx_state", "gauge", "0 none, 1 codes, 2 float, 3 extra-wide-lane, 4 wide-lane, 5 fixed.",
      [](const StationReport& r) { return static_cast<int>(r.state); });
  add("gnx_sigma_meters", "gauge", "Of the last position, in space.",
      [](const StationReport& r) { return r.sigma_m; });
  add("gnx_latency_seconds", "gauge", "From the time of the last observations to their solution.",
      [](const StationReport& r) { return r.latency_s; });
  add("gnx_engine_seconds_total", "counter", "Time in the engine.",
      [](const StationReport& r) { return r.engine_s; });
  add("gnx_processing_seconds_total", "counter", "From taking observations to their solution.",
      [](const StationReport& r) { return r.processing_s; });
}

void addAges(MetricsText& text, const std::vector<StationRow>& rows) {
  text.begin("gnx_position_age_seconds", "gauge", "Since the last position.");
  for (const StationRow& row : rows)
    if (row.state.here && row.sincePosition_s) text.value(*row.sincePosition_s, "station", row.name);
  text.begin("gnx_correction_age_seconds", "gauge", "Of the corrections at the last epoch.");
  for (const StationRow& row : rows)
    for (const auto& [kind, age] : {std::pair("orbit_clock", row.report.ages.orbitClock_s),
                                    std::pair("code_bias", row.report.ages.codeBias_s),
                                    std::pair("phase_bias", row.report.ages.phaseBias_s)})
      if (row.state.here && age) text.value(*age, "station", labels(row.name, "kind", kind));
  text.begin("gnx_dropped_total", "counter", "Records left out, by reason.");
  for (const StationRow& row : rows)
    for (std::size_t i = 0; i < row.report.counts.drops.size(); ++i)
      if (row.report.counts.drops[i] > 0)
        text.value(static_cast<double>(row.report.counts.drops[i]), "station",
                   labels(row.name, "reason", nameOf(static_cast<LiveDrop>(i))));
}

void addCluster(MetricsText& text, const ClusterNode::Counts& counts) {
  text.one("gnx_cluster_connected", "gauge", "1 while the servers are in reach.", counts.connected ? 1 : 0);
  text.one("gnx_cluster_nodes", "gauge", "Nodes that are alive.", static_cast<double>(counts.nodes));
  text.one("gnx_results_published_total", "counter", "Results that the servers have taken.",
           static_cast<double>(counts.published));
  text.one("gnx_results_dropped_total", "counter", "Results without a lease or without room.",
           static_cast<double>(counts.dropped));
  text.one("gnx_results_waiting", "gauge", "Results that the servers have not taken yet.",
           static_cast<double>(counts.waiting));
}

}  // namespace

bool StationRow::healthy() const { return sincePosition_s && *sincePosition_s <= kHealthy_s; }

std::string StationRow::word() const {
  if (!state.here) return "elsewhere";
  if (!state.running) return "no worker";
  if (!sinceEpoch_s || *sinceEpoch_s > kHealthy_s) return "waits";
  return nameOf(report.state);
}

void FleetStatus::take(const std::string& station, StationReport report) {
  const std::lock_guard lock(m_mutex);
  const auto entry = m_stations.find(station);
  if (entry == m_stations.end()) return;
  entry->second.came = Clock::now();
  if (report.state != SolutionState::none) entry->second.solved = Clock::now();
  report.line.clear();
  entry->second.report = std::move(report);
}

void FleetStatus::take(const std::string& station, const WorkerState& state) {
  const std::lock_guard lock(m_mutex);
  m_stations[station].state = state;
}

void FleetStatus::remove(const std::string& station) {
  const std::lock_guard lock(m_mutex);
  m_stations.erase(station);
}

void FleetStatus::add(const std::string& station, const Source& source) {
  const std::lock_guard lock(m_mutex);
  m_sources.push_back({station, &source});
}

void FleetStatus::remove(const Source& source) {
  const std::lock_guard lock(m_mutex);
  std::erase_if(m_sources, [&](const Read& read) { return read.source == &source; });
}

void FleetStatus::take(const ClusterNode::Counts& counts) {
  const std::lock_guard lock(m_mutex);
  m_cluster = counts;
}

std::vector<StationRow> FleetStatus::rows() const {
  const std::lock_guard lock(m_mutex);
  std::vector<StationRow> rows;
  for (const auto& [name, entry] : m_stations) {
    rows.push_back({name, entry.state, entry.report, {}, {}});
    if (entry.came) rows.back().sinceEpoch_s = since_s(*entry.came);
    if (entry.solved) rows.back().sincePosition_s = since_s(*entry.solved);
  }
  return rows;
}

HttpAnswer FleetStatus::metrics() const {
  const std::vector<StationRow> all = rows();
  MetricsText text;
  addRows(text, "gnx_station_up", "gauge", "1 while the station has a worker.", all,
          [](const StationRow& row) { return row.state.running ? 1 : 0; });
  addRows(text, "gnx_worker_restarts_total", "counter", "Workers started again.", all,
          [](const StationRow& row) { return row.state.restarts; });
  addRows(text, "gnx_lost_pieces_total", "counter", "Pieces of streams for which there was no room.", all,
          [](const StationRow& row) { return row.state.lost; });
  addRows(text, "gnx_waiting_bytes", "gauge", "What waits for the worker.", all,
          [](const StationRow& row) { return row.state.waitingBytes; });
  addReports(text, all);
  addAges(text, all);
  const std::lock_guard lock(m_mutex);
  if (m_cluster) addCluster(text, *m_cluster);
  const auto addSources = [&](const char* name, const char* type, const char* help, auto value) {
    text.begin(name, type, help);
    for (const Read& read : m_sources)
      text.value(static_cast<double>(value(read.source->state())), "station",
                 labels(read.station, "source", read.source->name()));
  };
  addSources("gnx_source_bytes_total", "counter", "Bytes received.",
             [](const SourceState& s) { return s.bytes.load(); });
  addSources("gnx_source_connected", "gauge", "1 while it is connected.",
             [](const SourceState& s) { return s.connected.load() ? 1 : 0; });
  addSources("gnx_source_connections_total", "counter", "Connections made.",
             [](const SourceState& s) { return s.connections.load(); });
  return {200, "text/plain; version=0.0.4; charset=utf-8", text.take()};
}

HttpAnswer FleetStatus::health() const {
  std::size_t here = 0, without = 0;
  std::string names;
  for (const StationRow& row : rows()) {
    if (!row.state.here) continue;
    ++here;
    if (row.healthy()) continue;
    if (++without <= kNamed) names += (names.empty() ? "" : ", ") + row.name;
  }
  if (without == 0) return {200, "text/plain; charset=utf-8", printed("ok, %zu stations\n", here)};
  if (without > kNamed) names += printed(" and %zu more", without - kNamed);
  return {503, "text/plain; charset=utf-8",
          printed("%zu of %zu stations have had no position for %.0f s: ", without, here, kHealthy_s) +
              names + "\n"};
}

}  // namespace gnx
