// The program as a user meets it: exit status and message for every kind of wrong input.

#include <gmock/gmock.h>

#include "geometry/vector3.h"
#include "gnx/geodesy.h"
#include "run/run_files.h"
#include "run/run_plan.h"
#include "support/child.h"
#include "support/files.h"

namespace gnx::test {
namespace {

using support::ChildResult;
using support::TemporaryDirectory;
using testing::HasSubstr;
constexpr auto run = support::runProgram;

/// A quarter of an hour of a simulated sky, made once for all tests of this file.
std::string simulated(const std::string& name) {
  static const TemporaryDirectory dir;
  static const bool made = run("simulate " + dir.path().string() + " --hours 0.25 --interval 30").status == 0;
  EXPECT_TRUE(made);
  return (dir.path() / name).string();
}

std::string observed() {
  return "--obs " + simulated("observations.rnx") + " --nav " + simulated("navigation.rnx");
}
std::string inputs() { return observed() + " --ssr " + simulated("corrections.ssr"); }

TEST(ReplayProgram, RefusesWrongCommandLinesWithASentence) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "name a command"},
      {"fly", ""},
      {"init /tmp/none --systems G --freqs GPS:L1", "GPS has only L1"},
      {"init /tmp/none --date yesterday", ""},
      {"replay --obs nofile.rnx --nav nofile.nav --broadcast", "nofile.rnx: does not exist"},
      {"replay " + inputs() + " --broadcast", "choose one source"},
      {"replay " + observed(), "no corrections"},
      {"replay " + inputs() + " --from yesterday", "GPS time such as"},
      {"replay " + inputs() + " --signals G1W", "--signals"},
      {"replay " + inputs() + " --solution-name '[SITE][DAY].pos'",
       "'DAY' is no word of a file name; words are"},
      {"replay " + inputs() + " --deployment /nonexistent", "gnx init"},
  };
  for (const auto& [arguments, text] : cases) {
    const TemporaryDirectory dir;
    const ChildResult r =
        run(arguments + (arguments.starts_with("replay") ? " --out " + dir.path().string() : ""));
    EXPECT_EQ(r.status, 2) << arguments;
    EXPECT_THAT(r.output, HasSubstr(text)) << arguments;
  }
}

TEST(ReplayProgram, BadConfigurationOfADeploymentIsTold) {
  const TemporaryDirectory dir;
  ASSERT_EQ(run("init " + dir.path().string()).status, 0);
  const std::string replay = "replay " + inputs() + " --deployment " + dir.path().string() + " --out " +
                             (dir.path() / "run").string();
  const auto refusal = [&](const char* file, const std::string& word, const std::string& wrong) {
    const std::string sound = support::readFile(dir.path() / file);
    const auto at = sound.find(word);
    EXPECT_NE(at, std::string::npos);
    dir.write(file, std::string(sound).replace(at, word.size(), wrong));
    const ChildResult refused = run(replay);
    EXPECT_EQ(refused.status, 3) << "by the engine";
    dir.write(file, sound);
    return refused.output;
  };
  EXPECT_EQ(run(replay).status, 0);
  const auto result = [&](const char* name) { return support::readFile(dir.path() / "run" / name); };
  const std::string solution = result("solution.pos");
  EXPECT_THAT(result("exit.txt"), HasSubstr("ended in order"));
  EXPECT_THAT(refusal("ppp.json", "\"ION_EST", "\"ION_FOO"),
              HasSubstr("key = ionmodel,only support ION_EST and ION_NONE"));
  EXPECT_THAT(result("exit.txt"), HasSubstr("only support ION_EST and ION_NONE")) << "found later, too";
  EXPECT_THAT(result("exit.txt.1"), HasSubstr("ended in order"));
  EXPECT_EQ(result("solution.pos.1"), solution) << "the last results lie beside";
  EXPECT_NE(result("solution.pos"), solution);
  EXPECT_THAT(refusal("tables.json", "leapsc", "leaps"),
              HasSubstr("item = leapsc,file = tables.json,failed to extract config\n"));

  for (const std::string& damage : {std::string("{ \"path\": "), std::string(3000, '[')}) {
    dir.write("ppp.json", damage);
    const ChildResult damaged = run(replay);
    EXPECT_EQ(damaged.status, 2) << "by the host";
    EXPECT_THAT(damaged.output, HasSubstr("ppp.json: is no JSON"));
  }
}

// A deployment says how its station is processed; the command line only where it speaks.
TEST(ReplayProgram, SettingsOfTheDeploymentHoldUnlessTheCommandLineSaysOtherwise) {
  const TemporaryDirectory dir;
  const std::string deployment = (dir.path() / "deployment").string();
  ASSERT_EQ(run("init " + deployment + " --mode kinematic --interval 60 --cutoff 12").status, 0);
  const auto report = dir.write("report.html", "of an earlier run");
  EXPECT_EQ(run("replay " + inputs() + " --deployment " + deployment + " --out " + dir.path().string() +
                " --interval 120")
                .status,
            0);
  const RunPlan plan = readRunPlan(dir.path() / "run.json");
  EXPECT_EQ(plan.mode, "kinematic");
  EXPECT_EQ(plan.interval, 120.0);
  EXPECT_EQ(plan.cutoffDeg, 12.0);
  const auto solutions = [](const std::string& run) { return support::readFile(run + "/solution.csv"); };
  ASSERT_EQ(run("replay " + inputs() + " --deployment " + deployment + " --out " + deployment).status, 0);
  const std::string made = solutions(deployment), other = (dir.path() / "other").string();
  ASSERT_EQ(
      run("replay " + inputs() + " --deployment " + deployment + " --interval 180 --out " + other).status, 0);
  EXPECT_NE(solutions(other), made);
  EXPECT_EQ(solutions(deployment), made) << "a run in another directory leaves the deployment's own alone";
  EXPECT_FALSE(std::filesystem::exists(report));
}

TEST(ReplayProgram, SimulatedSkyIsSolvedToItsTruth) {
  const TemporaryDirectory dir;
  const ChildResult r = run("demo --out " + dir.path().string());
  EXPECT_EQ(r.status, 0) << r.output;
  const SolutionEpoch last = readSolutionCsv(dir.path() / "run" / "solution.csv").back();
  EXPECT_EQ(last.status, 5);
  EXPECT_LT(length(minus(last.xyz, toEarthFixed({0.829, 0.148, 450.0}))), 0.01);
}

}  // namespace
}  // namespace gnx::test
