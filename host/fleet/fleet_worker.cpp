// A station in a process of its own: records of shared streams and bytes of its own ones in, results into its
// directory, reports to the fleet.

#include "fleet/fleet_worker.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <numbers>
#include <optional>
#include <utility>

#include "fleet/packed_state.h"
#include "fleet/station_frames.h"
#include "flow/run_clock.h"
#include "gnx/error.h"
#include "gnx/geodesy.h"
#include "live/live_log.h"
#include "live/live_outputs.h"
#include "live/live_station.h"
#include "live/state_keeper.h"

namespace gnx {

namespace {

constexpr double kDegrees = 180.0 / std::numbers::pi;
constexpr int kPatience_ms = 1000;
constexpr std::int64_t kOutput_bytes = 4 << 20, kLook_epochs = 100;

/// The fleet's clock, which began in another process.
RunClock clockOf(const StationPlan& plan) {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  const double passed_s =
      std::chrono::duration<double>(now - std::chrono::nanoseconds(plan.steady_ns)).count();
  return RunClock(plan.clock + passed_s * plan.speed, plan.speed);
}

/// The engine prints every epoch; the file is opened for appending and begins anew when it has grown.
void boundOutput() {
  struct stat now {};
  if (fstat(STDOUT_FILENO, &now) != 0 || !S_ISREG(now.st_mode) || now.st_size < kOutput_bytes) return;
  if (ftruncate(STDOUT_FILENO, 0) != 0) return;  // it stays long
}

class StationWorker {
 public:
  StationWorker(FrameChannel& channel, const StationPlan& plan, LiveRunOptions options)
      : m_channel(channel),
        m_plan(plan),
        m_options(std::move(options)),
        m_log(std::filesystem::path(plan.directory) / "live.log", true),
        m_clock(clockOf(plan)),
        m_deployment(deploymentOf()),
        m_outputs(m_options, plan.directory, false, [this](const std::string& s) { m_log.say(s); }),
        m_station({m_deployment, m_options.assembly, plan.directory, m_clock.now(),
                   [this](const Solution& solution, const LiveFacts& facts) { take(solution, facts); },
                   [this](const std::string& s) { m_log.say(s); }, stateIdentity(m_options, m_deployment),
                   Place::inProcess}),
        m_keeper(
            plan.directory, [this](const std::string& s) { m_log.say(s); },
            [this](const std::string& state) { send(state); }) {
    m_log.say("the station's worker has started");
    m_keeper.take(m_clock.now(), m_station, "");
  }

  /// Until it is told to end or nobody is left to work for.
  void run() {
    std::string content;
    while (true) {
      if (!awaitFrame()) {
        m_station.take({RecordedEvent::Kind::bytes, {-1, m_clock.now(), {}}, {}});
        continue;
      }
      StationFrame kind{};
      if (!m_channel.receive(kind, content)) break;
      m_came = m_clock.now();
      if (kind == StationFrame::finish) break;
      FrameReader in(content);
      take(kind, in);
      if (m_report.positions > 0) m_keeper.keepInTime(m_clock.now(), m_station);
    }
    m_keeper.keep(m_station);
    m_station.finish();
    m_log.say(m_station.account());
  }

 private:
  /// The choices of files are the fleet's, those of the run are the station's.
  Deployment deploymentOf() {
    Deployment deployment = Deployment::open(m_plan.deployment);
    deployment.settings =
        m_options.deployment.empty() ? m_options.deploy.run : m_options.given.over(deployment.settings);
    deployment.settings.stationName = m_plan.name;
    m_options.deploy.run = deployment.settings;
    return deployment;
  }

  /// False when the station wants to be told the time first.
  bool awaitFrame() const {
    if (m_channel.holdsBytes()) return true;
    int patience_ms = kPatience_ms;
    const auto deadline = m_station.deadline();
    if (deadline)
      patience_ms = static_cast<int>(std::clamp(std::ceil((*deadline - m_clock.now()) * 1000.0), 0.0,
                                                static_cast<double>(kPatience_ms)));
    pollfd wanted{m_channel.descriptor(), POLLIN, 0};
    while (poll(&wanted, 1, patience_ms) <= 0)
      if (deadline && !(m_clock.now() < *deadline)) return false;
    return true;
  }

  void take(StationFrame kind, FrameReader& in) {
    int source = 0;
    GpsTime arrival;
    in(source, arrival);
    if (kind == StationFrame::begin) {
      RecordedSource given;
      in(given.name, given.roles, given.rank);
      m_station.take({RecordedEvent::Kind::begin, {source, arrival, {}}, given});
    } else if (kind == StationFrame::bytes) {
      RecordedEvent event{RecordedEvent::Kind::bytes, {source, arrival, {}}, {}};
      in(event.arrival.bytes);
      m_station.take(event);
    } else if (kind == StationFrame::record) {
      in(m_record);
      m_station.take(source, arrival, m_record);
    }
  }

  void take(const Solution& solution, const LiveFacts& facts) {
    m_outputs.write(solution, facts);
    StationReport& r = m_report;
    const GpsTime now = m_clock.now();
    r.time = solution.time;
    r.state = solution.state;
    r.why = solution.why;
    r.ages = solution.ages;
    r.satellites = 0;
    for (const int n : solution.satelliteCounts) r.satellites += n;
    r.fixedSatellites = solution.fixed;
    r.latency_s = facts.latency_s + std::max(now - m_came, 0.0);
    r.engine_s += solution.milliseconds * 1e-3;
    r.processing_s += std::max(now - m_came, 0.0);
    r.counts = m_station.counts();
    r.corrections = facts.corrections;
    r.gga = m_outputs.lastPosition();
    ++r.epochs;
    if (solution.state == SolutionState::fixed) ++r.fixed;
    if (solution.solved()) {
      ++r.positions;
      const Geodetic g = toGeodetic(solution.position);
      r.latitude_deg = g.latitude * kDegrees;
      r.longitude_deg = g.longitude * kDegrees;
      r.height_m = g.height;
      r.sigma_m =
          std::sqrt(solution.covariance[0][0] + solution.covariance[1][1] + solution.covariance[2][2]);
    }
    if (r.epochs % kLook_epochs == 0) boundOutput();
    r.line = m_plan.lines ? solutionJson(solution, facts, false) : "";
    FrameWriter out;
    out(r);
    m_channel.send(StationFrame::report, out.bytes());
  }

  void send(const std::string& state) {
    if (!m_plan.states) return;
    FrameWriter out;
    out(packedState(state));
    m_channel.send(StationFrame::state, out.bytes());
  }

  FrameChannel& m_channel;
  StationPlan m_plan;
  LiveRunOptions m_options;
  LiveLog m_log;
  RunClock m_clock;
  Deployment m_deployment;
  LiveOutputs m_outputs;
  LiveStation m_station;
  StateKeeper m_keeper;
  StationReport m_report;
  RtcmRecord m_record;
  GpsTime m_came;  ///< when the worker took the frame at hand
};

}  // namespace

int serveFleet(int descriptor,
               const std::function<LiveRunOptions(const std::vector<std::string>& words)>& optionsOf) {
  FrameChannel channel(descriptor);
  try {
    StationFrame kind{};
    std::string content;
    if (!channel.receive(kind, content) || kind != StationFrame::plan) return 1;
    StationPlan plan;
    FrameReader in(content);
    in(plan);
    StationWorker(channel, plan, optionsOf(plan.words)).run();
    return 0;
  } catch (const std::exception& e) {
    FrameWriter out;
    out(std::string(e.what()));
    channel.send(StationFrame::failed, out.bytes());
    return 1;
  }
}

}  // namespace gnx
