// One station: chooses signals, adapts records, feeds them to the engine wherever it runs.

#include "gnx/engine.h"

#include <cstdlib>
#include <utility>

#include "deployment/deployed_antenna.h"
#include "deployment/deployed_integers.h"
#include "deployment/deployed_ionosphere.h"
#include "engine/engine_core.h"
#include "engine/frame_records.h"
#include "engine/worker_program.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kStateVersion = 1;
constexpr double kMessageAge_s = 8.0 * 3600.0;  ///< the engine uses none that is older

std::int64_t utcOf(const GpsTime& t) { return GNX_IO::gpst2utc(toBoundaryTime(t)).time; }

/// The directory of a run, removed with the object when nobody named one.
class EngineDirectory {
 public:
  EngineDirectory(const Deployment& deployment, const fs::path& named) : m_temporary(named.empty()) {
    if (m_temporary) {
      std::string pattern = (fs::temp_directory_path() / "gnx-engine-XXXXXX").string();
      if (mkdtemp(pattern.data()) == nullptr)
        throw InputError(pattern, 0, "cannot be made; check the folder and the free space");
      m_path = pattern;
    } else {
      m_path = fs::absolute(named);
    }
    deployment.lend(m_path);
  }
  ~EngineDirectory() {
    std::error_code ignored;
    if (m_temporary) fs::remove_all(m_path, ignored);
  }
  EngineDirectory(const EngineDirectory&) = delete;
  EngineDirectory& operator=(const EngineDirectory&) = delete;
  const fs::path& path() const { return m_path; }

 private:
  bool m_temporary;
  fs::path m_path;
};

SignalPlan::Request request(const Deployment& deployment, const StreamStart& start) {
  return {deployment.bands(), start.header.types, start.corrected, deployment.settings.signals};
}

/// By the deployment's satellite table, where the engine takes its blocks from.
std::set<SatName> reversedAxes(const Deployment& deployment, const GpsTime& first) {
  return reversedSatellites(parseSatelliteTable(readTextFile(deployment.file("satnav"))), tableTime(first));
}

}  // namespace

/// What exists from the start of the engine on.
struct Session {
  Session(const Deployment& deployment, const StreamStart& start, const GpsTime& firstTime, EngineCore& core)
      : first(firstTime),
        plan(request(deployment, start)),
        products(core, numbers, plan, deployment.settings.excluded, reversedAxes(deployment, firstTime),
                 !start.corrected.empty()),
        observations(core, numbers, plan, deployment.settings.excluded),
        integersAsked(deployment.resolvesIntegers()) {
    setIntegers(start.integers);
    products.notePhaseBiases(arcs);
    observations.shiftArcs(arcs);
  }

  void setIntegers(const IntegerPolicy& policy) {
    integers = policy;
    std::set<std::string> floating;
    for (const auto& [sat, residual] : integers.misfits) floating.insert(sat);
    products.keepFloat(std::move(floating));
  }

  /// An epoch that was left float for its products says so.
  void explain(Solution& solution) const {
    if (!integersAsked || solution.reason != SolutionReason::integersOff) return;
    solution.why = arcs.biasesRun()
                       ? "the phase biases run along with clocks that drift, so that no integers hold"
                       : "the corrections carry no integers at this epoch";
  }

  GpsTime first;
  BoundaryNumbers numbers;
  SignalPlan plan;
  PhaseArcs arcs;
  ProductFeed products;
  ObservationFeed observations;
  bool integersAsked;
  IntegerPolicy integers;
  MessageStore messages;
  PhaseCentreHeights heights;  ///< not empty: phase biases are made up for them
  std::optional<PatternCorrector> patterns;
  std::optional<AttitudeCorrector> attitudes;
  std::optional<IonosphereCorrector> ionosphere;
  std::optional<std::string> optionsSet;               ///< what the engine was told last
  std::optional<GpsTime> resumed;                      ///< end of the run whose state it goes on with
  std::set<std::pair<SatName, std::string>> observed;  ///< signals since then
};

struct Engine::Impl {
  Impl(const Deployment& given, const EngineOptions& chosen)
      : deployment(given), options(chosen), directory(given, chosen.directory) {
    if (options.mode) deployment.settings.mode = *options.mode;
    checkRunSettings(deployment.settings);
    outputOptions = options.outputOptions;
  }

