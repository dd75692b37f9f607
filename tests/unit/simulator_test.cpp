// The simulated sky and receiver against formulas of other making: published cases, inertial geometry,
// observation combinations, and the files read back.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/json.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <sstream>

#include "formats/input_error.h"
#include "formats/rinex_nav.h"
#include "formats/rinex_obs.h"
#include "formats/sp3.h"
#include "formats/ssr_text.h"
#include "report/reference_path.h"
#include "simulate/astronomy.h"
#include "simulate/simulation.h"
#include "simulate/tides.h"

namespace gnx {
namespace {

namespace fs = std::filesystem;

constexpr double kC = 299792458.0;
constexpr double kDegrees = 180.0 / std::numbers::pi;
const GpsTime kStart = toGpsTime({2026, 11, 21, 0, 0, 0.0});

double angleBetween(const Vector3& a, const Vector3& b) {
  return std::acos(dot(a, b) / length(a) / length(b)) * kDegrees;
}

SimulationOptions quickOptions() {
  SimulationOptions o;
  o.sky.start = kStart + 3.5 * 3600.0;
  o.sky.hours = 0.25;
  o.sky.seed = 7;
  o.observer.site = {3582104.7625, 532590.1800, 5232755.1407};
  return o;
}

/// No random errors in the observations; the receiver's biases stay.
SimulationOptions quietOptions() {
  SimulationOptions o = quickOptions();
  o.observer.codeSigma = o.observer.phaseSigma = o.observer.codeMultipath = o.observer.phaseMultipath = 0.0;
  return o;
}

class TemporaryFolder {
 public:
  TemporaryFolder()
      : m_path(
            fs::temp_directory_path() /
            ("gnx_simulator_" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()))) {
    fs::remove_all(m_path);
  }
  ~TemporaryFolder() { fs::remove_all(m_path); }
  fs::path operator/(const std::string& name) const { return m_path / name; }
  const fs::path& path() const { return m_path; }

