// A run that goes on with the state of another one: the same digits without a gap, fixed at once behind one,
// and nothing that no longer holds is believed.

#include <gmock/gmock.h>

#include "geometry/vector3.h"
#include "gnx/engine.h"
#include "support/deployment.h"
#include "support/simulated_files.h"

namespace gnx::test {
namespace {

using testing::HasSubstr;

constexpr int kSaved = 44;  ///< epochs before the state is taken, half a minute each

SimulationOptions skyAt(const Vector3& shift) {
  SimulationOptions o = shortSky("GEC", 0.5);
  o.observer.maskDegrees = 15.0;  // the phases of lower ones are too noisy for a test by one epoch
  for (std::size_t i = 0; i < 3; ++i) o.observer.site[i] += shift[i];
  return o;
}

/// Half an hour of a sky, and what an engine knew of it after 22 minutes.
class Before {
 public:
  static const Before& get() {
    static const Before before;
    return before;
  }
  std::vector<Event> eventsAt(const Vector3& shift) const {
    const std::string name = "sky" + std::to_string(static_cast<int>(length(shift) * 1000.0));
    const SimulationFiles files = simulate(skyAt(shift), directory.path() / name);
    std::vector<Event> events;
    for (const Event& event :
         read({files.observations.string(), files.navigation.string(), files.corrections.string()},
              {.deployment = deployment}))
      events.push_back(event);
    return events;
  }

  const support::TemporaryDirectory directory;
  const Deployment deployment = Deployment::make(directory.path() / "site", options());
  const std::vector<Event> events = eventsAt({});
  std::map<GpsTime, Solution> solutions;  ///< of one run without a gap
  std::string state;

