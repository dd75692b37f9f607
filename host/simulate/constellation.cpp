// Flies the simulated satellites, broadcasts their messages and corrects what these miss.

#include "simulate/constellation.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>

#include "geometry/astronomy.h"
#include "gnx/error.h"
#include "gnx/time.h"
#include "simulate/satellite_body.h"

namespace gnx {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kRadians = kPi / 180.0;
constexpr double kWalkStep = 5.0;             // s between nodes of the clock walk
constexpr double kWalkMargin = 6.0 * 3600.0;  // messages reach beyond both ends of the span
constexpr double kUploadDelay = 120.0;        // s from transmission to use in corrections

/// Almanac of one group of satellites: planes of equal inclination, equally spaced nodes. The numbers are
/// those of satellites in service, since an engine's tables know no others.
struct Shell {
  char system;
  double semiMajorAxis, inclination;  // m, degrees
  double eccentricityLow, eccentricityHigh;
  double nodeRate;  // rad/s
  int planes, perPlane;
  double phaseStep;        // argument of latitude between neighbours of two planes, degrees
  double centreLongitude;  // of the ground track, degrees east; negative = not geosynchronous
  double perigee;          // degrees; negative = random
  std::vector<int> numbers;
};

std::vector<int> numberRange(int first, int last) {
  std::vector<int> numbers;
  for (int n = first; n <= last; ++n) numbers.push_back(n);
  return numbers;
}

std::vector<Shell> shellsOf(char system) {
  switch (system) {
    case 'G':
      return {{'G', 26559800.0, 55.0, 0.001, 0.012, -7.9e-9, 6, 5, 12.0, -1.0, -1.0, numberRange(1, 30)}};
    case 'E':
      return {
          {'E', 29599800.0, 56.0, 0.0001, 0.0006, -5.4e-9, 3, 8, 15.0, -1.0, -1.0, {1,  2,  3,  4,  5,  7,
                                                                                    8,  9,  11, 12, 13, 15,
                                                                                    18, 19, 21, 22, 24, 25,
                                                                                    26, 27, 30, 31, 33, 36}}};
    case 'C': {
      std::vector<int> numbers = numberRange(19, 30);
      for (int n = 32; n <= 37; ++n) numbers.push_back(n);
      for (int n = 41; n <= 46; ++n) numbers.push_back(n);
      return {{'C', 27906100.0, 55.0, 0.0002, 0.002, -6.8e-9, 3, 8, 15.0, -1.0, -1.0, numbers},
              {'C', 42162200.0, 55.0, 0.002, 0.004, -1.9e-9, 3, 1, 0.0, 118.0, -1.0, {38, 39, 40}}};
    }
    case 'J':
      return {{'J', 42164200.0, 41.0, 0.075, 0.0751, -1.7e-9, 4, 1, 0.0, 136.0, 270.0, {1, 2, 3, 4}}};
    default:
      throw UsageError(std::string("the simulated sky has no system '") + system +
                       "'; choose letters of G E C J");
  }
}

Vector3 planeNormal(double inclination, double node) {
  return {std::sin(inclination) * std::sin(node), -std::sin(inclination) * std::cos(node),
          std::cos(inclination)};
}

/// Node of the first plane for which the Sun stands at an angle above it, or as near to that as can be.
double nodeUnderSun(const Shell& shell, const GpsTime& t, double beta) {
  const Vector3 sun = unit(sunOfDate(centuriesSinceJ2000(t)));
  const auto miss = [&](double node) {
    return std::abs(dot(planeNormal(shell.inclination * kRadians, node), sun) - std::sin(beta * kRadians));
  };
  double best = 0.0;
  for (int k = 1; k < 36000; ++k)
    if (miss(k * 0.01 * kRadians) < miss(best)) best = k * 0.01 * kRadians;
  return best;
}

/// Node of the first plane (inertial, radians) for which the Sun stays farthest from all planes. The
/// satellites then make no noon or midnight turns, and the nominal attitude is the true one.
double quietNode(const Shell& shell, const GpsTime& t) {
  const Vector3 sun = unit(sunOfDate(centuriesSinceJ2000(t)));
  const double i = shell.inclination * kRadians;
  double best = 0.0, bestBeta = -1.0;
  for (int degree = 0; degree < 360 / shell.planes; ++degree) {
    double lowest = 1.0;
    for (int plane = 0; plane < shell.planes; ++plane) {
      const double node = (degree + 360.0 * plane / shell.planes) * kRadians;
      lowest = std::min(lowest, std::abs(dot(planeNormal(i, node), sun)));
    }
    if (lowest <= bestBeta) continue;
    bestBeta = lowest;
    best = degree * kRadians;
  }
  return best;
}

/// The value that a file with "%.12e" gives back.
double asWritten(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.12e", value);
  return std::strtod(text, nullptr);
}

double wrapped(double angle) { return std::remainder(angle, 2.0 * kPi); }

double messageInterval(char system) {
  switch (system) {
    case 'E':
      return 600.0;
    case 'C':
      return 3600.0;
    default:
      return 7200.0;
  }
}

double ownTimeOffset(char system) { return system == 'C' ? kBdtOffset : 0.0; }

int issueOfData(char system, const GpsTime& toe) {
  switch (system) {
    case 'E':
      return static_cast<int>((toe.seconds / 600) % 1024);
    case 'C': {
      const auto secondsOfDay = (toe.seconds - static_cast<std::int64_t>(kBdtOffset)) % 86400;
      return static_cast<int>((secondsOfDay + 900) / 1800) + 1;
    }
    default:
      return static_cast<int>((toe.seconds / 7200) % 256);
  }
}

}  // namespace

