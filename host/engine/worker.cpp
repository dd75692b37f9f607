/// The worker process: runs the engine inside a run directory, on the files of "run.json".

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>

#include "GNX_SDK.h"
#include "GNX_SDK_ext.h"
#include "corrections/fitted_messages.h"
#include "corrections/sources.h"
#include "deployment/antex_file.h"
#include "deployment/deployed.h"
#include "deployment/deployed_integers.h"
#include "engine/account_lines.h"
#include "engine/engine_options.h"
#include "engine/event_file.h"
#include "engine/feeder_thread.h"
#include "engine/replay.h"
#include "engine/replay_clock.h"
#include "formats/rinex_obs.h"
#include "gnx/adapt.h"
#include "gnx/error.h"
#include "gnx/read.h"
#include "gnx/satellite.h"
#include "integers/integer_policy.h"
#include "integers/wide_lane_fractions.h"
#include "platform/child_process.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

/// Epochs of several observation files as one stream, within the chosen time.
class ObservationStream {
 public:
  explicit ObservationStream(const RunPlan& plan) : plan_(plan) { open(); }
  const ObsHeader& header() const { return reader_->header(); }

  bool next(ObsEpoch& epoch) {
    while (reader_) {
      if (!reader_->next(epoch)) {
        ++file_;
        open();
        continue;
      }
      if (plan_.from && epoch.time - *plan_.from < -kTolerance_s) continue;
      if (plan_.to && epoch.time - *plan_.to > kTolerance_s) continue;
      if (last_ && epoch.time - *last_ < kTolerance_s) continue;  // files may overlap
      last_ = epoch.time;
      return true;
    }
    return false;
  }

 private:
  static constexpr double kTolerance_s = 0.005;

  void open() {
    reader_ = file_ < plan_.obs.size() ? std::make_unique<RinexObsReader>(plan_.obs[file_]) : nullptr;
  }

  const RunPlan& plan_;
  std::size_t file_ = 0;
  std::unique_ptr<RinexObsReader> reader_;
  std::optional<GpsTime> last_;
};

std::unique_ptr<CorrectionSource> makeSource(const RunPlan& plan, const GpsTime& first,
                                             const EphemerisTimeline& timeline, ProductFacts& facts) {
  if (plan.broadcastOnly) return makeZeroSource(timeline);
  if (!plan.ssr.empty()) {
    SsrTextOptions options;
    options.files = plan.ssr;
    options.availability = plan.availability;
    return makeSsrTextSource(options, &timeline);
  }
  ProductOptions options;
  options.sp3 = plan.sp3;
  options.clk = plan.clk;
  options.bia = plan.bia;
  options.wideLaneBiases = plan.wideLaneBiases;
  options.from = first;
  options.until = plan.to;
  return makeProductSource(options, timeline, &facts);
}

/// Messages for a run that has orbits and no navigation files.
NavData fittedMessages(const RunPlan& plan) {
  const Sp3Product orbits = readSp3(plan.sp3);
  NavData messages = fitMessages(orbits, plan.clk.empty() ? orbits.clocks : readRinexClocks(plan.clk).clocks);
  if (messages.keplerian.empty())
    throw InputError(plan.sp3.front(), 0, "has too few orbits and clocks for broadcast messages; give --nav");
  messages.notes.push_back("without navigation files broadcast messages are fitted to the orbits");
  return messages;
}

/// The first few notes, and how many more there are.
std::vector<std::string> someOf(std::vector<std::string> notes) {
  constexpr std::size_t kShown = 5;
  if (notes.size() <= kShown) return notes;
  const std::size_t more = notes.size() - kShown;
  notes.resize(kShown);
  notes.push_back("and " + std::to_string(more) + " more messages are left out");
  return notes;
}

/// Everything that is to reach the engine, handed over as its time comes.
class Delivery {
 public:
  Delivery(const EphemerisTimeline& timeline, std::unique_ptr<CorrectionSource> source, ProductFeed& feed)
      : timeline_(timeline), source_(std::move(source)), feed_(feed) {
    waiting_ = source_->next(batch_);
  }

  void until(const GpsTime& time) {
    const auto& messages = timeline_.deliveries();
    for (; message_ < messages.size() && messages[message_].time <= time; ++message_) {
      if (messages[message_].eph != nullptr) feed_.feed(*messages[message_].eph);
      if (messages[message_].glonass != nullptr) feed_.feed(*messages[message_].glonass);
    }
    while (waiting_ && batch_.delivery <= time) {
      // of a backlog only what the epoch can still use is worth handing over
      if (time - batch_.tag < kUseful_s || batch_.newBiases) feed_.feed(batch_);
      waiting_ = source_->next(batch_);
    }
  }

