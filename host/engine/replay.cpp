// A run of the engine over files: prepare, run, collect, publish.

#include "engine/replay.h"

#include <fstream>
#include <optional>

#include "engine/event_file.h"
#include "engine/run_directory.h"
#include "gnx/error.h"
#include "platform/child_process.h"
#include "run/named_solutions.h"
#include "run/solution_files.h"
#include "run/summary_file.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr int kBadInput = 2;  ///< exit status of a worker that refused its input

/// The lines in which the engine says why it ended: those in front of its exit line.
std::string reasonOf(const std::vector<std::string>& lastLines) {
  std::string reason;
  for (std::string line : lastLines) {
    if (line.find("exit by code") !=
        std::string::npos)  // on a line of its own, or behind a reason without end
      line.erase(std::min(line.size(), line.rfind('[', line.rfind("LOCAL]-"))));
    const auto at = line.find("LOCAL]-");
    if (at != std::string::npos || line.find("ERROR") != std::string::npos) {
      reason = at == std::string::npos ? line : line.substr(at + 7);
    }
  }
  return reason.empty() ? "it left no message; see engine.log" : reason;
}

/// What a worker that did not do its work has to say; "" for one that did. The program puts its own name
/// before the text again.
std::string complaintOf(const ChildResult& child) {
  if (child.exitStatus == 0) return "";
  std::string errors = child.errors;
  while (!errors.empty() && errors.back() == '\n') errors.pop_back();
  const std::string mark = "gnx: ";
  if (const auto at = errors.rfind(mark); at != std::string::npos) errors.erase(0, at + mark.size());
  return errors;
}

/// How the engine ended, in a sentence for a later reader of the directory.
std::string endOf(const ChildResult& child, const std::vector<std::string>& lastLines, const fs::path& dir) {
  const std::string errors = complaintOf(child), more = errors.empty() ? "" : "\n" + errors;
  if (child.exitStatus == 0) return "the engine ended in order";
  if (child.exitStatus == kBadInput) return errors;
  if (child.signal != 0) {
    return "the engine's process was ended by signal " + std::to_string(child.signal) +
           "; results up to there are in " + dir.string() + more;
  }
  return "the engine ended: " + reasonOf(lastLines) + "\n(run directory " + dir.string() + ")" + more;
}

ChildResult runWorkerIn(const fs::path& dir, const std::string& program, Collector& collector) {
  const std::string own = program.empty() ? fs::read_symlink("/proc/self/exe").string() : program;
  return runChild(
      own, {"engine-worker"}, dir, [&](std::string_view line) { collector.output(line); },
      [&](std::string_view line) { collector.record(line); });
}

void writeResults(const fs::path& dir, const ReplayOptions& options,
                  const std::vector<SolutionEpoch>& epochs) {
  const std::vector<std::string> comments = {std::string("program   : gnx ") + GNX_VERSION,
                                             "mode      : " + options.plan.mode};
  SolutionFile pos(dir / "solution.pos", SolutionFormat::posXyz, comments);
  SolutionFile csv(dir / "solution.csv", SolutionFormat::csv);
  std::optional<SolutionFile> nmea;
  if (options.nmea) nmea.emplace(dir / "solution.nmea", SolutionFormat::nmea);
  std::optional<NamedSolutions> named;
  if (!options.solutionName.empty())
    named.emplace(dir, options.solutionName, stationWord(options.plan.obs.front()), comments);
  for (const SolutionEpoch& e : epochs) {
    pos.write(e);
    csv.write(e);
    if (nmea) nmea->write(e);
    if (named) named->write(e);
  }
}

/// The files of the directory that tell how the run ended.
void writeEnd(const fs::path& dir, int status, const std::string& end, const ReplayResult& result) {
  std::ofstream(dir / "summary.txt") << formatSummary(result.summary);
  writeSummaryFile(dir / "summary.json", result.summary, dir / "integers.json");
  std::ofstream(dir / "signals.txt") << result.notes;
  std::ofstream(dir / "exit.txt") << "exit status " << status << ": " << end << '\n';
}

}  // namespace

ReplayResult runReplay(const ReplayOptions& options) {
  const PreparedRun run = prepareRun(options);

  Collector collector(run.dir, options.onEpoch);
  const ChildResult child = runWorkerIn(run.dir, options.program, collector);
  collector.complete();

  writeResults(run.dir, options, collector.epochs);
  ReplayResult result;
  result.epochsRead = collector.read;
  result.summary = run.path ? summariseRun(collector.epochs, run.path)
                            : summariseRun(collector.epochs, run.plan.reference);
  result.epochs = std::move(collector.epochs);
  result.notes = child.errors;
  const std::string end = endOf(child, collector.lastLines, run.dir);
  writeEnd(run.dir, child.exitStatus, end, result);
  if (child.exitStatus == kBadInput) throw std::runtime_error(end);  // the worker's own message on bad input
  if (child.exitStatus != 0) throw EngineError(end);

  addEngineAccount(run.dir / "diagnostics.log", collector.account);
  result.account = std::move(collector.account);
  writeAccount(run.dir / "account.csv", result.account);
  result.events = eventSummary(run.dir / "events.csv");
  return result;
}

}  // namespace gnx