Constellation::Constellation(const SkyOptions& options) : m_options(options) {
  if (options.systems.empty()) throw UsageError("the simulated sky needs at least one system");
  if (!(options.hours > 0.0) || options.hours > 14.0 * 24.0)
    throw UsageError("the simulated span is above 0 and at most 336 hours");
  m_walkStart = options.start + -kWalkMargin;
  for (const char system : options.systems) addSystem(system);
}

void Constellation::addSystem(char system) {
  for (const Shell& shell : shellsOf(system)) {
    const double firstNode = m_options.sunAbovePlane
                                 ? nodeUnderSun(shell, m_options.start, *m_options.sunAbovePlane)
                                 : quietNode(shell, m_options.start);
    for (std::size_t k = 0; k < shell.numbers.size(); ++k) {
      SimulatedSatellite satellite;
      char name[8];
      std::snprintf(name, sizeof name, "%c%02d", system, shell.numbers[k]);
      satellite.name = name;
      Random random(m_options.seed, satellite.name + " orbit");
      const int plane = static_cast<int>(k) / shell.perPlane, slot = static_cast<int>(k) % shell.perPlane;

      BroadcastEph& e = satellite.truth;
      e.sat = satellite.name;
      e.toe = e.toc = m_options.start;
      e.sqrtA = std::sqrt(shell.semiMajorAxis + random.uniform(-500.0, 500.0));
      e.e = random.uniform(shell.eccentricityLow, shell.eccentricityHigh);
      e.i0 = (shell.inclination + random.uniform(-0.5, 0.5)) * kRadians;
      e.omega = shell.perigee < 0.0 ? random.uniform(-kPi, kPi) : wrapped(shell.perigee * kRadians);
      const double node = firstNode + 2.0 * kPi * plane / shell.planes;
      const double fixedNode = node - siderealAngle(m_options.start);
      double latitudeArgument = 2.0 * kPi * slot / shell.perPlane +
                                (shell.phaseStep * plane + random.uniform(-3.0, 3.0)) * kRadians;
      // Geosynchronous: the mean longitude, node plus argument of latitude, is that of the track's centre.
      if (shell.centreLongitude >= 0.0) latitudeArgument = shell.centreLongitude * kRadians - fixedNode;
      e.m0 = wrapped(latitudeArgument - e.omega);
      e.omega0 = wrapped(fixedNode + earthRotation(system) * ephemerisSeconds(e));
      e.omegaDot = shell.nodeRate;
      e.deltaN = random.uniform(3e-9, 5e-9) * (shell.centreLongitude >= 0.0 ? 0.1 : 1.0);
      e.idot = random.uniform(-3e-10, 3e-10);
      e.cuc = random.uniform(-5e-6, 5e-6);
      e.cus = random.uniform(2e-6, 9e-6);
      e.cic = random.uniform(-1e-7, 1e-7);
      e.cis = random.uniform(-1e-7, 1e-7);
      e.crc = random.uniform(150.0, 300.0);
      e.crs = random.uniform(-100.0, 100.0);

      makeClock(satellite);
      makeBiases(satellite);
      makeMessages(satellite);
      makeBody(satellite);
      m_satellites.push_back(std::move(satellite));
    }
  }
}

