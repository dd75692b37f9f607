// What the simulated receiver measures: geometry in inertial axes, observation combinations, clocks, media
// and faults.

#include "gnx/error.h"
#include "simulate/skyline.h"
#include "simulation_setup.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

/// Receiver and satellites in axes that do not turn: no Earth rotation correction is needed there.
double inertialRange(const Constellation& sky, std::size_t i, const GpsTime& reception,
                     const Vector3& antenna) {
  double travel = 0.07;
  for (int round = 0; round < 8; ++round) {
    const Vector3 satellite = turnedAxes(sky.state(i, reception + -travel).position,
                                         kEarthRotation * travel);  // frozen at reception
    travel = length(minus(satellite, antenna)) / kC;
  }
  return travel * kC;
}

struct NoiseFree : testing::Test {
  NoiseFree() : options(quietOptions()), sky(options.sky), observer(options.observer, sky, options.faults) {
    observer.observe(options.sky.start, epoch, truth);
  }

  std::size_t row(const SatName& sat) const {
    const auto found = std::ranges::find(sky.satellites(), sat, &SimulatedSatellite::name);
    return static_cast<std::size_t>(found - sky.satellites().begin());
  }
  double frequency(const SatObs& sat, const SignalObs& s) const {
    return carrierFrequency(sat.sat[0], s.code.data());
  }
  double cleanRange(const SatObs& sat, const SignalObs& s) const {
    return s.range + sky.satellites()[row(sat.sat)].codeBias.at(s.code.data()) -
           observer.receiverCodeBias(sat.sat[0], s.code.data());
  }
  double cleanPhase(const SatObs& sat, const SignalObs& s) const {
    return s.phase * kC / frequency(sat, s) + sky.satellites()[row(sat.sat)].phaseBias.at(s.code.data()) -
           observer.receiverPhaseBias(sat.sat[0], s.code.data());
  }

  SimulationOptions options;
  Constellation sky;
  Observer observer;
  ObsEpoch epoch;
  EpochTruth truth;
};

// Ionosphere-free phases and ranges against a model from the truth's own quantities but other geometry.
TEST_F(NoiseFree, DoubleDifferencesAreGeometryAndIntegers) {
  const GpsTime reception = options.sky.start + -truth.clock;
  const Vector3 antenna = plus(truth.marker, truth.tide);
  std::map<char, double> rangeOf, phaseOf;
  for (std::size_t k = 0; k < epoch.sats.size(); ++k) {
    const SatObs& sat = epoch.sats[k];
    const std::size_t i = row(sat.sat);
    const SignalObs &a = sat.signals[0], &b = sat.signals[1];
    const double fa = frequency(sat, a), fb = frequency(sat, b);
    const double ka = fa * fa / (fa * fa - fb * fb), kb = ka - 1.0;
    const double range = inertialRange(sky, i, reception, antenna);
    const GpsTime emission = reception + -range / kC;
    const SatelliteState s = sky.state(i, emission);
    const double relativity = 2.0 * dot(s.position, s.velocity) / kC;
    const double sum = length(s.position) + length(antenna);
    const double shapiro = 2.0 * 3.986004418e14 / kC / kC * std::log((sum + range) / (sum - range));
    const double model =
        range + relativity + shapiro - kC * sky.clock(i, emission) + truth.satellites[k].troposphere;
    const auto& t = truth.satellites[k];
    const double whole = ka * (t.ambiguity.at(a.code.data()) + t.windupCycles) * kC / fa -
                         kb * (t.ambiguity.at(b.code.data()) + t.windupCycles) * kC / fb;
    const double rangeResidual = ka * cleanRange(sat, a) - kb * cleanRange(sat, b) - model;
    const double phaseResidual = ka * cleanPhase(sat, a) - kb * cleanPhase(sat, b) - model - whole;
    const char system = sat.sat[0];
    rangeOf.emplace(system, rangeResidual);
    phaseOf.emplace(system, phaseResidual);
    EXPECT_NEAR(rangeResidual, rangeOf[system], 2e-6) << sat.sat;
    EXPECT_NEAR(phaseResidual, phaseOf[system], 2e-6) << sat.sat;
  }
  EXPECT_NEAR(rangeOf['G'], truth.clock * kC, 2e-6);
  EXPECT_NEAR(rangeOf['E'] - rangeOf['G'], observer.interSystemBias('E'), 3e-6);
}