  Session& running(const GpsTime& time) {
    if (session) return *session;
    if (finished) throw UsageError("the engine has ended; make another one");
    if (!pending)
      throw UsageError("the engine has not been started; begin with the StreamStart of the records");
    finished = true;  // unless it starts
    begin(*pending, pending->first.value_or(time));
    finished = false;
    return *session;
  }

  void begin(const StreamStart& start, const GpsTime& first) {
    core = options.place == Place::worker
               ? makeWorkerEngine(directory.path(), workerProgram(options.worker), options.onEvent)
               : makeLinkedEngine(directory.path(), options.onEvent);
    auto made = std::make_unique<Session>(deployment, start, first, *core);
    signals = made->plan.describe();
    warnings = made->plan.warnings();
    for (std::string& sentence : checkDeployedIntegers(deployment.directory()))
      warnings.push_back(std::move(sentence));
    EngineCore::Start record;
    record.mode = nameOf(deployment.settings.mode);
    record.station = stationRecord(deployment.settings, start.header);
    if (std::string sentence = unknownAntenna(deployment, record.station.antdes); !sentence.empty())
      warnings.push_back(std::move(sentence));
    record.cutoff_deg = deployment.settings.cutoff_deg;
    record.interval_s = deployment.settings.interval_s;
    if (options.clock == EngineClock::records) record.clock = utcOf(first);
    record.outputOptions = outputOptions;
    record.logBytes = options.logBytes;
    record.biasHistory_s = options.biasHistory_s;
    core->start(record);
    made->optionsSet = outputOptions;
    takePatterns(*made, start.header);
    if (start.attitudes) takeAttitudes(*made, start);
    if (start.ionosphere) takeIonosphere(*made, start);
    if (!options.state.empty()) takeState(*made);
    session = std::move(made);
    if (judgement) obey(*judgement);
  }

  void obey(const IntegerPolicy& policy) {
    judgement = policy;
    if (!session) return;
    session->setIntegers(policy);
    session->heights = policy.makeUpForOffsets ? phaseCentreHeights(deployment.file("antpcv"), session->first)
                                               : PhaseCentreHeights();
  }

  /// What must be the same in the run that goes on with a state.
  std::string identity(const Session& s) const {
    const RunSettings& run = deployment.settings;
    std::string text = std::string(GNX_VERSION) + '\n' + nameOf(run.mode) + '\n' + s.plan.describe() + '\n' +
                       printed("%.3f %.3f ", run.cutoff_deg, run.interval_s) + run.antenna;
    for (const SatName& sat : run.excluded) text += ' ' + sat;
    if (s.attitudes) text += " attitudes";
    if (s.ionosphere) text += " maps";
    return text;
  }

  std::string state() const {
    if (!session || now == GpsTime{}) return "";
    FrameWriter out;
    out(kStateVersion, identity(*session), now, session->arcs.state(), core->state());
    if (session->attitudes) out(session->attitudes->state());
    return out.bytes();
  }

  void takeState(Session& s) {
    try {
      FrameReader in(options.state);
      std::uint32_t version = 0;
      std::string same, known;
      GpsTime end;
      PhaseArcs::State arcs;
      in(version);
      if (version != kStateVersion) throw UsageError("it is of another version");
      in(same);
      if (same != identity(s))
        throw UsageError("it is of another version, mode, antenna or choice of signals");
      in(end, arcs, known);
      core->resume(known);
      if (s.attitudes) {
        std::map<SatName, AttitudeCorrector::WindUps> windUps;
        in(windUps);
        s.attitudes->take(std::move(windUps));
      }
      s.arcs.take(std::move(arcs));
      s.resumed = end;
    } catch (const Error& e) {
      warnings.push_back(std::string("the saved state is not taken over: ") + e.what());
    }
  }

