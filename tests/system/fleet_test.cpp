// A fleet as a user has it: stations on shared streams, workers that die, a file that changes.

#include <gmock/gmock.h>

#include "fleet/shared_stream.h"
#include "geometry/vector3.h"
#include "support/live_runs.h"
#include "text/printed.h"

namespace gnx::test {
namespace {

using support::becomes;
using support::ChildResult;
using support::Positions;
using support::positionsIn;
using support::TemporaryDirectory;
using support::TestCaster;
using testing::HasSubstr;
using testing::Not;

/// Casters and the file of a fleet that reads them: one for what is shared, one a station.
class FleetWorld {
 public:
  explicit FleetWorld(int stations, double speed) : m_speed(speed) {
    for (int i = 0; i <= stations; ++i)
      m_casters.push_back(std::make_unique<TestCaster>(support::stream(), support::kStart,
                                                       support::CasterOptions{.speed = speed}));
  }
  std::filesystem::path write(const std::vector<int>& stations, const std::string& more = "") const {
    std::string list;
    for (const int i : stations)
      list += (list.empty() ? "" : ", ") + ("{\"name\": \"S" + std::to_string(i)) + "\", \"obs\": \"" +
              caster(i).url() + "\"}";
    return m_dir.write("stations.json", "{\"streams\": {\"SKY\": \"" + m_casters[0]->url() +
                                            "\"}, \"defaults\": {\"eph\": \"SKY\", \"ssr\": \"SKY\", "
                                            "\"systems\": \"GEC\", \"mode\": \"static\", \"fix\": true, "
                                            "\"solution-name\": \"solution.csv\"}, \"stations\": [" +
                                            list + "]" + more + "}");
  }
  std::string arguments(const std::filesystem::path& file) const {
    return "fleet " + file.string() + " --quiet --start " + support::kDate + " --speed " +
           std::to_string(m_speed) + " --out " + out().string();
  }
  std::filesystem::path out() const { return m_dir.path() / "out"; }
  Positions positions(int station) const {
    const auto directory = out() / ("S" + std::to_string(station));
    std::error_code missing;
    const auto size = std::filesystem::file_size(directory / "solution.csv", missing);
    return missing || size == 0 ? Positions() : positionsIn(directory);
  }
  std::string log() const { return support::readFile(out() / "fleet.log"); }
  /// One caster serves a station at a time; behind the last one they begin anew.
  const TestCaster& caster(int station) const {
    const auto own = static_cast<std::size_t>(station - 1) % (m_casters.size() - 1);
    return *m_casters[own + 1];
  }

 private:
  double m_speed;
  TemporaryDirectory m_dir;
  std::vector<std::unique_ptr<TestCaster>> m_casters;
};

/// What an assembler makes of a stream, told short.
class Told {
 public:
  Told() { m_assembler.addSource(0, {"sky", 7, 0}); }
  LiveAssembler& assembler() { return m_assembler; }
  const std::vector<std::string>& events() const { return m_events; }

 private:
  void take(const Event& event) {
    std::string line = formatTime(event.time, 3) + " " + std::to_string(event.record.index());
    if (const auto* batch = std::get_if<CorrectionBatch>(&event.record))
      for (const OrbitClockCorrection& c : batch->orbitClock)
        line += printed(" %.17g %.17g", c.deph[0], c.dclk[0]);
    if (const auto* epoch = std::get_if<ObsEpoch>(&event.record))
      for (const SatObs& sat : epoch->sats) line += printed(" %.17g", sat.signals.at(0).phase);
    if (const auto* eph = std::get_if<BroadcastEph>(&event.record)) line += printed(" %.17g", eph->m0);
    m_events.push_back(std::move(line));
  }