 private:
  static constexpr double kUseful_s = 300.0;

  const EphemerisTimeline& timeline_;
  std::unique_ptr<CorrectionSource> source_;
  ProductFeed& feed_;
  std::size_t message_ = 0;
  CorrectionBatch batch_;
  bool waiting_ = false;
};

void copyText(char* to, std::size_t size, const std::string& from) {
  const std::size_t n = from.copy(to, size - 1);
  to[n] = '\0';
}

void initialize(const RunPlan& plan, const ObsHeader& header) {
  GNX_IO::sta_t sta{};
  copyText(sta.antdes, sizeof sta.antdes, plan.antenna.empty() ? header.antenna : plan.antenna);
  copyText(sta.rectype, sizeof sta.rectype, plan.receiver.empty() ? header.receiver : plan.receiver);
  const auto& position = plan.headerPosition ? header.position : plan.position;
  std::copy(position.begin(), position.end(), sta.pos);
  const std::array<double, 3> fromHeader{header.antennaDelta[1], header.antennaDelta[2],
                                         header.antennaDelta[0]};
  const auto& delta = plan.antennaDelta.value_or(fromHeader);
  std::copy(delta.begin(), delta.end(), sta.del);
  GNX_initialize(plan.mode.c_str(), &sta, plan.cutoffDeg, plan.interval);
}

/// The options of the engine for an epoch. The account is kept throughout; residuals and the like are large
/// and come at a pace that suffices for a report.
class Diagnostics {
 public:
  explicit Diagnostics(const RunPlan& plan)
      : plan_(plan), always_(plan.diagnostics + " -outaccount"), detailed_(always_ + kDetails) {}

  void apply(const GpsTime& time, bool resolves) {
    constexpr double kTick_s = 1.0e-3;
    const double beside = std::remainder(secondsOfDay(time), plan_.interval);
    const bool tick = plan_.interval == 1.0 || std::fabs(beside) <= kTick_s;
    const bool due = plan_.details > 0.0 && tick && (!last_ || time - *last_ > plan_.details - 0.5);
    if (due) last_ = time;
    setEngineOptions((due ? detailed_ : always_) + (resolves ? "" : " -float"));
  }

 private:
  static constexpr const char* kDetails = " -outres -outztd -outclk -outfix -outint";
  const RunPlan& plan_;
  std::string always_, detailed_;
  std::optional<GpsTime> last_;
};

void reportAccount(std::FILE* records, const RunAccount& account) {
  if (records == nullptr) return;
  for (const auto& [system, counts] : account)
    std::fprintf(records, "%s\n", hostAccountLine(system, counts).c_str());
}

/// The deployment's antenna file, where this run asks for it. Without one the engine refuses to start.
std::vector<AntexBlock> readAntennas(const RunPlan& plan) {
  const std::filesystem::path file = deploymentFile(".", "antpcv");
  const bool wanted = plan.patterns || plan.resolution;
  return wanted && std::filesystem::exists(file) ? readAntex(file) : std::vector<AntexBlock>();
}

/// Patterns of the antennas at the best position known before the run.
std::optional<PatternCorrector> makePatterns(const RunPlan& plan, const std::vector<AntexBlock>& antennas,
                                             const ObsHeader& header, const EphemerisTimeline& timeline,
                                             const GpsTime& first) {
  if (!plan.patterns) return std::nullopt;
  const bool known = plan.position[0] * plan.position[1] * plan.position[2] != 0.0;
  const auto& position = known && !plan.headerPosition ? plan.position : header.position;
  PatternCorrector corrector(
      AntennaPatterns(antennas, plan.antenna.empty() ? header.antenna : plan.antenna, first),
      timeline.store(), position);
  if (!corrector.active()) {
    std::cerr
        << "note: no approximate position, antenna patterns are not taken off; give one with --position\n";
    return std::nullopt;
  }
  return corrector;
}

/// By the deployment's satellite table, where the engine takes its blocks from.
std::set<SatName> reversedAxes(const GpsTime& first) {
  const std::string table = readTextFile(deploymentFile(".", "satnav"));
  return reversedSatellites(parseSatelliteTable(table), tableTime(first));
}

