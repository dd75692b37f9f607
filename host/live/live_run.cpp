// Drives a station by the clock, by files, by a recording.

#include "live/live_run.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

#include "flow/source.h"
#include "gnx/error.h"
#include "http/server.h"
#include "live/live_log.h"
#include "live/live_outputs.h"
#include "live/live_page.h"
#include "live/live_signals.h"
#include "live/live_station.h"
#include "live/live_status.h"
#include "live/source_plan.h"
#include "live/state_keeper.h"
#include "record/merged_files.h"
#include "record/recording.h"
#include "run/input_survey.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr auto kLook = std::chrono::milliseconds(100);        ///< at signals
constexpr auto kThreadsEnd = std::chrono::milliseconds(400);  ///< they have so long
constexpr double kFlush_s = 1.0;                              ///< of a recording
constexpr int kObservationsLast = 1000;                       ///< rank of files of one time

bool allFiles(const std::vector<PlannedSource>& plan) {
  return std::ranges::all_of(plan, [](const PlannedSource& p) { return p.url.scheme == StreamScheme::file; });
}

/// Date of a run over files: the one that was given, else that of the first file that tells one.
GpsTime dateOfFiles(const std::vector<PlannedSource>& plan) {
  for (const PlannedSource& p : plan) {
    if (const std::string kind = kindOfText(p.url.path); !kind.empty())
      throw InputError(p.url.path, 0,
                       "is " + kind + " and no stream of RTCM 3; 'gnx replay' works on such files");
    if (const auto date = dateOf(p.url.path)) return *date;
  }
  throw UsageError("no file tells its date; give the time of the first message with --start");
}

Deployment deploymentOf(const LiveRunOptions& options, const fs::path& directory, const GpsTime& date) {
  if (!options.deployment.empty()) {
    Deployment given = Deployment::open(options.deployment);
    given.checkTables(date);
    given.settings = options.given.over(given.settings);
    return given;
  }
  DeploymentOptions choices = options.deploy;
  requireKinds(choices);
  choices.date = date;
  return Deployment::make(directory, choices);
}

Credentials credentialsOf(const LiveRunOptions& options) {
  return options.credentials.empty() ? Credentials() : Credentials(options.credentials);
}

class LiveRun {
 public:
  LiveRun(const LiveRunOptions& options, const std::function<LiveRunOptions()>& reload)
      : m_options(options),
        m_reload(reload),
        m_directory(fs::absolute(options.out)),
        m_log((makeDirectory(m_directory, "--out"), m_directory / "live.log"), options.quiet),
        m_clock(options.start ? RunClock(*options.start, options.speed) : RunClock()) {}

  LiveEnd go() {
    if (!m_options.play.empty()) goOverRecording();
    else if (const auto plan = planSources(m_options); allFiles(plan)) goOverFiles(plan);
    else goByClock(plan);
    for (const auto& source : m_sources) source.second->stop();
    if (m_keeper) m_keeper->keep(*m_station);
    m_station->finish();
    if (m_recording) m_recording->flush();
    say(printed("%zu positions, %zu of them fixed", m_positions, m_fixed));
    say(m_station->account());
    m_pages.reset();
    m_outputs.reset();
    return {threadsEnd(), m_told, m_positions, m_why};
  }

 private:
  void say(const std::string& sentence) { m_log.say(sentence); }

  void prepare(const GpsTime& reference, bool fresh) {
    m_deployment.emplace(deploymentOf(m_options, m_directory, reference));
    m_options.deploy.run = m_deployment->settings;
    openOutputs(fresh);
    openPages();
    if (!m_options.record.empty()) m_recording.emplace(m_options.record);
    m_station = std::make_unique<LiveStation>(StationContext{
        *m_deployment, m_options.assembly, m_directory, reference,
        [this](const Solution& solution, const LiveFacts& facts) { take(solution, facts); },
        [this](const std::string& sentence) { say(sentence); }, stateIdentity(m_options, *m_deployment)});
  }

  void take(const Solution& solution, const LiveFacts& facts) {
    m_outputs->write(solution, facts);
    m_positions += solution.solved() ? 1 : 0;
    m_why = solution.why;
    m_solved = m_solved || solution.solved();
    m_fixed += solution.state == SolutionState::fixed ? 1 : 0;
    if (!m_pages) return;
    m_status.take(solution, facts, std::max(m_clock.now() - m_now, 0.0));
    m_page->tellEpoch();
  }