void Constellation::makeClock(SimulatedSatellite& satellite) const {
  Random random(m_options.seed, satellite.name + " clock");
  satellite.clockOffset = random.normal() * 2e-4;
  satellite.clockDrift = random.normal() * 4e-12;
  const double span = m_options.hours * 3600.0 + 2.0 * kWalkMargin;
  const auto nodes = static_cast<std::size_t>(span / kWalkStep) + 2;
  satellite.clockWalk.resize(nodes);
  double value = 0.0;
  for (double& node : satellite.clockWalk) {
    node = value;
    value += m_options.clockWalk * std::sqrt(kWalkStep) * random.normal();
  }
}

void Constellation::makeBiases(SimulatedSatellite& satellite) const {
  const auto rounded = [](double metres) { return std::round(metres * 1e4) / 1e4; };
  const char system = satellite.name[0];
  const auto& signals = m_options.signals.at(system);
  for (std::size_t i = 0; i < signals.size(); ++i) {
    Random random(m_options.seed, satellite.name + " bias " + signals[i]);
    satellite.codeBias[signals[i]] = rounded(m_options.codeBiasSigma * random.normal());
    satellite.phaseBias[signals[i]] = rounded(m_options.phaseBiasSigma * random.normal());
    if (i != 1) continue;
    const double ratio = carrierFrequency(system, signals[0]) / carrierFrequency(system, signals[1]);
    satellite.codeBias[signals[1]] = rounded(satellite.codeBias[signals[0]] * ratio * ratio);
  }
}

void Constellation::makeBody(SimulatedSatellite& satellite) const {
  const SatelliteBody body =
      builtInBody(satellite.name, m_options.start, m_options.signals.at(satellite.name[0]));
  satellite.block = body.block;
  if (m_options.massCentre) satellite.antenna = body.antenna;
  if (!m_options.sunAbovePlane || !m_options.turns) return;
  constexpr double kMargin = 600.0;  // s: travel times and receiver clocks
  const BroadcastEph& truth = satellite.truth;
  satellite.attitude = Attitude(
      body.block, [&truth](const GpsTime& t) { return evaluateOrbit(truth, t); }, m_options.start + -kMargin,
      m_options.start + (m_options.hours * 3600.0 + kMargin));
}

void Constellation::makeMessages(SimulatedSatellite& satellite) const {
  const char system = satellite.name[0];
  const double interval = messageInterval(system);
  const double ahead = system == 'G' || system == 'J' ? interval : 0.0;
  const double offset = ownTimeOffset(system);
  const GpsTime end = m_options.start + m_options.hours * 3600.0;
  // The first message is the one that serves the start; reference times are multiples of the interval in
  // the system's own time.
  const double first = static_cast<double>(m_options.start.seconds) - kUploadDelay + ahead - offset;
  auto index = static_cast<std::int64_t>(std::floor(first / interval));
  for (;; ++index) {
    const GpsTime toe{index * static_cast<std::int64_t>(interval) + static_cast<std::int64_t>(offset), 0.0};
    if (toe + -ahead - end > 0.0) break;
    Random random(m_options.seed, satellite.name + " message " + std::to_string(toe.seconds));
    BroadcastEph message = makeMessage(satellite, toe, random);
    message.transmission = toe + -ahead;
    satellite.messages.push_back(message);
  }
}