std::int64_t utcOf(const GpsTime& t) { return GNX_IO::gpst2utc(toBoundaryTime(t)).time; }

void report(std::FILE* records, const ObsEpoch& epoch, double seconds, int satellites, double share,
            const GNX_EXT::Result& result) {
  if (records == nullptr) return;
  std::fprintf(records, "%lld %.9f %.4f %d %.4f %.3f", static_cast<long long>(epoch.time.seconds),
               epoch.time.fraction, seconds * 1e3, satellites, share, result.ratio);
  for (const int element : {0, 4, 8, 1, 5, 2}) std::fprintf(records, " %.6e", result.covariance[element]);
  std::fputc('\n', records);
  std::fflush(records);
}

/// What the engine holds at the end. A run is no worse without it.
void writeStoreFiles(const GpsTime& time) {
  std::vector<std::string> files;
  const std::string wrong = GNX_EXT::writeStoreFiles(toBoundaryTime(time), files);
  if (!wrong.empty()) std::cerr << "warning: " << wrong << '\n';
  for (const std::string& file : files) std::cerr << "note: the engine's store is in " << file << '\n';
}

/// Reads the first day of a run's observations ahead, for the fractions of its wide-lanes.
void collectWideLanes(const RunPlan& plan, const ProductFacts& facts, WideLaneFractions& lanes) {
  constexpr double kAhead_s = 86400.0;
  const auto sets = plan.ssr.empty() ? decltype(streamBiases({})){} : streamBiases(plan.ssr);
  std::vector<SatBiases> now;
  std::size_t next = 0;
  ObservationStream observations(plan);
  std::optional<GpsTime> first, last;
  for (ObsEpoch epoch; observations.next(epoch); last = epoch.time) {
    if (!first) first = epoch.time;
    if (epoch.time - *first > kAhead_s) break;
    if (facts.biases != nullptr && (!last || facts.biases->changes(*last, epoch.time)))
      now = facts.biases->at(epoch.time);
    for (; next < sets.size() && sets[next].first <= epoch.time; ++next) now = sets[next].second;
    lanes.add(epoch, now);
  }
}

/// Share of the run that is done, by data time; the end is known when the header or the user names it.
double shareDone(const RunPlan& plan, const GpsTime& first, const GpsTime& now) {
  if (!plan.to) return 0.0;
  const double all = *plan.to - first;
  return all > 0.0 ? (now - first) / all : 0.0;
}

/// What the files of a run hold, read before the engine starts.
struct RunInputs {
  explicit RunInputs(const RunPlan& plan)
      : observations(plan), header(observations.header()), first(firstEpoch(plan)), signals(request(plan)) {
    NavData messages = plan.nav.empty() ? fittedMessages(plan) : readRinexNav(plan.nav);
    std::vector<std::string> notes = someOf(messages.notes);
    timeline.emplace(std::move(messages), first);
    ProductFacts facts;
    source = makeSource(plan, first, *timeline, facts);
    notes.insert(notes.end(), facts.notes.begin(), facts.notes.end());
    antennas = readAntennas(plan);
    if (plan.resolution && !plan.broadcastOnly) judgeIntegers(plan, std::move(facts), notes);
    tell(notes);
  }

  ObservationStream observations;
  const ObsHeader header;
  ObsEpoch epoch;  ///< the next one
  const GpsTime first;
  bool biased = false;  ///< the corrections hold biases
  const SignalPlan signals;
  std::optional<EphemerisTimeline> timeline;
  std::unique_ptr<CorrectionSource> source;
  std::vector<AntexBlock> antennas;
  IntegerPolicy integers;

