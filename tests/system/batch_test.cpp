// Batches: each run once whatever happens, days that go on, faults that cost their own run.

#include <gmock/gmock.h>

#include <filesystem>

#include "batch/batch_record.h"
#include "geometry/vector3.h"
#include "run/run_files.h"
#include "support/live_runs.h"

namespace gnx::test {
namespace {

namespace fs = std::filesystem;
using support::ChildResult;
using support::TemporaryDirectory;
using testing::HasSubstr;
constexpr auto run = support::runProgram;

/// Two stations about midnight, made once; the table cuts them into two days each.
class Stations {
 public:
  Stations() {
    for (const char* station : {"ROME", "OSLO"})
      EXPECT_EQ(run("simulate " + path(station) + " --date 2026-11-20T23:44:00 --hours 0.5 --interval 30 " +
                    "--systems GE --quiet --site " + (station[0] == 'R' ? "42 12 100" : "60 11 100"))
                    .status,
                0);
    const std::string files = path("[SITE]/observations.rnx") + "," + path("[SITE]/navigation.rnx") + "," +
                              path("[SITE]/corrections.ssr");
    std::string text = "station,day,obs,nav,ssr,from,to\n";
    for (const std::string station : {"ROME", "OSLO"})
      text += station + ",2026-11-20," + files + ",,2026-11-20T23:59:30\n" + station + ",2026-325," + files +
              ",2026-11-21T00:00:00,\n";
    table = m_directory.write("stations.csv", text);
  }
  std::string path(const std::string& name) const { return (m_directory.path() / name).string(); }
  std::string table;

