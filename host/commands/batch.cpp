/// `gnx batch`: many stations and days.

#include "batch/batch.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>

#include "batch/batch_summary.h"
#include "batch/slurm_job.h"
#include "commands/commands.h"
#include "commands/exit_status.h"
#include "commands/near_names.h"
#include "gnx/error.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFooter = R"(examples:
  gnx batch stations.csv --jobs 8 -- --sp3 'products/*[YYYY][DDD]*.SP3.gz' --clk 'products/*[YYYY][DDD]*.CLK.gz'
  gnx batch 'data/*_MO.crx.gz' --continuous -- --nav 'data/BRDC*[YYYY][DDD]*.rnx.gz' --broadcast
What is done already is not done again: give the same command to go on behind a break. docs/batch.md)";

constexpr const char* kPassed = "--run-option";

struct BatchArguments {
  std::vector<std::string> inputs;    ///< tables and files
  std::vector<std::string> runWords;  ///< options of all runs
  std::string part, slurm;
  BatchChoices choices;
  bool quiet = false;
};

/// The options of 'gnx replay', asked of its own parser.
class ReplayOptionNames {
 public:
  ReplayOptionNames() { addReplay(m_app); }
  Arity operator()(const std::string& name) const {
    const CLI::Option* option = m_app.get_subcommand("replay")->get_option_no_throw("--" + name);
    if (option == nullptr) return Arity::unknown;
    if (option->get_items_expected_max() == 0) return Arity::flag;
    return option->get_items_expected_max() == 1 ? Arity::one : Arity::several;
  }
  /// \throws UsageError with the nearest name
  Arity known(const std::string& name) const {
    const Arity arity = (*this)(name);
    if (arity != Arity::unknown) return arity;
    std::vector<std::string> names;
    for (const CLI::Option* option : m_app.get_subcommand("replay")->get_options())
      names.push_back(option->get_single_name());
    throw UsageError("'" + name + "' is no option of 'gnx replay'" + didYouMean(name, names) +
                     (name.find(';') == std::string::npos ? "" : "; cells stand between commas"));
  }
  /// A sentence about the first word that is no option, "" when all are.
  std::string misspelt(const std::vector<std::string>& words) const {
    std::vector<std::string> all = {"replay"};
    all.insert(all.end(), words.begin(), words.end());
    return misspeltWord(m_app, all);
  }

 private:
  CLI::App m_app;
};

/// One line that is drawn anew on a terminal; nothing in a pipe.
class BatchLine {
 public:
  explicit BatchLine(bool quiet) : m_active(!quiet && isatty(STDERR_FILENO) != 0) {}
  ~BatchLine() { clear(); }
  BatchLine(const BatchLine&) = delete;
  BatchLine& operator=(const BatchLine&) = delete;

  void clear() {
    if (m_drawn) std::fprintf(stderr, "\r%79s\r", "");
    m_drawn = false;
  }
  void show(const BatchProgress& p) {
    const auto now = Clock::now();
    if (!m_active || now - m_shown < std::chrono::milliseconds(200)) return;
    m_shown = now;
    const double minutes = std::chrono::duration<double>(now - m_begin).count() / 60.0;
    std::string text = printed("%zu of %zu done, %zu running", p.done, p.runs, p.running);
    if (p.failed > 0) text += printed(", %zu failed", p.failed);
    if (p.finished > 0) {
      const double rate = static_cast<double>(p.finished) / minutes;
      text += printed(", %.1f a minute, %.0f min left", rate, static_cast<double>(p.runs - p.done) / rate);
    }
    std::fprintf(stderr, "\r%-79s", text.c_str());
    m_drawn = true;
  }

 private:
  using Clock = std::chrono::steady_clock;
  bool m_active, m_drawn = false;
  Clock::time_point m_begin = Clock::now(), m_shown{};
};

/// "3/30": the fourth of thirty parts.
void takePart(const std::string& text, BatchChoices& choices) {
  int used = 0;
  if (std::sscanf(text.c_str(), "%6d/%6d%n", &choices.part, &choices.parts, &used) != 2 ||
      used != static_cast<int>(text.size()) || choices.part < 0 || choices.part >= choices.parts)
    throw UsageError("--part takes a number and how many parts there are, such as 0/4 to 3/4, not '" + text +
                     "'");
}

std::vector<BatchRun> runsOf(const BatchArguments& a) {
  const ReplayOptionNames names;
  if (const std::string misspelt = names.misspelt(a.runWords); !misspelt.empty()) throw UsageError(misspelt);
  const auto arityOf = [&names](const std::string& name) { return names.known(name); };
  std::vector<BatchRow> rows;
  std::string files;
  for (const std::string& subject : a.inputs) {
    if (fs::path(subject).extension() != ".csv") {
      files += (files.empty() ? "" : " ") + subject;
      continue;
    }
    for (BatchRow& row : readBatchTable(subject, arityOf)) rows.push_back(std::move(row));
  }
  if (!files.empty()) rows.push_back({"command line", "", "", {{"obs", files}}});
  auto runs =
      planBatch(rows, readCommonOptions(a.runWords, arityOf), arityOf, fs::absolute(a.choices.directory));
  if (runs.empty()) throw UsageError("there is nothing to run; name a table with rows, or observation files");
  return runs;
}

