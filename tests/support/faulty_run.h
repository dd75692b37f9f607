#pragma once
/// Simulated faults through the exported boundary: one sky, kept in memory, and runs of the engine over
/// it that differ by what went wrong.
///
///     const FaultyRun clean(sky, {});
///     const FaultyRun run(sky, {.list = {slip("G05", "1C", 3000.0, 1.0)}});
///     EXPECT_LT(run.change(clean, 3600.0), 0.01);
///
/// Each run is a host of its own in a child process. Times are seconds from the start of the sky.
/// The data rate may change within a sky: the engine then runs with an interval of 1 s, which takes
/// every epoch.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <set>

#include "GNX_SDK.h"
#include "deployment/deployed.h"
#include "deployment/deployment.h"
#include "geometry/vector3.h"
#include "gnx/adapt.h"
#include "gnx/corrections.h"
#include "gnx/satellite.h"
#include "run/run_plan.h"
#include "run/solution.h"
#include "simulate/simulation.h"
#include "support/deployment.h"
#include "support/replay_clock.h"
#include "support/solution_line.h"

namespace gnx::test {

struct SkyPlan {
  double hours = 2.0;
  std::string systems = "GEC";
  ReceiverClockOptions clock{};
  /// Between the two times the receiver gives every second or at another step, otherwise every half minute.
  double fastFrom = 0.0, fastTo = -1.0, fastStep = 1.0;
  std::array<double, 3> place{0.829, 0.148,
                              450.0};  ///< of the receiver: latitude, longitude (rad), height (m)
  double maskDegrees = ObserverOptions().maskDegrees;
};

class SimulatedSky {
 public:
  explicit SimulatedSky(const SkyPlan& plan) : m_start(toGpsTime({2026, 11, 21, 6, 0, 0.0})) {
    SkyOptions options{.systems = plan.systems, .start = m_start, .hours = plan.hours};
    const Constellation sky(options);
    messages = allMessages(sky);
    signals = options.signals;
    for (double t = 0.0; t <= plan.hours * 3600.0; t += 30.0) corrections.push_back(batch(sky, t));

    ObserverOptions receiver;
    receiver.site = site = toEarthFixed({plan.place[0], plan.place[1], plan.place[2]});
    receiver.maskDegrees = plan.maskDegrees;
    receiver.clock = plan.clock;
    const FaultList none;
    Observer observer(receiver, sky, none);
    ObsEpoch epoch;
    EpochTruth truth;
    for (double t = 0.0; t < plan.hours * 3600.0;) {
      observer.observe(m_start + t, epoch, truth);
      epochs.push_back(epoch);
      elevations.emplace_back();
      for (const SatelliteTruth& s : truth.satellites) elevations.back()[s.sat] = s.elevation;
      clock.push_back(truth.clock);
      t += t >= plan.fastFrom && t < plan.fastTo ? plan.fastStep : 30.0;
    }
  }

  const GpsTime& start() const { return m_start; }

  /// Satellites of a system in sight from one time to another, the highest (in its lowest moment) first.
  std::vector<SatName> inSight(char system, double from, double to) const {
    std::map<SatName, std::vector<double>> seen;
    std::size_t count = 0;
    for (std::size_t k = 0; k < epochs.size(); ++k) {
      const double t = epochs[k].time - m_start;
      if (t < from || t > to) continue;
      ++count;
      for (const auto& [sat, elevation] : elevations[k])
        if (sat[0] == system) seen[sat].push_back(elevation);
    }
    std::erase_if(seen, [&](const auto& entry) { return entry.second.size() < count; });
    std::vector<SatName> names;
    for (const auto& [sat, all] : seen) names.push_back(sat);
    std::ranges::stable_sort(names, std::greater(),
                             [&](const SatName& sat) { return std::ranges::min(seen[sat]); });
    return names;
  }
  SatName highest(char system, double from, double to) const { return inSight(system, from, to).at(0); }

  std::vector<ObsEpoch> epochs;
  std::vector<std::map<SatName, double>> elevations;  ///< rad, by epoch
  std::vector<double> clock;                          ///< of the receiver, s, by epoch
  std::vector<CorrectionBatch> corrections;           ///< delivered at their tag
  std::vector<BroadcastEph> messages;                 ///< in order of transmission
  SignalTable signals;
  Vector3 site{};

