// Engines as a host of the library meets them: in a worker, in its own process, several at a time, killed.

#include "gnx/engine.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdio>

#include "geometry/vector3.h"
#include "support/child.h"
#include "support/deployment.h"
#include "support/simulated_files.h"

namespace gnx::test {
namespace {

using testing::HasSubstr;

/// Half an hour of a sky with QZSS, whose BeiDou clocks refer to B3I, and a deployment for it, made once.
struct Site {
  static const Site& get() {
    static const Site site;
    return site;
  }
  Site()
      : sky(inJapan()),
        files(simulate(sky, directory.path() / "sky")),
        deployment(Deployment::make(directory.path() / "site", options())) {}
  EventStream stream() const {
    return read({files.observations.string(), files.navigation.string(), files.corrections.string()},
                {.deployment = deployment});
  }

  /// What the example hosts take.
  std::string arguments() const {
    return deployment.directory().string() + " " + files.corrections.string() + " " +
           files.observations.string() + " " + files.navigation.string();
  }

  const support::TemporaryDirectory directory;
  const SimulationOptions sky;
  const SimulationFiles files;
  const Deployment deployment;

 private:
  static SimulationOptions inJapan() {
    SimulationOptions o = shortSky("GECJ", 0.5);
    o.observer.site = toEarthFixed({0.61, 2.43, 50.0});
    return o;
  }
  static DeploymentOptions options() {
    DeploymentOptions o;
    o.systems = "GECJ";
    o.refpoint = "APC_ITRF";
    o.date = toGpsTime({2026, 11, 21, 6, 0, 0.0});
    return o;
  }
};

/// Every bit of what a host may compare.
std::string bitsOf(const Solution& s) {
  std::string text;
  const auto add = [&text](double value) {
    char number[40];
    std::snprintf(number, sizeof number, "%a ", value);
    text += number;
  };
  add(s.time - GpsTime{});
  for (const double x : s.position) add(x);
  for (const Vector3& row : s.covariance)
    for (const double x : row) add(x);
  add(s.ratio), add(s.sigma0), add(s.zenith.correction_m), add(s.dop.position);
  for (const SatelliteSolution& satellite : s.satellites) {
    text += satellite.sat + " ";
    for (const BandSolution& band : satellite.bands) {
      text += band.signal + " " + band.phase.fate + " ";
      add(band.phase.residual_m), add(band.code.residual_m);
    }
  }
  return text + nameOf(s.state) + "\n";
}

std::string solutionsOf(Engine& engine, EventStream stream) {
  std::string text;
  for (const Event& event : stream)
    if (const auto solution = engine.feed(event)) text += bitsOf(*solution);
  engine.finish();
  return text;
}

const std::string& ofAWorker() {
  static const std::string text = [] {
    Engine engine(Site::get().deployment);
    return solutionsOf(engine, Site::get().stream());
  }();
  return text;
}

TEST(Engines, GiveTheSameBitsInAWorkerAndInThisProcess) {
  EXPECT_EQ(std::ranges::count(ofAWorker(), '\n'), 60);
  EXPECT_THAT(ofAWorker(), HasSubstr("fixed"));
  const support::TemporaryDirectory out;
  const auto child = support::runInChild([&] {
    Engine engine(Site::get().deployment, {.place = Place::inProcess});
    support::writeFile(out.path() / "bits", solutionsOf(engine, Site::get().stream()));
    Engine again(Site::get().deployment, {.place = Place::inProcess});  // the last one has been finished
    for (const Event& event : Site::get().stream()) again.feed(event);
    Engine second(Site::get().deployment, {.place = Place::inProcess});
    EXPECT_THROW(second.start(Site::get().stream().start()), UsageError) << "room for one";
  });
  EXPECT_EQ(child.status, 0) << child.output;
  EXPECT_EQ(support::readFile(out.path() / "bits"), ofAWorker());
}

TEST(Engines, RunSeveralAtATime) {
  const Site& site = Site::get();
  Deployment moving = site.deployment;
  moving.settings.mode = Mode::kinematic;
  Engine a(site.deployment), b(moving), c(site.deployment);
  std::string ofA, ofB, ofC;
  EventStream stream = site.stream();
  for (Event event; stream.next(event);) {
    if (const auto s = a.feed(event)) ofA += bitsOf(*s);
    if (const auto s = b.feed(event)) ofB += bitsOf(*s);
    if (const auto s = c.feed(event)) ofC += bitsOf(*s);
  }
  EXPECT_EQ(ofA, ofAWorker());
  EXPECT_EQ(ofC, ofAWorker());
  EXPECT_NE(ofB, ofA);
}

TEST(Engines, KilledOneIsAnErrorAndTheHostGoesOn) {
  Engine engine(Site::get().deployment);
  EventStream stream = Site::get().stream();
  int epochs = 0;
  std::string told, again;
  for (Event event; stream.next(event) && told.empty();) {
    if (epochs == 20) kill(static_cast<pid_t>(engine.processId()), SIGKILL);
    try {
      if (engine.feed(event)) ++epochs;
    } catch (const EngineError& e) {
      told = e.what();
    }
  }
  EXPECT_EQ(epochs, 20);
  EXPECT_THAT(told, HasSubstr("signal 9"));
  EXPECT_THROW(engine.feed(ObsEpoch{toGpsTime({2026, 11, 21, 6, 20, 0.0}), {}}), EngineError);
  EXPECT_THROW(engine.finish(), EngineError);
  Engine next(Site::get().deployment);
  EXPECT_EQ(solutionsOf(next, Site::get().stream()), ofAWorker());
}

TEST(Engines, TellWhyTheyDoNotStart) {
  const Site& site = Site::get();
  const support::TemporaryDirectory copy;
  site.deployment.lend(copy.path());
  std::string main = support::readFile(copy.path() / "ppp.json");
  const std::string word = "\"ION_EST";
  copy.write("ppp.json", main.replace(main.find(word), word.size(), "\"ION_FOO"));
  EXPECT_THAT(Deployment::open(copy.path()).check(),
              testing::Contains(HasSubstr("only support ION_EST and ION_NONE")));
  Engine refused(Deployment::open(copy.path()));
  try {
    refused.feed({GpsTime{}, site.stream().start()});
    ADD_FAILURE() << "a configuration that cannot be";
  } catch (const EngineError& e) {
    EXPECT_THAT(e.what(), HasSubstr("only support ION_EST and ION_NONE"));
  }
  EXPECT_THROW(refused.feed(ObsEpoch{}), Error);

  Engine unfed(site.deployment);
  EXPECT_THROW(unfed.feed(ObsEpoch{}), UsageError) << "before the start";
  EXPECT_THROW(unfed.start({}), UsageError) << "without signals";
  Engine nowhere(site.deployment, {.worker = "/nonexistent/gnx-worker"});
  EXPECT_THROW(nowhere.start(site.stream().start()), EngineError);
}

TEST(Engines, LeaveTheirDirectoryAndTellEvents) {
  const support::TemporaryDirectory kept;
  std::filesystem::path temporary;
  std::vector<std::string> names;
  {
    EngineOptions options;
    options.onEvent = [&](const EngineEvent& event) { names.push_back(event.name); };
    Engine engine(Site::get().deployment, options);
    temporary = engine.directory();
    EXPECT_TRUE(std::filesystem::exists(temporary / "ppp.json"));
    EngineOptions bounded;
    bounded.directory = kept.path();
    bounded.logBytes = 3000;
    bounded.biasHistory_s = 600.0;
    Engine named(Site::get().deployment, bounded);
    EventStream stream = Site::get().stream();
    for (Event event; stream.next(event);) {
      const auto free = engine.feed(event), inBounds = named.feed(event);
      ASSERT_EQ(free.has_value(), inBounds.has_value());
      if (!free) continue;
      EXPECT_EQ(free->position, inBounds->position);
    }
    engine.restart();
    EXPECT_EQ(named.writeStoreFiles(stream.start().first.value()).size(), 2u);
  }
  EXPECT_FALSE(std::filesystem::exists(temporary));
  // Files that grow with every epoch go on in new ones; a line has 170 bytes, this sky 60 epochs.
  for (const char* file : {"engine.log", "ppp_pos"}) {
    EXPECT_THAT(support::readFile(kept.path() / file).size(),
                testing::AllOf(testing::Gt(0U), testing::Lt(3400U)))
        << file;
    EXPECT_THAT(std::filesystem::file_size(kept.path() / (std::string(file) + ".1")), testing::Ge(3000U));
  }
  EXPECT_EQ(names.front(), "configuration");
  EXPECT_THAT(names, testing::IsSupersetOf({"satellite_in", "fix_gained", "restart"}));
}

// A live host has no events: what it decodes it feeds, and says once what the receiver observes.
TEST(Engines, TakeRecordsOfAHostThatKnowsNoBeginning) {
  Engine engine(Site::get().deployment);
  EventStream stream = Site::get().stream();
  StreamStart start = stream.start();
  start.first.reset();
  engine.start(start);
  std::string text;
  for (Event event; stream.next(event);) {
    if (const auto* eph = std::get_if<BroadcastEph>(&event.record)) engine.feed(*eph);
    else if (const auto* batch = std::get_if<CorrectionBatch>(&event.record)) engine.feed(*batch);
    else if (const auto* epoch = std::get_if<ObsEpoch>(&event.record)) {
      if (const auto solution = engine.feed(*epoch)) text += nameOf(solution->state);
    }
  }
  EXPECT_THAT(text, testing::EndsWith("fixedfixedfixed"));
}

TEST(Deployments, ExplainThemselvesAndLendNoResults) {
  std::ostringstream words;
  Site::get().deployment.explain(words);
  for (const char* text :
       {"QZS", "GPS:L1_L2", "of the satellites' antennas", "static, every 30 s", "applied by the engine"})
    EXPECT_THAT(words.str(), HasSubstr(text));
  EXPECT_EQ(support::runProgram("explain " + Site::get().deployment.directory().string()).output,
            words.str());
  EXPECT_TRUE(Site::get().deployment.check().empty());

  const support::TemporaryDirectory from, to;
  Site::get().deployment.lend(from.path());
  from.write("engine.log", "of a run");
  Deployment::open(from.path()).lend(to.path());
  EXPECT_TRUE(std::filesystem::exists(to.path() / "satnav.txt"));
  EXPECT_FALSE(std::filesystem::is_symlink(to.path() / "ppp.json")) << "may be changed there";
  EXPECT_FALSE(std::filesystem::exists(to.path() / "engine.log"));
  EXPECT_THROW(Deployment::open(to.path() / "log" / "none"), UsageError);
}

// The engine takes an antenna that it does not know for none and goes on.
TEST(Deployments, WarnOfAnUnknownAntennaAndNameTheNearest) {
  const support::TemporaryDirectory home;
  DeploymentOptions o;
  o.systems = "G";
  o.date = toGpsTime({2026, 11, 21, 6, 0, 0.0});
  std::string blocks = support::antexHeader();
  for (int sat = 1; sat <= 32; ++sat)
    blocks += support::antexBlock(
        "BLOCK IIF", support::printed("G%02d", sat),
        support::antexFrequency("G01", 0, 0, 1000) + support::antexFrequency("G02", 0, 0, 1000));
  for (const char* type : {"LEIAR25.R3      LEIT", "LEIAR25.R4      LEIT", "TRM59800.00     SCIS"})
    blocks += support::antexBlock(type, "", support::antexFrequency("G01", 0, 0, 80));
  o.antex = home.write("antennas.atx", blocks);
  Deployment site = Deployment::make(home.path() / "site", o);
  const auto warningsOf = [&](const char* antenna) {
    StreamStart start = Site::get().stream().start();
    start.header.antenna = antenna;
    Engine engine(site);
    engine.start(start);
    return engine.warnings();
  };
  EXPECT_THAT(warningsOf("TRM59800.00     SCIS"), testing::IsEmpty());
  EXPECT_THAT(warningsOf("TRM59800"), testing::IsEmpty()) << "completed by the table of names";
  EXPECT_THAT(warningsOf("LEIAR25.R4      NONE"),
              testing::ElementsAre(HasSubstr("is 'LEIAR25.R4      LEIT'")));
  site.settings.antenna = "TRM59080.00     SCIS";
  EXPECT_THAT(site.check(), testing::ElementsAre(HasSubstr("is 'TRM59800.00     SCIS'")));
}

std::string lastLine(const std::string& command) {
  const auto child = support::runInChild([&] { execl("/bin/sh", "sh", "-c", command.c_str(), nullptr); });
  EXPECT_EQ(child.status, 0) << child.output;
  return support::linesOf(child.output).back();
}

// The program and a host of thirty lines see the same position.
TEST(Engines, ExampleHostPrintsTheFixedPositionOfTheProgram) {
  const Site& site = Site::get();
  const std::string call = support::kExamples + "/positions ", arguments = site.arguments();
  const std::string line = lastLine(call + arguments);
  EXPECT_THAT(line, HasSubstr("2026-11-21 06:29:30.000"));
  EXPECT_THAT(line, HasSubstr("fixed"));
  EXPECT_EQ(line, lastLine(call + "--in-process " + arguments));

  ReplayOptions o = replayOf(site.files, "GECJ", site.directory.path() / "run");
  o.deployment = site.deployment.directory();
  const SolutionEpoch last = runReplay(o).epochs.back();
  for (const double coordinate : last.xyz) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4f", coordinate);
    EXPECT_THAT(line, HasSubstr(text));
  }
}

// The engine's entry points alone, every duty done by hand, companion functions that number and search in
// their own way: where a host that left duties out would be off by metres.
TEST(Engines, RawHostWithCompanionFunctionsOfItsOwnReachesCentimetres) {
  const Site& site = Site::get();
  std::set<std::string> blocks;
  ObservationReader observations(site.files.observations.string());
  ObsEpoch epoch;
  ASSERT_TRUE(observations.next(epoch));
  for (const SatObs& sat : epoch.sats)
    for (const SatelliteRecord& row : builtInSatellites())
      if (row.name == sat.sat && row.validAt(tableTime(epoch.time))) blocks.insert(row.block.substr(0, 9));
  EXPECT_THAT(blocks, testing::IsSupersetOf({"BLOCK IIR", "BLOCK III", "QZSS-2I", "BEIDOU-3M"}));
  double largest = 0.0;
  for (const BroadcastEph& eph : readRinexNav({site.files.navigation.string()}).keplerian)
    if (eph.sat[0] == 'C') largest = std::max(largest, 2.94 * std::fabs(eph.tgd[0]) * 299792458.0);
  EXPECT_GT(largest, 1.0) << "m, clocks of B3I against those of the pair";

  const std::string line = lastLine(support::kExamples + "/raw_host_of_others " + site.arguments());
  EXPECT_THAT(line, testing::EndsWith("fixed"));
  std::istringstream words(line);
  std::string date, time;
  Vector3 position{};
  words >> date >> time >> position[0] >> position[1] >> position[2];
  EXPECT_LT(length(minus(position, site.sky.observer.site)), 0.05) << line;
}

}  // namespace
}  // namespace gnx::test