TEST_F(NoiseFree, DopplerIsTheRateOfThePhase) {
  ObsEpoch epochs[3];
  options.observer.clock.walk = 0.0;
  Observer steady(options.observer, sky, options.faults);
  for (int i = 0; i < 3; ++i) steady.observe(options.sky.start + i, epochs[i], truth);
  ASSERT_EQ(epochs[0].sats.size(), epochs[2].sats.size());
  for (std::size_t k = 0; k < epochs[0].sats.size(); ++k) {
    const auto signal = [&](int i) { return epochs[i].sats[k].signals[0]; };
    const double rate = 0.5 * (signal(2).phase - signal(0).phase);
    EXPECT_NEAR(signal(1).doppler, -rate, 0.2) << epochs[0].sats[k].sat;
  }
}

TEST(SimulatedReceiver, MovesAtItsSpeedAndKeepsToItsPath) {
  const Vector3 site{3582104.7625, 532590.1800, 5232755.1407};
  for (const char* kind : {"circle", "figure8"}) {
    const ReceiverPath path({.kind = kind, .radius = 100.0, .speed = 15.0}, site, kStart);
    double fastest = 0.0;
    for (double s = 0.0; s < 200.0; s += 0.5) {
      const GpsTime t = kStart + s;
      fastest = std::max(fastest, length(path.velocity(t)));
      EXPECT_LT(length(minus(path.position(t), site)), 201.0);
      const Vector3 step = minus(path.position(t + 0.01), path.position(t));
      EXPECT_NEAR(length(step) * 100.0, length(path.velocity(t)), 0.05);
    }
    EXPECT_NEAR(fastest, 15.0, 0.01) << kind;
  }
  EXPECT_THROW(ReceiverPath(PathOptions{"spiral", 1.0, 1.0, 0.0}, site, kStart), UsageError);
}

// VMF1 test case of the IERS Conventions software (zenith angle 73.3 degrees); the season is left out.
TEST(SimulatedAtmosphere, MappingAgainstPublishedCase) {
  TroposphereOptions o;
  o.hydrostaticCoefficient = 0.00127683;
  o.wetCoefficient = 0.00060955;
  const Troposphere t(o, {0.6708665767, 0.0, 824.17}, kStart, 1.0, 1);
  const double elevation = std::numbers::pi / 2.0 - 1.278564131;
  EXPECT_NEAR(t.hydrostaticMapping(elevation), 3.425088087972572, 5e-4);
  EXPECT_NEAR(t.wetMapping(elevation), 3.448299714692572, 1e-9);
  EXPECT_NEAR(t.hydrostaticMapping(std::numbers::pi / 2.0), 1.0, 1e-12);
  EXPECT_NEAR(t.zenith(kStart).hydrostatic, 2.09, 0.02) << "standard atmosphere at 824 m";
}

TEST_F(NoiseFree, SlipsGapsAndOutliersStrikeWhereTheyShould) {
  std::ranges::sort(truth.satellites, std::greater(), &SatelliteTruth::elevation);
  const SatName victim = truth.satellites[0].sat, absent = truth.satellites[1].sat;
  const std::string signal = sky.options().signals.at(victim[0])[0];
  const FaultList faults({{Fault::Kind::slip, victim, signal, 300.0, 300.0, 7.0},
                          {Fault::Kind::gap, absent, "", 300.0, 360.0, 0.0},
                          {Fault::Kind::code, victim, "", 330.0, 330.0, 25.0}});
  Observer clean(options.observer, sky, options.faults), faulty(options.observer, sky, faults);
  const auto find = [](const ObsEpoch& e, const SatName& sat) {
    return std::ranges::find(e.sats, sat, &SatObs::sat);
  };
  ObsEpoch good, bad;
  for (int k = 0; k < 15; ++k) {
    clean.observe(options.sky.start + 30.0 * k, good, truth);
    faulty.observe(options.sky.start + 30.0 * k, bad, truth);
    ASSERT_NE(find(bad, victim), bad.sats.end());
    const auto &a = find(good, victim)->signals, &b = find(bad, victim)->signals;
    EXPECT_NEAR(b[0].phase - a[0].phase, k >= 10 ? 7.0 : 0.0, 1e-6) << k;
    EXPECT_NEAR(b[0].range - a[0].range, k == 11 ? 25.0 : 0.0, 1e-6) << k;
    EXPECT_EQ(b[1].phase, a[1].phase);
    EXPECT_EQ(b[0].lli, k == 0 ? 1 : 0) << "a slip is silent";
    EXPECT_EQ(find(bad, absent) != bad.sats.end(), k < 10 || k > 12) << k;
  }
}