BroadcastEph Constellation::makeMessage(const SimulatedSatellite& satellite, const GpsTime& toe,
                                        Random& random) const {
  const BroadcastEph& truth = satellite.truth;
  const char system = satellite.name[0];
  const double scale = m_options.broadcastErrorScale;
  const double elapsed = toe - truth.toe;
  const double a = truth.sqrtA * truth.sqrtA;
  const double mu = gravityParameter(system);
  const double motion = std::sqrt(mu / (a * a * a)) + truth.deltaN;
  const double metre = scale / a;  // angle of one metre at the satellite

  BroadcastEph m = truth;
  m.toe = m.toc = toe;
  const double messageA = a + 0.3 * scale * random.normal();
  m.sqrtA = asWritten(std::sqrt(messageA));
  const double writtenA = m.sqrtA * m.sqrtA;
  const double motionError = 0.5 * metre / 7200.0 * random.normal();
  m.deltaN = asWritten(motion + motionError - std::sqrt(mu / (writtenA * writtenA * writtenA)));
  m.m0 = asWritten(wrapped(truth.m0 + motion * elapsed + metre * random.normal()));
  m.e = asWritten(truth.e + 0.3 * metre * random.normal());
  m.omega = asWritten(truth.omega);
  m.i0 = asWritten(truth.i0 + truth.idot * elapsed + 0.5 * metre * random.normal());
  const double rate = earthRotation(system);
  const double weekShift = rate * (ephemerisSeconds(m) - ephemerisSeconds(truth));
  m.omega0 = asWritten(
      wrapped(truth.omega0 + (truth.omegaDot - rate) * elapsed + weekShift + 0.5 * metre * random.normal()));
  m.omegaDot = asWritten(truth.omegaDot);
  m.idot = asWritten(truth.idot);
  m.cuc = asWritten(truth.cuc + 0.2 * metre * random.normal());
  m.cus = asWritten(truth.cus + 0.2 * metre * random.normal());
  m.cic = asWritten(truth.cic);
  m.cis = asWritten(truth.cis);
  m.crc = asWritten(truth.crc + 0.3 * scale * random.normal());
  m.crs = asWritten(truth.crs + 0.3 * scale * random.normal());

  m.af[0] = asWritten(trueClock(satellite, toe) + 0.7e-9 * scale * random.normal());
  m.af[1] = asWritten(satellite.clockDrift + 1e-13 * scale * random.normal());
  m.af[2] = 0.0;
  m.iode = issueOfData(system, toe);
  m.iodc = system == 'G' || system == 'J' ? m.iode : 0;
  m.code = system == 'E' ? 258 : system == 'G' ? 1 : 0;
  const auto& bias = satellite.codeBias;
  if (system != 'C') {
    m.tgd[0] = asWritten(-bias.at(m_options.signals.at(system)[0]) / kSpeedOfLight);
  } else if (bias.contains("2I") && bias.contains("6I")) {
    // The clock of a BeiDou message is that of B3I; it tells in steps of 0.1 ns what B1I is beside it.
    constexpr double kStep_s = 1e-10;
    m.tgd[0] = kStep_s * std::round((bias.at("6I") - bias.at("2I")) / kSpeedOfLight / kStep_s);
    m.af[0] = asWritten(2.0 * m.af[0] - broadcastClock(m, m.toc));
  }
  return m;
}

double Constellation::trueClock(const SimulatedSatellite& satellite, const GpsTime& t) const {
  const double place = std::clamp((t - m_walkStart) / kWalkStep, 0.0,
                                  static_cast<double>(satellite.clockWalk.size() - 1) - 1e-9);
  const auto node = static_cast<std::size_t>(place);
  const double share = place - static_cast<double>(node);
  const double walk = satellite.clockWalk[node] * (1.0 - share) + satellite.clockWalk[node + 1] * share;
  return satellite.clockOffset + satellite.clockDrift * (t - m_options.start) + walk;
}

SatelliteState Constellation::state(std::size_t satellite, const GpsTime& t) const {
  return evaluateOrbit(m_satellites[satellite].truth, t);
}

double Constellation::clock(std::size_t satellite, const GpsTime& t) const {
  return trueClock(m_satellites[satellite], t);
}

double Constellation::periodicRelativity(const SatelliteState& state) {
  return -2.0 * dot(state.position, state.velocity) / (kSpeedOfLight * kSpeedOfLight);
}

const BroadcastEph& Constellation::message(std::size_t satellite, const GpsTime& t) const {
  const auto& messages = m_satellites[satellite].messages;
  std::size_t k = messages.size() - 1;
  while (k > 0 && t - messages[k].transmission < kUploadDelay) --k;
  return messages[k];
}

SsrOrbit Constellation::orbitCorrection(std::size_t satellite, const GpsTime& t,
                                        const GpsTime& reference) const {
  const BroadcastEph& m = message(satellite, reference);
  const auto components = [&](const GpsTime& at) {
    const SatelliteState broadcast = evaluateOrbit(m, at);
    const Vector3 d = minus(broadcast.position, state(satellite, at).position);
    const Vector3 along = unit(broadcast.velocity);
    const Vector3 across = unit(cross(broadcast.position, broadcast.velocity));
    return Vector3{dot(d, cross(along, across)), dot(d, along), dot(d, across)};
  };
  SsrOrbit correction{m_satellites[satellite].name, m.iode, components(t), {}};
  constexpr double kStep = 15.0;
  correction.rate = scaled(minus(components(t + kStep), components(t + -kStep)), 0.5 / kStep);
  return correction;
}

SsrClock Constellation::clockCorrection(std::size_t satellite, const GpsTime& t,
                                        const GpsTime& reference) const {
  const BroadcastEph& m = message(satellite, reference);
  const double difference = clock(satellite, t) - broadcastClock(m, t);
  return {m_satellites[satellite].name, m.iode, {difference * kSpeedOfLight, 0.0, 0.0}};
}

}  // namespace gnx
