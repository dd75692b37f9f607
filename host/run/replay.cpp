// A run of the engine over files: prepare, feed, publish.

#include "run/replay.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <fstream>
#include <optional>

#include "gnx/engine.h"
#include "live/state_file.h"
#include "run/correction_watch.h"
#include "run/event_file.h"
#include "run/input_checks.h"
#include "run/interruption.h"
#include "run/named_solutions.h"
#include "run/observation_end.h"
#include "run/run_directory.h"
#include "run/solution_files.h"
#include "run/summary_file.h"
#include "run/troposphere_file.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

/// How a run ended, as the program's exit status tells it.
enum class RunEnd { inOrder = 0, badInput = 2, engineFailed = 3 };

RunSettings settingsOf(const RunPlan& plan) {
  RunSettings run;
  run.mode = parseMode(plan.mode);
  run.interval_s = plan.interval;
  run.cutoff_deg = plan.cutoffDeg;
  run.antenna = plan.antenna;
  run.receiver = plan.receiver;
  run.position_m = plan.position;
  run.headerPosition = plan.headerPosition;
  run.antennaDelta_m = plan.antennaDelta;
  run.patterns = plan.patterns;
  run.signals = plan.signals;
  run.excluded = {plan.excluded.begin(), plan.excluded.end()};
  return run;
}

EventStream openStream(const RunPlan& plan, const Deployment& deployment) {
  ReadOptions options;
  options.deployment = deployment;
  options.from = plan.from;
  options.to = plan.to;
  options.broadcastOnly = plan.broadcastOnly;
  options.availability = plan.availability;
  options.wideLaneBiases = plan.wideLaneBiases;
  options.sparseClocks_s = plan.sparseClocks_s;
  options.mixedProducts = plan.mixedProducts;
  return read(InputFiles{plan.obs, plan.nav, plan.sp3, plan.clk, plan.bia, plan.ssr, plan.orbex, plan.ionex},
              options);
}

/// The output options of the engine for an epoch. The account is kept throughout; residuals and the like are
/// large and come at a pace that suffices for a report.
class Diagnostics {
 public:
  explicit Diagnostics(const RunPlan& plan)
      : m_plan(plan), m_always(plan.diagnostics + " -outaccount"), m_detailed(m_always + kDetails) {}

  const std::string& at(const GpsTime& time) {
    constexpr double kTick_s = 1.0e-3;
    const double beside = std::remainder(secondsOfDay(time), m_plan.interval);
    const bool tick = m_plan.interval == 1.0 || std::fabs(beside) <= kTick_s;
    const bool due = m_plan.details > 0.0 && tick && (!m_last || time - *m_last > m_plan.details - 0.5);
    if (due) m_last = time;
    return due ? m_detailed : m_always;
  }

 private:
  static constexpr const char* kDetails =
      " -outres -outztd -outclk -outfix -outint -outambstat -outflag -oution";
  const RunPlan& m_plan;
  std::string m_always, m_detailed;
  std::optional<GpsTime> m_last;
};

/// First epoch of the last observation file.
GpsTime firstOf(const PreparedRun& run, const GpsTime& otherwise) {
  GpsTime first = otherwise;
  for (const InputFile& file : run.files)
    if (file.option == "--obs" && file.first) first = *file.first;
  return first;
}

/// The positions, epoch by epoch: a run that is killed leaves what it had.
class ResultFiles {
 public:
  ResultFiles(const fs::path& dir, const ReplayOptions& options)
      : ResultFiles(dir, options,
                    {std::string("program   : gnx ") + GNX_VERSION, "mode      : " + options.plan.mode}) {}

  void write(const SolutionEpoch& epoch) {
    m_pos.write(epoch);
    m_csv.write(epoch);
    if (m_nmea) m_nmea->write(epoch);
    if (m_named) m_named->write(epoch);
  }

 private:
  ResultFiles(const fs::path& dir, const ReplayOptions& options, const std::vector<std::string>& comments)
      : m_pos(dir / "solution.pos", SolutionFormat::posXyz, comments),
        m_csv(dir / "solution.csv", SolutionFormat::csv) {
    if (options.nmea) m_nmea.emplace(dir / "solution.nmea", SolutionFormat::nmea);
    if (!options.solutionName.empty())
      m_named.emplace(dir, options.solutionName, stationWord(options.plan.obs.front()), comments);
  }

