// The supervisor of a fleet: one loop over sources and workers.

#include "fleet/fleet_run.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <thread>
#include <utility>

#include "fleet/cluster/cluster_node.h"
#include "fleet/fleet_deployments.h"
#include "fleet/fleet_page.h"
#include "fleet/fleet_status.h"
#include "fleet/shared_stream.h"
#include "fleet/station_post.h"
#include "fleet/stream_tape.h"
#include "gnx/error.h"
#include "http/server.h"
#include "live/live_log.h"
#include "live/live_signals.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kLook_ms = 100;                                  ///< at signals and clocks
constexpr auto kState = std::chrono::seconds(1);               ///< between two looks at states
constexpr auto kWorkersEnd = std::chrono::milliseconds(4000);  ///< they have so long to write and end
constexpr auto kThreadsEnd = std::chrono::milliseconds(400);

/// Wakes a loop that polls.
class Bell {
 public:
  Bell() : m_descriptor(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}
  ~Bell() { close(m_descriptor); }
  Bell(const Bell&) = delete;
  Bell& operator=(const Bell&) = delete;
  void ring() const { eventfd_write(m_descriptor, 1); }
  void hush() const {
    eventfd_t rung = 0;
    eventfd_read(m_descriptor, &rung);
  }
  int descriptor() const { return m_descriptor; }

 private:
  int m_descriptor;
};

/// A station takes a few; a thousand at a time is what systems allow at first.
void allowDescriptors() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

class FleetRun {
 public:
  FleetRun(const FleetOptions& options, const std::function<FleetOptions()>& reload)
      : m_options(options),
        m_reload(reload),
        m_out(fs::absolute(options.out)),
        m_log((makeDirectory(m_out, "--out"), m_out / "fleet.log"), options.quiet),
        m_clock(options.start ? RunClock(*options.start, options.speed) : RunClock()),
        m_queue(kMostBytes, [this] { m_bell.ring(); }),
        m_deployments(m_out / ".deployments", m_clock.now()),
        m_context{m_out,
                  m_clock,
                  [this](const LiveRunOptions& o) { return m_deployments.of(o); },
                  [this](const std::string& stream) { return m_streams.at(stream).decoder->kept(); },
                  [this](const std::string& sentence) { say(sentence); },
                  !options.cluster.url.empty()} {
    if (options.cluster.url.empty()) return;
    m_context.keep = [this](const std::string& station, std::string state) {
      if (m_cluster) m_cluster->keepState(stationKey(station), std::move(state));
    };
    m_context.known = [this](const std::string& station) {
      return m_cluster->knownState(stationKey(station));
    };
  }

  bool go() {
    m_credentials = credentialsOf(m_options);
    openPages();
    joinOthers();
    take(m_options);
    say(printed("%zu stations, %zu shared streams", m_options.stations.size(), m_streams.size()));
    while (true) {
      const LiveSignal signal = m_signals.take();
      if (signal == LiveSignal::end) break;
      if (signal == LiveSignal::reload) readAgain();
      if (m_cluster) lookAtLeases();
      for (auto& [name, held] : m_stations) held.post->start();
      await();
      turn();
    }
    say("the fleet was told to end");
    end();
    return threadsEnd();
  }

 private:
  static constexpr std::size_t kMostBytes = std::size_t{64} << 20;

  struct Stream {
    FleetStream given;
    int number = 0, publisher = -1;  ///< of what is decoded, of the source that is published
    std::unique_ptr<SharedStream> decoder;
    std::unique_ptr<StreamTape> tape;  ///< where nobody else keeps the last minutes
    std::unique_ptr<Source> source;
    std::vector<StationPost*> users;
  };
  struct Held {
    std::unique_ptr<StationPost> post;
    std::vector<std::unique_ptr<Source>> sources;  ///< of its own
  };

  void say(const std::string& sentence) { m_log.say(sentence); }

  static Credentials credentialsOf(const FleetOptions& options) {
    return options.credentials.empty() ? Credentials() : Credentials(options.credentials);
  }

  void openPages() {
    if (m_options.http.empty()) return;
    m_page.emplace(m_status, m_log, m_options.cluster.node.empty() ? "gnx" : m_options.cluster.node);
    m_pages.emplace(m_options.http, m_page->pages(),
                    std::map<std::string, PageEvents*>{{"/events", &m_page->events()}});
  }

  // ---- other machines ----

