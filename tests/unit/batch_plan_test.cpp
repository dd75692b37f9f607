// Runs of a batch from rows and files: days, neighbours, options of rows and of all.

#include "batch/batch.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

Arity arityOf(const std::string& name) {
  if (name == "fix") return Arity::flag;
  return name == "nav" || name == "sp3" || name == "obs" || name == "position" ? Arity::several : Arity::one;
}

std::string words(const BatchRun& run, const TempDir& dir) {
  std::string text;
  for (std::string word : run.words) {
    if (word.starts_with(dir.path().string())) word = word.substr(dir.path().string().size() + 1);
    text += (text.empty() ? "" : " ") + word;
  }
  return text;
}

TEST(BatchPlan, RowsAreCountedOutByDays) {
  const TempDir dir;
  const std::string at = dir.path().string() + "/";
  for (const char* file : {"GRG0_20200010000.sp3", "GRG0_20193650000.sp3", "GRG0_20200020000.sp3"})
    dir.write(file, "");
  const BatchRow row{"t.csv:2",
                     "ROME",
                     "2019-365..2020-001",
                     {{"obs", at + "[SITE][YYYY][DDD].rnx"}, {"fix", "yes"}, {"cutoff", "5"}}};
  const BatchOptions common = {
      {"sp3", at + "GRG?_[YYYY][DDD]*.sp3"}, {"cutoff", "10"}, {"fix", "no"}, {"position", "1 2 3"}};
  const auto runs = planBatch({row}, common, arityOf, "/out");
  ASSERT_EQ(runs.size(), 2u);
  EXPECT_EQ(runs[0].directory, "/out/ROME/2019365");
  EXPECT_EQ(words(runs[0], dir),
            "--obs ROME2019365.rnx --fix --cutoff 5 --sp3 GRG0_20193650000.sp3 GRG0_20200010000.sp3 "
            "--position 1 2 3")
      << "of the day before there is none";
  EXPECT_THAT(words(runs[1], dir), HasSubstr("GRG0_20193650000.sp3"));
  EXPECT_THAT(runs[1].words, Contains(at + "GRG0_20200020000.sp3"));
  EXPECT_EQ(runs[1].fault, "");
  EXPECT_EQ(chainsOf(runs, true).size(), 1u);
  EXPECT_EQ(chainsOf(runs, false).size(), 2u);

  const BatchRow later{"t.csv:3", "ROME", "2020-005", {{"obs", at + "[SITE].rnx"}}};
  const auto gap = planBatch({row, later}, common, arityOf, "/out");
  EXPECT_THAT(gap[2].fault, HasSubstr("no file matches"));
  EXPECT_EQ(chainsOf(gap, true), (std::vector<std::vector<std::size_t>>{{0, 1}, {2}}));
}

TEST(BatchPlan, FilesOfOneStationAndDayAreOneRun) {
  const TempDir dir;
  const auto observations = [&](const char* name, const char* marker, int day, int hour) {
    dir.write(name, headerLine("     3.04           OBSERVATION DATA    G", "RINEX VERSION / TYPE") +
                        headerLine(marker, "MARKER NAME") + headerLine("G    1 C1C", "SYS / # / OBS TYPES") +
                        headerLine("", "END OF HEADER") +
                        printed("> 2020 06 %02d %02d 00  0.0000000  0  1\nG01  20000000.000\n", day, hour));
  };
  observations("b.obs", "ROME", 25, 12);
  observations("a.obs", "ROME", 25, 0);
  observations("c.obs", "ROME", 26, 0);
  observations("d.obs", "OSLO", 25, 0);
  const auto runs =
      planBatch({{"command line", "", "", {{"obs", dir.path().string() + "/*.obs"}}}}, {}, arityOf, "/out");
  ASSERT_EQ(runs.size(), 3u);
  EXPECT_EQ(runs[0].directory, "/out/OSLO/2020177");
  EXPECT_EQ(runs[1].inputs.size(), 2u);
  EXPECT_EQ(runs[2].directory, "/out/ROME/2020178");
}

}  // namespace
}  // namespace gnx::test