/// What a change of the options does to the observations of a quarter of an hour: by satellite and signal the
/// differences of range (m) and phase (m) at each epoch.
struct Effect {
  std::vector<double> range, phase;
  double frequency = 0.0;
};
std::map<std::pair<SatName, std::string>, Effect> effectOf(const SimulationOptions& before,
                                                           const SimulationOptions& after) {
  const Constellation sky(before.sky);
  Observer a(before.observer, sky, before.faults), b(after.observer, sky, after.faults);
  std::map<std::pair<SatName, std::string>, Effect> effects;
  ObsEpoch x, y;
  EpochTruth truth;
  for (int k = 0; k < 30; ++k) {
    a.observe(before.sky.start + 30.0 * k, x, truth);
    b.observe(before.sky.start + 30.0 * k, y, truth);
    for (std::size_t i = 0; i < x.sats.size(); ++i)
      for (std::size_t s = 0; s < x.sats[i].signals.size(); ++s) {
        const SignalObs &p = x.sats[i].signals[s], &q = y.sats[i].signals[s];
        Effect& e = effects[{x.sats[i].sat, p.code.data()}];
        e.frequency = carrierFrequency(x.sats[i].sat[0], p.code.data());
        e.range.push_back(q.range - p.range);
        e.phase.push_back((q.phase - p.phase) * kC / e.frequency);
      }
  }
  return effects;
}

TEST(SimulatedErrors, SlowErrorsHaveTheirAmplitudeAndTime) {
  SimulationOptions slow = quietOptions();
  slow.observer.codeMultipath = 2.0;
  slow.observer.phaseMultipath = 0.01;
  slow.observer.codeMultipathTime = 300.0;
  slow.observer.phaseMultipathTime = 30.0;
  slow.observer.maskDegrees = 60.0;  // near the zenith the factor of elevation is 1.0 to 1.1
  double code = 0.0, codeLag = 0.0, phase = 0.0, phaseLag = 0.0, n = 0.0;
  for (slow.sky.seed = 1; slow.sky.seed <= 12; ++slow.sky.seed) {
    SimulationOptions none = quietOptions();
    none.sky.seed = slow.sky.seed;
    none.observer.maskDegrees = slow.observer.maskDegrees;
    for (const auto& [signal, e] : effectOf(none, slow))
      for (std::size_t k = 1; k < e.range.size(); ++k, ++n) {
        code += e.range[k] * e.range[k], codeLag += e.range[k] * e.range[k - 1];
        phase += e.phase[k] * e.phase[k], phaseLag += e.phase[k] * e.phase[k - 1];
      }
  }
  ASSERT_GT(n, 3000.0);
  EXPECT_NEAR(std::sqrt(code / n), 2.1, 0.25);
  EXPECT_NEAR(std::sqrt(phase / n), 0.0105, 0.001);
  EXPECT_NEAR(codeLag / code, std::exp(-30.0 / 300.0), 0.05);
  EXPECT_NEAR(phaseLag / phase, std::exp(-1.0), 0.05);
}

// A plane wave obeys dC/dt = -v grad C and returns after its period.
TEST(SimulatedAtmosphere, StormTravelsAndIsDispersive) {
  const Geodetic site{0.83, 2.4, 0.0};
  const Ionosphere storm({.nightTec = 20.0,
                          .dayTec = 20.0,
                          .poleShare = 1.0,
                          .waveTec = 4.0,
                          .wavePeriod = 1200.0,
                          .waveSpeed = 120.0},
                         site, kStart, 3);
  const auto content = [&](double north, double east, double seconds) {
    return storm.verticalContent(site.latitude + north / 6821e3,
                                 site.longitude + east / 6821e3 / std::cos(site.latitude), kStart + seconds);
  };
  double highest = 0.0, lowest = 99.0;
  for (double t = 0.0; t < 1200.0; t += 20.0) {
    const double rate = content(0, 0, t + 1.0) - content(0, 0, t - 1.0);
    const double north = content(100, 0, t) - content(-100, 0, t);
    const double east = content(0, 100, t) - content(0, -100, t);
    EXPECT_NEAR(std::abs(rate) / 120.0, std::hypot(north, east) / 100.0, 1e-6);
    EXPECT_NEAR(content(0, 0, t), content(0, 0, t + 1200.0), 1e-9);
    highest = std::max(highest, content(0, 0, t)), lowest = std::min(lowest, content(0, 0, t));
  }
  EXPECT_NEAR(highest, 24.0, 0.05);
  EXPECT_NEAR(lowest, 16.0, 0.05);

  SimulationOptions calm = quietOptions(), stormy = calm;
  stormy.observer.ionosphere.waveTec = 4.0;
  const auto effects = effectOf(calm, stormy);
  double largest = 0.0;
  for (const auto& [signal, e] : effects)
    for (std::size_t k = 0; k < e.range.size(); ++k) {
      EXPECT_NEAR(e.range[k], -e.phase[k], 2e-6) << "ranges are late where phases are early";
      const Effect& first = effects.lower_bound({signal.first, ""})->second;
      EXPECT_NEAR(e.range[k] * e.frequency * e.frequency, first.range[k] * first.frequency * first.frequency,
                  1e14);
      largest = std::max(largest, std::abs(e.range[k]));
    }
  EXPECT_GT(largest, 0.6);  // 4 TECU are 0.65 m on 1575 MHz
}

