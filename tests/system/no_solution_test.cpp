// Codes alone are enough for a position, and an epoch without a solution has its reason in the status log:
// one line when such epochs begin, one when they end.

#include <gmock/gmock.h>

#include "support/faulty_run.h"

namespace gnx::test {
namespace {

using ::testing::HasSubstr;

bool firstQuarterHour(ObsEpoch&, double t) { return t < 900.0; }

TEST(CodesAlone, GiveAPositionWithinMetresInEveryCombination) {
  for (const char* combination : {"RAW", "IF", "SF"})
    for (const bool phases : {true, false}) {
      SCOPED_TRACE(std::string(combination) + (phases ? ", with phases" : ", without phases"));
      Faults faults;
      faults.observations = [phases](ObsEpoch& epoch, double t) {
        for (SatObs& sat : epoch.sats)
          for (SignalObs& s : sat.signals)
            if (!phases) s.phase = 0.0;
        return t < 900.0;
      };
      const FaultyRun run(twoHourSky(), faults,
                          {.mode = "kinematic",
                           .resolution = false,
                           .combination = combination,
                           .overrides = {{"common.obsused", "CODE"}}});
      ASSERT_EQ(run.epochs.size(), 30U);
      for (const SolutionEpoch& e : run.epochs) EXPECT_EQ(e.status, 1);
      EXPECT_GT(run.satellitesAt(870.0), 20);
      EXPECT_LT(run.error(twoHourSky().site, 300.0), 4.0);
      EXPECT_EQ(run.count({"state 00"}), 0);
    }
}

/// The lines about state 00, in order.
std::vector<std::string> reasons(const FaultyRun& run) {
  std::vector<std::string> lines;
  for (const std::string& line : run.log)
    if (line.find("(state ") != std::string::npos) lines.push_back(line);
  return lines;
}

FaultyRun spoiledFrom(double from, double to, const std::function<void(ObsEpoch&)>& spoil) {
  Faults faults;
  faults.observations = [=](ObsEpoch& epoch, double t) {
    if (t >= from && t < to) spoil(epoch);
    return t < 900.0;
  };
  return FaultyRun(twoHourSky(), faults, {.resolution = false});
}

TEST(NoSolution, TellsItsReasonOnceAndItsEndOnce) {
  std::set<SatName> few;
  for (const char system : {'G', 'E'})
    for (std::size_t i = 0; i < 4; ++i) few.insert(twoHourSky().inSight(system, 0.0, 900.0).at(i));
  const struct {
    const char* reason;
    std::function<void(ObsEpoch&)> spoil;
  } cases[] = {
      {"no observation that can be used", [](ObsEpoch& epoch) { epoch.sats.clear(); }},
      {"too few with residuals: G 4, E 4; one system needs 5",
       [&](ObsEpoch& epoch) {
         std::erase_if(epoch.sats, [&](const SatObs& s) { return !few.contains(s.sat); });
       }},
  };
  for (const auto& [reason, spoil] : cases) {
    const FaultyRun run = spoiledFrom(300.0, 600.0, spoil);
    ASSERT_EQ(run.at(300.0)->status, 0);
    ASSERT_EQ(run.at(600.0)->status, 2);
    const std::vector<std::string> lines = reasons(run);
    ASSERT_EQ(lines.size(), 2U) << reason;
    EXPECT_THAT(lines[0], HasSubstr(reason));
    EXPECT_EQ(run.timeOf(lines[0]), 300.0);
    EXPECT_THAT(lines[1], HasSubstr("solutions again (state 02)"));
    EXPECT_EQ(run.timeOf(lines[1]), 600.0);
  }
}

TEST(NoSolution, WithoutProductsAndWithoutAPosition) {
  Faults faults;
  faults.observations = firstQuarterHour;
  faults.productsFromElsewhere = true;  // and nobody feeds them
  const FaultyRun nothing(twoHourSky(), faults, {.resolution = false});
  std::vector<std::string> lines = reasons(nothing);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_THAT(lines[0], HasSubstr("no observation that can be used"));
  EXPECT_THAT(lines[0], HasSubstr("satellites refused (nobias)"));

  faults = {};
  faults.observations = firstQuarterHour;
  faults.corrections = [](CorrectionBatch& batch, double) {
    batch.orbitClock.clear();
    return true;
  };
  const FaultyRun biasesAlone(twoHourSky(), faults, {.resolution = false});
  lines = reasons(biasesAlone);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_THAT(lines[0], HasSubstr("none of them with orbit and clock (nocorrection)"));

  faults = {};
  faults.observations = [](ObsEpoch& epoch, double t) {
    if (t < 300.0) std::erase_if(epoch.sats, [n = 0](const SatObs&) mutable { return ++n > 3; });
    return t < 900.0;
  };
  const FaultyRun three(twoHourSky(), faults, {.mode = "kinematic", .resolution = false});
  lines = reasons(three);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_THAT(lines[0], HasSubstr("3 satellites observed, 3 with orbit and clock, no receiver position"));
  EXPECT_EQ(three.timeOf(lines[1]), 300.0);
}

}  // namespace
}  // namespace gnx::test
