// The program as a user meets it: exit status and message for every kind of wrong input.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/real_data.h"

namespace gnx::test {
namespace {

struct CommandResult {
  int status = -1;
  std::string output;
};

CommandResult run(const std::string& arguments) {
  CommandResult r;
  const std::string command = std::string(GNX_PROGRAM) + " " + arguments + " 2>&1";
  std::FILE* pipe = popen(command.c_str(), "r");
  char buffer[4096];
  while (const std::size_t n = std::fread(buffer, 1, sizeof buffer, pipe)) r.output.append(buffer, n);
  const int status = pclose(pipe);
  r.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
  return r;
}

/// A quarter of an hour of a simulated sky, made once for all tests of this file.
const std::filesystem::path& simulated() {
  static const RunDirectory dir;
  static const bool made = run("simulate " + dir.path().string() + " --hours 0.25 --interval 30").status == 0;
  EXPECT_TRUE(made);
  return dir.path();
}

std::string fileOf(const std::string& option) {
  const char* name = option == "--obs"   ? "observations.rnx"
                     : option == "--nav" ? "navigation.rnx"
                                         : "corrections.ssr";
  return (simulated() / name).string();
}

std::string inputs() {
  return "--obs " + fileOf("--obs") + " --nav " + fileOf("--nav") + " --ssr " + fileOf("--ssr");
}

TEST(ReplayProgram, RefusesWrongCommandLinesWithASentence) {
  const struct {
    std::string arguments, text;
  } cases[] = {
      {"", "subcommand"},
      {"fly", ""},
      {"init /tmp/none --systems G --freqs GPS:L1", "GPS has only L1"},
      {"init /tmp/none --date yesterday", ""},
      {"replay --obs nofile.rnx --nav nofile.nav --broadcast", "nofile.rnx: does not exist"},
      {"replay " + inputs() + " --broadcast", "choose one source"},
      {"replay --obs " + fileOf("--obs") + " --nav " + fileOf("--nav"), "no corrections"},
      {"replay " + inputs() + " --from yesterday", "GPS time such as"},
      {"replay " + inputs() + " --signals G1W", "--signals"},
      {"replay " + inputs() + " --deployment /nonexistent", "gnx init"},
  };
  for (const auto& c : cases) {
    const RunDirectory dir;
    const CommandResult r =
        run(c.arguments + (c.arguments.starts_with("replay") ? " --out " + dir.path().string() : ""));
    EXPECT_EQ(r.status, 2) << c.arguments;
    EXPECT_NE(r.output.find(c.text), std::string::npos) << c.arguments << "\n" << r.output;
  }
}

TEST(ReplayProgram, DamagedFilesGiveAMessageWithTheFileAndStatusTwo) {
  const RunDirectory dir;
  const struct {
    const char* option;
    std::string source;
  } kinds[] = {{"--obs", fileOf("--obs")}, {"--nav", fileOf("--nav")}, {"--ssr", fileOf("--ssr")}};
  for (const auto& kind : kinds) {
    std::ifstream in(kind.source, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(in), {}};
    bytes.resize(bytes.size() / 2 + 7);
    bytes += "\x01\x02 this is no record \xff\xfe\n";
    const auto damaged =
        (dir.path() / ("damaged" + std::filesystem::path(kind.source).extension().string())).string();
    std::ofstream(damaged, std::ios::binary) << bytes;
    std::string arguments = "replay --out " + (dir.path() / "run").string();
    for (const auto& other : kinds) {
      arguments +=
          std::string(" ") + other.option + " " + (other.option == kind.option ? damaged : other.source);
    }
    const CommandResult r = run(arguments);
    EXPECT_EQ(r.status, 2) << kind.option << "\n" << r.output;
    EXPECT_NE(r.output.find(damaged + ":"), std::string::npos) << kind.option << "\n" << r.output;
  }
}

TEST(ReplayProgram, BadConfigurationOfTheEngineBecomesStatusThreeWithItsReason) {
  const RunDirectory dir;
  const auto deployment = dir.path() / "deployment";
  ASSERT_EQ(run("init " + deployment.string()).status, 0);
  std::ifstream in(deployment / "ppp.json");
  std::string text{std::istreambuf_iterator<char>(in), {}};
  const auto at = text.find("ION_EST", text.find("\"ionmodel\""));
  ASSERT_NE(at, std::string::npos);
  text.replace(at, 7, "ION_FOO");
  std::filesystem::remove(deployment / "ppp.json");
  std::ofstream(deployment / "ppp.json") << text;
  const CommandResult r = run("replay " + inputs() + " --deployment " + deployment.string() + " --out " +
                              (dir.path() / "run").string());
  EXPECT_EQ(r.status, 3) << r.output;
  EXPECT_NE(r.output.find("key = ionmodel,only support ION_EST and ION_NONE"), std::string::npos) << r.output;
}

// A deployment says how its station is processed; the command line only where it speaks.
TEST(ReplayProgram, SettingsOfTheDeploymentHoldUnlessTheCommandLineSaysOtherwise) {
  const RunDirectory dir;
  const std::string deployment = (dir.path() / "deployment").string();
  ASSERT_EQ(run("init " + deployment + " --mode kinematic --interval 60 --cutoff 12").status, 0);
  const auto out = dir.path() / "run";
  const std::string replay = "replay " + inputs() + " --deployment " + deployment + " --out " + out.string();
  std::filesystem::create_directories(out);
  std::ofstream(out / "report.html") << "of an earlier run";
  EXPECT_EQ(run(replay + " --interval 120").status, 0);
  const RunPlan plan = readRunPlan(out / "run.json");
  EXPECT_EQ(plan.mode, "kinematic");
  EXPECT_EQ(plan.interval, 120.0);
  EXPECT_EQ(plan.cutoffDeg, 12.0);
  EXPECT_FALSE(std::filesystem::exists(out / "report.html"));
}

TEST(ReplayProgram, ADamagedConfigurationFileIsNamed) {
  const RunDirectory dir;
  std::ofstream(dir.path() / "ppp.json") << "{ \"path\": ";
  const CommandResult r = run("replay " + inputs() + " --deployment " + dir.path().string() + " --out " +
                              (dir.path() / "run").string());
  EXPECT_EQ(r.status, 2) << r.output;
  EXPECT_NE(r.output.find("ppp.json"), std::string::npos) << r.output;
}

TEST(ReplayProgram, SimulatedSkyIsSolvedToItsTruth) {
  const RunDirectory dir;
  const CommandResult r = run("demo --out " + dir.path().string());
  EXPECT_EQ(r.status, 0) << r.output;
  EXPECT_NE(r.output.find("error against the reference"), std::string::npos) << r.output;
}

}  // namespace
}  // namespace gnx::test
