// Keeps the worker of a station running.

#include "fleet/station_post.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

#include "fleet/packed_state.h"
#include "gnx/error.h"
#include "live/state_keeper.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr std::size_t kMostBacklog = std::size_t{1} << 20;  ///< a quarter of an hour of observations
constexpr auto kHolds = std::chrono::seconds(30);  ///< a worker that ran so long is started again at once
constexpr auto kHangs = std::chrono::seconds(60);

/// The last line of a file, for a worker that could say no more.
std::string lastLine(const std::filesystem::path& file) {
  std::ifstream in(file);
  std::string last;
  for (std::string line; std::getline(in, line);)
    if (line.starts_with("ERROR")) last = line;
  return last;
}

}  // namespace

StationPost::StationPost(FleetStation station, std::vector<int> numbers, const FleetContext& context)
    : m_station(std::move(station)), m_numbers(std::move(numbers)), m_context(context) {}

void StationPost::start() {
  if (m_worker || m_finishing || Clock::now() < m_due) return;
  m_started = m_moved = Clock::now();
  m_failed.clear();
  try {
    std::filesystem::create_directories(m_context.out / m_station.name);
    recall();
    m_worker = std::make_unique<WorkerProcess>(log());
    greet();
  } catch (const std::exception& e) {
    bury(std::string("cannot be started: ") + e.what());
  }
}

/// What another machine knew of the station is put where the worker looks.
void StationPost::recall() const {
  const auto packed = m_context.known ? m_context.known(m_station.name) : std::nullopt;
  const auto state = packed ? unpackedState(*packed) : std::nullopt;
  if (state) placeState(m_context.out / m_station.name, *state);
}

/// The plan, the sources, then all that has come, in its order.
void StationPost::greet() {
  StationPlan plan;
  plan.name = m_station.name;
  plan.directory = (m_context.out / m_station.name).string();
  plan.deployment = m_context.deploymentOf(m_station.options).string();
  plan.words = m_station.words;
  plan.clock = m_context.clock.now();
  plan.steady_ns =
      std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
  plan.speed = m_context.clock.speed();
  plan.lines = m_context.lines;
  plan.states = static_cast<bool>(m_context.keep);
  std::string frames;
  addFrame(frames, StationFrame::plan, plan);
  std::vector<Posted> came(std::make_move_iterator(m_backlog.begin()),
                           std::make_move_iterator(m_backlog.end()));
  m_backlog.clear();
  m_backlogBytes = 0;
  for (const FleetSource& source : m_station.sources) {
    if (source.stream.empty()) continue;
    const std::vector<Posted> kept = m_context.kept(source.stream);
    came.insert(came.end(), kept.begin(), kept.end());
  }
  std::ranges::stable_sort(came, [](const Posted& a, const Posted& b) { return a.time < b.time; });
  const GpsTime begin = came.empty() ? plan.clock : std::min(came.front().time, plan.clock);
  for (std::size_t i = 0; i < m_numbers.size(); ++i) {
    const RecordedSource& source = m_station.sources[i].planned.source;
    addFrame(frames, StationFrame::begin, m_numbers[i], begin, source.name, source.roles, source.rank);
  }
  m_worker->post(std::move(frames));
  for (const Posted& posted : came) m_worker->post(posted);
}

void StationPost::work(const std::function<void(const StationReport&)>& take) {
  if (!m_worker) return;
  bool there = m_worker->send();
  try {
    there &=
        m_worker->receive([&](StationFrame kind, FrameReader& content) { this->take(kind, content, take); });
  } catch (const EngineError& e) {
    return bury(e.what());
  }
  if (there && hangs()) return bury("has taken nothing for a minute and was ended");
  if (there) return;
  const std::string how = m_worker->end();
  if (how.empty()) return;  // it will have ended at the next look
  if (m_finishing) return m_worker.reset();
  if (m_failed.empty()) m_failed = lastLine(log());
  bury(how + (m_failed.empty() ? "" : ": " + m_failed));
}

void StationPost::take(StationFrame kind, FrameReader& content,
                       const std::function<void(const StationReport&)>& take) {
  if (kind == StationFrame::failed) return content(m_failed);
  if (kind == StationFrame::state) {
    std::string state;
    content(state);
    return m_context.keep(m_station.name, std::move(state));
  }
  StationReport report;
  content(report);
  take(report);
}

bool StationPost::hangs() {
  if (!m_worker->waits() || m_worker->takenBytes() != m_taken) {
    m_moved = Clock::now();
    m_taken = m_worker->takenBytes();
  }
  return Clock::now() - m_moved > kHangs;
}

void StationPost::bury(std::string why) {
  if (m_worker) m_lost += m_worker->lost();
  m_worker.reset();
  if (Clock::now() - m_started > kHolds) m_pauses.reset();
  const double pause_s = m_pauses.next();
  m_due = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(pause_s));
  ++m_restarts;
  m_context.say(m_station.name + ": the worker " + why + printed("; it is started again in %.1f s", pause_s));
}

void StationPost::post(const Posted& posted) {
  if (!m_worker || m_finishing) return;
  m_worker->post(posted);
  m_worker->send();
}

void StationPost::post(const Arrival& arrival) {
  std::string frame;
  addFrame(frame, StationFrame::bytes, arrival.source, arrival.time, arrival.bytes);
  const Posted posted{arrival.time, std::make_shared<const std::string>(std::move(frame))};
  if (m_worker) return post(posted);
  if (m_finishing) return;
  m_backlogBytes += posted.frames->size();
  m_backlog.push_back(posted);
  for (; m_backlogBytes > kMostBacklog; ++m_lost) {
    m_backlogBytes -= m_backlog.front().frames->size();
    m_backlog.pop_front();
  }
}

void StationPost::finish() {
  m_finishing = true;
  if (!m_worker) return;
  std::string frames;
  addFrame(frames, StationFrame::finish);
  m_worker->post(std::move(frames));
  m_worker->send();
}

}  // namespace gnx