 private:
  Before() {
    Engine engine(deployment);
    for (const Event& event : events) {
      const auto solution = engine.feed(event);
      if (!solution) continue;
      solutions[solution->time] = *solution;
      if (solutions.size() == kSaved) state = engine.state();
    }
  }
  static DeploymentOptions options() {
    DeploymentOptions o;
    o.systems = "GEC";
    o.refpoint = "APC_ITRF";
    o.date = toGpsTime({2026, 11, 21, 6, 0, 0.0});
    return o;
  }
};

struct Continued {
  std::vector<Solution> solutions;
  std::string held, broken, why = "no state was tried";
  std::vector<std::string> warnings;
};

using Change = std::function<void(Event&)>;

/// Goes on with a state behind a gap; epochs and corrections of later may be changed.
Continued goOn(const std::string& state, double gap_s, const std::vector<Event>& events,
               const Change& change = nullptr) {
  const Before& before = Before::get();
  const GpsTime saved = std::next(before.solutions.begin(), kSaved - 1)->first;
  Continued run;
  EngineOptions options;
  options.state = state;
  options.onEvent = [&run](const EngineEvent& e) {
    if (e.name != "resumed") return;
    const auto why = e.values.find("why");
    run.held = e.values.at("held");
    run.broken = e.values.at("broken");
    run.why = why == e.values.end() ? "" : why->second;
  };
  Engine engine(before.deployment, options);
  for (Event event : events) {
    const bool later = event.time - saved > gap_s + 0.1;
    if (std::holds_alternative<ObsEpoch>(event.record) && !later) continue;
    if (std::holds_alternative<CorrectionBatch>(event.record) && event.time - saved < -60.0) continue;
    if (change && later) change(event);
    if (auto solution = engine.feed(event)) run.solutions.push_back(*std::move(solution));
  }
  run.warnings = engine.warnings();
  return run;
}

Continued goOn(double gap_s, const Change& change = nullptr) {
  return goOn(Before::get().state, gap_s, Before::get().events, change);
}

double error(const Solution& s) { return length(minus(s.position, skyAt({}).observer.site)); }

TEST(Resuming, WithoutAGapGivesTheSameDigits) {
  const Before& before = Before::get();
  const Continued run = goOn(0.0);
  EXPECT_EQ(run.why, "");
  EXPECT_EQ(run.broken, "");
  ASSERT_EQ(run.solutions.size(), before.solutions.size() - kSaved);
  for (const Solution& s : run.solutions) {
    const Solution& unbroken = before.solutions.at(s.time);
    EXPECT_EQ(s.position, unbroken.position) << formatTime(s.time);
    EXPECT_EQ(s.covariance, unbroken.covariance) << formatTime(s.time);
    EXPECT_EQ(nameOf(s.state), nameOf(unbroken.state));
    EXPECT_EQ(s.ratio, unbroken.ratio);
  }
}

TEST(Resuming, IsFixedAtTheFirstEpochBehindAGap) {
  const Continued run = goOn(240.0);
  EXPECT_EQ(run.why, "");
  EXPECT_EQ(run.broken, "");
  EXPECT_EQ(run.solutions.front().state, SolutionState::fixed);
  EXPECT_LT(error(run.solutions.front()), 0.02);
}

/// Cycles on both phases of a satellite, as a slip that the tests of a single satellite may miss.
void slip(Event& event, const SatName& name, int first, int second) {
  auto* epoch = std::get_if<ObsEpoch>(&event.record);
  if (epoch == nullptr) return;
  for (SatObs& sat : epoch->sats)
    for (SignalObs& signal : sat.signals)
      if (sat.sat == name) signal.phase += signal.code[0] == '1' ? first : second;
}

TEST(Resuming, FindsASlipInTheGap) {
  const Solution& then = std::next(Before::get().solutions.begin(), kSaved - 1)->second;
  SatName galileo;
  for (const SatelliteSolution& s : then.satellites)
    if (s.sat[0] == 'E' && s.elevation_deg > 30.0) galileo = s.sat;
  ASSERT_NE(galileo, "");
  // One cycle on each frequency leaves the wide-lane alone and moves the geometry-free phase by centimetres.
  const Continued run = goOn(90.0, [&](Event& event) { slip(event, galileo, 1, 1); });
  EXPECT_EQ(run.why, "");
  EXPECT_THAT(run.broken, HasSubstr(galileo));
  EXPECT_LT(error(run.solutions.front()), 0.03);

  // A receiver that knows of a lost lock is believed.
  const Continued told = goOn(90.0, [&](Event& event) {
    if (auto* epoch = std::get_if<ObsEpoch>(&event.record))
      for (SatObs& sat : epoch->sats)
        for (SignalObs& signal : sat.signals) signal.lli = 1;
  });
  EXPECT_EQ(told.why, "too few arcs go on");
  EXPECT_NE(told.solutions.front().state, SolutionState::fixed);
}

TEST(Resuming, BelievesNoAntennaThatWasMoved) {
  const Vector3 shift = {0.06, -0.05, 0.06};
  const Continued run = goOn(Before::get().state, 90.0, Before::get().eventsAt(shift));
  EXPECT_NE(run.why, "");
  for (const Solution& s : run.solutions)
    if (s.state == SolutionState::fixed) {
      EXPECT_NEAR(error(s), length(shift), 0.03) << formatTime(s.time);
    }
}

TEST(Resuming, BelievesNoBiasesThatWereChanged) {
  double more = 0.0;
  const auto change = [&](int counter) {
    return [&more, counter](Event& event) {
      if (auto* batch = std::get_if<CorrectionBatch>(&event.record))
        for (SatBiases& sat : batch->biases)
          for (SsrBias& bias : sat.phase) {
            more = std::fmod(more + 0.0371, 0.2);
            bias.value += more;
            bias.discontinuity += counter;
          }
    };
  };
  // Its provider has begun anew: with other counters, and with the same.
  for (const int counter : {1, 0}) {
    const Continued run = goOn(90.0, change(counter));
    EXPECT_NE(run.why, "") << counter;
    EXPECT_NE(run.solutions.front().state, SolutionState::fixed) << counter;
  }
}

TEST(Resuming, RefusesWhatIsTooOldDamagedOrOfAnotherChoice) {
  EXPECT_EQ(goOn(330.0).why, "the saved state is not of the last five minutes");
  std::string damaged = Before::get().state;
  damaged[damaged.size() / 2] ^= 1;
  for (const std::string& state : {damaged, damaged.substr(0, 1000), std::string("x")}) {
    const Continued run = goOn(state, 30.0, Before::get().events);
    EXPECT_EQ(run.why, "no state was tried");
    ASSERT_FALSE(run.warnings.empty());
    EXPECT_THAT(run.warnings.back(), HasSubstr("the saved state is not taken over"));
    EXPECT_TRUE(run.solutions.back().solved());
  }
}

}  // namespace
}  // namespace gnx::test