 private:
  CorrectionBatch batch(const Constellation& sky, double seconds) const {
    CorrectionBatch b;
    b.delivery = b.tag = b.biasTag = m_start + seconds;
    b.newBiases = true;
    for (std::size_t i = 0; i < sky.satellites().size(); ++i) {
      const SsrOrbit orbit = sky.orbitCorrection(i, b.tag, b.tag);
      const SsrClock satClock = sky.clockCorrection(i, b.tag, b.tag);
      b.orbitClock.push_back({orbit.sat, orbit.iod, orbit.delta, orbit.rate, satClock.c});
      SatBiases& biases = b.biases.emplace_back();
      biases.sat = orbit.sat;
      for (const auto& [signal, value] : sky.satellites()[i].codeBias)
        biases.code.push_back({signal, value, 0, 0, 0});
      for (const auto& [signal, value] : sky.satellites()[i].phaseBias)
        biases.phase.push_back({signal, value, 1, 2, 0});
    }
    return b;
  }

  GpsTime m_start;
};

/// GPS, Galileo and BeiDou for two hours, made once in a process.
inline const SimulatedSky& twoHourSky() {
  static const SimulatedSky made({});
  return made;
}

// ---- faults ----

/// The phase jumps by `cycles`, whole or not, and stays.
inline Fault slip(const SatName& sat, const std::string& signal, double from, double cycles) {
  return {Fault::Kind::slip, sat, signal, from, from, cycles};
}

struct Faults {
  std::vector<Fault> list{};  ///< on the observations
  /// Change what is handed over, or hold it back with false.
  std::function<bool(ObsEpoch&, double)> observations{};
  std::function<bool(CorrectionBatch&, double)> corrections{};
  bool productsFromElsewhere = false;  ///< ephemerides and corrections are not fed by the epoch thread
  /// Calls before an epoch, on the epoch thread.
  std::function<void(double)> before{};
  /// Changes the records of an epoch as they cross the boundary.
  std::function<void(std::vector<GNX_IO::obs_entry_t>&, double)> entries{};
};

struct RunSetup {
  std::string mode = "static";
  double interval = 30.0;
  /// Frequency lists of the deployment, "" = two a system.
  std::string frequencies{};
  bool resolution = true;
  std::string combination = "RAW", systems = "GEC";
  double cutoffDegrees = 7.0;
  std::map<std::string, std::string> overrides{};  ///< values of "ppp.json" by dotted key
};

/// What a host knows when it starts; the working directory holds the deployment.
class HostSetup {
 public:
  static void write(const std::filesystem::path& directory, const SimulatedSky& sky, const RunSetup& setup) {
    DeploymentOptions options;
    options.systems = setup.systems;
    options.combination = setup.combination;
    options.freqobs = setup.frequencies;
    options.refpoint = "APC_ITRF";
    options.resolution = setup.resolution;
    options.date = sky.start();
    options.codeNoise_m = ObserverOptions().codeSigma;
    options.run.mode = parseMode(setup.mode);
    if (setup.interval > 0.0) options.run.interval_s = setup.interval;
    options.overrides = setup.overrides;
    // The noise of this sky near the horizon crosses the limits of a real receiver: faults are told from it
    // by the wide ones.
    options.overrides.try_emplace("threshold.turboedit", "2.0 3.0 0.72 1200.0");
    std::ostringstream notes;
    writeDeployment(directory, options, notes);
  }

  explicit HostSetup(const SimulatedSky& sky)
      : plan(request(sky)),
        reversed(
            reversedSatellites(parseSatelliteTable(support::readFile("satnav.txt")), tableTime(sky.start()))),
        m_start(sky.start()) {}

  const SignalPlan plan;
  const BoundaryNumbers numbers;
  mutable LinkedBoundary boundary;
  const std::set<SatName> reversed;  ///< body axes turned against those of the sky

  /// The engine's clock, UTC.
  void setClock(double seconds) const {
    setReplayClock(GNX_IO::gpst2utc(toBoundaryTime(m_start + seconds)).time);
  }
  void start(const RunSetup& setup) const {
    setClock(0.0);
    GNX_IO::sta_t sta{};
    GNX_initialize(setup.mode.c_str(), &sta, setup.cutoffDegrees, setup.interval);
  }
  ProductFeed products() const { return products(boundary); }
  /// Of a feeder on a thread of its own.
  ProductFeed products(LinkedBoundary& own) const { return {own, numbers, plan, {}, reversed, true}; }
  ObservationFeed observations() const { return {boundary, numbers, plan, {}}; }

 private:
  static SignalPlan::Request request(const SimulatedSky& sky) {
    SignalPlan::Request r;
    r.bands = deployedBands(".");
    for (const auto& [system, list] : sky.signals)
      for (const std::string& signal : list) {
        r.received[system].push_back("C" + signal);
        r.received[system].push_back("L" + signal);
        r.corrected[system].insert(signal);
      }
    return r;
  }

