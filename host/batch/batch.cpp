// Keeps as many runs going as are wanted, and writes down what becomes of each.

#include "batch/batch.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <memory>
#include <thread>

#include "batch/run_process.h"
#include "gnx/error.h"
#include "run/interruption.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kBadUse = 2;
constexpr double kDay_s = 86400.0;
constexpr const char* kState = "state";

/// The program's own sentence at the end of its log, else the last line.
std::string lastWords(const fs::path& log) {
  std::string text = readTextFile(log), last;
  while (!text.empty()) {
    const auto end = text.find_last_not_of('\n');
    if (end == std::string::npos) break;
    text.resize(end + 1);
    const auto begin = text.rfind('\n');
    std::string line = text.substr(begin == std::string::npos ? 0 : begin + 1);
    text.resize(begin == std::string::npos ? 0 : begin);
    if (line.starts_with("gnx: ")) return line.substr(5);
    if (line.starts_with("Run with --help")) continue;
    if (last.empty()) last = std::move(line);
  }
  return last;
}

/// Days of a station one behind the other, the next one of which may wait or run.
class Chain {
 public:
  Chain(std::vector<std::size_t> members, const std::vector<BatchRun>& runs, const BatchChoices& choices)
      : m_members(std::move(members)), m_runs(runs), m_choices(choices) {}

  /// Passes over what is done already, then starts the next run. False when nothing is left.
  bool start(std::vector<std::optional<BatchRecord>>& records) {
    for (; m_next < m_members.size(); ++m_next) {
      const std::size_t index = m_members[m_next];
      const BatchRun& run = m_runs[index];
      const BatchRecord* before = recordBefore(records);
      m_record = BatchRecord{basisOf(run, before), 0, "", 0.0, Json::Value(Json::objectValue)};
      auto earlier = readRecord(run.directory);
      if (earlier && earlier->isDone() && earlier->basis == m_record.basis && hasState(run)) {
        records[index] = std::move(earlier);
        continue;
      }
      if (launch(run, before != nullptr ? m_runs[m_members[m_next - 1]].directory / kState : fs::path()))
        return true;
      records[index] = m_record;
    }
    return false;
  }

  /// Whether the run that was started has ended; its record is then among the others.
  bool hasEnded(std::vector<std::optional<BatchRecord>>& records) {
    const auto status = m_process->status();
    if (!status) return false;
    m_process.reset();
    const std::size_t index = m_members[m_next++];
    const BatchRun& run = m_runs[index];
    m_record.status = *status;
    m_record.seconds = std::chrono::duration<double>(Clock::now() - m_started).count();
    if (*status != 0) m_record.message = lastWords(run.directory / "run.log");
    if (*status > 128)
      m_record.message = "ended by signal " + std::to_string(*status - 128) + ". " + m_record.message;
    if (m_record.isDone()) m_record.figures = figuresOf(run);
    writeRecord(run.directory, m_record);
    records[index] = m_record;
    return true;
  }

  bool runs() const { return m_process != nullptr; }
  /// Ends the run without a record.
  void interrupt(int number) {
    if (m_process) m_process->signal(number);
  }
  bool isGone() { return !m_process || m_process->status().has_value(); }

 private:
  /// Of the run whose state the next one goes on with, null when there is none.
  const BatchRecord* recordBefore(const std::vector<std::optional<BatchRecord>>& records) const {
    if (m_next == 0) return nullptr;
    const std::size_t before = m_members[m_next - 1];
    if (!records[before] || !records[before]->isDone() || !fs::exists(m_runs[before].directory / kState))
      return nullptr;
    return &*records[before];
  }

  bool hasState(const BatchRun& run) const {
    return !m_choices.continuous || fs::exists(run.directory / kState);
  }

  bool launch(const BatchRun& run, const fs::path& state) {
    std::error_code error;
    fs::create_directories(run.directory, error);
    if (error)
      throw InputError(run.directory.string(), 0,
                       "cannot be made (" + error.message() + "); choose another --out");
    m_started = Clock::now();
    if (!run.fault.empty()) return refuse(run.fault);
    std::vector<std::string> words = {"replay", "--out", run.directory.string(), "--quiet"};
    words.insert(words.end(), run.words.begin(), run.words.end());
    if (m_choices.continuous) words.insert(words.end(), {"--keep-state", (run.directory / kState).string()});
    if (!state.empty()) words.insert(words.end(), {"--resume-from", state.string()});
    fs::remove(run.directory / kState, error);
    try {
      m_process = std::make_unique<RunProcess>(words, run.directory);
    } catch (const UsageError& e) {
      return refuse(e.what());
    }
    return true;
  }

