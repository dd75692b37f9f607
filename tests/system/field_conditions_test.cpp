// What happens to an engine in the field: odd intervals and tags, a host that changes its directory, a board
// whose clock is not set, a configuration whose fault would show in the first epoch only.

#include <gmock/gmock.h>

#include "support/faulty_run.h"
#include "support/replay_clock.h"

namespace gnx::test {
namespace {

using ::testing::HasSubstr;

/// Three minutes of a receiver at 5 Hz.
const SimulatedSky& fiveHertzSky() {
  static const SimulatedSky sky({.hours = 0.05, .fastFrom = 0.0, .fastTo = 1e9, .fastStep = 0.2});
  return sky;
}

TEST(Intervals, FractionsOfASecondGiveALineEachTick) {
  for (const double interval : {0.2, 0.6}) {
    const FaultyRun run(fiveHertzSky(), {}, {.mode = "kinematic", .interval = interval, .resolution = false});
    const auto expected = static_cast<std::size_t>(std::lround(180.0 / interval));
    ASSERT_NEAR(static_cast<double>(run.epochs.size()), static_cast<double>(expected), 1.0) << interval;
    for (std::size_t k = 1; k < run.epochs.size(); ++k)
      ASSERT_NEAR(run.epochs[k].time - run.epochs[k - 1].time, interval, 0.051) << "epoch " << k;
    EXPECT_EQ(run.slips() + run.treated(), 0) << interval;
    EXPECT_LT(run.error(fiveHertzSky().site, 60.0), 3.0) << interval;
  }
}

TEST(Intervals, ThoseThatAreNoneTakeEveryEpochAndSaySo) {
  Faults faults;
  faults.observations = [](ObsEpoch&, double t) { return t < 150.0; };
  for (const double interval : {0.0, -30.0, std::numeric_limits<double>::quiet_NaN()}) {
    const FaultyRun run(twoHourSky(), faults, {.interval = interval, .resolution = false});
    EXPECT_EQ(run.epochs.size(), 5U) << interval;
    EXPECT_EQ(std::ranges::count_if(run.log,
                                    [](const std::string& line) {
                                      return line.find("every epoch is processed") != std::string::npos;
                                    }),
              1)
        << interval;
  }
}

TEST(HostDirectory, ChangedAfterTheStartMovesNoFile) {
  const support::TemporaryDirectory elsewhere;
  Faults faults;
  faults.before = [&](double t) {
    if (t == 0.0) std::filesystem::current_path(elsewhere.path());
    if (t == 600.0)
      for (const auto& entry : std::filesystem::directory_iterator(elsewhere.path()))
        std::printf("file at the wrong place: %s\n", entry.path().c_str());
  };
  faults.observations = [](ObsEpoch&, double t) { return t < 900.0; };
  const FaultyRun run(twoHourSky(), faults, {.resolution = false});
  EXPECT_EQ(run.epochs.size(), 30U);
  EXPECT_EQ(support::linesOf(run.file("ppp_pos")).size(), 30U);
  EXPECT_GT(run.newAmbiguities("", 0.0), 20) << "the status log goes on where it was";
  EXPECT_TRUE(std::filesystem::is_empty(elsewhere.path()));
}

/// A host whose clock tells 1970 until the first epoch.
TEST(WallClock, UnsetAtTheStartGivesTheSatellitesOfTheFirstEpoch) {
  support::Deployment deployment;
  deployment.withGrid = true;
  std::string rows;
  for (const auto& [name, type] : deployment.satellites) {
    const bool replaced = name == "G02";
    if (replaced) rows += support::satnavRow(name, "BLOCK IIA", 1990, 2015);
    rows += support::satnavRow(name, support::blockOf(name[0]).name, replaced ? 2015 : 1990, 0);
  }
  deployment.satnav = support::satnavFile(rows);
  std::string antennas = support::antexFile(deployment.satellites);
  deployment.antpcv = antennas + support::antexBlock("BLOCK IIA", "G02",
                                                     support::antexFrequency("G01", 0, 0, 9) +
                                                         support::antexFrequency("G02", 0, 0, 9));
  deployment.write();
  const auto block = [](const char* name) {
    const tarvio::Deploy& deploy = tarvio::Controller::s_getInstance()->m_deploy;
    return deploy.m_satellites[static_cast<std::size_t>(deploy.m_satRow(name))].m_block;
  };
  const support::ChildResult child = support::runInChild([&] {
    std::filesystem::current_path(deployment.path(""));
    setReplayClock(3600);
    GNX_IO::sta_t sta{};
    GNX_initialize("kinematic", &sta, 7.0, 30.0);
    std::printf("at the start %s\n", block("G02").c_str());
    constexpr std::int64_t kJune2012 = 1340582400;
    setReplayClock(kJune2012);
    GNX_IO::obs_t none{0, nullptr};
    GNX_inputObs({kJune2012, 0.0}, &none);
    std::printf("at the first epoch %s\n", block("G02").c_str());
    GNX_finilize();
  });
  EXPECT_EQ(child.status, 0) << child.output;
  EXPECT_THAT(child.output, HasSubstr("at the start BLOCK IIF"));
  EXPECT_THAT(child.output, HasSubstr("at the first epoch BLOCK IIA"));
  std::string log;  // it rolled over when the clock was set
  for (const auto& entry : std::filesystem::directory_iterator(deployment.path("log")))
    log += support::readFile(entry.path());
  EXPECT_THAT(log, HasSubstr("outside the table of leap seconds"));
}

/// Ends at the load, with the text that the first epoch would have given.
TEST(Configuration, FaultsOfTheFirstEpochEndTheLoad) {
  const auto refusal = [](const std::function<void(support::Deployment&)>& spoil) {
    support::Deployment deployment;
    deployment.withGrid = true;
    spoil(deployment);
    deployment.write();
    const support::ChildResult child = support::runInChild([&] {
      std::filesystem::current_path(deployment.path(""));
      GNX_IO::sta_t sta{};
      GNX_initialize("kinematic", &sta, 7.0, 30.0);
    });
    EXPECT_EQ(child.status, 1) << child.output;
    return child.output;
  };
  EXPECT_THAT(refusal([](auto& d) { d.config["threshold"]["dia"] = "search RESET"; }),
              HasSubstr("diamode = search,unknown dia mode"));
  EXPECT_THAT(refusal([](auto& d) {
                d.config["common"]["freqobs"] = "GPS:L1_L2 GAL:E1_E5a_E5b_E6 BD3:B1_B3 BD2:B1_B2b QZS:L1_L2";
              }),
              HasSubstr("the number of frequency is more than 3"));
  EXPECT_THAT(refusal([](auto& d) { d.withGrid = false; }), HasSubstr("can't open file to read!"));
  EXPECT_THAT(refusal([](auto& d) { d.tables["files"]["ut1t10"][0] = "no such file"; }),
              HasSubstr("ERROR(RG_ZONT2):no such file"));
  EXPECT_THAT(refusal([](auto& d) { d.tables["files"]["ocload"][0] = "no such file"; }),
              HasSubstr("open configure file"));
}

}  // namespace
}  // namespace gnx::test
