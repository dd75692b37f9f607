// Options from a file, and the words of the program for shells and manual pages.

#include <gmock/gmock.h>

#include "run/run_plan.h"
#include "support/child.h"
#include "support/files.h"

namespace gnx::test {
namespace {

using support::ChildResult;
using support::TemporaryDirectory;
using testing::AllOf;
using testing::HasSubstr;
constexpr auto run = support::runProgram;

TEST(OptionFile, StandsForWordsOfTheCommandLine) {
  const TemporaryDirectory dir;
  const std::string sky = (dir.path() / "sky").string(), out = (dir.path() / "out").string();
  ASSERT_EQ(run("simulate " + sky + " --hours 0.1 --interval 30 --systems GE --quiet").status, 0);
  const std::string file = dir.write(
      "options.json",
      R"({"obs": ["SKY/observations.rnx"], "nav": "SKY/navigation.rnx", "ssr": ["SKY/corrections.ssr"],
        "systems": "GE", "cutoff": 12, "interval": 60, "header-position": false, "details": 0, "quiet": true,
        "reference": [4269752.0, 638119.0, 4679830.0]})");
  std::string text = support::readFile(file);
  for (auto at = text.find("SKY"); at != std::string::npos; at = text.find("SKY")) text.replace(at, 3, sky);
  dir.write("options.json", text);
  const ChildResult r = run("replay --config " + file + " --interval 30 --out " + out);
  EXPECT_EQ(r.status, 0) << r.output;
  const RunPlan plan = readRunPlan(out + "/run.json");
  EXPECT_EQ(plan.cutoffDeg, 12.0);
  EXPECT_EQ(plan.interval, 30.0) << "the command line goes before the file";
  ASSERT_TRUE(plan.reference);
  EXPECT_EQ((*plan.reference)[2], 4679830.0);

  const std::pair<std::string, std::string> wrong[] = {
      {R"({"cutof": 5})", "did you mean --cutoff?"},
      {"[1]", "is no JSON object of options"},
      {R"({"cutoff": {"deg": 5}})", "cutoff: is no text, number"}};
  for (const auto& [content, sentence] : wrong) {
    const ChildResult refused = run("replay --config " + dir.write("wrong.json", content));
    EXPECT_EQ(refused.status, 2) << content;
    EXPECT_THAT(refused.output, HasSubstr(sentence)) << content;
  }
  EXPECT_THAT(run("replay --config /nonexistent").output, HasSubstr("/nonexistent: does not exist"));
}

TEST(Manual, HasEveryCommandAndItsOptions) {
  const TemporaryDirectory dir;
  ASSERT_EQ(run("manual " + dir.path().string()).status, 0);
  const auto page = [&](const char* name) { return support::readFile(dir.path() / "man1" / name); };
  EXPECT_THAT(page("gnx.1"), HasSubstr("gnx\\-replay"));
  EXPECT_THAT(page("gnx-replay.1"), HasSubstr("\\-\\-fix\\-clocks"));
  EXPECT_THAT(page("gnx-replay.1"), HasSubstr(".SH \"Deployment\""));
  EXPECT_THAT(page("gnx-batch.1"), Not(HasSubstr("run\\-option"))) << "nobody gives it by hand";
  EXPECT_FALSE(std::filesystem::exists(dir.path() / "man1" / "gnx-manual.1"));
  EXPECT_EQ(std::system(("bash -n " + (dir.path() / "bash" / "gnx").string()).c_str()), 0);
  EXPECT_THAT(run("completion zsh").output,
              AllOf(HasSubstr("--cutoff[elevation mask, degrees]:number: '"),
                    HasSubstr("--mode[static, kinematic or dynamic]:value:(static kinematic dynamic)'")));
  for (const char* command : {"replay", "batch", "init", "simulate"})
    EXPECT_THAT(run(std::string(command) + " --help").output, HasSubstr("example")) << command;
}

}  // namespace
}  // namespace gnx::test
