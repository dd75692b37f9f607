// The simulated sky and its files against formulas of other making: published cases, and what a reader
// of the files gets.

#include <gmock/gmock.h>

#include <cmath>

#include "formats/rinex_obs.h"
#include "formats/ssr_text.h"
#include "geometry/astronomy.h"
#include "gnx/error.h"
#include "gnx/read.h"
#include "run/reference_path.h"
#include "simulate/attitude.h"
#include "simulate/tides.h"
#include "simulation_setup.h"
#include "support/reference_cases.h"
#include "text/json_file.h"

namespace gnx {
namespace {

// China Satellite Navigation Office, 2019: nominal yaw of beta = +-3 degrees, all along the orbit.
TEST(SimulatedSky, SecmSatellitesFreezeBeta) {
  const GpsTime start = toGpsTime({2018, 11, 21, 6, 0, 0.0});
  const Constellation sky({.systems = "C", .start = start, .hours = 1.0});
  const Attitude attitude(
      "BEIDOU-3M-SECM", [&](const GpsTime& t) { return sky.state(0, t); }, start, start + 3600.0);
  const Json::Value rows = gnx_test::referenceCases("yaw_cases.json")["galileo_bds"]["secm_csno"];
  ASSERT_GT(rows.size(), 5U);
  for (const Json::Value& row : rows) {
    const SunGeometry g{.beta = row[0].asDouble(), .mu = row[1].asDouble()};
    EXPECT_NEAR(nominalYaw(g), row[2].asDouble(), 1e-4);
    EXPECT_NEAR(std::remainder(nominalYaw(g) + attitude.turned(start, g) - row[3].asDouble(), 360.0), 0.0,
                1e-4);
  }
}

// Meeus, Astronomical Algorithms (1998), example 12.b: 1987 April 10, 19:21:00 UT1, 8 h 34 m 57.0896 s.
TEST(SimulatedSky, SiderealAngle) {
  const GpsTime t = toGpsTime({1987, 4, 10, 19, 21, 0.0}) + 18.0;  // the series' constant UTC offset
  const double expected = (8.0 + 34.0 / 60.0 + 57.0896 / 3600.0) / 24.0 * 360.0;
  EXPECT_NEAR(std::fmod(siderealAngle(t) * kDegrees + 360.0, 360.0), expected, 1e-5);
}

// Test case A of the IERS routine for the whole solid tide; the difference is the frequency dependence beyond
// K1, which the simulated Earth does not have.
TEST(SimulatedSky, SolidTideAgainstIersCase) {
  const Vector3 d = solidTide({4075578.385, 931852.890, 4801570.154},
                              {137859926952.015, 54228127881.4350, 23509422341.6960},
                              {-179996231.920342, -312468450.131567, -169288918.592160},
                              siderealAngle(toGpsTime({2009, 4, 13, 0, 0, 0.0}) + 18.0));
  EXPECT_LT(length(minus(d, {0.0770042035710813, 0.0630405632182497, 0.0551656815259725})), 0.003);
}

// What a user of the files gets: broadcast of the navigation file plus corrections of the text file, whose
// polynomials refer to the middle of their update interval.
TEST(SimulatedFiles, BroadcastPlusCorrectionsGiveTheTruth) {
  SimulationOptions o = quickOptions();
  o.sky.systems = "GECJ";
  o.sky.hours = 1.0;
  o.sky.start = toGpsTime({2026, 11, 21, 23, 30, 0.0});  // over the end of the week
  o.clockInterval = 10;
  const support::TemporaryDirectory folder;
  const SimulationFiles files = simulate(o, folder.path());
  const Constellation sky(o.sky);
  std::map<SatName, std::size_t> rows;
  for (std::size_t i = 0; i < sky.satellites().size(); ++i) rows[sky.satellites()[i].name] = i;
  const NavData nav = readRinexNav({files.navigation.string()});
  ASSERT_TRUE(nav.notes.empty()) << nav.notes[0];
  const auto messageOf = [&](const SatName& sat, int issue, const GpsTime& t) {
    const BroadcastEph* found = nullptr;
    for (const BroadcastEph& e : nav.keplerian)
      if (e.sat == sat && e.iode == issue && std::abs(e.toe - t) < 4.0 * 3600.0) found = &e;
    return found;
  };
  SsrTextReader reader(files.corrections.string());
  SsrBlock block;
  int orbits = 0, clocks = 0, biases = 0;
  double orbitError = 0.0, clockError = 0.0;  // of the messages, squared, m2
  while (reader.next(block)) {
    for (const SsrOrbit& c : block.orbits) {
      const BroadcastEph* e = messageOf(c.sat, c.iod, block.time);
      ASSERT_TRUE(e) << c.sat << ' ' << c.iod;
      EXPECT_GE(block.time - e->transmission, 0.0) << "corrections for a message not yet sent";
      for (const double age : {0.0, 20.0}) {
        const SatelliteState s = evaluateOrbit(*e, block.time + age);
        const Vector3 along = unit(s.velocity), across = unit(cross(s.position, s.velocity));
        const Vector3 d = plus(c.delta, scaled(c.rate, age - 0.5 * block.interval));
        const Vector3 corrected =
            minus(s.position,
                  plus(plus(scaled(cross(along, across), d[0]), scaled(along, d[1])), scaled(across, d[2])));
        EXPECT_LT(length(minus(corrected, sky.state(rows.at(c.sat), block.time + age).position)), 3e-4)
            << c.sat;
      }
      orbitError += dot(c.delta, c.delta);
      ++orbits;
    }
    for (const SsrClock& c : block.clocks) {
      const BroadcastEph* e = messageOf(c.sat, c.iod, block.time);
      ASSERT_TRUE(e) << c.sat << ' ' << c.iod;
      const double corrected = broadcastClock(*e, block.time) * kC + c.c[0] - 0.5 * block.interval * c.c[1];
      EXPECT_NEAR(corrected, sky.clock(rows.at(c.sat), block.time) * kC, 6e-5) << c.sat;
      clockError += c.c[0] * c.c[0];
      ++clocks;
    }
    for (const SsrSatBias& b : block.biases) {
      const SimulatedSatellite& s = sky.satellites()[rows.at(b.sat)];
      const auto& truth = block.kind == SsrKind::phaseBias ? s.phaseBias : s.codeBias;
      ASSERT_EQ(b.biases.size(), truth.size());
      for (const SsrBias& bias : b.biases) EXPECT_NEAR(bias.value, truth.at(bias.signal), 1e-9);
      ++biases;
    }
  }
  EXPECT_EQ(orbits, 121 * 85);
  EXPECT_EQ(clocks, 361 * 85);
  EXPECT_EQ(biases, 2 * 121 * 85);
  EXPECT_THAT(std::sqrt(orbitError / orbits), testing::AllOf(testing::Gt(0.5), testing::Lt(3.0)));
  EXPECT_THAT(std::sqrt(clockError / clocks),
              testing::AllOf(testing::Gt(0.3e-9 * kC), testing::Lt(3e-9 * kC)));
}

TEST(SimulatedFiles, ObservationsReadBackToTheDigitsOfTheFormat) {
  const SimulationOptions o = quickOptions();
  const support::TemporaryDirectory folder;
  const SimulationFiles files = simulate(o, folder.path());
  const Constellation sky(o.sky);
  Observer observer(o.observer, sky, o.faults);
  RinexObsReader reader(files.observations.string());
  ObsEpoch read, made;
  EpochTruth truth;
  int epochs = 0;
  while (reader.next(read)) {
    observer.observe(o.sky.start + 30.0 * epochs++, made, truth);
    ASSERT_EQ(read.time, made.time);
    ASSERT_EQ(read.sats.size(), made.sats.size());
    for (std::size_t i = 0; i < read.sats.size(); ++i) {
      ASSERT_EQ(read.sats[i].sat, made.sats[i].sat);
      ASSERT_EQ(read.sats[i].signals.size(), made.sats[i].signals.size());
      for (std::size_t k = 0; k < read.sats[i].signals.size(); ++k) {
        const SignalObs &signal = read.sats[i].signals[k], &same = made.sats[i].signals[k];
        for (const auto value : {&SignalObs::range, &SignalObs::phase, &SignalObs::doppler})
          EXPECT_NEAR(signal.*value, same.*value, 5.1e-4);
        EXPECT_TRUE(signal.code == same.code && signal.snr == same.snr && signal.lli == same.lli);
      }
    }
  }
  EXPECT_EQ(epochs, 30);
  const ReferencePath path = readReferencePath(files.truth);
  EXPECT_NEAR((*path(o.sky.start + 60.0))[0], o.observer.site[0], 1e-4);
}

TEST(SimulatedFiles, TheSameSeedGivesTheSameBytes) {
  SimulationOptions o = quickOptions();
  const support::TemporaryDirectory folder;
  const SimulationFiles a = simulate(o, folder.path() / "a"), b = simulate(o, folder.path() / "b");
  for (const auto member :
       {&SimulationFiles::observations, &SimulationFiles::navigation, &SimulationFiles::corrections,
        &SimulationFiles::truth, &SimulationFiles::satelliteTruth, &SimulationFiles::biasTruth})
    EXPECT_EQ(support::readFile(a.*member), support::readFile(b.*member)) << (a.*member).string();
  o.sky.seed = 8;
  EXPECT_NE(support::readFile(a.observations),
            support::readFile(simulate(o, folder.path() / "c").observations));
}

TEST(SimulatedSky, NonsenseIsRefusedInWords) {
  const support::TemporaryDirectory folder;
  const auto refused = [&](auto change) {
    SimulationOptions o = quickOptions();
    change(o);
    EXPECT_THROW(simulate(o, folder.path()), UsageError);
  };
  for (const char* systems : {"GX", ""}) refused([&](SimulationOptions& o) { o.sky.systems = systems; });
  refused([](SimulationOptions& o) { o.sky.hours = 0.0; });
  refused([](SimulationOptions& o) { o.interval = 0.0; });
  refused([](SimulationOptions& o) { o.clockInterval = 20; });
  refused([](SimulationOptions& o) { o.observer.site = {}; });
  refused([](SimulationOptions& o) { o.observer.clock.kind = "cuckoo"; });
  for (const char* table : {"G:1C", "G:1C,9Z"}) EXPECT_THROW(parseSignalTable(table), UsageError);
  EXPECT_EQ(parseSignalTable("E:1C,5Q").at('E').size(), 2u);
}

}  // namespace
}  // namespace gnx