// Rays followed step by step until they meet a wall or a vehicle.
TEST(SimulatedStreet, HidesWhatIsBehindItsWalls) {
  const std::vector<Skyline::Lot> leftLots = {{-900.0, 9.0, true}, {0.0, 25.0, true}, {20.0, 0.0}},
                                  rightLots = {{-900.0, 14.0}, {30.0, 3.0}};
  const Skyline street(leftLots, rightLots, {{100.0, 110.0, Skyline::right}});
  const auto heightOf = [](const std::vector<Skyline::Lot>& lots, double along) {
    double height = 0.0;
    for (const Skyline::Lot& lot : lots)
      if (along >= lot.from) height = lot.height;
    return height;
  };
  const auto meetsWall = [&](double azimuth, double elevation) {
    for (double r = 0.0; r < 300.0; r += 0.02) {
      const double across = r * std::sin(azimuth);
      if (std::abs(across) < 12.0) continue;
      return r * std::tan(elevation) < heightOf(across > 0.0 ? rightLots : leftLots, r * std::cos(azimuth));
    }
    return false;
  };
  int hidden = 0, reflected = 0;
  for (int azimuth = 3; azimuth < 360; azimuth += 5)
    for (int elevation = 6; elevation < 90; elevation += 4) {
      const double a = azimuth / kDegrees, e = elevation / kDegrees;
      const Sight sight = street.look(a, e, 0.0, 0.0);
      EXPECT_EQ(sight.direct, !meetsWall(a, e)) << azimuth << ' ' << elevation;
      hidden += sight.direct ? 0 : 1;
      reflected += !sight.direct && sight.detour > 0.0 ? 1 : 0;
      EXPECT_LE(sight.detour, azimuth < 180 ? 24.0 : 0.0) << "the left side alone reflects";
    }
  EXPECT_GT(hidden, 200);
  EXPECT_GT(reflected, 10);
  const auto beside = [&](double azimuth, double seconds) {
    return street.look(azimuth / kDegrees, 30.0 / kDegrees, 60.0, seconds).direct;
  };
  EXPECT_TRUE(beside(90.0, 99.0) && !beside(90.0, 105.0) && beside(270.0, 105.0) && beside(20.0, 105.0))
      << "a vehicle stands on the right for ten seconds";
}

TEST(SimulatedStreet, LocksAreLostInTheOpenAndSometimesInSilence) {
  SimulationOptions o = quietOptions();
  o.observer.urban = true;
  o.observer.path.kind = "circle";
  const Constellation sky(o.sky);
  Observer observer(o.observer, sky, o.faults);
  std::map<SatName, double> last;
  ObsEpoch epoch;
  EpochTruth truth;
  int told = 0, silent = 0, unfounded = 0;
  std::size_t fewest = 99, most = 0;
  for (int k = 0; k < 180; ++k) {
    observer.observe(o.sky.start + 5.0 * k, epoch, truth);
    fewest = std::min(fewest, epoch.sats.size()), most = std::max(most, epoch.sats.size());
    for (std::size_t i = 0; i < epoch.sats.size(); ++i) {
      const SignalObs& signal = epoch.sats[i].signals[0];
      const double whole = truth.satellites[i].ambiguity.at(signal.code.data());
      const auto [known, isNew] = last.try_emplace(epoch.sats[i].sat, whole);
      const bool changed = isNew || known->second != whole;
      told += changed && signal.lli == 1 ? 1 : 0;
      silent += changed && signal.lli == 0 ? 1 : 0;
      unfounded += !changed && signal.lli == 1 ? 1 : 0;
      known->second = whole;
    }
  }
  EXPECT_LT(fewest, most / 2);
  EXPECT_GT(told, 100);
  EXPECT_EQ(unfounded, 0);
  EXPECT_GT(silent, 2);
  EXPECT_LT(silent, told / 5);
}

