// Cycle slips that the receiver does not announce, on a static site an hour after the start.
//
// The slip detector compares each epoch with the one before: wide-lane (limit 1.5 cycles) and geometry-free
// (limit 0.15 m). It finds single cycles, and both phases of the satellite get new ambiguities in the same
// epoch. What stays below both limits would meet the residuals of the filter.

#include "support/faulty_run.h"

namespace gnx::test {
namespace {

constexpr double kAt = 3600.0, kLasting = kAt + 600.0;

struct SlipCase {
  char system;
  const char* signals[2];
  double first, second;      ///< cycles on the two frequencies
  double fixedLimit = 0.01;  ///< m, of the lasting change of the fixed solution
};

/// With the limits of a deployment as it is written.
RunSetup tight(bool resolution) {
  return {.resolution = resolution, .overrides = {{"threshold.turboedit", "2.0 1.5 0.15 1200.0"}}};
}

void expectRecovery(const SlipCase& c, bool resolution, const FaultyRun& clean) {
  const SatName sat = twoHourSky().highest(c.system, 0.0, 7200.0);
  SCOPED_TRACE(sat + " (" + std::to_string(c.first) + ", " + std::to_string(c.second) + ") cycles, " +
               (resolution ? "fixed" : "float"));
  const FaultyRun run(
      twoHourSky(), {.list = {slip(sat, c.signals[0], kAt, c.first), slip(sat, c.signals[1], kAt, c.second)}},
      tight(resolution));

  EXPECT_EQ(run.epochs.size(), clean.epochs.size());
  const int treated = run.count({"[DIA]", sat, "DIA batch detecting slip"}, kAt, kAt);
  const int added = run.newAmbiguities(sat, kAt, kAt + 60.0);
  EXPECT_EQ(run.slips(sat, kAt, kAt), 1);
  EXPECT_EQ(treated, 0) << "nothing is left to the residuals";
  EXPECT_EQ(added, 2) << "both frequencies of the pair, in the epoch of the slip";
  // nobody else suffers
  EXPECT_EQ(run.newAmbiguities("", kAt, kAt + 60.0), clean.newAmbiguities("", kAt, kAt + 60.0) + added);
  EXPECT_EQ(run.satellitesAt(kAt), clean.satellitesAt(kAt));
  EXPECT_LT(run.change(clean, kLasting), resolution ? c.fixedLimit : 0.01);
}

struct Slips : ::testing::TestWithParam<bool> {
  const RunSetup setup = tight(GetParam());
  const FaultyRun clean{twoHourSky(), {}, setup};
  const SatName sat = twoHourSky().highest('G', 0.0, 7200.0);
};

INSTANTIATE_TEST_SUITE_P(, Slips, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "Fixed" : "Float"; });

TEST_P(Slips, AreFoundAndDoNotMoveAStaticSite) {
  // (77, 60) leaves the geometry-free combination as it was, to 0.1 mm; the wide-lane tells.
  // (9, 7) leaves it to 3 mm, and 2 cycles of wide-lane are just above the limit.
  // Half a cycle is a tracking loop on the wrong side of a data bit. The ambiguity behind it is no integer:
  // a strong geometry accepts it as one all the same, at the price of a centimetre.
  const SlipCase cases[] = {
      {'G', {"1C", "2W"}, 1, 0},         {'G', {"1C", "2W"}, 0, 1},        {'G', {"1C", "2W"}, 9, 7},
      {'G', {"1C", "2W"}, 77, 60},       {'G', {"1C", "2W"}, 4, 0},        {'G', {"1C", "2W"}, 1e6, -3e5},
      {'E', {"1C", "5Q"}, 1, 0},         {'E', {"1C", "5Q"}, 0, 1},        {'E', {"1C", "5Q"}, 5, 1},
      {'C', {"2I", "6I"}, 1, 0},         {'C', {"2I", "6I"}, 0, 1},        {'C', {"2I", "6I"}, 5, 1},
      {'G', {"1C", "2W"}, 0.5, 0, 0.03}, {'G', {"1C", "2W"}, 0, 0.5, 0.03}};
  for (const SlipCase& c : cases) expectRecovery(c, GetParam(), clean);
}

// A cycle on both frequencies moves no wide-lane and the geometry-free combination by 5 cm.
TEST_P(Slips, OfACycleOnBothFrequenciesMeetTheResiduals) {
  const FaultyRun run(twoHourSky(), {.list = {slip(sat, "", kAt, 1.0)}}, setup);
  EXPECT_GE(run.newAmbiguities(sat, kAt, kAt + 60.0), 1);
  EXPECT_EQ(run.satellitesAt(kAt), clean.satellitesAt(kAt));
  EXPECT_LT(run.change(clean, kLasting), 0.01);
}

// Half a cycle on both frequencies moves the ionosphere-free phase by 5 cm and leaves residuals of 1 cm.
TEST_P(Slips, OfHalfACycleOnBothFrequenciesMeetTheResiduals) {
  const FaultyRun run(twoHourSky(), {.list = {slip(sat, "", kAt, 0.5)}}, setup);
  EXPECT_GE(run.newAmbiguities(sat, kAt, kAt + 60.0), 1);
  EXPECT_LT(run.change(clean, kAt), 0.1);
  EXPECT_LT(run.change(clean, kLasting), 0.03);
}

TEST_P(Slips, OfAllSatellitesAtOnceCostLittle) {
  Faults faults;
  double cycles = 10.0;
  for (const char system : {'G', 'E', 'C'})
    for (const SatName& any : twoHourSky().inSight(system, kAt, kAt)) {
      faults.list.push_back(slip(any, system == 'C' ? "2I" : "1C", kAt, cycles));
      cycles += 3.0;
    }
  const int satellites = static_cast<int>(faults.list.size());
  const FaultyRun run(twoHourSky(), faults, setup);
  EXPECT_EQ(run.satellitesAt(kAt), clean.satellitesAt(kAt));
  EXPECT_GE(run.newAmbiguities("", kAt, kAt), 2 * clean.satellitesAt(kAt));
  EXPECT_GE(run.slips("", kAt, kAt), clean.satellitesAt(kAt));
  EXPECT_LE(run.slips("", kAt, kAt), satellites);
  EXPECT_EQ(run.treated(), clean.treated());
  EXPECT_LT(run.change(clean, kLasting), 0.03) << "while the ambiguities settle";
  EXPECT_LT(run.change(clean, 6600.0), 0.01) << "lasting";
}

// Pairs that hold the frequency fail, the third passes: the votes name the one that slipped.
TEST(SlipsOfThreeFrequencies, RestartOneAmbiguity) {
  const RunSetup setup{.frequencies = "GPS:L1_L2_L5 GAL:E1_E5a_E5b BD3:B1_B3_B2a"};
  const FaultyRun clean(twoHourSky(), {}, setup);
  const SatName sat = twoHourSky().highest('G', 0.0, 7200.0);
  const std::pair<const char*, const char*> signals[] = {{"1C", "L1"}, {"2W", "L2"}, {"5Q", "L5"}};
  for (const auto& [signal, name] : signals) {
    const FaultyRun run(twoHourSky(), {.list = {slip(sat, signal, kAt, 8.0)}}, setup);
    EXPECT_EQ(run.slips(sat, kAt, kAt), 2) << signal;
    EXPECT_EQ(run.newAmbiguities(sat, kAt, kAt + 60.0), 1) << signal;
    EXPECT_EQ(run.count({sat, "add ambiguity!", std::string("freq = ") + name}, kAt, kAt), 1) << signal;
    EXPECT_LT(run.change(clean, kLasting), 0.01) << signal;
  }
}

}  // namespace
}  // namespace gnx::test