  GpsTime m_start;
};

class FaultyRun {
 public:
  FaultyRun(const SimulatedSky& sky, const Faults& faults, const RunSetup& setup = {})
      : m_start(sky.start()) {
    HostSetup::write(m_directory.path(), sky, setup);
    const support::ChildResult child = support::runInChild([&] { host(sky, faults, setup); });
    EXPECT_EQ(child.status, 0) << child.output.substr(std::max<std::size_t>(child.output.size(), 3000) -
                                                      3000);
    for (const std::string& line : support::linesOf(child.output)) {
      if (const auto epoch = parseSolutionLine(line)) epochs.push_back(*epoch);
      else output.push_back(line);
    }
    readLog();
  }

  std::vector<SolutionEpoch> epochs;
  std::vector<std::string> output;  ///< standard output but the solutions
  std::vector<std::string> log;     ///< the status log

  using Texts = std::vector<std::string>;
  /// Lines of the status log that hold all the texts, between two times by the "[mjd sod]" of the line.
  int count(const Texts& texts, double from = -1.0, double to = 1e9) const {
    return count(log, texts, from, to);
  }
  /// The same in the standard output.
  int countPrinted(const Texts& texts, double from = -1.0, double to = 1e9) const {
    return count(output, texts, from, to);
  }
  /// Seconds from the start by the "[mjd sod]" of a line; -1 where there is none.
  double timeOf(const std::string& line) const {
    int mjd = 0;
    double sod = 0.0;
    for (std::size_t at = 0; at < line.size(); ++at) {
      const bool head = line[at] == '[' || (at > 0 && line[at - 1] == ':');
      if (head && std::sscanf(line.c_str() + at + (line[at] == '['), "%5d %lf]", &mjd, &sod) == 2 &&
          mjd > 50000)
        return (mjd - modifiedJulianDay(m_start)) * 86400.0 + sod - secondsOfDay(m_start);
    }
    return -1.0;
  }
  /// Slips that the detector found.
  int slips(const SatName& sat = "", double from = -1.0, double to = 1e9) const {
    return count({"[SLIP]", sat, "] new ambiguity: "}, from, to);
  }
  /// Phases that the filter's test of residuals took for slipped.
  int treated(const SatName& sat = "", double from = -1.0, double to = 1e9) const {
    return count({"DIA batch detecting slip", sat}, from, to);
  }
  /// Ambiguities that began between two times.
  int newAmbiguities(const SatName& sat = "", double from = -1.0, double to = 1e9) const {
    return count({"cprn = " + sat, "add ambiguity!"}, from, to);
  }
  double secondsOf(const SolutionEpoch& e) const { return e.time - m_start; }
  const SolutionEpoch* at(double seconds) const {
    for (const SolutionEpoch& e : epochs)
      if (std::fabs(secondsOf(e) - seconds) < 0.05) return &e;
    return nullptr;
  }

  /// What the run left in a file of its directory.
  std::string file(const char* name) const { return support::readFile(m_directory.path() / name); }

  /// Epoch by epoch, digit for digit.
  void expectTheSolutionsOf(const FaultyRun& other) const {
    ASSERT_EQ(epochs.size(), other.epochs.size());
    for (std::size_t k = 0; k < epochs.size(); ++k) {
      ASSERT_EQ(epochs[k].xyz, other.epochs[k].xyz) << "epoch " << k;
      ASSERT_EQ(epochs[k].rows, other.epochs[k].rows) << "epoch " << k;
      ASSERT_EQ(epochs[k].status, other.epochs[k].status) << "epoch " << k;
    }
  }
  /// The largest distance to the positions of another run between two times, m; epochs that only one of
  /// them has do not count, infinity without any common one.
  double change(const FaultyRun& other, double from, double to = 1e9) const {
    return largest(from, to, [&](double t) { return other.at(t) == nullptr ? nullptr : &other.at(t)->xyz; });
  }
  /// The largest distance to a place between two times, m.
  double error(const Vector3& place, double from, double to = 1e9) const {
    return largest(from, to, [&](double) { return &place; });
  }
  int satellitesAt(double seconds) const { return at(seconds) == nullptr ? -1 : at(seconds)->rows / 2; }