void writeSlurmJob(const BatchArguments& a, const std::vector<BatchRun>& runs) {
  std::vector<std::string> words = {"batch", "--out", a.choices.directory.string()};
  if (a.choices.continuous) words.emplace_back("--continuous");
  words.insert(words.end(), a.inputs.begin(), a.inputs.end());
  if (!a.runWords.empty()) words.emplace_back("--");
  words.insert(words.end(), a.runWords.begin(), a.runWords.end());
  makeDirectory(a.choices.directory, "--out");
  writeTextFile(a.slurm, slurmJob(words, a.choices.directory, chainsOf(runs, a.choices.continuous).size()));
  if (!a.quiet) std::printf("%s: submit with sbatch\n", a.slurm.c_str());
}

/// \throws EndWithStatus unless every run is good
void endByCount(const BatchChoices& choices, const BatchResult& result) {
  const BatchCount count = countOf(result);
  if (result.signal != 0)
    throw EndWithStatus(kSignal + result.signal,
                        printed("interrupted; %zu runs are left, the same command goes on", count.missing));
  const std::size_t missing = choices.parts > 1 ? 0 : count.missing;  // other parts' runs
  if (count.partial + count.failed + missing > 0)
    throw EndWithStatus(
        kNoResult, printed("%zu runs have failed, %zu have no or a partial result; %s has each", count.failed,
                           count.partial, (choices.directory / "batch.csv").c_str()));
}

void batch(BatchArguments& a) {
  if (!a.part.empty()) takePart(a.part, a.choices);
  const std::vector<BatchRun> runs = runsOf(a);
  if (!a.slurm.empty()) return writeSlurmJob(a, runs);
  BatchLine line(a.quiet);
  BatchWatch watch;
  watch.onProgress = [&line](const BatchProgress& progress) { line.show(progress); };
  watch.onFailure = [&line](const BatchRun& run, const BatchRecord& record) {
    line.clear();
    std::fprintf(stderr, "%s %s: %s: %s\n", run.station.c_str(), formatTime(run.day).substr(0, 10).c_str(),
                 outcomeOf(record).c_str(), record.message.c_str());
  };
  const BatchResult result = runBatch(runs, a.choices, watch);
  line.clear();
  if (a.choices.parts == 1) {
    makeDirectory(a.choices.directory, "--out");
    writeBatchSummary(fs::absolute(a.choices.directory), runs, result);
    const BatchCount count = countOf(result);
    if (!a.quiet)
      std::printf("%zu runs: %zu good, %zu with no or a partial result, %zu failed, %zu not run\npage %s\n",
                  runs.size(), count.good, count.partial, count.failed, count.missing,
                  (a.choices.directory / "batch.html").c_str());
  }
  endByCount(a.choices, result);
}

}  // namespace

std::vector<std::string> withRunOptions(std::vector<std::string> words) {
  const auto mark = std::ranges::find(words, "--");
  if (words.empty() || words.front() != "batch" || mark == words.end()) return words;
  for (auto word = mark + 1; word != words.end(); ++word) word->insert(0, std::string(kPassed) + "=");
  words.erase(mark);
  return words;
}

void addBatch(CLI::App& app) {
  auto* cmd = app.add_subcommand("batch", "run the engine on files of many stations and days");
  auto a = std::make_shared<BatchArguments>();
  a->choices.jobs = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  cmd->add_option(
         "inputs", a->inputs,
         "tables (.csv), or observation files with wildcards; behind -- the options of 'gnx replay' for all "
         "runs")
      ->required();
  cmd->add_option(kPassed, a->runWords)->group("")->expected(1)->take_all();
  cmd->add_option("--out", a->choices.directory, "directory of results, STATION/YYYYDDD for each run")
      ->capture_default_str();
  cmd->add_option("--jobs", a->choices.jobs, "runs side by side; without: one a core")
      ->check(CLI::Range(1, 1024));
  cmd->add_flag("--continuous", a->choices.continuous,
                "each day goes on with what the engine knew at the end of the station's day before");
  cmd->add_option("--slurm", a->slurm, "write an array job for a Slurm cluster to this file, run nothing");
  cmd->add_option("--part", a->part, "do one part of the runs alone, such as 0/4 to 3/4; no table, no page");
  cmd->add_flag("--quiet", a->quiet, "no progress, no summary");
  cmd->footer(kFooter);
  cmd->callback([a] { batch(*a); });
}

}  // namespace gnx
