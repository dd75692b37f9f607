// Single wrong observations and short series of them, on a static site an hour after the start.

#include <string>

#include "support/faulty_run.h"

namespace gnx::test {
namespace {

constexpr double kAt = 3600.0;

class Outliers : public ::testing::Test {
 protected:
  FaultyRun struck(const Fault& fault) const { return FaultyRun(twoHourSky(), {.list = {fault}}); }
  int addedSince(const FaultyRun& run, double to) const {
    return run.newAmbiguities("", kAt, to) - clean.newAmbiguities("", kAt, to);
  }
  int removed(const FaultyRun& run, double to) const {
    return run.countPrinted({"Remove observation for Station", "Satellite " + sat}, kAt, to);
  }

  const FaultyRun clean{twoHourSky(), {}};
  const SatName sat = twoHourSky().highest('G', 0.0, 7200.0);
};

// 50 m from the other satellites in the ionosphere-free combination is too much: it weighs the first
// frequency 2.5-fold, the second 1.5-fold. Two codes that differ by more than 50 m are none at all.
TEST_F(Outliers, LargeCodeErrorsCostTheSatelliteAndNothingElse) {
  for (const double length : {0.0, 300.0})
    for (const double metres : {60.0, 1000.0})
      for (const char* signal : {"1C", "2W", ""}) {
        SCOPED_TRACE(std::to_string(metres) + " m on '" + signal + "' for " + std::to_string(length) + " s");
        const FaultyRun run = struck({Fault::Kind::code, sat, signal, kAt, kAt + length, metres});
        EXPECT_EQ(run.satellitesAt(kAt), clean.satellitesAt(kAt) - 1);
        EXPECT_EQ(run.satellitesAt(kAt + length), clean.satellitesAt(kAt + length) - 1);
        EXPECT_EQ(run.satellitesAt(kAt + length + 30.0), clean.satellitesAt(kAt + length + 30.0));
        // One code alone: the satellite does not come in. Both alike: its residual stands out, and the
        // slip detector, which sees the codes before, takes the leap for one of the wide-lane.
        EXPECT_EQ(removed(run, kAt + length) > 0, std::string(signal).empty());
        EXPECT_EQ(addedSince(run, kAt + length + 60.0), std::string(signal).empty() ? 2 : 0);
        EXPECT_EQ(run.treated(), clean.treated());
        EXPECT_LT(run.change(clean, kAt + length + 600.0), 0.01);
      }
}

// What passes the screening meets the wide-lane test (10 m are 6 cycles or more) or, below it, the weight
// of a code against 30 phases.
TEST_F(Outliers, SmallCodeErrorsDoNotMoveTheSite) {
  for (const double length : {0.0, 300.0})
    for (const double metres : {3.0, 10.0}) {
      SCOPED_TRACE(std::to_string(metres) + " m for " + std::to_string(length) + " s");
      const FaultyRun run = struck({Fault::Kind::code, sat, "2W", kAt, kAt + length, metres});
      EXPECT_EQ(run.satellitesAt(kAt), clean.satellitesAt(kAt));
      EXPECT_LE(addedSince(run, kAt + length + 60.0), 4) << "one slip there, one back, two frequencies";
      EXPECT_LT(run.change(clean, kAt + length + 600.0), 0.01);
    }
}

// 30 m on the second frequency are 46 m in the combination and pass. They stand alone against what codes of
// this receiver are like: no phase is blamed for them.
TEST_F(Outliers, CodeErrorsJustBelowTheScreeningRestartNobody) {
  for (const double length : {0.0, 300.0}) {
    const FaultyRun run = struck({Fault::Kind::code, sat, "2W", kAt, kAt + length, 30.0});
    EXPECT_EQ(run.treated("", kAt, kAt + length), 0);
    EXPECT_LT(run.change(clean, kAt + length + 600.0), 0.03);
  }
}

// A phase that is wrong for one epoch is a slip there and, for the detector, another one back.
TEST_F(Outliers, PhaseErrorsDoNotMoveTheSite) {
  for (const double cycles : {0.5, 1.0, 10.0, 1000.0, 1.0e6})
    for (const char* signal : {"1C", "2W"}) {
      SCOPED_TRACE(std::to_string(cycles) + " cycles on " + signal);
      const FaultyRun run = struck({Fault::Kind::phase, sat, signal, kAt, kAt, cycles});
      const bool large = cycles > 5.0;
      EXPECT_EQ(run.slips(sat, kAt, kAt + 30.0), large ? 2 : 0);
      EXPECT_EQ(run.treated(sat, kAt, kAt), large ? 0 : 1);
      EXPECT_EQ(addedSince(run, kAt + 60.0), large ? 4 : 1);
      EXPECT_EQ(run.satellitesAt(kAt), clean.satellitesAt(kAt));
      EXPECT_LT(run.change(clean, kAt), 0.01) << "from the first moment on";
    }
}

}  // namespace
}  // namespace gnx::test