  /// Arcs that have ended between two runs, as far as the receiver tells.
  void endArcs(Session& s, const ObsEpoch& given) {
    constexpr int kLostLock = 1;
    constexpr double kWatch_s = 300.0;
    for (const SatObs& sat : given.sats)
      for (const SignalObs& signal : sat.signals)
        if (signal.phase != 0.0 && s.observed.emplace(sat.sat, signal.code.data()).second &&
            (signal.lli & kLostLock) != 0)
          s.arcs.begin(sat.sat, signal.code.data());
    if (given.time - *s.resumed > kWatch_s) s.resumed.reset();
  }

  /// The best position known before the run.
  const Vector3& positionBefore(const ObsHeader& header) const {
    const RunSettings& run = deployment.settings;
    const bool known = run.position_m[0] * run.position_m[1] * run.position_m[2] != 0.0;
    return known && !run.headerPosition ? run.position_m : header.position;
  }

  void takeAttitudes(Session& s, const StreamStart& start) {
    s.attitudes.emplace(start.attitudes, AttitudeCorrector::satellitesOf(deployment, s.first), s.messages);
    s.attitudes->moveTo(positionBefore(start.header));
  }

  void takeIonosphere(Session& s, const StreamStart& start) {
    const DeployedIonosphere deployed = deployedIonosphere(deployment.directory());
    if (std::string sentence = uselessMaps(deployed); !sentence.empty())
      warnings.push_back(std::move(sentence));
    if (deployed.free) return;
    s.ionosphere.emplace(start.ionosphere, s.messages);
    s.ionosphere->moveTo(positionBefore(start.header));
  }

  /// Patterns of the antennas at the best position known before the run, where the engine does not apply
  /// them.
  void takePatterns(Session& s, const ObsHeader& header) {
    const RunSettings& run = deployment.settings;
    const fs::path file = deployment.file("antpcv");
    if (!run.patterns || !fs::exists(file) || deployment.engineAppliesPatterns()) return;
    PatternCorrector corrector(
        AntennaPatterns(file, run.antenna.empty() ? header.antenna : run.antenna, s.first), s.messages,
        positionBefore(header));
    if (corrector.active()) s.patterns.emplace(std::move(corrector));
    else
      notes.push_back(
          "no approximate position, antenna patterns are not taken off; give one with --position");
  }

  /// Time of the last epoch; before the first one the time of a record tells the day.
  GpsTime present(const GpsTime& ofRecord) const { return now == GpsTime{} ? ofRecord : now; }

  void setClock(const Session& s, const GpsTime& t) {
    if (options.clock == EngineClock::records) core->setClock(utcOf(std::max(t, s.first)));
  }

  void take(const GpsTime& received, const BroadcastEph& eph) {
    Session& s = running(received);
    setClock(s, received);
    if (const BroadcastEph* taken = s.messages.take(eph, received, std::max(received, s.first)))
      s.products.feed(*taken);
  }
  void take(const GpsTime& received, const GlonassEph& eph) {
    Session& s = running(received);
    setClock(s, received);
    s.products.feed(eph);
  }
  void take(const GpsTime& received, const CorrectionBatch& batch) {
    Session& s = running(received);
    setClock(s, received);
    if (s.ionosphere && batch.newBiases) s.ionosphere->note(batch.biases);
    if (s.heights.empty() || !batch.newBiases) return s.products.feed(batch);
    CorrectionBatch madeUp = batch;
    makeUpForOffsets(madeUp, s.heights);
    s.products.feed(madeUp);
  }

  /// An epoch without what the engine does not model.
  const ObsEpoch& corrected(Session& s, const ObsEpoch& given) {
    if (!s.patterns && !s.attitudes && !s.ionosphere) return given;
    epoch = given;
    if (s.patterns) s.patterns->apply(epoch);
    if (s.attitudes) s.attitudes->apply(epoch);
    if (s.ionosphere) s.ionosphere->apply(epoch);
    return epoch;
  }

