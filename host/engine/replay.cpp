#include "engine/replay.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>

#include "deployment/deployed.h"
#include "engine/event_file.h"
#include "formats/fields.h"
#include "formats/input_error.h"
#include "formats/rinex_obs.h"
#include "platform/child_process.h"
#include "report/report.h"
#include "run/named_solutions.h"
#include "run/reference_path.h"
#include "run/solution_files.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr double kReportDetails_s = 30.0;  ///< pace of the residuals of a report

/// One epoch as the worker saw it.
struct EpochRecord {
  GpsTime time;
  double milliseconds = 0.0;
  int satellites = 0;
  double share = 0.0;  ///< of the observation files read so far, 0..1
};

/// "seconds fraction milliseconds satellites share"
std::optional<EpochRecord> parseRecord(std::string_view line) {
  EpochRecord r;
  std::istringstream in{std::string(line)};
  if (!(in >> r.time.seconds >> r.time.fraction >> r.milliseconds >> r.satellites >> r.share))
    return std::nullopt;
  return r;
}

/// Progress on a terminal: data time, rate, remaining. Silent in a pipe.
class Progress {
 public:
  explicit Progress(bool quiet) : active_(!quiet && isatty(STDERR_FILENO) != 0) {}
  void show(const EpochRecord& r, std::size_t epochs) {
    if (!active_) return;
    const auto now = Clock::now();
    if (now - shown_ < std::chrono::milliseconds(200)) return;
    shown_ = now;
    const double elapsed = std::chrono::duration<double>(now - start_).count();
    const double left = r.share > 0.01 ? elapsed * (1.0 - r.share) / r.share : 0.0;
    std::fprintf(stderr, "\r%s  %zu epochs  %.0f epochs/s  %3.0f %%  %.0f s left   ",
                 formatTime(r.time).c_str(), epochs, static_cast<double>(epochs) / std::max(elapsed, 1e-3),
                 100.0 * r.share, left);
    drawn_ = true;
  }
  ~Progress() {
    if (drawn_) std::fprintf(stderr, "\r%79s\r", "");
  }

 private:
  using Clock = std::chrono::steady_clock;
  bool active_, drawn_ = false;
  Clock::time_point start_ = Clock::now(), shown_{};
};

/// Places the files of a deployment into the run directory: the configuration as a copy, data files
/// as links.
void borrowDeployment(const fs::path& from, const fs::path& to) {
  if (!fs::exists(from / "ppp.json")) {
    throw UsageError(from.string() + " holds no ppp.json; make a deployment with 'gnx init " + from.string() +
                     "'");
  }
  if (fs::equivalent(from, to)) return;
  for (const auto& entry : fs::directory_iterator(from)) {
    const fs::path target = to / entry.path().filename();
    if (!entry.is_regular_file()) continue;
    fs::remove(target);
    if (entry.path().extension() == ".json") {
      fs::copy_file(entry.path(), target);
    } else {
      fs::create_symlink(fs::absolute(entry.path()), target);
    }
  }
  for (const auto& entry : fs::directory_iterator(from)) {
    if (entry.is_directory()) fs::create_directories(to / entry.path().filename());
  }
}

/// What an earlier run left in the directory must not be taken for results of this one.
void removeResults(const fs::path& dir) {
  for (const char* name :
       {"account.csv", "diagnostics.log", "engine.log", "events.csv", "ppp_pos", "report.html", "signals.txt",
        "solution.csv", "solution.nmea", "solution.pos", "summary.txt"})
    fs::remove(dir / name);
}

void makeAbsolute(std::vector<std::string>& files) {
  for (std::string& file : files) {
    if (!fs::exists(file)) throw InputError(file, 0, "does not exist");
    file = fs::absolute(file).string();
  }
}

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

void checkExit(const ChildResult& child, const std::vector<std::string>& lastLines, const fs::path& dir) {
  std::string errors = child.errors;
  while (!errors.empty() && errors.back() == '\n') errors.pop_back();
  const std::string mark = "gnx: ";  // this program puts its name before the text again
  if (const auto at = errors.rfind(mark); at != std::string::npos) errors.erase(0, at + mark.size());
  if (child.exitStatus == 0) return;
  if (child.exitStatus == 2) throw std::runtime_error(errors);  // the worker's own message on bad input
  if (child.signal != 0) {
    throw EngineError("the engine's process was ended by signal " + std::to_string(child.signal) +
                      "; results up to there are in " + dir.string() + (errors.empty() ? "" : "\n" + errors));
  }
  throw EngineError("the engine ended: " + reasonOf(lastLines) + "\n(run directory " + dir.string() + ")" +
                    (errors.empty() ? "" : "\n" + errors));
}

/// What the worker sends, as it comes.
class Collector {
 public:
  Collector(const fs::path& dir, const ReplayOptions& options)
      : log_(dir / "engine.log"), progress_(options.quiet) {
    if (!log_) throw InputError((dir / "engine.log").string(), 0, "cannot be written");
  }
  void output(std::string_view line) {
    log_ << line << '\n';
    if (auto solution = parseSolutionLine(line)) {
      epochs.push_back(*solution);
    } else {
      if (lastLines.size() == kKept) lastLines.erase(lastLines.begin());
      lastLines.emplace_back(line);
    }
  }
  void record(std::string_view line) {
    if (readHostAccountLine(line, account)) return;
    const auto r = parseRecord(line);
    if (!r) return;
    ++read;
    records.push_back(*r);
    progress_.show(*r, read);
  }
  /// Gives every solution its measured time; both lists are in order of time.
  void joinTimes() {
    auto r = records.begin();
    for (SolutionEpoch& e : epochs) {
      while (r != records.end() && e.time - r->time > 0.05) ++r;
      if (r != records.end() && std::abs(e.time - r->time) <= 0.05)
        e.milliseconds = r->milliseconds, e.time = r->time;
    }
  }