  static std::string stationKey(const std::string& name) { return "station." + name; }
  static std::string streamKey(const std::string& name) { return "stream." + name; }
  static std::string subjectOf(const FleetStream& stream) {
    const auto has = [&](LiveRole role) { return (stream.roles & static_cast<int>(role)) != 0; };
    const char* kind = has(LiveRole::corrections) ? "ssr" : has(LiveRole::ephemerides) ? "eph" : "obs";
    return std::string("gnx.") + kind + "." + stream.name;
  }

  void joinOthers() {
    if (m_options.cluster.url.empty()) return;
    m_cluster = std::make_unique<ClusterNode>(
        m_options.cluster, [this](const std::string& sentence) { say(sentence); }, [this] { m_bell.ring(); });
  }

  void tellWanted(const FleetOptions& options) {
    std::set<std::string> keys;
    for (const FleetStation& station : options.stations) keys.insert(stationKey(station.name));
    for (const FleetStream& stream : options.streams) keys.insert(streamKey(stream.name));
    m_cluster->want(std::move(keys));
  }

  void lookAtLeases() {
    std::map<std::string, std::uint64_t> held = m_cluster->wanted();
    if (held == m_leases) return;
    m_leases = std::move(held);
    take(m_options);
  }

  /// A station has gone when nobody works on it here any more.
  void letGo() {
    for (const std::string& key : m_cluster->parting()) {
      const auto is = [&](const std::string& name) { return stationKey(name) == key; };
      const bool works =
          std::ranges::any_of(m_stations, [&](const auto& item) { return is(item.first); }) ||
          std::ranges::any_of(m_finishing, [&](const auto& post) { return is(post->station().name); });
      if (!works) m_cluster->letGo(key);
    }
  }

  bool mine(const std::string& key) const { return !m_cluster || m_leases.contains(key); }

  /// The source of a shared stream is one machine's; all of them decode what is published.
  void openShared(Stream& stream) {
    if (!mine(streamKey(stream.given.name))) return closeShared(stream);
    if (stream.source) return;
    int number = stream.number;
    if (m_cluster) {
      number = stream.publisher = m_next++;
      m_numbers[number] = [this, subject = subjectOf(stream.given)](const Arrival& arrival) {
        m_cluster->publish(subject, arrival.bytes);
      };
    }
    stream.source = openSource(number, stream.given.name, stream.given.url);
    m_status.add("", *stream.source);
  }

  void closeShared(Stream& stream) {
    m_numbers.erase(stream.publisher);
    closeSource(std::move(stream.source));
  }

  // ---- streams and stations ----

  /// Makes what runs that which the choices say; what has not changed is not touched.
  void take(const FleetOptions& options) {
    const auto named = [](const auto& list, const auto& mine) {
      return std::ranges::find(list, mine) != list.end();
    };
    if (m_cluster) tellWanted(options);
    for (auto item = m_stations.begin(); item != m_stations.end();) {
      const auto next = std::next(item);
      if (!mine(stationKey(item->first)) || !named(options.stations, item->second.post->station()))
        removeStation(item->first);
      item = next;
    }
    for (auto item = m_streams.begin(); item != m_streams.end();) {
      const auto next = std::next(item);
      if (!named(options.streams, item->second.given)) removeStream(item->first);
      item = next;
    }
    for (const FleetStream& stream : options.streams)
      if (!m_streams.contains(stream.name)) addStream(stream);
    for (auto& [name, stream] : m_streams) openShared(stream);
    for (const FleetStation& station : options.stations)
      if (mine(stationKey(station.name)) && !m_stations.contains(station.name)) addStation(station);
  }

  void addStream(const FleetStream& given) {
    Stream& stream = m_streams[given.name];
    stream.given = given;
    stream.number = m_next++;
    stream.decoder = std::make_unique<SharedStream>(
        stream.number, m_clock.now(),
        [&stream](const Posted& posted) {
          for (StationPost* post : stream.users) post->post(posted);
        },
        [this, &stream](const RtcmRecord& message) { teach(stream, message); });
    if (!m_cluster) openTape(stream);
    m_numbers[stream.number] = [&stream](const Arrival& a) {
      if (stream.tape) stream.tape->write(a.time, a.bytes);
      stream.decoder->take(a.time, a.bytes);
    };
    if (m_cluster)
      m_cluster->listen(subjectOf(given), [this, number = stream.number](ClusterLink::Bytes bytes) {
        m_queue.push({number, m_clock.now(), {bytes.begin(), bytes.end()}});
      });
  }

