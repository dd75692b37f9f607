// The duties of a host, each against a number that does not come from the code.

#include "gnx/adapt.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace gnx::test {
namespace {

const GpsTime kSunday = fromWeek(2111, 0.0);

TEST(Adaptation, TurnsQzssOrbitsAsTheirDocumentDoes) {
  BroadcastEph eph;
  eph.sat = "J02";
  eph.toe = kSunday + 600000.0;
  eph.omega0 = 1.2;
  eph.omegaDot = -3e-9;
  constexpr double kEngine = 7.292115e-5, kDocument = 7.2921151467e-5;
  const auto node = [](const BroadcastEph& e, double rate, double tk) {
    return e.omega0 + (e.omegaDot - rate) * tk - rate * 600000.0;
  };
  BroadcastEph matched = eph;
  matchEarthRotation(matched);
  for (const double tk : {-3600.0, 0.0, 3600.0}) {
    const double wanted = node(eph, kDocument, tk);
    EXPECT_NEAR(node(matched, kEngine, tk), wanted, 1e-13);
    EXPECT_NEAR(std::fabs(node(eph, kEngine, tk) - wanted) * 42164e3, 37.0, 0.5) << "what it is worth, m";
  }
  eph.sat = "G02";
  matched = eph;
  matchEarthRotation(matched);
  EXPECT_EQ(matched.omegaDot, eph.omegaDot) << "GPS turns as its document says";
}

TEST(Adaptation, RefersAClockToTheGridWithoutMovingIt) {
  BroadcastEph eph;
  eph.sat = "G05";
  eph.toc = eph.toe = kSunday + (8.0 * 3600.0 - 16.0);
  eph.af = {1e-4, 2e-11, 3e-18};
  const auto clockAt = [](const BroadcastEph& e, double t) {
    const double dt = (kSunday + t) - e.toc;
    return e.af[0] + (e.af[1] + e.af[2] * dt) * dt;
  };
  BroadcastEph moved = eph;
  moveClockToGrid(moved);
  EXPECT_EQ(std::fmod(secondsOfDay(moved.toc), 300.0), 0.0);
  EXPECT_LT(moved.toc, eph.toc);
  for (const double t : {20000.0, 28784.0, 40000.0}) EXPECT_NEAR(clockAt(moved, t), clockAt(eph, t), 1e-18);

  eph.sat = "C06";  // its time of ephemeris is its issue of data
  moved = eph;
  moveClockToGrid(moved);
  EXPECT_EQ(moved.toc, eph.toc);
}

TEST(Adaptation, CarriesOrbitsAndClocksToOneTime) {
  const SsrOrbit orbit{"E11", 7, {1.0, -2.0, 0.5}, {0.01, 0.0, -0.02}};
  const SsrClock clock{"E11", 7, {0.1, 0.002, 1e-4}};
  const OrbitClockCorrection c = carriedTo(kSunday + 30.0, orbit, kSunday + 5.0, clock, kSunday + 20.0);
  EXPECT_EQ(c.iod, 7);
  EXPECT_NEAR(c.deph[0], 1.25, 1e-12);
  EXPECT_NEAR(c.deph[1], -2.0, 1e-12);
  EXPECT_NEAR(c.deph[2], 0.0, 1e-12);
  EXPECT_NEAR(c.dclk[0], 0.1 + 0.02 + 0.01, 1e-12);
  EXPECT_NEAR(c.dclk[1], 0.002 + 2e-3, 1e-12) << "the slope there";
  EXPECT_EQ(c.dclk[2], 1e-4);
}

// BDS-SIS-ICD: B3I has the clock of the message, B1I that minus TGD1. Their ionosphere-free combination is
// off by 1561.098^2/(1561.098^2 - 1268.52^2) = 2.94368 times TGD1.
TEST(Adaptation, MovesBeidouClocksToThePairOfProducts) {
  BroadcastEph eph;
  eph.sat = "C21";
  eph.toc = eph.toe = kSunday + kBdtOffset;
  eph.tgd[0] = 10e-9;
  EXPECT_NEAR(broadcastClock(eph, eph.toc), -2.94368 * 10e-9, 1e-13);
  EXPECT_NEAR(std::fabs(clockCorrection(0.0, eph, eph.toc)), 2.94368 * 10e-9 * 299792458.0, 1e-4) << "8.8 m";
  eph.sat = "E21";
  EXPECT_EQ(clockCorrection(0.0, eph, eph.toc), 0.0);
}

TEST(Adaptation, GivesReferenceSignalsABiasAndReversedSatellitesHalfACycle) {
  EXPECT_NE(boundaryCodeBias(0.0), 0.0F);
  EXPECT_LT(std::fabs(boundaryCodeBias(0.0)), 1e-8F);
  EXPECT_EQ(boundaryCodeBias(-1.5), -1.5F);

  const std::vector<SatelliteRecord>& rows = builtInSatellites();
  const std::set<SatName> reversed = reversedSatellites(rows, {2020, 6, 25, 12, 0, 0});
  for (const char* sat : {"G05", "G11", "G18"})
    EXPECT_TRUE(reversed.contains(sat)) << sat;  // IIR-M, IIR, III
  for (const char* sat : {"G01", "G10", "E11", "C21"}) EXPECT_FALSE(reversed.contains(sat)) << sat;
  EXPECT_EQ(windUpCycles(true) - windUpCycles(false), 0.5);
}

TEST(Adaptation, PhasesGetWhatTheirBiasesChange) {
  PhaseArcs arcs;
  const auto note = [&](double bias_m, int counter) {
    return arcs.note("G05", "1C", bias_m, counter, kSunday);
  };
  EXPECT_EQ(note(0.4, 3), 0.4);
  EXPECT_EQ(arcs.shift("G05", "1C"), 0.0) << "nothing was before";
  EXPECT_EQ(note(0.3, 3), 0.4) << "the bias of the arc's beginning";
  EXPECT_NEAR(arcs.shift("G05", "1C"), -0.1 * 1575.42e6 / 299792458.0, 1e-9);
  EXPECT_EQ(note(0.9, -1), 0.9) << "without a counter the bias counts as constant";
  EXPECT_NEAR(arcs.shift("G05", "1C"), -0.1 * 1575.42e6 / 299792458.0, 1e-9);
  EXPECT_EQ(note(7.4, 4), 7.4) << "behind a discontinuity there is another beginning";
  EXPECT_EQ(arcs.shift("G05", "1C"), 1000.0);
}

TEST(Adaptation, PhasesWithoutBiasAreAdriftWhereBiasesRun) {
  const auto follow = [](double rate_mps) {
    auto arcs = std::make_unique<PhaseArcs>();
    for (double t = 0.0; t <= 300.0; t += 30.0)
      for (const char* sat : {"E01", "E02", "E03", "E04"})
        if (sat[2] != '4' || t <= 150.0)
          for (const char* signal : {"1C", "5Q"})
            arcs->note(sat, signal, (sat[2] == '1' ? -rate_mps : rate_mps) * t, 0, kSunday + t);
    return arcs;
  };
  const auto running = follow(3e-4), calm = follow(1e-6);
  EXPECT_TRUE(running->biasesRun());
  EXPECT_FALSE(running->adrift("E01", "1C"));
  EXPECT_TRUE(running->adrift("E04", "1C")) << "has lost its bias";
  EXPECT_TRUE(running->adrift("E09", "1C")) << "never had one";
  EXPECT_FALSE(running->adrift("G09", "1C")) << "nobody gives GPS biases";
  EXPECT_FALSE(calm->biasesRun());
  EXPECT_FALSE(calm->adrift("E09", "1C"));
}

TEST(Adaptation, ArcsBeginAnewWithEachDiscontinuity) {
  PhaseArcs arcs;
  const auto note = [&](int counter) { arcs.note("G05", "1C", 0.4, counter, kSunday); };
  note(3);
  note(4);
  EXPECT_EQ(std::fabs(arcs.shift("G05", "1C")), 1000.0);
  EXPECT_EQ(arcs.shift("G05", "2W"), 0.0);
  note(-1);
  note(4);
  EXPECT_EQ(std::fabs(arcs.shift("G05", "1C")), 1000.0) << "neither unknown nor the same is news";
  note(0);
  EXPECT_EQ(arcs.shift("G05", "1C"), 0.0) << "back: a jump as well";
}

TEST(Adaptation, RecordsHaveTheSignsAndTheOrderOfTheBoundary) {
  GlonassEph glonass;
  glonass.tau = 1e-5;
  EXPECT_EQ(toBoundary(glonass).taun, -1e-5);
  BroadcastEph eph;
  eph.sat = "G05";
  eph.sqrtA = 5153.7;
  const BoundaryNumbers numbers;
  EXPECT_EQ(toBoundary(eph, numbers).A, 5153.7 * 5153.7);
  EXPECT_EQ(toBoundary(eph, numbers).sat, 5);
  EXPECT_EQ(numbers.satellite("X05"), 0);

  ObsHeader header;
  header.antenna = std::string(300, 'A');
  header.position = {1.0, 2.0, 3.0};
  header.antennaDelta = {0.216, 0.01, 0.02};  // height, east, north
  RunSettings run;
  run.receiver = "MINE";
  const GNX_IO::sta_t station = stationRecord(run, header);
  EXPECT_EQ(std::string(station.antdes).size(), sizeof station.antdes - 1);
  EXPECT_STREQ(station.rectype, "MINE");
  EXPECT_EQ(station.pos[0], 0.0) << "the header's only when the settings say so";
  EXPECT_EQ(station.del[0], 0.01);
  EXPECT_EQ(station.del[2], 0.216);
}

}  // namespace
}  // namespace gnx::test
