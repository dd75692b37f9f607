// Interruptions of one satellite, one system and of everything.
//
// Up to 15 minutes an ambiguity keeps its place, and the slip detector decides across the gap whether it
// goes on; then it is given up. Beyond 20 minutes nothing is compared any more.

#include <string>

#include "support/faulty_run.h"

namespace gnx::test {
namespace {

constexpr double kAt = 3000.0;

struct Gap {
  double from, to;         ///< first epoch of it and first behind it
  std::string satellites;  ///< first letters of those that are gone, "" = all
  bool lost;               ///< the receiver had to lock anew: other whole numbers behind the gap
  bool silent = false;     ///< no epochs at all instead of poorer ones
};

Faults interruption(const Gap& g) {
  const auto change = [g](ObsEpoch& epoch, double t) {
    const auto concerned = [&](const SatObs& s) { return s.sat.starts_with(g.satellites); };
    if (t >= g.from && t < g.to) {
      if (g.silent) return false;
      std::erase_if(epoch.sats, concerned);
    }
    for (SatObs& sat : epoch.sats) {
      double cycles = 1000.0 + 17.0 * sat.sat[2];
      if (t < g.to || !g.lost || !concerned(sat)) continue;
      for (SignalObs& s : sat.signals) s.phase += cycles, cycles -= 313.0;
    }
    return true;
  };
  return {.observations = change};
}

void check(const Gap& g, const FaultyRun& clean, double limit) {
  const double minutes = (g.to - g.from) / 60.0;
  SCOPED_TRACE("gap of " + std::to_string(minutes) + " minutes of '" + g.satellites + "'" +
               (g.lost ? ", lock lost" : ", lock kept"));
  const FaultyRun run(twoHourSky(), interruption(g));
  EXPECT_EQ(run.epochs.size(), clean.epochs.size()) << "one line an epoch, whatever is in it";
  EXPECT_EQ(run.satellitesAt(g.to), clean.satellitesAt(g.to)) << "all are back at once";
  if (g.satellites.empty()) {
    ASSERT_EQ(run.satellitesAt(kAt), 0);
    EXPECT_EQ(run.at(kAt)->status, 0);
  } else {
    EXPECT_LT(run.satellitesAt(kAt), clean.satellitesAt(kAt));
  }
  const double to = g.to + 30.0;
  for (const char system : {'G', 'E', 'C'})
    for (const SatName& sat : twoHourSky().inSight(system, 0.0, 7200.0)) {
      if (!sat.starts_with(g.satellites)) continue;
      const int added = run.newAmbiguities(sat, kAt, to) - clean.newAmbiguities(sat, kAt, to);
      const int given = run.countPrinted({sat, "delete ambiguity!"}, kAt, to);
      const int slips = run.slips(sat, g.to, g.to);
      const int gaps = run.count({"[SLIP]", sat, "reset as new ambiguity since gap"}, g.to, g.to);
      EXPECT_EQ(gaps, minutes > 20.0 ? 2 : 0) << sat;
      if (minutes > 15.0) {
        EXPECT_EQ(added, 2) << sat;
        EXPECT_EQ(given, 2) << sat;
        continue;
      }
      // Without a memory of the ionosphere's rate 15 cm of change across the gap count as a slip.
      EXPECT_EQ(added, 2 * slips) << sat;
      if (g.lost || g.satellites.size() == 3) {
        EXPECT_EQ(slips, g.lost ? 1 : 0) << sat;
      }
    }
  EXPECT_LT(run.change(clean, g.to + 600.0), limit);
  EXPECT_LT(run.change(clean, 6600.0), 0.01) << "lasting";
}

void checkAll(const std::string& satellites, double limit) {
  const FaultyRun clean(twoHourSky(), {});
  for (const double minutes : {5.0, 14.0, 17.0, 30.0})
    for (const bool lost : {false, true}) check({kAt, kAt + 60.0 * minutes, satellites, lost}, clean, limit);
}

TEST(Gaps, OfOneSatellite) { checkAll(twoHourSky().highest('G', 0.0, 7200.0), 0.005); }

TEST(Gaps, OfOneSystem) { checkAll("E", 0.005); }

// Clocks, zenith delay and all ambiguities start anew, and the site stays as well known as it was before
// the gap, while the run without it learns on: the two differ by up to 2 cm in the first half hour.
TEST(Gaps, OfEverything) { checkAll("", 0.03); }

// Five missing seconds at one epoch a second: nothing is to begin anew where the receiver has kept lock.
TEST(Gaps, OfFiveSecondsAtOneEpochASecond) {
  const SimulatedSky fast({.fastFrom = 2400.0, .fastTo = 2520.0});
  const RunSetup setup{.interval = 1.0};
  const FaultyRun clean(fast, {}, setup);
  ASSERT_GT(clean.epochs.size(), 300U);
  const SatName one = fast.highest('G', 0.0, 7200.0);
  for (const std::string& satellites : {std::string(one), std::string("C"), std::string()})
    for (const bool lost : {false, true}) {
      SCOPED_TRACE("'" + satellites + "'" + (lost ? ", lock lost" : ", lock kept"));
      const FaultyRun run(fast, interruption({2450.0, 2455.0, satellites, lost, satellites.empty()}), setup);
      EXPECT_EQ(run.satellitesAt(2455.0), clean.satellitesAt(2455.0));
      const int added = run.newAmbiguities("", 2450.0, 2460.0) - clean.newAmbiguities("", 2450.0, 2460.0);
      const int concerned = satellites.empty() ? clean.satellitesAt(2455.0) : satellites == one ? 1 : 5;
      if (lost) EXPECT_GE(added, 2 * concerned);
      else EXPECT_EQ(added, 0);
      EXPECT_EQ(run.count({"since gap"}, 2450.0, 2460.0), clean.count({"since gap"}, 2450.0, 2460.0));
      // narrow-lanes are fixed again when the arcs have lasted ten minutes
      EXPECT_LT(run.change(clean, 2455.0 + 600.0), lost ? 0.05 : 0.01);
      EXPECT_LT(run.change(clean, 6600.0), 0.01) << "lasting";
    }
}

}  // namespace
}  // namespace gnx::test