  void openPages() {
    if (m_options.http.empty()) return;
    const RunSettings& run = m_options.deploy.run;
    m_page.emplace(m_status, m_log, run.stationName, run.mode);
    m_pages.emplace(m_options.http, m_page->pages(),
                    std::map<std::string, PageEvents*>{{"/events", &m_page->events()}});
  }

  void openOutputs(bool fresh) {
    m_outputs.reset();
    m_outputs = std::make_unique<LiveOutputs>(m_options, m_directory, fresh,
                                              [this](const std::string& sentence) { say(sentence); });
  }

  /// Everything that the station is told goes this way.
  void apply(RecordedEvent event) {
    Arrival& arrival = event.arrival;
    arrival.time = m_now = std::max(m_now, arrival.time);
    if (m_recording) {
      if (event.kind == RecordedEvent::Kind::begin) m_recording->begin(arrival.source, event.source, m_now);
      else if (event.kind == RecordedEvent::Kind::end) m_recording->end(arrival.source, m_now);
      else m_recording->write(arrival);
      if (m_now - m_flushed > kFlush_s) m_recording->flush(), m_flushed = m_now;
    }
    if (m_pages) m_status.take(event);
    m_station->take(event);
    if (m_pages) m_status.take(m_station->counts());
  }
  void tick(const GpsTime& t) { apply({RecordedEvent::Kind::bytes, {-1, t, {}}, {}}); }
  void begin(int number, const RecordedSource& source, const GpsTime& t) {
    apply({RecordedEvent::Kind::begin, {number, t, {}}, source});
  }

  bool ended() { return m_told = m_signals.take() == LiveSignal::end; }

  // ---- by the clock ----

  void goByClock(const std::vector<PlannedSource>& plan) {
    m_credentials = credentialsOf(m_options);
    prepare(m_clock.now(), false);
    m_keeper.emplace(m_directory, [this](const std::string& sentence) { say(sentence); });
    m_keeper->take(m_clock.now(), *m_station, m_options.record);
    openSources(plan);
    while (true) {
      const LiveSignal signal = m_signals.take();
      if (m_told = signal == LiveSignal::end; m_told) return say("the run was told to end");
      if (signal == LiveSignal::reload) readChoicesAgain();
      const auto deadline = m_station->deadline();
      auto patience = kLook;
      if (deadline)
        patience =
            std::clamp(std::chrono::milliseconds(toMilliseconds(*deadline) - toMilliseconds(m_clock.now())),
                       std::chrono::milliseconds(0), kLook);
      if (auto arrival = m_queue.pop(patience)) apply({RecordedEvent::Kind::bytes, std::move(*arrival), {}});
      else if (deadline && !(m_clock.now() < *deadline)) tick(m_clock.now());
      else if (sourcesEnded()) return;
      tellPosition();
      if (m_solved) m_keeper->keepInTime(m_now, *m_station);
    }
  }

  bool sourcesEnded() const {
    return std::ranges::all_of(m_sources, [](const auto& s) { return s.second->stopped(); });
  }

  void openSources(const std::vector<PlannedSource>& plan) {
    for (const PlannedSource& p : plan) {
      const bool there = std::ranges::any_of(m_plan, [&](const auto& item) { return item.second == p; });
      if (there) continue;
      const int number = m_next++;
      m_plan.emplace(number, p);
      begin(number, p.source, m_clock.now());
      m_sources[number] =
          std::make_unique<Source>(number, p.source.name, p.url, m_credentials, m_queue, m_clock,
                                   [this](const std::string& sentence) { say(sentence); });
      m_status.add(*m_sources[number]);
    }
  }

  void closeSources(const std::vector<PlannedSource>& plan) {
    for (auto item = m_plan.begin(); item != m_plan.end();) {
      const int number = item->first;
      if (std::ranges::find(plan, item->second) != plan.end()) {
        ++item;
        continue;
      }
      m_sources[number]->stop();
      m_status.remove(*m_sources[number]);
      m_leaving.push_back(std::move(m_sources[number]));
      m_sources.erase(number);
      apply({RecordedEvent::Kind::end, {number, m_clock.now(), {}}, {}});
      item = m_plan.erase(item);
    }
    std::erase_if(m_leaving, [](const auto& source) { return source->stopped(); });
  }