  TemporaryDirectory m_dir;
  Deployment m_deployment = Deployment::make(m_dir.path(), {});
  std::vector<std::string> m_events;
  LiveAssembler m_assembler{m_deployment,
                            {},
                            support::kStart,
                            {[this](const Event& e) { take(e); }, [] {}, [](const std::string&) {}}};
};

// What is decoded once for all and travels as frames gives the events that a decoder of its own gives.
TEST(Fleet, RecordsOfASharedStreamGiveTheEventsOfItsBytes) {
  Told own, shared;
  SharedStream stream(
      0, support::kStart,
      [&](const Posted& posted) {
        std::string_view rest = *posted.frames;
        for (FrameHead head; !rest.empty(); rest.remove_prefix(sizeof head + head.size)) {
          std::memcpy(&head, rest.data(), sizeof head);
          FrameReader in(rest.substr(sizeof head, head.size));
          int source = -1;
          GpsTime arrival;
          RtcmRecord record;
          in(source, arrival, record);
          shared.assembler().take(source, arrival, record);
        }
      },
      [](const RtcmRecord&) {});
  TimedFile file(support::stream(), support::kStart);
  for (Arrival piece; file.next(piece);) {
    own.assembler().take(0, piece.time, piece.bytes);
    stream.tick(piece.time);
    stream.take(piece.time, piece.bytes);
  }
  EXPECT_GT(own.events().size(), 600);
  own.assembler().finish();
  stream.tick(support::kStart + 3600.0);
  shared.assembler().finish();
  EXPECT_EQ(own.events(), shared.events());
  EXPECT_GT(stream.kept().size(), 60) << "for those who come later";
}

TEST(Fleet, StationsOnSharedStreamsEndWhereARunOfTheirOwnDoes) {
  const FleetWorld world(2, 40.0);
  support::Running fleet(world.arguments(world.write({1, 2})));
  ASSERT_TRUE(becomes(60.0, [&] { return world.caster(1).finished() && world.caster(2).finished(); }));
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  fleet.signal(SIGTERM);
  EXPECT_EQ(fleet.await(3.0), 0) << world.log();
  const TemporaryDirectory alone;
  ASSERT_EQ(support::runProgram("live --obs file://" + support::stream() +
                                "?speed=0 --systems GEC --mode static --fix --quiet --solution-name "
                                "solution.csv --out " +
                                alone.path().string())
                .status,
            0);
  const Positions there = positionsIn(alone.path());
  for (const int station : {1, 2}) {
    const Positions here = world.positions(station);
    ASSERT_GE(here.size() + 3, there.size()) << support::readFile(world.out() / "S1" / "live.log");
    EXPECT_LT(length(minus(there.rbegin()->second.xyz, here.rbegin()->second.xyz)), 0.03);
    EXPECT_EQ(here.rbegin()->second.status, 5);
  }
}

TEST(Fleet, AWorkerThatDiesCostsAFewEpochsAndTheOthersNone) {
  const FleetWorld world(2, 20.0);
  const int port = support::freePort();
  support::Running fleet(
      world.arguments(world.write({1, 2}, ", \"http\": \"" + std::to_string(port) + "\"")));
  const auto running = [&](std::size_t least) {
    return becomes(20.0,
                   [&] { return world.positions(1).size() >= least && world.positions(2).size() >= least; });
  };
  ASSERT_TRUE(running(20)) << world.log();
  const std::vector<pid_t> before = fleet.children();
  ASSERT_EQ(before.size(), 2);
  kill(before[0], SIGKILL);
  ASSERT_TRUE(becomes(5.0, [&] { return fleet.children().size() == 2 && fleet.children()[0] == before[1]; }));
  EXPECT_THAT(world.log(), HasSubstr("S1: the worker was ended by signal 9; it is started again in"));
  ASSERT_TRUE(running(100)) << world.log();
  EXPECT_THAT(support::pageOf(port, "/healthz"), HasSubstr("200 OK"));
  const std::string metrics = support::pageOf(port, "/metrics");
  EXPECT_THAT(metrics, HasSubstr("\ngnx_worker_restarts_total{station=\"S1\"} 1\n"));
  EXPECT_THAT(metrics, HasSubstr("\ngnx_worker_restarts_total{station=\"S2\"} 0\n"));
  EXPECT_THAT(metrics, HasSubstr("\ngnx_source_connected{station=\"\",source=\"SKY\"} 1\n"));

  EXPECT_THAT(support::pageOf(port, "/"), HasSubstr("<th scope=\"row\">S2</th>"));

  // A damaged file changes nothing, another one the stations that it changes.
  support::writeFile(world.write({1, 2}), "{\"station\": []}");
  fleet.signal(SIGHUP);
  EXPECT_TRUE(
      becomes(3.0, [&] { return world.log().find("did you mean 'stations'?") != std::string::npos; }));
  world.write({2, 3});
  fleet.signal(SIGHUP);
  EXPECT_TRUE(becomes(10.0, [&] { return world.positions(3).size() > 20; }))
      << world.log() << support::readFile(world.out() / "S3" / "live.log");
  const std::vector<pid_t> after = fleet.children();
  ASSERT_EQ(after.size(), 2);
  EXPECT_EQ(after[0], before[1]) << "S2 was not touched";
  const std::string corrected = "\ngnx_correction_age_seconds{station=\"S2\",kind=\"orbit_clock\"} ";
  const std::string page = support::pageOf(port, "/metrics");
  ASSERT_THAT(page, HasSubstr(corrected));
  EXPECT_LT(std::stod(page.substr(page.find(corrected) + corrected.size())), 30.0)
      << "the shared stream goes on";

  fleet.signal(SIGTERM);
  EXPECT_EQ(fleet.await(3.0), 0) << world.log();
  int missing = 0;
  const Positions killed = world.positions(1), untouched = world.positions(2);
  for (auto it = untouched.begin(); it != untouched.end() && it->first < killed.rbegin()->first; ++it)
    missing += killed.contains(it->first) ? 0 : 1;
  EXPECT_LE(missing, 10);
  EXPECT_GE(untouched.rbegin()->first - untouched.begin()->first,
            static_cast<double>(untouched.size()) - 2.0);
}

}  // namespace
}  // namespace gnx::test
