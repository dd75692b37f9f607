// What a run writes beside its solution: events, files named by the time, the engine's stores.

#include <gmock/gmock.h>

#include "gnx/read.h"
#include "run/event_file.h"
#include "run/named_solutions.h"
#include "support/host_files.h"
#include "support/simulated_files.h"

namespace gnx::test {
namespace {

using namespace testing;

/// An hour and a half from 06:00 with one gap of everything, run once.
struct NamedFiles : testing::Test {
  static void SetUpTestSuite() {
    s_home = std::make_unique<TempDir>();
    SimulationOptions sky = shortSky("GE", 1.5);
    sky.marker = "HOME 1";
    ReplayOptions o = replayOf(simulate(sky, s_home->path() / "sky"), "GE", run());
    o.solutionName = "hours/[SITE]_[YYYY][DDD][HH].pos";
    o.plan.storeFiles = true;
    runReplay(o);
  }
  static void TearDownTestSuite() { s_home.reset(); }
  static std::filesystem::path run() { return s_home->path() / "run"; }
  static std::string withoutHeader(const std::string& text) {
    std::string rest;
    for (const std::string& line : support::linesOf(text))
      if (line[0] != '%') rest += line + "\n";
    return rest;
  }
  static inline std::unique_ptr<TempDir> s_home;
};

TEST_F(NamedFiles, HourlyFilesConcatenateToTheWhole) {
  const std::string first = readFile(run() / "hours/HOME_202632506.pos"),
                    second = readFile(run() / "hours/HOME_202632507.pos"),
                    whole = readFile(run() / "solution.pos");
  EXPECT_THAT(first, StartsWith("% program   : gnx"));
  EXPECT_THAT(second, StartsWith("% program   : gnx")) << "each has a header";
  EXPECT_EQ(withoutHeader(first) + withoutHeader(second), withoutHeader(whole));
  EXPECT_THAT(withoutHeader(second), StartsWith("2026/11/21 07:00:00.000"));
}

TEST_F(NamedFiles, EventsStandInAFile) {
  const auto lines = support::linesOf(readFile(run() / "events.csv"));
  EXPECT_EQ(lines.at(0), "time_gpst,event,details");
  EXPECT_THAT(lines.at(1),
              StartsWith("2026-11-21 06:00:00.000,configuration,file=ppp.json interval=30.000 "));
  EXPECT_THAT(lines, Contains(HasSubstr(",satellite_in,elevation=")));
  EXPECT_EQ(eventSummary(run() / "events.csv"), "") << "nothing was lost";
  EXPECT_EQ(
      eventSummary(s_home->write("e.csv", "time_gpst,event,details\nt,fix_gained,a=1\nt,fix_lost,\nbroken")),
      "fix gained 1, lost 1");
}

TEST_F(NamedFiles, StoresAreWrittenAtTheEnd) {
  const NavData held = readRinexNav(std::vector<std::string>{(run() / "brdm325h15.26p").string()});
  EXPECT_GT(held.keplerian.size(), 30U);
  const std::string corrections = readFile(run() / "ssr24456.ssr");
  EXPECT_THAT(corrections, HasSubstr("> ORBIT 2026 11 21 07 29 30.0 "));
}

TEST(SolutionNames, AreCheckedBeforeARun) {
  const TempDir dir;
  const auto refusal = [](const std::string& text, const std::string& deployment = "") {
    return messageOf<UsageError>([&] { solutionPattern(text, deployment); });
  };
  EXPECT_THAT(refusal("[SITE][HOUR].pos"), HasSubstr("'HOUR' is no word of a file name; words are Y, YY,"));
  EXPECT_THAT(refusal("../[HH].pos"), HasSubstr("inside the run directory"));
  EXPECT_THAT(refusal("/tmp/[HH].pos"), HasSubstr("inside the run directory"));
  EXPECT_THAT(refusal("[HH]/"), HasSubstr("inside the run directory"));
  EXPECT_THAT(refusal("@hourly"), HasSubstr("--deployment"));

  dir.write("names.txt", "mirva_file_name\nhourly [SITE][HH].csv\n");
  dir.write("tables.json", R"({"files": {"predefine": ["names.txt"]}})");
  dir.write("ppp.json", R"({"files": "tables.json"})");
  EXPECT_THAT(refusal("@daily", dir.path()), HasSubstr("'daily' is not in the table"));
  EXPECT_EQ(solutionPattern("@hourly", dir.path()), "[SITE][HH].csv");
}

TEST(SolutionNames, ComeAgainAndChooseTheirFormat) {
  const TempDir dir;
  SolutionEpoch epoch;
  epoch.status = 2;
  epoch.xyz = {4075580.0, 931854.0, 4801568.0};
  NamedSolutions hours(dir.path(), "[HH].csv", "X", {});
  for (const double hour :
       {23.0, 23.9999999, 24.5, 47.0}) {  // 23, 00 by rounding, 00 of the next day, 23 again
    epoch.time = toGpsTime({2026, 11, 21, 0, 0, 0.0}) + hour * 3600.0;
    hours.write(epoch);
  }
  EXPECT_THAT(hours.files(), SizeIs(2));
  const auto lines = support::linesOf(readFile(dir.path() / "23.csv"));
  EXPECT_THAT(lines, SizeIs(3)) << "one line of names, and the second day behind the first";
  EXPECT_THAT(support::linesOf(readFile(dir.path() / "00.csv")), SizeIs(3));
}

}  // namespace
}  // namespace gnx::test