 private:
  TemporaryDirectory m_directory;
};

const Stations& stations() {
  static const Stations made;
  return made;
}

const std::vector<std::string> kRuns = {"OSLO/2026324", "OSLO/2026325", "ROME/2026324", "ROME/2026325"};

std::string batch(const fs::path& out, const std::string& more = "") {
  return "batch " + stations().table + " --out " + out.string() + " " + more + " -- --systems GE --details 0";
}

/// When the records of the runs were written, by run; those that are there.
std::map<std::string, fs::file_time_type> recordsIn(const fs::path& out) {
  std::map<std::string, fs::file_time_type> times;
  for (const std::string& name : kRuns)
    if (fs::exists(out / name / "batch.json")) times[name] = fs::last_write_time(out / name / "batch.json");
  return times;
}

TEST(Batch, DaysGoOnAndNothingIsDoneTwice) {
  const TemporaryDirectory dir;
  const fs::path out = dir.path() / "out";
  const ChildResult first = run(batch(out, "--continuous --jobs 2"));
  ASSERT_EQ(first.status, 0) << first.output;
  const auto records = recordsIn(out);
  EXPECT_EQ(records.size(), 4u);
  EXPECT_EQ(run(batch(out, "--continuous")).status, 0);
  EXPECT_EQ(recordsIn(out), records);

  // The second day begins as well as it ends.
  const auto days = readSolutionCsv(out / "ROME/2026325/solution.csv");
  const auto whole = dir.path() / "whole";
  const auto in = [](const char* name) { return stations().path(std::string("ROME/") + name); };
  ASSERT_EQ(run("replay --obs " + in("observations.rnx") + " --nav " + in("navigation.rnx") + " --ssr " +
                in("corrections.ssr") + " --systems GE --quiet --out " + whole.string())
                .status,
            0);
  const auto unbroken = readSolutionCsv(whole / "solution.csv");
  ASSERT_GT(unbroken.size(), days.size());
  for (std::size_t i = 0; i < days.size(); ++i)
    EXPECT_LT(length(minus(days[i].xyz, unbroken[unbroken.size() - days.size() + i].xyz)), 0.02) << i;

  // Another content of the first day's correction: it and the day behind it, at that station alone.
  fs::last_write_time(in("corrections.ssr"), fs::file_time_type::clock::now());
  ASSERT_EQ(run(batch(out, "--continuous")).status, 0);
  const auto later = recordsIn(out);
  EXPECT_EQ(later.at("OSLO/2026325"), records.at("OSLO/2026325"));
  EXPECT_GT(later.at("ROME/2026324"), records.at("ROME/2026324"));
  EXPECT_GT(later.at("ROME/2026325"), records.at("ROME/2026325"));
  const std::string page = support::readFile(out / "batch.html");
  EXPECT_THAT(page, HasSubstr("4 of 4"));
  EXPECT_THAT(support::readFile(out / "batch.csv"), HasSubstr("\nROME,2026-11-21,good,0,"));
}

/// Whether a process does anything still; nobody may have asked yet how it ended.
bool isRunning(pid_t process) {
  return !support::readFile("/proc/" + std::to_string(process) + "/cmdline").empty();
}

TEST(Batch, GoesOnBehindAKill) {
  const TemporaryDirectory dir;
  std::vector<pid_t> children;
  {
    const support::Running killed(batch(dir.path(), "--jobs 1 --quiet"));
    ASSERT_TRUE(support::becomes(60.0, [&] {
      children = killed.children();
      return !recordsIn(dir.path()).empty() && !children.empty();
    }));
  }
  for (const pid_t child : children)
    EXPECT_TRUE(support::becomes(20.0, [&] { return !isRunning(child); })) << "runs on behind its batch";
  const auto before = recordsIn(dir.path());
  EXPECT_LT(before.size(), 4u);
  const ChildResult resumed = run(batch(dir.path(), "--jobs 2"));
  EXPECT_EQ(resumed.status, 0) << resumed.output;
  const auto after = recordsIn(dir.path());
  ASSERT_EQ(after.size(), 4u);
  for (const auto& [name, time] : before) EXPECT_EQ(after.at(name), time) << name;
}

TEST(Batch, AFaultCostsItsOwnRun) {
  const TemporaryDirectory dir;
  const auto in = [](const char* name) { return stations().path(std::string("ROME/") + name); };
  const std::string good = in("observations.rnx") + "," + in("navigation.rnx") + "," + in("corrections.ssr");
  const std::string table =
      dir.write("t.csv", "station,obs,nav,ssr\nGOOD," + good + "\nNONE," + good + "x\nHALF," + good + "\n");
  const std::string command = "batch " + table + " --out " + dir.path().string() + " -- --systems GE --to ";
  const ChildResult r = run(command + "2026-11-20T23:50:00");
  EXPECT_EQ(r.status, 1) << r.output;
  EXPECT_THAT(r.output, HasSubstr("NONE 2026-11-20: bad input: "));
  EXPECT_THAT(r.output, HasSubstr("corrections.ssrx: does not exist"));
  EXPECT_THAT(r.output, HasSubstr("3 runs: 2 good, 0 with no or a partial result, 1 failed, 0 not run"));
  const auto record = readRecord(dir.path() / "GOOD/2026324");
  ASSERT_TRUE(record);
  EXPECT_EQ(record->status, 0);
  EXPECT_EQ(record->figures["epochs"].asInt(), 13);
}

TEST(Batch, RefusesWhatNoRunWouldTake) {
  const TemporaryDirectory dir;
  const std::pair<std::string, std::string> tables[] = {
      {"station,day\nROME,2026-11-20\n", "column obs: is missing"},
      {"station,obs,cutof\nROME,a,5\n", "'cutof' is no option of 'gnx replay'"},
      {"station,obs,out\nROME,a,b\n", "'out' is chosen by the batch itself"},
      {"station,day,obs\nROME,yesterday,a\n", "t.csv:2: day: 'yesterday' is no day such as"},
      {"station,day,obs\nROME,2026-11-21..2026-11-20,a\n", "ends before it begins"},
      {"station,day,obs\nROME,2026-11-20\n", "has 2 cells, the first line names 3 columns"},
      {"station,day,obs\nA/B,2026-11-20,a\n", "names have letters, digits"},
      {"day,obs\n2026-11-20,[SITE].rnx\n", "[SITE] wants a column 'station'"},
      {"station,obs\nROME,[YYYY].rnx\n", "wants a column 'day'"},
      {"station,day,obs\nROME,2026-11-20,[DAY].rnx\n", "'DAY' is no word of a file name"},
      {"station,day,obs\nROME,2026-11-20,a\nROME,2026-324,b\n", "station ROME has two runs on 2026-11-20"},
      {"station,obs\n", "there is nothing to run"}};
  for (const auto& [text, sentence] : tables) {
    const ChildResult r =
        run("batch " + dir.write("t.csv", text) + " --out " + (dir.path() / "out").string());
    EXPECT_EQ(r.status, 2) << text;
    EXPECT_THAT(r.output, HasSubstr(sentence)) << text;
  }
  const std::pair<std::string, std::string> words[] = {{"-- --sytems GE", "did you mean --systems?"},
                                                       {"-- --obs a", "come from its table"},
                                                       {"-- --nav", "--nav wants a value"},
                                                       {"--part 4/4", "--part takes a number"},
                                                       {"--job 2", "did you mean --jobs?"}};
  for (const auto& [more, sentence] : words) {
    const ChildResult r = run("batch " + stations().table + " " + more);
    EXPECT_EQ(r.status, 2) << more;
    EXPECT_THAT(r.output, HasSubstr(sentence)) << more;
  }
}

/// Runs the tasks of a job as the cluster would.
void runTasks(const fs::path& job, int tasks) {
  for (int task = 0; task < tasks; ++task) {
    const std::string number = std::to_string(task);
    const ChildResult r = support::runInChild([&] {
      setenv("SLURM_ARRAY_TASK_ID", number.c_str(), 1);
      execl("/bin/sh", "sh", job.c_str(), nullptr);
    });
    EXPECT_EQ(r.status, 0) << r.output;
  }
}

TEST(Batch, AnArrayJobDoesEveryRunOnce) {
  const TemporaryDirectory dir;
  const fs::path out = dir.path() / "it's out";
  const std::string job = (dir.path() / "job.sh").string();
  const std::string command = "batch " + stations().table + " --out \"" + out.string() + "\" --continuous";
  const std::string options = " -- --systems GE --details 0 --diagnostics \"-outres\"";
  ASSERT_EQ(run(command + " --slurm " + job + options).status, 0);
  EXPECT_THAT(support::readFile(job), HasSubstr("#SBATCH --array=0-1\n")) << "a task a station";
  if (std::system("sinfo --noheader >/dev/null 2>&1") == 0)
    ASSERT_EQ(std::system(("sbatch --wait --chdir=/tmp " + job).c_str()), 0);
  else runTasks(job, 2);
  const auto records = recordsIn(out);
  ASSERT_EQ(records.size(), 4u);
  EXPECT_FALSE(fs::exists(out / "batch.csv")) << "tasks run beside each other";
  EXPECT_EQ(run(command + options).status, 0);
  EXPECT_EQ(recordsIn(out), records);
  EXPECT_TRUE(fs::exists(out / "batch.csv"));
}

}  // namespace
}  // namespace gnx::test