  std::vector<SolutionEpoch> epochs;
  std::vector<EpochRecord> records;
  std::vector<std::string> lastLines;
  RunAccount account;
  std::size_t read = 0;

 private:
  static constexpr std::size_t kKept = 8;
  std::ofstream log_;
  Progress progress_;
};

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

/// The ratio of the integer search is in the engine's solution file alone: its last number but the
/// partner's name. Both lists have one entry a solution.
void joinRatios(const fs::path& file, std::vector<SolutionEpoch>& epochs) {
  std::ifstream in(file);
  std::vector<double> ratios;
  std::vector<std::string_view> words;
  for (std::string line; std::getline(in, line);) {
    words.clear();
    split(line, words);
    const auto ratio = words.size() < 2 ? std::nullopt : parseReal(words[words.size() - 2]);
    ratios.push_back(ratio.value_or(0.0));
  }
  if (ratios.size() != epochs.size()) return;
  for (std::size_t i = 0; i < epochs.size(); ++i) epochs[i].ratio = ratios[i];
}

std::string ownProgram() { return fs::read_symlink("/proc/self/exe").string(); }

/// Whatever the choices leave open comes from the observation file: date, antenna.
void completeFromObservations(ReplayOptions& options) {
  if (options.plan.obs.empty()) throw UsageError("no observation file; give one with --obs");
  RinexObsReader reader(options.plan.obs.front());
  const ObsHeader& header = reader.header();
  ObsEpoch first;
  if (!reader.next(first)) throw InputError(options.plan.obs.front(), 0, "holds no epoch");
  options.deploy.date = first.time;
  if (options.plan.antenna.empty()) options.plan.antenna = header.antenna;
  options.deploy.run.antenna = options.plan.antenna;
  if (options.plan.receiver.empty()) options.plan.receiver = header.receiver;
}

}  // namespace

ReplayResult runReplay(const ReplayOptions& given) {
  ReplayOptions options = given;
  RunPlan& plan = options.plan;
  for (auto* files : {&plan.obs, &plan.nav, &plan.sp3, &plan.clk, &plan.bia, &plan.ssr}) makeAbsolute(*files);
  if (!plan.availability.empty()) plan.availability = fs::absolute(plan.availability).string();
  if (!plan.phaseOffsets.empty()) plan.phaseOffsets = fs::absolute(plan.phaseOffsets).string();
  if (plan.nav.empty())
    throw UsageError("no navigation file; the engine corrects broadcast orbits: give one with --nav");
  if (plan.ssr.empty() && plan.sp3.empty() && !plan.broadcastOnly) {
    throw UsageError(
        "no corrections; give --sp3 (and --clk), or --ssr, or --broadcast to run on broadcast orbits");
  }
  completeFromObservations(options);

  fs::create_directories(options.outDir);
  const fs::path dir = fs::absolute(options.outDir);
  removeResults(dir);
  if (options.deployment.empty()) {
    std::ofstream notes(dir / "deployment.txt");
    writeDeployment(dir, options.deploy, notes);
  } else {
    borrowDeployment(options.deployment, dir);
  }
  plan.bands = deployedBands(dir);
  plan.offsetFreeBiases = (plan.offsetFreeBiases || plan.wideLaneBiases) && deployedToMassCentre(dir);
  if (options.reference) plan.reference = options.reference;
  if (!plan.referenceFile.empty()) plan.referenceFile = fs::absolute(plan.referenceFile).string();
  const ReferencePath path =
      plan.referenceFile.empty() ? ReferencePath{} : readReferencePath(plan.referenceFile);
  if (options.report) plan.details = kReportDetails_s;
  writeRunPlan(dir / "run.json", plan);

  Collector collector(dir, options);
  const ChildResult child = runChild(
      options.program.empty() ? ownProgram() : options.program, {"engine-worker"}, dir,
      [&](std::string_view line) { collector.output(line); },
      [&](std::string_view line) { collector.record(line); });
  collector.joinTimes();
  joinRatios(dir / "ppp_pos", collector.epochs);
  writeResults(dir, options, collector.epochs);

  ReplayResult result;
  result.epochsRead = collector.read;
  result.summary =
      path ? summariseRun(collector.epochs, path) : summariseRun(collector.epochs, plan.reference);
  result.epochs = std::move(collector.epochs);
  std::ofstream(dir / "summary.txt") << formatSummary(result.summary);
  std::ofstream(dir / "signals.txt") << child.errors;
  checkExit(child, collector.lastLines, dir);
  addEngineAccount(dir / "diagnostics.log", collector.account);
  result.account = std::move(collector.account);
  writeAccount(dir / "account.csv", result.account);
  if (!options.quiet) {
    std::fputs(child.errors.c_str(), stderr);  // what the worker has to say about signals and files
    std::cout << formatSummary(result.summary) << '\n' << formatAccount(result.account);
    if (const std::string events = eventSummary(dir / "events.csv"); !events.empty())
      std::cout << "\nevents              " << events;
    std::cout << "\nepochs read         " << result.epochsRead << "\nresults             "
              << options.outDir.string() << std::endl;
  }
  if (2 * result.summary.solved < result.summary.epochs && !result.account.empty())
    std::cerr << "warning: " << result.summary.solved << " of " << result.summary.epochs
              << " epochs have a position; " << adviceOn(result.account) << '\n';
  if (options.report) {
    const fs::path page = writeReport(dir, {});
    if (!options.quiet) std::cout << "report              " << page.string() << std::endl;
  }
  return result;
}

}  // namespace gnx