TEST(SimulatedFaults, PhaseBiasesAreSentWrongOrNotAtAll) {
  SimulationOptions o = quickOptions();
  o.faults = FaultList({{Fault::Kind::ssrPhaseSign, "", "", 0.0, 100.0, 1.0},
                        {Fault::Kind::ssrPhaseRandom, "", "", 200.0, 400.0, 1.0},
                        {Fault::Kind::ssrPhaseGap, "", "", 500.0, 600.0},
                        {Fault::Kind::ssrOrbitGap, "G07", "", 700.0, 800.0}});
  const Constellation sky(o.sky);
  std::map<SsrKind, int> blocks;
  std::map<std::pair<SatName, std::string>, double> wrong;
  double largest = 0.0;
  forEachCorrection(o, sky, [&](const SsrBlock& block) {
    const double t = block.time - o.sky.start;
    ++blocks[block.kind];
    if (block.kind == SsrKind::orbit || block.kind == SsrKind::clock) {
      EXPECT_EQ(std::max(block.orbits.size(), block.clocks.size()),
                sky.satellites().size() - (t >= 700.0 && t <= 800.0 ? 1 : 0));
    }
    if (block.kind != SsrKind::phaseBias) return;
    EXPECT_FALSE(t >= 500.0 && t <= 600.0);
    for (const SsrSatBias& sent : block.biases)
      for (const SsrBias& bias : sent.biases) {
        const auto& satellite = *std::ranges::find(sky.satellites(), sent.sat, &SimulatedSatellite::name);
        const double truth = satellite.phaseBias.at(bias.signal);
        if (t < 200.0 || t > 400.0) {
          EXPECT_EQ(bias.value, t <= 100.0 ? -truth : truth);
          continue;
        }
        const double cycles = (bias.value - truth) * carrierFrequency(sent.sat[0], bias.signal) / kC;
        EXPECT_NEAR(wrong.try_emplace({sent.sat, bias.signal}, cycles).first->second, cycles, 1e-9);
        EXPECT_LE(std::abs(cycles), 0.5);
        largest = std::max(largest, std::abs(cycles));
      }
  });
  EXPECT_GT(largest, 0.45);
  EXPECT_EQ(blocks[SsrKind::codeBias] - blocks[SsrKind::phaseBias], 4);
}

TEST(SimulatedFaults, TrueBiasesLeaveTheCorrectionsBehind) {
  SimulationOptions o = quietOptions(), faulty = o;
  faulty.faults = FaultList({{Fault::Kind::biasDrift, "", "1C", 300.0, 600.0, 0.6},
                             {Fault::Kind::biasJump, "", "5Q", 450.0, 450.0, 0.5}});
  double squares = 0.0;
  const auto effects = effectOf(o, faulty);
  for (const auto& [signal, e] : effects) {
    if (e.phase.size() < 30 || (signal.second != "1C" && signal.second != "5Q")) continue;
    const double end = e.phase[25] * e.frequency / kC;  // cycles
    squares += end * end / (signal.second == "1C" ? 0.05 * 0.05 : 0.5 * 0.5);
    EXPECT_NEAR(e.phase[14], signal.second == "1C" ? 0.4 * e.phase[25] : 0.0, 1e-5);
    EXPECT_NEAR(e.phase[16], signal.second == "1C" ? 0.6 * e.phase[25] : e.phase[25], 1e-5);
    EXPECT_EQ(e.range[25], 0.0);
  }
  EXPECT_GT(squares, 10.0);
}

TEST(SimulatedFaults, DamagedListsAreExplained) {
  const TempDir folder;
  const auto complaint = [&](const char* text) {
    return inputError([&] { FaultList::read(folder.write("faults.json", text)); });
  };
  EXPECT_EQ(complaint(R"([{"kind": "gap", "from": 1, "to": 2}])"), "");
  EXPECT_THAT(complaint(R"([{"kind": "gap", "from": 1}, {"kind": "storm", "from": 1}])"),
              HasSubstr("fault 2: \"kind\" is one of"));
  EXPECT_THAT(complaint(R"([{"kind": "slip"}])"), HasSubstr("\"from\""));
  EXPECT_THAT(complaint(R"([{"kind": "slip", "from": 1, "size": "big"}])"), HasSubstr("\"size\""));
  EXPECT_THAT(complaint(R"({"kind": "slip"})"), HasSubstr("not a list"));
  EXPECT_NE(complaint("[{"), "");
}

}  // namespace
}  // namespace gnx::test