  void openTape(Stream& stream) {
    const fs::path directory = m_out / ".streams";
    fs::create_directories(directory);
    // What another URL has brought under the same name belongs to another provider.
    const std::size_t url = std::hash<std::string>()(stream.given.url.text);
    stream.tape = std::make_unique<StreamTape>(directory / printed("%s-%zx", stream.given.name.c_str(), url));
    stream.tape->replay(m_clock.now(), [&](const GpsTime& arrival, std::span<const std::uint8_t> bytes) {
      stream.decoder->take(arrival, bytes);
    });
  }

  void teach(const Stream& from, const RtcmRecord& message) {
    for (auto& [name, stream] : m_streams)
      if (&stream != &from) stream.decoder->learn(message);
  }

  std::unique_ptr<Source> openSource(int number, const std::string& name, const StreamUrl& url) {
    return std::make_unique<Source>(number, name, url, m_credentials, m_queue, m_clock,
                                    [this](const std::string& sentence) { say(sentence); });
  }

  void removeStream(const std::string& name) {
    Stream& stream = m_streams.at(name);
    m_numbers.erase(stream.number);
    closeShared(stream);
    if (m_cluster) m_cluster->endListening(subjectOf(stream.given));
    m_streams.erase(name);
  }

  void closeSource(std::unique_ptr<Source> source) {
    if (!source) return;
    source->stop();
    m_status.remove(*source);
    m_leaving.push_back(std::move(source));
  }