  SolutionFile m_pos, m_csv;
  std::optional<SolutionFile> m_nmea;
  std::optional<NamedSolutions> m_named;
};

/// A run while it goes on, and what it has given so far.
class Run {
 public:
  Run(const PreparedRun& prepared, ResultFiles& files) : m_prepared(prepared), m_files(files) {}

  void go(const ReplayOptions& choices) {
    const RunPlan& plan = m_prepared.plan;
    Deployment deployment = Deployment::open(m_prepared.dir);
    deployment.settings = settingsOf(plan);
    EventStream stream = openStream(plan, deployment);
    const StreamStart& start = stream.start();
    m_end = plan.to;
    if (!m_end && start.first) m_end = observationEnd(plan.obs.back(), firstOf(m_prepared, *start.first));
    m_begin = start.first.value_or(GpsTime{});
    if (deployment.resolvesIntegers() && !plan.broadcastOnly)
      writeIntegerPolicy(m_prepared.dir / "integers.json", start.integers);
    EventFile events(m_prepared.dir / "events.csv");
    EngineOptions options;
    options.directory = m_prepared.dir;
    options.onEvent = [&events](const EngineEvent& event) { events.write(event); };
    if (!choices.resumeFrom.empty()) options.state = readStateFile(choices.resumeFrom).value_or("");
    Engine engine(deployment, options);
    Diagnostics diagnostics(plan);
    CorrectionWatch watch(deployment, *start.first);
    GpsTime last;
    const Interruption interruption;
    for (Event event; signal == 0 && stream.next(event); signal = interruption.signal()) {
      batches += std::holds_alternative<CorrectionBatch>(event.record) ? 1 : 0;
      watch.take(event);
      const bool epoch = std::holds_alternative<ObsEpoch>(event.record);
      if (epoch) engine.setOutputOptions(diagnostics.at(last = event.time));
      if (const auto solution = engine.feed(event)) {
        take(*solution);
        if (epoch) watch.take(std::get<ObsEpoch>(event.record), *solution);
      }
      if (std::holds_alternative<StreamStart>(event.record)) tell(engine, start);
      if (!epoch) continue;
      ++epochsRead;
      if (choices.onEpoch) choices.onEpoch(progressAt(event.time));
    }
    if (!choices.keepState.empty() && signal == 0) writeStateFile(choices.keepState, engine.state());
    if (plan.storeFiles)
      for (const std::string& file : engine.writeStoreFiles(last))
        notes += "note: the engine's store is in " + file + "\n";
    engine.finish();
    account = engine.account();
    if (!plan.nav.empty() && !plan.broadcastOnly)  // orbits say nothing about messages that are made of them
      for (auto& [fault, sentence] : watch.faults()) warnings.push_back(std::move(sentence));
  }

  std::vector<SolutionEpoch> epochs;
  ZenithDelays zenithDelays;
  RunAccount account;  ///< the host's part
  std::size_t epochsRead = 0, batches = 0;
  std::string notes;
  std::vector<std::string> warnings;
  int signal = 0;  ///< that ended the run early

 private:
  RunProgress progressAt(const GpsTime& time) const {
    RunProgress progress{time, epochsRead};
    if (m_end && m_begin < *m_end)
      progress.share = std::clamp((time - m_begin) / (*m_end - m_begin), 0.0, 1.0);
    progress.sigma_m = m_sigma_m;
    progress.fixed = !epochs.empty() && epochs.back().status == kFixedStatus;
    return progress;
  }

  void take(const Solution& solution) {
    const auto& c = solution.covariance;
    m_sigma_m = solution.solved() ? std::sqrt(c[0][0] + c[1][1] + c[2][2]) : 0.0;
    epochs.push_back(epochOf(solution, epochs.empty() ? nullptr : &epochs.back()));
    zenithDelays.take(solution);
    m_files.write(epochs.back());
  }