 private:
  template <class Place>
  double largest(double from, double to, const Place& placeAt) const {
    double most = -1.0;
    for (const SolutionEpoch& e : epochs)
      if (const double t = secondsOf(e); t >= from && t <= to)
        if (const Vector3* place = placeAt(t)) most = std::max(most, length(minus(e.xyz, *place)));
    return most < 0.0 ? HUGE_VAL : most;
  }
  int count(const std::vector<std::string>& lines, const Texts& texts, double from, double to) const {
    return static_cast<int>(std::ranges::count_if(lines, [&](const std::string& line) {
      const auto holds = [&](const std::string& text) { return line.find(text) != std::string::npos; };
      if (!std::ranges::all_of(texts, holds)) return false;
      const double t = timeOf(line);
      return t >= from && t <= to;
    }));
  }

  /// The log rolls over: the files of old have the time behind their names, the youngest has none.
  void readLog() {
    const std::filesystem::path directory = m_directory.path() / "log";
    std::set<std::filesystem::path> old;
    for (const auto& entry : std::filesystem::directory_iterator(directory))
      if (entry.path().filename().string().starts_with("tarvio.stat.")) old.insert(entry.path());
    std::string text;
    for (const auto& file : old) text += support::readFile(file);
    log = support::linesOf(text + support::readFile(directory / "tarvio.stat"));
  }

  void host(const SimulatedSky& sky, const Faults& faults, const RunSetup& setup) const {
    std::filesystem::current_path(m_directory.path());
    const HostSetup host(sky);
    ProductFeed products = host.products();
    ObservationFeed feed = host.observations();
    const FaultList list(faults.list);
    host.start(setup);
    const std::vector<CorrectionBatch> batches = deliveries(sky, faults);
    auto batch = faults.productsFromElsewhere ? batches.end() : batches.begin();
    auto message = faults.productsFromElsewhere ? sky.messages.end() : sky.messages.begin();
    for (ObsEpoch epoch : sky.epochs) {
      const double t = epoch.time - m_start;
      host.setClock(t);
      for (; message != sky.messages.end() && message->transmission <= epoch.time; ++message)
        products.feed(*message);
      for (; batch != batches.end() && batch->delivery <= epoch.time; ++batch) products.feed(*batch);
      if (faults.before) faults.before(t);
      strike(list, epoch, t);
      if (faults.observations && !faults.observations(epoch, t)) continue;
      if (faults.entries) feedEntries(epoch, host, faults, t);
      else feed.feed(epoch);
    }
    GNX_finilize();
  }

  static void feedEntries(const ObsEpoch& epoch, const HostSetup& host, const Faults& faults, double t) {
    std::vector<GNX_IO::obs_entry_t> entries;
    for (const SatObs& sat : epoch.sats) {
      GNX_IO::obs_entry_t& entry = entries.emplace_back();
      entry.sat = static_cast<std::uint8_t>(host.numbers.satellite(sat.sat));
      std::size_t slot = 0;
      for (const PlannedSignal& planned : host.plan.of(sat.sat[0]))
        for (const SignalObs& s : sat.signals) {
          if (planned.code != s.code.data() || slot == GNX_IO::kSignalSlots) continue;
          entry.code[slot] = static_cast<std::uint8_t>(host.numbers.code(planned.code));
          entry.P[slot] = s.range;
          entry.L[slot] = s.phase;
          entry.D[slot] = static_cast<float>(s.doppler);
          entry.SNR[slot++] = static_cast<std::uint16_t>(s.snr * 1000.0);
        }
    }
    faults.entries(entries, t);
    GNX_IO::obs_t obs{static_cast<std::int32_t>(entries.size()), entries.data()};
    GNX_inputObs(toBoundaryTime(epoch.time), &obs);
  }

  static std::vector<CorrectionBatch> deliveries(const SimulatedSky& sky, const Faults& faults) {
    std::vector<CorrectionBatch> batches;
    for (CorrectionBatch b : sky.corrections)
      if (!faults.corrections || faults.corrections(b, b.tag - sky.start())) batches.push_back(std::move(b));
    std::ranges::stable_sort(batches, std::less(), &CorrectionBatch::delivery);
    return batches;
  }

  static void strike(const FaultList& list, ObsEpoch& epoch, double t) {
    for (SatObs& sat : epoch.sats)
      for (SignalObs& s : sat.signals) {
        const std::string name = s.code.data();
        s.range += list.size(Fault::Kind::code, sat.sat, name, t);
        s.phase += list.size(Fault::Kind::phase, sat.sat, name, t) + list.slippedCycles(sat.sat, name, t);
      }
  }

  support::TemporaryDirectory m_directory;
  GpsTime m_start;
};

}  // namespace gnx::test