 private:
  void judgeIntegers(const RunPlan& plan, ProductFacts facts, std::vector<std::string>& notes) {
    const PhaseCentreHeights heights =
        plan.massCentre ? phaseCentreHeights(antennas, tableTime(first)) : PhaseCentreHeights();
    WideLaneFractions lanes(signals, *timeline, heights,
                            plan.headerPosition ? header.position : anyPosition(plan));
    collectWideLanes(plan, facts, lanes);
    PolicyQuestion question;
    question.products = std::move(facts);
    question.densestSparse_s = plan.sparseClocks_s;
    question.mixedProducts = plan.mixedProducts;
    question.massCentre = plan.massCentre;
    question.headerWideLanes = plan.wideLaneBiases;
    question.fractions = lanes.result();
    for (const AntexBlock& block : antennas)
      if (block.isSatellite() && satelliteOf(block).validAt(tableTime(first)))
        question.blocks[block.serial] = satelliteOf(block).block;
    integers = decideIntegers(question);
    if (integers.makeUpForOffsets) source = makeOffsetFreeSource(std::move(source), heights);
    writeIntegerPolicy("integers.json", integers);
    notes.insert(notes.end(), integers.remarks.begin(), integers.remarks.end());
  }
  std::array<double, 3> anyPosition(const RunPlan& plan) const {
    return plan.position == std::array<double, 3>{} ? header.position : plan.position;
  }
  GpsTime firstEpoch(const RunPlan& plan) {
    if (!observations.next(epoch)) throw InputError(plan.obs.front(), 0, "holds no epoch in the chosen time");
    setReplayClock(utcOf(epoch.time));
    return epoch.time;
  }
  SignalPlan::Request request(const RunPlan& plan) {
    SignalPlan::Request r{plan.bands, header.types, correctedSignals(plan.bia, plan.ssr), plan.signals};
    biased = !r.corrected.empty();
    return r;
  }
  void tell(const std::vector<std::string>& notes) const {
    std::cerr << signals.describe();
    for (const std::string& warning : signals.warnings()) std::cerr << "warning: " << warning << '\n';
    for (const std::string& warning : checkDeployedIntegers(".")) std::cerr << "warning: " << warning << '\n';
    for (const std::string& note : notes) std::cerr << "note: " << note << '\n';
  }
};

/// The engine between its start and its end, fed with the epochs of a run and all that is due at them.
class EngineSession {
 public:
  EngineSession(const RunPlan& plan, RunInputs& in)
      : plan_(plan),
        in_(in),
        started_((initialize(plan, in.header), true)),
        excluded_(plan.excluded.begin(), plan.excluded.end()),
        products_(boundary_, numbers_, in.signals, excluded_, reversedAxes(in.first), in.biased),
        feed_(boundary_, numbers_, in.signals, excluded_),
        delivery_(*in.timeline, std::move(in.source), products_),
        feeder_([this](const GpsTime& t) { delivery_.until(t); }),
        diagnostics_(plan),
        patterns_(makePatterns(plan, in.antennas, in.header, *in.timeline, in.first)),
        records_(fdopen(dup(kRecordDescriptor), "w"), &std::fclose) {
    GNX_EXT::addResultListener([this](const GNX_EXT::Result& result) { result_ = result; });
    std::set<std::string> floating;
    for (const auto& [sat, residual] : in.integers.misfits) floating.insert(sat);
    products_.keepFloat(std::move(floating));
    products_.noteDiscontinuities(arcs_);
    feed_.shiftArcs(arcs_);
  }

  void epoch(ObsEpoch& epoch) {
    setReplayClock(utcOf(epoch.time));
    feeder_.deliverUntil(epoch.time);
    diagnostics_.apply(epoch.time, in_.integers.resolvesAt(epoch.time));
    if (patterns_) patterns_->apply(epoch);
    result_ = {};
    const auto start = std::chrono::steady_clock::now();
    feed_.feed(epoch);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    report(records_.get(), epoch, seconds, feed_.satellites(), shareDone(plan_, in_.first, epoch.time),
           result_);
  }

  void finish(const GpsTime& last) {
    reportAccount(records_.get(), feed_.account());
    records_.reset();
    if (plan_.storeFiles) writeStoreFiles(last);
    GNX_finilize();
  }

 private:
  const RunPlan& plan_;
  RunInputs& in_;
  const bool started_;  ///< the engine runs before anything is handed to it
  const BoundaryNumbers numbers_;
  LinkedBoundary boundary_;
  const std::set<SatName> excluded_;
  PhaseArcs arcs_;
  ProductFeed products_;
  ObservationFeed feed_;
  Delivery delivery_;
  FeederThread feeder_;
  Diagnostics diagnostics_;
  std::optional<PatternCorrector> patterns_;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> records_;
  GNX_EXT::Result result_;  ///< of the epoch, empty when it was no tick
};

}  // namespace

void runWorker() {
  const RunPlan plan = readRunPlan("run.json");
  RunInputs inputs(plan);
  const EventFile events("events.csv");
  EngineSession engine(plan, inputs);
  GpsTime last = inputs.first;
  do {
    last = inputs.epoch.time;
    engine.epoch(inputs.epoch);
  } while (inputs.observations.next(inputs.epoch));
  engine.finish(last);
}

}  // namespace gnx