  void tell(const Engine& engine, const StreamStart& start) {
    warnings = engine.warnings();
    const bool told = std::ranges::any_of(
        m_prepared.warnings, [](const std::string& w) { return w.starts_with("nothing to fix"); });
    if (m_prepared.plan.resolution && !start.integers.resolved && !told)
      warnings.insert(warnings.end(), start.integers.remarks.begin(), start.integers.remarks.end());
    notes = engine.signals();
    for (const std::string& warning : engine.warnings()) notes += "warning: " + warning + "\n";
    for (const std::string& note : start.notes) notes += "note: " + note + "\n";
    for (const std::string& note : engine.notes()) notes += "note: " + note + "\n";
  }

  const PreparedRun& m_prepared;
  ResultFiles& m_files;
  GpsTime m_begin;
  std::optional<GpsTime> m_end;  ///< of the epochs, as far as it is known
  double m_sigma_m = 0.0;
};

void writeTroposphere(const PreparedRun& prepared, const ZenithDelays& delays) {
  const RunPlan& plan = prepared.plan;
  const GpsTime now{static_cast<std::int64_t>(std::time(nullptr)), 0.0};
  const std::string text = troposphereText(
      {stationWord(plan.obs.front()), plan.antenna, plan.receiver, frameOf(plan), plan.cutoffDeg}, delays,
      now);
  if (!text.empty()) writeTextFile(prepared.dir / "solution.tro", text);
}

/// The files of the directory that tell how the run ended.
void writeEnd(const fs::path& dir, int status, const std::string& end, const ReplayResult& result) {
  std::ofstream(dir / "summary.txt") << formatSummary(result.summary)
                                     << (result.station ? formatStation(*result.station) : "");
  writeSummaryFile(dir / "summary.json", result.summary, result.station, dir / "integers.json");
  if (result.station) writeStationTable(dir / "station.csv", *result.station);
  std::ofstream(dir / "signals.txt") << result.notes;
  std::ofstream(dir / "exit.txt") << "exit status " << status << ": " << end << '\n';
}

}  // namespace

ReplayResult runReplay(const ReplayOptions& options) {
  const PreparedRun prepared = prepareRun(options);
  if (options.onInputs) options.onInputs(readTextFile(prepared.dir / "inputs.txt"), prepared.warnings);
  ResultFiles files(prepared.dir, options);
  Run run(prepared, files);
  RunEnd status = RunEnd::inOrder;
  std::string end = "the engine ended in order";
  std::exception_ptr error;
  try {
    run.go(options);
  } catch (const EngineError& e) {
    status = RunEnd::engineFailed;
    end = e.what();
    if (!options.deployment.empty())
      end += "; a file of " + options.deployment.string() +
             " may be damaged: 'gnx explain' looks through it, 'gnx init --force' makes it anew";
    error = std::make_exception_ptr(EngineError(end));
  } catch (const std::exception& e) {
    status = RunEnd::badInput;
    end = e.what();
    error = std::current_exception();
  }
  for (const TrackFormat format : options.tracks)
    writeTrack(prepared.dir, format, stationWord(options.plan.obs.front()), run.epochs);
  if (options.troposphere) writeTroposphere(prepared, run.zenithDelays);
  ReplayResult result;
  result.station = stationResult(prepared.plan, run.epochs);
  result.signal = run.signal;
  if (run.signal != 0 && !run.epochs.empty()) {
    end = "interrupted at " + formatTime(run.epochs.back().time) + ", the results end there";
  }
  result.warnings = std::move(run.warnings);
  for (std::string& sentence : checkResult(prepared.files, prepared.plan, run.epochs))
    result.warnings.push_back(std::move(sentence));
  if (run.batches == 0 && run.epochsRead > 0 && !prepared.plan.broadcastOnly)
    result.warnings.emplace_back("no correction is of the time of the observations; give files of that day");
  result.epochsRead = run.epochsRead;
  result.summary = prepared.path ? summariseRun(run.epochs, prepared.path)
                                 : summariseRun(run.epochs, prepared.plan.reference);
  result.epochs = std::move(run.epochs);
  result.notes = std::move(run.notes);
  constexpr int kSignal = 128;
  writeEnd(prepared.dir, run.signal != 0 ? kSignal + run.signal : static_cast<int>(status), end, result);
  if (error) std::rethrow_exception(error);

  addEngineAccount(prepared.dir / "diagnostics.log", run.account);
  result.account = std::move(run.account);
  writeAccount(prepared.dir / "account.csv", result.account);
  result.events = eventSummary(prepared.dir / "events.csv");
  return result;
}

}  // namespace gnx