  bool refuse(const std::string& why) {
    m_record.status = kBadUse;
    m_record.message = why;
    return false;
  }

  std::vector<std::size_t> m_members;
  const std::vector<BatchRun>& m_runs;
  const BatchChoices& m_choices;
  std::size_t m_next = 0;
  std::unique_ptr<RunProcess> m_process;
  BatchRecord m_record;
  Clock::time_point m_started;
};

class Batch {
 public:
  Batch(const std::vector<BatchRun>& runs, const BatchChoices& choices, const BatchWatch& watch)
      : m_runs(runs), m_choices(choices), m_watch(watch) {
    m_result.records.resize(runs.size());
    const auto chains = chainsOf(runs, choices.continuous);
    for (std::size_t i = 0; i < chains.size(); ++i) {
      if (i % static_cast<std::size_t>(choices.parts) != static_cast<std::size_t>(choices.part)) continue;
      m_waiting.push_back(std::make_unique<Chain>(chains[i], runs, choices));
      m_progress.runs += chains[i].size();
    }
  }

  BatchResult go() {
    const Interruption interruption;
    while (m_result.signal == 0 && (fill() || !m_running.empty())) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      m_result.signal = interruption.signal();
      if (m_result.signal == 0) collect();
    }
    if (m_result.signal != 0) breakOff();
    return std::move(m_result);
  }

 private:
  /// Starts what there is room for. False when nothing waits.
  bool fill() {
    while (!m_waiting.empty() && m_running.size() < static_cast<std::size_t>(m_choices.jobs)) {
      auto chain = std::move(m_waiting.front());
      m_waiting.pop_front();
      if (chain->start(m_result.records)) m_running.push_back(std::move(chain));
      tell();
    }
    return !m_waiting.empty();
  }

  void collect() {
    for (std::size_t i = 0; i < m_running.size();) {
      if (!m_running[i]->hasEnded(m_result.records)) {
        ++i;
        continue;
      }
      ++m_progress.finished;
      if (m_running[i]->start(m_result.records)) ++i;
      else m_running.erase(m_running.begin() + static_cast<std::ptrdiff_t>(i));
    }
    tell();
  }

  void tell() {
    m_progress.done = m_progress.failed = 0;
    m_progress.running = m_running.size();
    m_told.resize(m_runs.size());
    for (std::size_t i = 0; i < m_runs.size(); ++i) {
      const auto& record = m_result.records[i];
      if (!record) continue;
      ++m_progress.done;
      if (!record->isDone()) ++m_progress.failed;
      if (!record->isDone() && !m_told[i] && m_watch.onFailure) m_watch.onFailure(m_runs[i], *record);
      m_told[i] = true;
    }
    if (m_watch.onProgress) m_watch.onProgress(m_progress);
  }

  /// Runs write what they have and are begun anew the next time.
  void breakOff() {
    constexpr auto kPatience = std::chrono::seconds(20);
    for (const auto& chain : m_running) chain->interrupt(m_result.signal);
    const auto end = Clock::now() + kPatience;
    while (!std::ranges::all_of(m_running, [](const auto& chain) { return chain->isGone(); }) &&
           Clock::now() < end)
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    m_running.clear();
  }

  const std::vector<BatchRun>& m_runs;
  const BatchChoices& m_choices;
  const BatchWatch& m_watch;
  std::deque<std::unique_ptr<Chain>> m_waiting;
  std::vector<std::unique_ptr<Chain>> m_running;
  std::vector<bool> m_told;
  BatchProgress m_progress;
  BatchResult m_result;
};

}  // namespace

std::vector<std::vector<std::size_t>> chainsOf(const std::vector<BatchRun>& runs, bool continuous) {
  std::vector<std::vector<std::size_t>> chains;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const bool next = continuous && i > 0 && runs[i].station == runs[i - 1].station &&
                      runs[i].day - runs[i - 1].day < 1.5 * kDay_s;
    if (!next) chains.emplace_back();
    chains.back().push_back(i);
  }
  return chains;
}

BatchResult runBatch(const std::vector<BatchRun>& runs, const BatchChoices& choices,
                     const BatchWatch& watch) {
  return Batch(runs, choices, watch).go();
}

}  // namespace gnx