  /// Sources and results; what the engine was started with stays.
  void readChoicesAgain() {
    const LiveRunOptions before = m_options;
    try {
      LiveRunOptions choices = m_reload();
      const auto plan = planSources(choices);
      m_credentials = credentialsOf(choices);
      choices.deploy.run = m_deployment->settings;
      choices.out = m_options.out;
      choices.http = m_options.http;
      m_options = std::move(choices);
      openOutputs(false);
      closeSources(plan);
      openSources(plan);
      say("the choices were read again");
    } catch (const Error& e) {
      say(std::string("the choices were not taken: ") + e.what());
      m_options = before;
      if (!m_outputs) openOutputs(false);
    }
  }

  void tellPosition() {
    if (m_outputs->lastPosition().empty()) return;
    for (const auto& [number, source] : m_sources)
      if (source->url().options.contains("gga")) source->setPosition(m_outputs->lastPosition());
  }

  /// A thread may be looking up the name of a host, which nothing can end.
  bool threadsEnd() {
    const auto until = std::chrono::steady_clock::now() + kThreadsEnd;
    const auto running = [this] {
      const auto isRunning = [](const auto& source) { return !source->stopped(); };
      return !sourcesEnded() || std::ranges::any_of(m_leaving, isRunning);
    };
    while (running() && std::chrono::steady_clock::now() < until)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return !running();
  }

  // ---- over files ----

  void goOverFiles(const std::vector<PlannedSource>& plan) {
    const GpsTime reference = m_options.start ? *m_options.start : dateOfFiles(plan);
    prepare(reference, true);
    MergedFiles files;
    double speed = 1.0;
    for (std::size_t i = 0; i < plan.size(); ++i) {
      const PlannedSource& p = plan[i];
      const bool observed = (p.source.roles & static_cast<int>(LiveRole::observations)) != 0;
      const int number = static_cast<int>(i);
      files.add(number, number + (observed ? kObservationsLast : 0), TimedFile(p.url.path, reference));
      if (i == 0) speed = p.url.number("speed").value_or(1.0);
    }
    Pace pace(speed);
    Arrival arrival;
    bool begun = false;
    while (!ended() && files.next(arrival)) {
      if (!std::exchange(begun, true))
        for (std::size_t i = 0; i < plan.size(); ++i)
          begin(static_cast<int>(i), plan[i].source, arrival.time);
      for (auto deadline = m_station->deadline(); deadline && *deadline < arrival.time;
           deadline = m_station->deadline()) {
        pace.await(*deadline, [this] { return ended(); });
        tick(*deadline);
      }
      pace.await(arrival.time, [this] { return ended(); });
      apply({RecordedEvent::Kind::bytes, std::move(arrival), {}});
      arrival = {};
    }
  }

  // ---- over a recording ----

  void goOverRecording() {
    if (!fs::exists(fs::path(m_options.play) / "arrivals.csv"))
      throw InputError(m_options.play, 0, "holds no recording; 'gnx live --record DIR' makes one");
    RecordingReader recording(m_options.play);
    RecordedEvent event;
    if (!recording.next(event)) throw InputError(m_options.play, 0, "holds an empty recording");
    prepare(event.arrival.time, true);
    resumeRecorded(m_options.play, *m_station);
    Pace pace(m_options.speed);
    do {
      pace.await(event.arrival.time, [this] { return ended(); });
      apply(event);
    } while (!ended() && recording.next(event));
  }

  LiveRunOptions m_options;
  const std::function<LiveRunOptions()>& m_reload;
  fs::path m_directory;
  LiveSignals m_signals;
  LiveLog m_log;
  RunClock m_clock;
  ArrivalQueue m_queue;
  std::optional<Deployment> m_deployment;
  std::unique_ptr<LiveOutputs> m_outputs;
  std::optional<RecordingWriter> m_recording;
  std::unique_ptr<LiveStation> m_station;
  Credentials m_credentials;
  std::map<int, PlannedSource> m_plan;
  std::map<int, std::unique_ptr<Source>> m_sources;
  std::vector<std::unique_ptr<Source>> m_leaving;
  LiveStatus m_status;
  std::optional<LivePage> m_page;
  std::optional<HttpServer> m_pages;
  std::optional<StateKeeper> m_keeper;
  GpsTime m_now, m_flushed;
  bool m_solved = false, m_told = false;
  std::string m_why;
  int m_next = 0;
  std::size_t m_positions = 0, m_fixed = 0;
};

}  // namespace

LiveEnd runLive(const LiveRunOptions& options, const std::function<LiveRunOptions()>& reload) {
  // Kept when a thread goes on, which uses it until the process ends.
  auto run = std::make_unique<LiveRun>(options, reload);
  LiveEnd end = run->go();
  if (!end.threadsEnded) static_cast<void>(run.release());
  return end;
}

}  // namespace gnx