 private:
  fs::path m_path;
};

std::string content(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// Reference: ERFA, mean equator and equinox of date.
TEST(SimulatedSky, SunAndMoonAgainstErfa) {
  std::ifstream in(std::string(GNX_TEST_DATA) + "/sun_moon_cases.json");
  ASSERT_TRUE(in);
  Json::Value root;
  in >> root;
  for (const Json::Value& c : root["cases"]) {
    const auto vector = [&c](const char* name) {
      return Vector3{c[name][0].asDouble(), c[name][1].asDouble(), c[name][2].asDouble()};
    };
    const Vector3 sun = sunOfDate(c["T"].asDouble()), moon = moonOfDate(c["T"].asDouble());
    EXPECT_LT(angleBetween(sun, vector("sun_reference_mean_equator_of_date_m")), 0.02) << c["mjd"];
    EXPECT_LT(angleBetween(moon, vector("moon_reference_mean_equator_of_date_m")), 0.15) << c["mjd"];
    EXPECT_NEAR(length(moon), length(vector("moon_reference_mean_equator_of_date_m")), 1e6);
  }
}

// Meeus, Astronomical Algorithms (1998), example 12.b: 1987 April 10, 19:21:00 UT1, 8 h 34 m 57.0896 s.
TEST(SimulatedSky, SiderealAngle) {
  const GpsTime t = toGpsTime({1987, 4, 10, 19, 21, 0.0}) + 18.0;  // the series' constant UTC offset
  const double expected = (8.0 + 34.0 / 60.0 + 57.0896 / 3600.0) / 24.0 * 360.0;
  EXPECT_NEAR(std::fmod(siderealAngle(t) * kDegrees + 360.0, 360.0), expected, 1e-5);
}

// Test cases A to C of the IERS routine for the whole solid tide; the difference is the frequency
// dependence beyond K1, which the simulated Earth does not have.
TEST(SimulatedSky, SolidTideAgainstIersCases) {
  struct Case {
    Calendar date;
    Vector3 site, sun, moon, expected;
  };
  const Case cases[] = {{{2009, 4, 13, 0, 0, 0.0},
                         {4075578.385, 931852.890, 4801570.154},
                         {137859926952.015, 54228127881.4350, 23509422341.6960},
                         {-179996231.920342, -312468450.131567, -169288918.592160},
                         {0.0770042035710813, 0.0630405632182497, 0.0551656815259725}},
                        {{2012, 7, 13, 0, 0, 0.0},
                         {1112189.660, -4842955.026, 3985352.284},
                         {-54537460436.2357, 130244288385.279, 56463429031.5996},
                         {300396716.912, 243238281.451, 120548075.939},
                         {-0.0203683147959208, 0.0565825477622597, -0.0759767967687174}},
                        {{2015, 7, 15, 0, 0, 0.0},
                         {1112200.5696, -4842957.8511, 3985345.9122},
                         {100210282451.6279, 103055630398.3160, 56855096480.4475},
                         {369817604.4348, 1897917.5258, 120804980.8284},
                         {0.0050957086917236, 0.0828663025983529, -0.0636634925404189}}};
  for (const Case& c : cases) {
    const Vector3 d = solidTide(c.site, c.sun, c.moon, siderealAngle(toGpsTime(c.date) + 18.0));
    EXPECT_LT(length(minus(d, c.expected)), 0.003) << c.date.year;
  }
}

// The evaluation of messages against precise orbits: real messages of one day, satellite by satellite.
TEST(SimulatedSky, RealMessagesAgreeWithPreciseOrbits) {
  const std::string folder = std::string(GNX_DATA_DIR) + "/esbc_2020177/";
  if (!fs::exists(folder)) GTEST_SKIP() << "no real data";
  const NavData nav =
      readRinexNav(std::vector<std::string>{folder + "ESBC00DNK_R_20201770000_01D_MN.rnx.gz"});
  const Sp3Product precise = readSp3({folder + "COD0MGXFIN_20201770000_01D_05M_ORB.SP3.gz"});
  std::map<char, std::vector<double>> distances;
  for (const BroadcastEph& e : nav.keplerian) {
    const bool geostationary = e.sat[0] == 'C' && e.sqrtA > 6400.0;
    if (!precise.orbits.contains(e.sat) || geostationary || e.health != 0) continue;
    for (const OrbitPoint& point : precise.orbits.at(e.sat)) {
      if (std::abs(point.time - e.toe) > 1800.0) continue;
      distances[e.sat[0]].push_back(length(minus(evaluateOrbit(e, point.time).position, point.position)));
    }
  }
  for (auto& [system, values] : distances) {
    std::sort(values.begin(), values.end());
    // Antenna against centre of mass (about 1 m; BeiDou 1 to 3 m) and the messages' own errors.
    EXPECT_LT(values[values.size() / 2], 4.0) << system;
  }
  EXPECT_GE(distances.size(), 3u);
}

TEST(SimulatedSky, VelocityIsTheDerivativeOfPosition) {
  SkyOptions options;
  options.systems = "GECJ";
  options.start = kStart;
  const Constellation sky(options);
  EXPECT_EQ(sky.satellites().size(), 30u + 24u + 27u + 4u);
  for (std::size_t i = 0; i < sky.satellites().size(); ++i) {
    const GpsTime t = kStart + 4321.0;
    const Vector3 numeric =
        scaled(minus(sky.state(i, t + 0.25).position, sky.state(i, t + -0.25).position), 2.0);
    EXPECT_LT(length(minus(numeric, sky.state(i, t).velocity)), 1e-5) << sky.satellites()[i].name;
  }
}

// The attitude of the simulation is nominal, which holds only far from noon and midnight turns.
TEST(SimulatedSky, TheSunIsFarFromEveryOrbitalPlane) {
  SkyOptions options;
  options.systems = "GECJ";
  for (const int month : {3, 6, 11}) {
    options.start = toGpsTime({2026, month, 21, 0, 0, 0.0});
    const Constellation sky(options);
    const Vector3 sun = unit(sunEarthFixed(options.start));
    for (std::size_t i = 0; i < sky.satellites().size(); ++i) {
      SatelliteState s = sky.state(i, options.start);
      s.velocity = plus(s.velocity, cross({0.0, 0.0, kEarthRotation}, s.position));
      const double beta = std::asin(dot(unit(cross(s.position, s.velocity)), sun)) * kDegrees;
      EXPECT_GT(std::abs(beta), 5.0) << sky.satellites()[i].name << " month " << month;
    }
  }
}

TEST(SimulatedSky, MessagesComeInTimeAndCarryMetreErrors) {
  SkyOptions options;
  options.systems = "GECJ";
  options.start = toGpsTime({2026, 11, 21, 20, 59, 30.0});  // over the end of the week
  options.hours = 8.0;
  const Constellation sky(options);
  double largest = 0.0, sum = 0.0, clockSum = 0.0;
  int count = 0;
  for (std::size_t i = 0; i < sky.satellites().size(); ++i) {
    for (double s = 0.0; s <= options.hours * 3600.0; s += 600.0) {
      const GpsTime t = options.start + s;
      const BroadcastEph& m = sky.message(i, t);
      EXPECT_GE(t - m.transmission, 120.0) << m.sat;
      EXPECT_LT(std::abs(t - m.toe), 7400.0) << m.sat;
      EXPECT_EQ(static_cast<long>(secondsOfWeek(m.toc, nullptr) - (m.sat[0] == 'C' ? 14.0 : 0.0)) % 300, 0);
      const double error = length(minus(evaluateOrbit(m, t).position, sky.state(i, t).position));
      largest = std::max(largest, error);
      sum += error * error;
      const double clockError = evaluateClock(m, t) - sky.clock(i, t);
      clockSum += clockError * clockError;
      ++count;
    }
  }
  EXPECT_LT(largest, 10.0);
  EXPECT_GT(std::sqrt(sum / count), 0.5);
  EXPECT_LT(std::sqrt(sum / count), 3.0);
  EXPECT_GT(std::sqrt(clockSum / count), 0.3e-9);
  EXPECT_LT(std::sqrt(clockSum / count), 3e-9);
}

// What a user of the files gets: broadcast of the navigation file plus corrections of the text file.
TEST(SimulatedFiles, BroadcastPlusCorrectionsGiveTheTruth) {
  SimulationOptions o = quickOptions();
  o.sky.systems = "GECJ";
  o.sky.hours = 1.0;
  o.sky.start = toGpsTime({2026, 11, 21, 23, 30, 0.0});  // over the end of the week
  o.clockInterval = 10;
  const TemporaryFolder folder;
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
  while (reader.next(block)) {
    for (const SsrOrbit& c : block.orbits) {
      const BroadcastEph* e = messageOf(c.sat, c.iod, block.time);
      ASSERT_TRUE(e) << c.sat << ' ' << c.iod;
      EXPECT_GE(block.time - e->transmission, 0.0) << "corrections for a message not yet sent";
      for (const double age : {0.0, 20.0}) {
        const SatelliteState s = evaluateOrbit(*e, block.time + age);
        const Vector3 along = unit(s.velocity), across = unit(cross(s.position, s.velocity));
        const Vector3 d = plus(c.delta, scaled(c.rate, age));
        const Vector3 corrected =
            minus(s.position,
                  plus(plus(scaled(cross(along, across), d[0]), scaled(along, d[1])), scaled(across, d[2])));
        EXPECT_LT(length(minus(corrected, sky.state(rows.at(c.sat), block.time + age).position)), 3e-4)
            << c.sat;
      }
      ++orbits;
    }
    for (const SsrClock& c : block.clocks) {
      const BroadcastEph* e = messageOf(c.sat, c.iod, block.time);
      ASSERT_TRUE(e) << c.sat << ' ' << c.iod;
      const double corrected = evaluateClock(*e, block.time) * kC + c.c[0];
      EXPECT_NEAR(corrected, sky.clock(rows.at(c.sat), block.time) * kC, 6e-5) << c.sat;
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
}

TEST(SimulatedFiles, ObservationsReadBackToTheDigitsOfTheFormat) {
  const SimulationOptions o = quickOptions();
  const TemporaryFolder folder;
  const SimulationFiles files = simulate(o, folder.path());
  const Constellation sky(o.sky);
  Observer observer(o.observer, sky, o.faults);
  RinexObsReader reader(files.observations.string());
  EXPECT_EQ(reader.header().types.at('G').size(), 12u);
  EXPECT_EQ(reader.header().marker, "SIMU");
  EXPECT_DOUBLE_EQ(reader.header().interval, 30.0);
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
      for (const SignalObs& signal : read.sats[i].signals) {
        const auto same = std::find_if(made.sats[i].signals.begin(), made.sats[i].signals.end(),
                                       [&](const SignalObs& s) { return s.code == signal.code; });
        ASSERT_NE(same, made.sats[i].signals.end());
        EXPECT_NEAR(signal.range, same->range, 5.1e-4);
        EXPECT_NEAR(signal.phase, same->phase, 5.1e-4);
        EXPECT_NEAR(signal.doppler, same->doppler, 5.1e-4);
        EXPECT_EQ(signal.snr, same->snr);
        EXPECT_EQ(signal.lli, same->lli);
      }
    }
  }
  EXPECT_EQ(epochs, 30);
  const ReferencePath path = readReferencePath(files.truth);
  EXPECT_NEAR((*path(o.sky.start + 60.0))[0], o.observer.site[0], 1e-4);
}

TEST(SimulatedFiles, TheSameSeedGivesTheSameBytes) {
  SimulationOptions o = quickOptions();
  const TemporaryFolder folder;
  const SimulationFiles a = simulate(o, folder / "a"), b = simulate(o, folder / "b");
  for (const auto member :
       {&SimulationFiles::observations, &SimulationFiles::navigation, &SimulationFiles::corrections,
        &SimulationFiles::truth, &SimulationFiles::satelliteTruth, &SimulationFiles::biasTruth})
    EXPECT_EQ(content(a.*member), content(b.*member)) << (a.*member).string();
  o.sky.seed = 8;
  EXPECT_NE(content(a.observations), content(simulate(o, folder / "c").observations));
  // Another error budget leaves orbits, clocks and biases alone.
  o = quickOptions();
  o.observer.codeSigma = 0.0;
  const SimulationFiles d = simulate(o, folder / "d");
  EXPECT_EQ(content(a.corrections), content(d.corrections));
  EXPECT_EQ(content(a.satelliteTruth), content(d.satelliteTruth));
}

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

class NoiseFree : public testing::Test {
 protected:
  NoiseFree() : options(quietOptions()), sky(options.sky), observer(options.observer, sky, options.faults) {}

  std::size_t row(const SatName& sat) const {
    std::size_t i = 0;
    while (sky.satellites()[i].name != sat) ++i;
    return i;
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
};

// A wrong sign of a bias, of the ionosphere or of the wind-up leaves no whole numbers.
TEST_F(NoiseFree, MelbourneWuebbenaGivesTheWideLaneIntegers) {
  ObsEpoch epoch;
  EpochTruth truth;
  observer.observe(options.sky.start, epoch, truth);
  ASSERT_GT(epoch.sats.size(), 20u);
  for (std::size_t k = 0; k < epoch.sats.size(); ++k) {
    const SatObs& sat = epoch.sats[k];
    const SignalObs &a = sat.signals[0], &b = sat.signals[1];
    const double fa = frequency(sat, a), fb = frequency(sat, b);
    const double combination = (fa * cleanPhase(sat, a) - fb * cleanPhase(sat, b)) / (fa - fb) -
                               (fa * cleanRange(sat, a) + fb * cleanRange(sat, b)) / (fa + fb);
    const double cycles = combination * (fa - fb) / kC;
    const auto& n = truth.satellites[k].ambiguity;
    EXPECT_NEAR(cycles, n.at(a.code.data()) - n.at(b.code.data()), 1e-5) << sat.sat;
  }
}

// Ionosphere-free phases and ranges against a model from the truth's own quantities but other geometry.
TEST_F(NoiseFree, DoubleDifferencesAreGeometryAndIntegers) {
  ObsEpoch epoch;
  EpochTruth truth;
  observer.observe(options.sky.start, epoch, truth);
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

TEST_F(NoiseFree, SagnacTermHasItsClosedForm) {
  ObsEpoch epoch;
  EpochTruth truth;
  observer.observe(options.sky.start, epoch, truth);
  const GpsTime reception = options.sky.start + -truth.clock;
  const Vector3 antenna = plus(truth.marker, truth.tide);
  for (const SatelliteTruth& s : truth.satellites) {
    const Vector3 r = sky.state(row(s.sat), reception + -s.range / kC).position;
    // IS-GPS-200, 20.3.3.4.3.4, first order: omega/c (x_s y_r - y_s x_r).
    const double sagnac = kEarthRotation / kC * (r[0] * antenna[1] - r[1] * antenna[0]);
    EXPECT_NEAR(s.range, length(minus(r, antenna)) + sagnac, 1e-4) << s.sat;
    EXPECT_LT(std::abs(s.shapiro), 0.025);
    EXPECT_GT(s.shapiro, 0.01);
  }
}

TEST_F(NoiseFree, DopplerIsTheRateOfThePhase) {
  ObsEpoch first, second, third;
  EpochTruth truth;
  options.observer.clock.walk = 0.0;
  Observer steady(options.observer, sky, options.faults);
  steady.observe(options.sky.start, first, truth);
  steady.observe(options.sky.start + 1.0, second, truth);
  steady.observe(options.sky.start + 2.0, third, truth);
  ASSERT_EQ(first.sats.size(), third.sats.size());
  for (std::size_t k = 0; k < first.sats.size(); ++k) {
    const double rate = 0.5 * (third.sats[k].signals[0].phase - first.sats[k].signals[0].phase);
    EXPECT_NEAR(second.sats[k].signals[0].doppler, -rate, 0.2) << first.sats[k].sat;
  }
}

// The antenna's own turn: a receiver that is carried around keeps north as its axis, so over a sidereal
// day the wind-up of a satellite changes smoothly, by less than a tenth of a cycle in a minute.
TEST(SimulatedReceiver, WindupIsContinuousAndHalfACycleForReversedAxes) {
  SimulationOptions o = quietOptions();
  o.sky.hours = 3.0;
  const Constellation sky(o.sky);
  Observer plain(o.observer, sky, o.faults);
  for (const SimulatedSatellite& s : sky.satellites()) o.observer.reversedAxes.insert(s.name);
  Observer reversed(o.observer, sky, o.faults);
  ObsEpoch epoch;
  EpochTruth a, b;
  std::map<SatName, double> last;
  for (int k = 0; k < 180; ++k) {
    plain.observe(o.sky.start + 60.0 * k, epoch, a);
    reversed.observe(o.sky.start + 60.0 * k, epoch, b);
    for (std::size_t i = 0; i < a.satellites.size(); ++i) {
      const SatelliteTruth& s = a.satellites[i];
      if (last.contains(s.sat)) {
        EXPECT_LT(std::abs(s.windupCycles - last[s.sat]), 0.1) << s.sat;
      }
      last[s.sat] = s.windupCycles;
      EXPECT_NEAR(std::abs(std::remainder(s.windupCycles - b.satellites[i].windupCycles, 1.0)), 0.5, 1e-9);
    }
  }
}

TEST(SimulatedReceiver, ClockJumpsMoveRangesAndPhasesTogether) {
  SimulationOptions o = quietOptions();
  o.sky.hours = 2.0;
  o.observer.clock.kind = "jumping";
  const Constellation sky(o.sky);
  Observer observer(o.observer, sky, o.faults);
  ObsEpoch epoch;
  EpochTruth truth;
  std::optional<double> last;
  int jumps = 0;
  for (int k = 0; k < 240; ++k) {
    observer.observe(o.sky.start + 30.0 * k, epoch, truth);
    EXPECT_LE(std::abs(truth.clock), 5.01e-4);
    if (last && std::abs(truth.clock - *last) > 5e-4) {
      ++jumps;
      EXPECT_NEAR(truth.clock - *last, -1e-3 + 30.0 * o.observer.clock.jumpingDrift, 1e-7);
    }
    last = truth.clock;
    const SatObs& sat = epoch.sats.front();
    const double split =
        sat.signals[0].range - sat.signals[0].phase * kC / carrierFrequency(sat.sat[0], "1C");
    EXPECT_NEAR(split, -truth.satellites.front().ambiguity.at("1C") * kC / 1575.42e6, 150.0)
        << "ionosphere and biases";
  }
  EXPECT_EQ(jumps, 2);
}

TEST(SimulatedReceiver, MovesAtItsSpeedAndKeepsToItsPath) {
  const Vector3 site{3582104.7625, 532590.1800, 5232755.1407};
  for (const char* kind : {"circle", "figure8"}) {
    PathOptions p;
    p.kind = kind;
    p.radius = 100.0;
    p.speed = 15.0;
    const ReceiverPath path(p, site, kStart);
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

TEST(SimulatedAtmosphere, IonosphereIsThatOfTheLayer) {
  const Ionosphere layer({});
  const Geodetic site{0.8, 0.2, 0.0};
  EXPECT_NEAR(layer.slantContent(site, 1.0, std::numbers::pi / 2.0, kStart),
              layer.verticalContent(0.8, 0.2, kStart), 1e-6);
  const double low = layer.slantContent(site, 0.0, 10.0 / kDegrees, kStart);
  EXPECT_GT(low, 1.8 * layer.verticalContent(0.8, 0.2, kStart));
  EXPECT_LT(low, 3.5 * layer.verticalContent(0.8, 0.2, kStart));
  EXPECT_NEAR(Ionosphere::delayPerTecu(1575.42e6), 0.1624, 1e-4);
}

TEST(SimulatedFaults, SlipsGapsAndOutliersStrikeWhereTheyShould) {
  SimulationOptions o = quietOptions();
  const Constellation sky(o.sky);
  ObsEpoch epoch;
  EpochTruth truth;
  Observer(o.observer, sky, o.faults).observe(o.sky.start, epoch, truth);
  std::sort(truth.satellites.begin(), truth.satellites.end(),
            [](const SatelliteTruth& a, const SatelliteTruth& b) { return a.elevation > b.elevation; });
  const SatName victim = truth.satellites[0].sat, absent = truth.satellites[1].sat;
  const std::string signal = sky.options().signals.at(victim[0])[0];
  const FaultList faults({{Fault::Kind::slip, victim, signal, 300.0, 300.0, 7.0},
                          {Fault::Kind::gap, absent, "", 300.0, 360.0, 0.0},
                          {Fault::Kind::code, victim, "", 330.0, 330.0, 25.0}});
  Observer clean(o.observer, sky, o.faults), faulty(o.observer, sky, faults);
  const auto find = [](const ObsEpoch& e, const SatName& sat) {
    return std::find_if(e.sats.begin(), e.sats.end(), [&](const SatObs& s) { return s.sat == sat; });
  };
  ObsEpoch good, bad;
  for (int k = 0; k < 15; ++k) {
    clean.observe(o.sky.start + 30.0 * k, good, truth);
    faulty.observe(o.sky.start + 30.0 * k, bad, truth);
    ASSERT_NE(find(bad, victim), bad.sats.end());
    const auto &a = find(good, victim)->signals, &b = find(bad, victim)->signals;
    EXPECT_NEAR(b[0].phase - a[0].phase, k >= 10 ? 7.0 : 0.0, 1e-6) << k;
    EXPECT_NEAR(b[0].range - a[0].range, k == 11 ? 25.0 : 0.0, 1e-6) << k;
    EXPECT_EQ(b[1].phase, a[1].phase);
    EXPECT_EQ(b[0].lli, k == 0 ? 1 : 0) << "a slip is silent";
    EXPECT_EQ(find(bad, absent) != bad.sats.end(), k < 10 || k > 12) << k;
  }
}

TEST(SimulatedFaults, CorrectionsStopAndComeBack) {
  SimulationOptions o = quickOptions();
  o.faults = FaultList({{Fault::Kind::ssrGap, "", "", 300.0, 390.0, 0.0}});
  std::set<double> times;
  forEachCorrection(o, Constellation(o.sky), [&](const SsrBlock& b) { times.insert(b.time - o.sky.start); });
  EXPECT_TRUE(times.contains(270.0));
  EXPECT_FALSE(times.contains(300.0));
  EXPECT_FALSE(times.contains(390.0));
  EXPECT_TRUE(times.contains(420.0));
}

TEST(SimulatedFaults, DamagedListsAreExplained) {
  const TemporaryFolder folder;
  fs::create_directories(folder.path());
  const auto complaint = [&](const char* text) -> std::string {
    std::ofstream(folder / "faults.json") << text;
    try {
      FaultList::read(folder / "faults.json");
      return "";
    } catch (const InputError& e) {
      return e.what();
    }
  };
  EXPECT_EQ(complaint(R"([{"kind": "gap", "from": 1, "to": 2}])"), "");
  EXPECT_THAT(complaint(R"([{"kind": "gap", "from": 1}, {"kind": "storm", "from": 1}])"),
              testing::HasSubstr("fault 2: \"kind\" is one of"));
  EXPECT_THAT(complaint(R"([{"kind": "slip"}])"), testing::HasSubstr("\"from\""));
  EXPECT_THAT(complaint(R"([{"kind": "slip", "from": 1, "size": "big"}])"), testing::HasSubstr("\"size\""));
  EXPECT_THAT(complaint(R"({"kind": "slip"})"), testing::HasSubstr("not a list"));
  EXPECT_NE(complaint("[{"), "");
}

TEST(SimulatedSky, NonsenseIsRefusedInWords) {
  const TemporaryFolder folder;
  const auto refused = [&](auto change) {
    SimulationOptions o = quickOptions();
    change(o);
    EXPECT_THROW(simulate(o, folder.path()), UsageError);
  };
  refused([](SimulationOptions& o) { o.sky.systems = "GX"; });
  refused([](SimulationOptions& o) { o.sky.systems = ""; });
  refused([](SimulationOptions& o) { o.sky.hours = 0.0; });
  refused([](SimulationOptions& o) { o.interval = 0.0; });
  refused([](SimulationOptions& o) { o.clockInterval = 20; });
  refused([](SimulationOptions& o) { o.observer.site = {}; });
  refused([](SimulationOptions& o) { o.observer.clock.kind = "cuckoo"; });
  EXPECT_THROW(parseSignalTable("G:1C"), UsageError);
  EXPECT_THROW(parseSignalTable("G:1C,9Z"), UsageError);
  EXPECT_EQ(parseSignalTable("E:1C,5Q").at('E').size(), 2u);
}

}  // namespace
}  // namespace gnx
