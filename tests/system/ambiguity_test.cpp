// Integer resolution through the boundary, on a simulated sky whose integers and biases are known.

#include <cmath>

#include "support/faulty_run.h"

namespace gnx::test {
namespace {

/// An hour of GPS and Galileo, made once for the tests of this file.
const SimulatedSky& sky() {
  static const SimulatedSky made({.hours = 1.0, .systems = "GE"});
  return made;
}

FaultyRun kinematic(const Faults& faults, const std::map<std::string, std::string>& overrides = {},
                    const std::string& frequencies = "") {
  return FaultyRun(sky(), faults, {.mode = "kinematic", .frequencies = frequencies, .overrides = overrides});
}

/// A constant for each satellite and signal, within half a cycle.
double draw(const SatName& sat, const std::string& signal) {
  const int number = (sat[1] - '0') * 10 + sat[2] - '0';
  return 0.001 * ((number * 7919 + signal[0] * 104729 + sat[0] * 1299709) % 997 - 498);
}

/// Observations with `cycles` added to the phases.
Faults withPhases(std::function<double(const SatName&, const std::string&)> cycles) {
  return {.observations = [cycles](ObsEpoch& epoch, double) {
    for (SatObs& sat : epoch.sats)
      for (SignalObs& s : sat.signals) s.phase += cycles(sat.sat, s.code.data());
    return true;
  }};
}
/// The same positions and whole numbers fixed.
void expectTheFixesOf(const FaultyRun& plain, const FaultyRun& run) {
  EXPECT_LE(run.change(plain, 0.0), 1.0e-4);
  for (std::size_t i = 0; i < 120; ++i) EXPECT_EQ(run.epochs.at(i).fixed, plain.epochs.at(i).fixed) << i;
}

int epochsWith(const FaultyRun& run, int status) {
  return static_cast<int>(std::ranges::count(run.epochs, status, &SolutionEpoch::status));
}
/// Ambiguities that the last level has fixed, over all epochs.
int fixedIntegers(const FaultyRun& run) {
  int count = 0;
  for (const SolutionEpoch& e : run.epochs) count += e.status == 5 ? e.fixed : 0;
  return count;
}
/// Root mean square of the 3D error over the last twenty minutes.
double settledError(const FaultyRun& run) {
  double sum = 0.0;
  for (std::size_t i = 80; i < 120; ++i) sum += std::pow(length(minus(run.epochs.at(i).xyz, sky().site)), 2);
  return std::sqrt(sum / 40.0);
}

/// Every fix is within 15 cm.
void expectRightFixes(const FaultyRun& run) {
  for (const SolutionEpoch& e : run.epochs)
    EXPECT_TRUE(e.status != 5 || length(minus(e.xyz, sky().site)) < 0.15) << run.secondsOf(e);
}

TEST(Ambiguity, FixesBringCentimetresAndLeaveTheFloatColumnsAlone) {
  const FaultyRun on = kinematic({});
  const FaultyRun off = kinematic({}, {{"amb.wl.resolution", "off"}, {"amb.n1.resolution", "off"}});
  const FaultyRun wide = kinematic({}, {{"amb.n1.resolution", "off"}});
  ASSERT_EQ(on.epochs.size(), 120u);
  ASSERT_EQ(off.epochs.size(), 120u);
  for (std::size_t i = 0; i < 120; ++i) {
    const SolutionEpoch &a = on.epochs[i], &b = off.epochs[i];
    EXPECT_TRUE(a.rows == b.rows && a.satellites == b.satellites && a.pdop == b.pdop && a.sigma0 == b.sigma0)
        << i << ": a fix has reached the float filter";
    EXPECT_GE(a.fixed, a.status == 5 ? 6 : 0) << i;
    EXPECT_TRUE(a.status >= 3 || a.fixed == 0) << i;
  }
  EXPECT_EQ(epochsWith(off, 2), 120);
  EXPECT_GT(epochsWith(wide, 4), 90);
  EXPECT_EQ(epochsWith(wide, 5), 0);
  EXPECT_GT(epochsWith(on, 5), 90);
  EXPECT_LT(settledError(on), 0.022);
}

TEST(Ambiguity, WholeCyclesOnAnArcChangeNothing) {
  const SatName reference = sky().highest('G', 0.0, 3600.0);
  expectTheFixesOf(kinematic({}), kinematic(withPhases([&](const SatName& sat, const std::string& signal) {
                     return sat == reference ? 0.0 : std::round(3000.0 * draw(sat, signal));
                   })));
}

TEST(Ambiguity, ABiasMovedFromThePhasesToTheCorrectionsChangesNothingAndTheWrongSignFixesNothing) {
  // Without a table the ratio has to be 3, whatever the covariance says.
  const support::TemporaryDirectory directory;
  const std::map<std::string, std::string> limit = {
      {"files.rinput", directory.write("none.txt", "nrow 0 ndim 0\n")}};
  const FaultyRun plain = kinematic({}, limit);
  EXPECT_GT(epochsWith(plain, 5), 60);
  const auto biased = [&](double sign) {
    Faults faults = withPhases(draw);
    faults.corrections = [sign](CorrectionBatch& batch, double) {
      for (SatBiases& sat : batch.biases)
        for (auto& bias : sat.phase)
          bias.value -=
              sign * draw(sat.sat, bias.signal) * 299792458.0 / carrierFrequency(sat.sat[0], bias.signal);
      return true;
    };
    return kinematic(faults, limit);
  };
  const FaultyRun right = biased(1.0), wrong = biased(-1.0);
  expectTheFixesOf(plain, right);
  EXPECT_LT(fixedIntegers(wrong), fixedIntegers(plain) / 2);
}

// Uncombined: extra-wide-lanes, wide-lanes and narrow-lanes. The status of an epoch is that of the last
// level that fixed something.
TEST(Ambiguity, ThreeFrequenciesFixLevelByLevel) {
  const char* const frequencies = "GPS:L1_L2_L5 GAL:E1_E5a_E5b";
  const FaultyRun extra =
      kinematic({}, {{"amb.wl.resolution", "off"}, {"amb.n1.resolution", "off"}}, frequencies);
  const FaultyRun wide = kinematic({}, {{"amb.n1.resolution", "off"}}, frequencies);
  const FaultyRun all = kinematic({}, {}, frequencies);
  ASSERT_EQ(all.epochs.size(), 120u);
  EXPECT_GT(epochsWith(extra, 3), 105);
  EXPECT_GT(epochsWith(wide, 4), 105);
  EXPECT_GT(epochsWith(all, 5), 100);
  const auto first = std::ranges::find(all.epochs, 5, &SolutionEpoch::status);
  ASSERT_NE(first, all.epochs.end());
  EXPECT_LE(all.secondsOf(*first), 480.0);
  expectRightFixes(all);
  for (const SolutionEpoch& e : all.epochs) EXPECT_TRUE(e.status != 5 || e.fixed >= 10) << all.secondsOf(e);
}

// Wide-lanes from averages of phase and code beside the filter: the narrow-lanes of the same epochs rest on
// them.
TEST(Ambiguity, SmoothedWideLanesCarryTheNarrowLanesOnceTheyMayFix) {
  std::map<std::string, std::string> smoothed = {{"amb.wl.amb_type", "mw"},
                                                 {"amb.wl.smoothconfig.switch", "on"}};
  const FaultyRun open = kinematic({}, smoothed);
  EXPECT_EQ(epochsWith(open, 2), 120) << "without mwfix no wide-lane, hence no narrow-lane";
  smoothed["amb.wl.mwfix"] = "on";
  const FaultyRun fixed = kinematic({}, smoothed), plain = kinematic({});
  EXPECT_GE(epochsWith(fixed, 5), 98);
  // An average takes five minutes to begin, a search less.
  EXPECT_GT(fixedIntegers(fixed), 1280);
  EXPECT_GT(fixedIntegers(fixed) * epochsWith(plain, 5), 0.9 * fixedIntegers(plain) * epochsWith(fixed, 5));
  EXPECT_LT(settledError(fixed), 1.1 * settledError(plain));
  expectRightFixes(fixed);
}

// As the program writes such a deployment. Ionosphere-free rows hold no wide-lane of two frequencies.
TEST(Ambiguity, IonosphereFreeObservationsFixOnSmoothedWideLanes) {
  for (const char* mode : {"static", "dynamic"}) {
    SCOPED_TRACE(mode);
    const FaultyRun pair(sky(), {}, {.mode = mode, .combination = "IF"});
    EXPECT_GT(epochsWith(pair, 5), 90);
    expectRightFixes(pair);
    EXPECT_LT(settledError(pair), 0.03);
    const FaultyRun triple(
        sky(), {},
        {.mode = mode, .frequencies = "GPS:L1_L2_L5 GAL:E1_E5a_E5b", .combination = "AFIF", .systems = "GE"});
    EXPECT_GT(epochsWith(triple, 5), 90);
    expectRightFixes(triple);
    EXPECT_LT(settledError(triple), 0.03);
  }
}

}  // namespace
}  // namespace gnx::test