  std::optional<Solution> take(const ObsEpoch& given) {
    Session& s = running(given.time);
    now = given.time;
    if (s.resumed) endArcs(s, given);
    setClock(s, now);
    if (now - forgotten > 3600.0) s.messages.forgetBefore((forgotten = now) + -kMessageAge_s);
    const bool resolve = s.integers.resolvesAt(now) && !s.arcs.biasesRun();
    const std::string words =
        (s.attitudes ? s.attitudes->engineOptions() + ' ' : "") + outputOptions + (resolve ? "" : " -float");
    if (s.optionsSet != words) core->setOutputOptions(*(s.optionsSet = words));
    s.observations.feed(corrected(s, given));
    auto solution = core->takeSolution();
    if (solution && solution->solved()) {
      if (s.attitudes) s.attitudes->moveTo(solution->position);
      if (s.ionosphere) s.ionosphere->moveTo(solution->position);
    }
    if (!solution) return solution;
    solution->time = now;
    if (!resolve) s.explain(*solution);
    return solution;
  }

  Deployment deployment;
  EngineOptions options;
  EngineDirectory directory;
  std::optional<StreamStart> pending;
  std::optional<IntegerPolicy> judgement;  ///< instead of the one that came with the start
  std::string outputOptions, signals;
  std::vector<std::string> warnings, notes;
  std::unique_ptr<EngineCore> core;
  std::unique_ptr<Session> session;
  RunAccount account;  ///< of a finished engine
  GpsTime now, forgotten;
  ObsEpoch epoch;
  bool finished = false;
};

Engine::Engine(const Deployment& deployment, const EngineOptions& options)
    : m_impl(std::make_unique<Impl>(deployment, options)) {}
Engine::~Engine() = default;
Engine::Engine(Engine&&) noexcept = default;
Engine& Engine::operator=(Engine&&) noexcept = default;

void Engine::start(const StreamStart& start) {
  if (m_impl->pending) throw UsageError("the engine has been started already; make another one");
  if (start.header.types.empty())
    throw UsageError(
        "the stream does not say which signals the receiver observes; fill StreamStart::header.types");
  m_impl->pending = start;
  if (start.first) m_impl->running(*start.first);
}

std::optional<Solution> Engine::feed(const Event& event) {
  if (const auto* start = std::get_if<StreamStart>(&event.record)) this->start(*start);
  else if (const auto* eph = std::get_if<BroadcastEph>(&event.record)) m_impl->take(event.time, *eph);
  else if (const auto* glonass = std::get_if<GlonassEph>(&event.record)) m_impl->take(event.time, *glonass);
  else if (const auto* batch = std::get_if<CorrectionBatch>(&event.record)) m_impl->take(event.time, *batch);
  else return m_impl->take(std::get<ObsEpoch>(event.record));
  return std::nullopt;
}

std::optional<Solution> Engine::feed(const ObsEpoch& epoch) { return m_impl->take(epoch); }
void Engine::feed(const BroadcastEph& eph) { m_impl->take(m_impl->present(eph.toc), eph); }
void Engine::feed(const GlonassEph& eph) { m_impl->take(m_impl->present(eph.toe), eph); }
void Engine::feed(const CorrectionBatch& batch) {
  m_impl->take(batch.delivery == GpsTime{} ? m_impl->present(batch.tag) : batch.delivery, batch);
}

void Engine::obey(const IntegerPolicy& policy) { m_impl->obey(policy); }
void Engine::setOutputOptions(const std::string& options) { m_impl->outputOptions = options; }
void Engine::restart() {
  m_impl->running(m_impl->now);
  m_impl->core->restart();
}

std::vector<std::string> Engine::writeStoreFiles(const GpsTime& time) {
  m_impl->running(time);
  return m_impl->core->writeStoreFiles(toBoundaryTime(time));
}

std::string Engine::state() { return m_impl->state(); }

void Engine::finish() {
  if (m_impl->finished || !m_impl->session) return;
  m_impl->finished = true;
  m_impl->account = m_impl->session->observations.account();
  m_impl->session.reset();
  m_impl->core->finish();
}

const std::filesystem::path& Engine::directory() const { return m_impl->directory.path(); }
std::string Engine::signals() const { return m_impl->signals; }
const std::vector<std::string>& Engine::warnings() const { return m_impl->warnings; }
const std::vector<std::string>& Engine::notes() const { return m_impl->notes; }
const RunAccount& Engine::account() const {
  return m_impl->session ? m_impl->session->observations.account() : m_impl->account;
}
long Engine::processId() const { return m_impl->core ? m_impl->core->processId() : 0; }

}  // namespace gnx