  void addStation(const FleetStation& station) {
    Held& held = m_stations[station.name];
    std::vector<int> numbers;
    for (const FleetSource& source : station.sources)
      numbers.push_back(source.stream.empty() ? m_next++ : m_streams.at(source.stream).number);
    held.post = std::make_unique<StationPost>(station, numbers, m_context);
    StationPost* post = held.post.get();
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      const FleetSource& source = station.sources[i];
      if (!source.stream.empty()) {
        m_streams.at(source.stream).users.push_back(post);
        continue;
      }
      m_numbers[numbers[i]] = [post](const Arrival& arrival) { post->post(arrival); };
      held.sources.push_back(
          openSource(numbers[i], station.name + " " + source.planned.source.name, source.planned.url));
      m_status.add(station.name, *held.sources.back());
    }
    m_status.take(station.name, WorkerState{.here = true});
  }

  void removeStation(const std::string& name) {
    const auto leaving = m_stations.extract(name);  // lives to the end: the name may be its key
    Held& held = leaving.mapped();
    for (std::size_t i = 0; i < held.post->numbers().size(); ++i)
      if (held.post->station().sources[i].stream.empty()) m_numbers.erase(held.post->numbers()[i]);
    for (auto& [stream, shared] : m_streams) std::erase(shared.users, held.post.get());
    for (auto& source : held.sources) closeSource(std::move(source));
    held.post->finish();
    m_finishing.push_back(std::move(held.post));
    m_status.remove(name);
  }

  void readAgain() {
    try {
      FleetOptions choices = m_reload();
      m_credentials = credentialsOf(choices);
      choices.out = m_options.out;
      choices.http = m_options.http;
      choices.cluster = m_options.cluster;
      take(choices);
      for (const FleetStation& before : m_options.stations)
        if (std::ranges::find(choices.stations, before.name, &FleetStation::name) == choices.stations.end())
          m_status.remove(before.name);
      m_options = std::move(choices);
      say(printed("the choices were read again: %zu stations", m_options.stations.size()));
    } catch (const Error& e) {
      say(std::string("the choices were not taken: ") + e.what());
    }
  }

  // ---- the loop ----

  void await() {
    std::vector<pollfd> wanted{{m_bell.descriptor(), POLLIN, 0}};
    const auto add = [&](const StationPost& post) {
      if (post.descriptor() < 0) return;
      wanted.push_back({post.descriptor(), static_cast<short>(POLLIN | (post.waits() ? POLLOUT : 0)), 0});
    };
    for (const auto& [name, held] : m_stations) add(*held.post);
    for (const auto& post : m_finishing) add(*post);
    poll(wanted.data(), wanted.size(), kLook_ms);
  }

  void turn() {
    m_bell.hush();
    while (const auto arrival = m_queue.pop(std::chrono::milliseconds(0)))
      if (const auto taker = m_numbers.find(arrival->source); taker != m_numbers.end())
        taker->second(*arrival);
    for (auto& [name, stream] : m_streams) stream.decoder->tick(m_clock.now());
    for (auto& [name, held] : m_stations)
      held.post->work([&, &station = name, &sources = held.sources](const StationReport& report) {
        take(station, sources, report);
      });
    for (auto& post : m_finishing) post->work([](const StationReport&) {});
    std::erase_if(m_finishing, [](const auto& post) { return post->ended(); });
    if (m_cluster) letGo();
    std::erase_if(m_leaving, [](const auto& source) { return source->stopped(); });
    if (Clock::now() - m_looked > kState) lookAtStates();
  }

  void take(const std::string& station, const std::vector<std::unique_ptr<Source>>& sources,
            const StationReport& report) {
    if (!report.gga.empty())
      for (const auto& source : sources)
        if (source->url().options.contains("gga")) source->setPosition(report.gga);
    publish(station, report);
    m_status.take(station, report);
  }

  void publish(const std::string& station, const StationReport& report) {
    if (!m_cluster || report.line.empty()) return;
    std::string text = report.line;
    text.insert(1, "\"station\":\"" + station + "\",");
    m_cluster->result(stationKey(station), "gnx.sol." + station, std::move(text),
                      station + "@" + std::to_string(toMilliseconds(report.time)));
  }

  void lookAtStates() {
    m_looked = Clock::now();
    if (m_cluster) lookAtOthers();
    for (const auto& [name, held] : m_stations)
      m_status.take(name,
                    WorkerState{true, held.post->process() > 0, held.post->restarts(), held.post->lost(),
                                held.post->waitingBytes(), m_cluster ? m_cluster->name() : ""});
  }

  void lookAtOthers() {
    m_status.take(m_cluster->counts());
    for (const FleetStation& station : m_options.stations)
      if (!m_stations.contains(station.name))
        m_status.take(station.name, WorkerState{.node = m_cluster->ownerOf(stationKey(station.name))});
  }

  // ---- the end ----

  void end() {
    if (m_cluster) m_cluster->wantNoMore();
    for (auto& [name, held] : m_stations)
      for (auto& source : held.sources) source->stop();
    for (auto& [name, stream] : m_streams)
      if (stream.source) stream.source->stop();
    for (auto& [name, held] : m_stations) held.post->finish();
    const auto until = Clock::now() + kWorkersEnd;
    const auto running = [this] {
      return std::ranges::count_if(m_stations, [](const auto& item) { return !item.second.post->ended(); });
    };
    while (running() > 0 && Clock::now() < until) {
      await();
      for (auto& [name, held] : m_stations)
        held.post->work(
            [&, &station = name](const StationReport& report) { m_status.take(station, report); });
    }
    if (const auto left = running(); left > 0)
      say(printed("%td workers did not end in time and are ended", left));
    m_cluster.reset();
    m_pages.reset();
  }

  /// A thread may be looking up the name of a host, which nothing can end.
  bool threadsEnd() {
    for (auto& [name, held] : m_stations)
      for (auto& source : held.sources) m_leaving.push_back(std::move(source));
    for (auto& [name, stream] : m_streams)
      if (stream.source) m_leaving.push_back(std::move(stream.source));
    const auto until = Clock::now() + kThreadsEnd;
    const auto stopped = [this] {
      return std::ranges::all_of(m_leaving, [](const auto& source) { return source->stopped(); });
    };
    while (!stopped() && Clock::now() < until) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return stopped();
  }

  FleetOptions m_options;
  const std::function<FleetOptions()>& m_reload;
  fs::path m_out;
  LiveSignals m_signals;
  LiveLog m_log;
  RunClock m_clock;
  Bell m_bell;
  ArrivalQueue m_queue;
  FleetDeployments m_deployments;
  FleetContext m_context;
  Credentials m_credentials;
  std::map<std::string, Stream> m_streams;
  std::map<std::string, Held> m_stations;
  std::map<int, std::function<void(const Arrival&)>> m_numbers;  ///< who takes what a source brings
  std::vector<std::unique_ptr<StationPost>> m_finishing;
  std::vector<std::unique_ptr<Source>> m_leaving;
  FleetStatus m_status;
  std::unique_ptr<ClusterNode> m_cluster;  ///< none: this machine alone
  std::map<std::string, std::uint64_t> m_leases;
  std::optional<FleetPage> m_page;
  std::optional<HttpServer> m_pages;
  Clock::time_point m_looked{};
  int m_next = 0;
};

}  // namespace

bool runFleet(const FleetOptions& options, const std::function<FleetOptions()>& reload) {
  allowDescriptors();
  // Kept when a thread goes on, which uses it until the process ends.
  auto run = std::make_unique<FleetRun>(options, reload);
  const bool ended = run->go();
  if (!ended) static_cast<void>(run.release());
  return ended;
}

}  // namespace gnx
