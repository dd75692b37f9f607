// Ranges, phases, Doppler and signal strength as the simulated receiver reports them.

#include "simulate/observer.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "geometry/astronomy.h"
#include "simulate/tides.h"

namespace gnx {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kGm = 3.986004418e14;

double shapiroDelay(const Vector3& satellite, const Vector3& receiver, double range) {
  const double sum = length(satellite) + length(receiver);
  return 2.0 * kGm / (kSpeedOfLight * kSpeedOfLight) * std::log((sum + range) / (sum - range));
}

/// Elevation dependence of noise: 1 at the zenith, about 4 at 10 degrees.
double noiseFactor(double elevation) {
  const double s = std::sin(std::max(elevation, 0.02));
  return std::sqrt(0.5 + 0.5 / (s * s));
}

/// The antenna of a signal against the orbit, in the axes of the state.
Vector3 offsetOf(const SimulatedSatellite& satellite, const std::string& signal, const BodyAxes& axes) {
  const auto antenna = satellite.antenna.find(signal);
  if (antenna == satellite.antenna.end()) return {};
  const Vector3& o = antenna->second;
  return plus(plus(scaled(axes.x, o[0]), scaled(axes.y, o[1])), scaled(axes.z, o[2]));
}

/// A step of a first-order Gauss-Markov process, s after the last; a negative step begins it in its steady
/// state.
void wander(double& error, double sigma, double time, double step, double normal) {
  const double memory = step < 0.0 ? 0.0 : std::exp(-step / time);
  error = memory * error + std::sqrt(1.0 - memory * memory) * sigma * normal;
}

/// What a reflected signal does to range and phase: alone it takes the place of the direct one, beside it
/// both are those of the sum (amplitude 0.2, detour within a chip).
struct Reflection {
  double code = 0.0, phase = 0.0;  // m
};
Reflection reflectionOf(const Sight& sight, double wavelength) {
  constexpr double kAmplitude = 0.2;
  if (sight.detour == 0.0) return {};
  if (!sight.direct) return {sight.detour, sight.detour};
  const double turn = 2.0 * kPi * sight.detour / wavelength;
  const double real = 1.0 + kAmplitude * std::cos(turn), imaginary = kAmplitude * std::sin(turn);
  return {sight.detour * kAmplitude * std::cos(turn) / real,
          wavelength / (2.0 * kPi) * std::atan2(imaginary, real)};
}

double signalStrength(double elevation) {
  return std::round(4.0 * (34.0 + 16.0 * std::sin(elevation))) / 4.0;
}

}  // namespace

Observer::Observer(const ObserverOptions& options, const Constellation& sky, const FaultList& faults)
    : m_options(options),
      m_sky(sky),
      m_faults(faults),
      m_path(options.path, options.site, sky.options().start),
      m_clock(options.clock, sky.options().start, sky.options().seed),
      m_troposphere(options.troposphere, toGeodetic(options.site), sky.options().start, sky.options().hours,
                    sky.options().seed),
      m_ionosphere(options.ionosphere, toGeodetic(options.site), sky.options().start, sky.options().seed) {
  const std::uint64_t seed = sky.options().seed;
  if (options.urban) {
    m_skyline.emplace(sky.options().hours, m_path.moving() ? options.path.speed : 0.0, seed);
    m_streetAzimuth = Random(seed, "street").uniform(0.0, 2.0 * kPi);
  }
  for (const char system : sky.options().systems) {
    Random random(seed, std::string("receiver ") + system);
    m_systemBias[system] =
        system == sky.options().systems[0] ? 0.0 : options.interSystemSigma * random.normal();
    bool first = true;
    for (const std::string& signal : sky.options().signals.at(system)) {
      const double code = options.receiverBiasSigma * random.normal();
      const double phase = options.receiverBiasSigma * random.normal();
      m_signalBias[{system, signal}] = {first ? 0.0 : code, phase};
      first = false;
    }
  }
  for (const SimulatedSatellite& satellite : sky.satellites()) {
    const char system = satellite.name[0];
    Tracker tracker{{},
                    std::nullopt,
                    {},
                    false,
                    Random(seed, satellite.name + " arcs"),
                    Random(seed, satellite.name + " locks")};
    for (const std::string& signal : sky.options().signals.at(system))
      tracker.channels.push_back({signal, carrierFrequency(system, signal), 0.0, 0.0, 0.0,
                                  Random(seed, satellite.name + " noise " + signal),
                                  Random(seed, satellite.name + " scintillation " + signal),
                                  Random(seed, satellite.name + " bias change " + signal).normal()});
    m_trackers.push_back(std::move(tracker));
  }
}

double Observer::receiverCodeBias(char system, const std::string& signal) const {
  return m_signalBias.at({system, signal}).first;
}

double Observer::receiverPhaseBias(char system, const std::string& signal) const {
  return m_signalBias.at({system, signal}).second;
}

void Observer::observe(const GpsTime& tag, ObsEpoch& epoch, EpochTruth& truth) {
  epoch.time = truth.time = tag;
  epoch.sats.clear();
  truth.satellites.clear();
  truth.clock = m_clock.next(tag);
  const GpsTime reception = tag + -truth.clock;
  truth.marker = m_path.position(reception);
  truth.zenith = m_troposphere.zenith(reception);

  const Vector3 sun = sunEarthFixed(reception);
  const Geodetic place = toGeodetic(truth.marker);
  truth.tide = {};
  if (m_options.solidTide)
    truth.tide = solidTide(truth.marker, sun, moonEarthFixed(reception), siderealAngle(reception));
  truth.tide = plus(truth.tide, poleTide(place, m_options.poleOffset[0], m_options.poleOffset[1]));
  const auto& delta = m_options.antennaDelta;
  const Vector3 antenna =
      plus(plus(truth.marker, truth.tide), fromEastNorthUp({delta[1], delta[2], delta[0]}, place));
  const Vector3 velocity = m_path.velocity(reception);

  const double seconds = tag - m_sky.options().start;
  if (m_skyline) walkStreet(seconds);
  for (std::size_t i = 0; i < m_trackers.size(); ++i) {
    Tracker& tracker = m_trackers[i];
    const Geometry g = geometry(i, reception, antenna, velocity, sun);
    const Vector3 enu = toEastNorthUp(scaled(g.lineOfSight, -1.0), place);
    SatelliteTruth satellite;
    satellite.sat = m_sky.satellites()[i].name;
    satellite.elevation = std::asin(enu[2]);
    satellite.azimuth = std::atan2(enu[0], enu[1]);
    if (satellite.elevation * 180.0 / kPi < m_options.maskDegrees ||
        m_faults.strikes(Fault::Kind::gap, satellite.sat, seconds) || !inSight(tracker, satellite)) {
      tracker.tracked = false;
      continue;
    }
    satellite.windupCycles = m_options.windup ? windup(i, g, place) : 0.0;
    satellite.slantContent =
        m_ionosphere.slantContent(place, satellite.azimuth, satellite.elevation, reception);
    satellite.troposphere = m_troposphere.delay(satellite.elevation, reception);
    epoch.sats.push_back(measure(i, tag, g, truth, satellite));
    truth.satellites.push_back(std::move(satellite));
  }
}

void Observer::walkStreet(double seconds) {
  const double last = m_streetPlaces.empty() ? seconds : m_streetPlaces.back().seconds;
  m_streetPlaces.clear();
  for (double s = last + 1.0; s < seconds - 0.5; s += 1.0) m_streetPlaces.push_back(streetPlace(s));
  m_streetPlaces.push_back(streetPlace(seconds));
}

Observer::StreetPlace Observer::streetPlace(double seconds) const {
  if (!m_path.moving()) return {seconds, m_streetAzimuth, 0.0};
  const GpsTime t = m_sky.options().start + seconds;
  const Vector3 velocity = toEastNorthUp(m_path.velocity(t), toGeodetic(m_path.position(t)));
  return {seconds, std::atan2(velocity[0], velocity[1]), m_options.path.speed * seconds};
}

/// Whether the street lets a satellite through, and what it has done to the lock since the last epoch.
bool Observer::inSight(Tracker& tracker, SatelliteTruth& truth) const {
  if (!m_skyline) return true;
  bool interrupted = false;
  for (const StreetPlace& place : m_streetPlaces) {
    const Sight sight =
        m_skyline->look(truth.azimuth - place.heading, truth.elevation, place.along, place.seconds);
    interrupted = interrupted || !sight.seen() || sight.direct != tracker.sight.direct;
    tracker.sight = truth.sight = sight;
  }
  if (!truth.sight.seen()) return false;
  constexpr double kSilentLosses = 0.1;  // share of the interruptions between epochs
  constexpr double kSlipsPerHour = 0.5;  // silent ones of a satellite without any interruption
  const double step = static_cast<double>(m_streetPlaces.size());  // s
  const double chance = interrupted ? kSilentLosses : kSlipsPerHour * step / 3600.0;
  const bool silent = tracker.locks.uniform() < chance;
  if (tracker.tracked && (interrupted || silent)) loseLock(tracker, silent);
  return true;
}

/// The ambiguities change; a silent loss goes unnoticed by the receiver and is one of few cycles.
void Observer::loseLock(Tracker& tracker, bool silently) {
  tracker.tracked = silently;
  if (!silently) return;
  for (Channel& channel : tracker.channels)
    channel.ambiguity += static_cast<double>(tracker.locks.integer(-3, 3));
}

Observer::Geometry Observer::geometry(std::size_t satellite, const GpsTime& reception, const Vector3& antenna,
                                      const Vector3& velocity, const Vector3& sun) const {
  Geometry g;
  g.antenna = antenna;
  g.antennaVelocity = velocity;
  double travel = 0.075;
  for (int round = 0; round < 10; ++round) {
    g.emission = reception + -travel;
    const SatelliteState state = m_sky.state(satellite, g.emission);
    g.state.position = turnedAxes(state.position, kEarthRotation * travel);
    g.state.velocity = turnedAxes(state.velocity, kEarthRotation * travel);
    g.range = length(minus(antenna, g.state.position));
    const double next = g.range / kSpeedOfLight;
    const bool settled = std::abs(next - travel) < 1e-13;
    travel = next;
    if (settled) break;
  }
  g.lineOfSight = scaled(minus(antenna, g.state.position), 1.0 / g.range);
  g.axes = nominalAxes(g.state.position, sun);
  const double turned = m_sky.turned(satellite, g.emission, sunGeometry(g.state, sun));
  if (turned != 0.0) g.axes = turnedAboutZ(g.axes, turned);
  return g;
}

double Observer::windup(std::size_t satellite, const Geometry& g, const Geodetic& place) {
  const Vector3& k = g.lineOfSight;
  const auto dipole = [&k](const Vector3& a, const Vector3& b, double turn) {
    return minus(minus(a, scaled(k, dot(k, a))), scaled(cross(k, b), turn));
  };
  const Vector3 sent = dipole(g.axes.x, g.axes.y, 1.0);
  const Vector3 north = fromEastNorthUp({0.0, 1.0, 0.0}, place),
                west = fromEastNorthUp({-1.0, 0.0, 0.0}, place);
  const Vector3 received = dipole(north, west, -1.0);
  const double angle = std::atan2(dot(k, cross(sent, received)), dot(sent, received)) / (2.0 * kPi);
  std::optional<double>& last = m_trackers[satellite].windup;
  last = last ? angle + std::round(*last - angle) : angle;
  return *last;
}

SatObs Observer::measure(std::size_t satellite, const GpsTime& tag, const Geometry& g,
                         const EpochTruth& epoch, SatelliteTruth& truth) {
  Tracker& tracker = m_trackers[satellite];
  truth.range = g.range;
  truth.shapiro = shapiroDelay(g.state.position, g.antenna, g.range);
  truth.clock = m_sky.clock(satellite, g.emission) * kSpeedOfLight;
  truth.relativity = Constellation::periodicRelativity(g.state) * kSpeedOfLight;

  SatObs result;
  result.sat = truth.sat;
  const bool newArc = !tracker.tracked;
  const double step = newArc ? -1.0 : tag - tracker.last;
  for (Channel& channel : tracker.channels) {
    if (newArc) channel.ambiguity = static_cast<double>(tracker.random.integer(-1000000, 1000000));
    result.signals.push_back(measureSignal(satellite, channel, tag, g, epoch, truth, step));
    if (newArc) result.signals.back().lli = 1;
  }
  tracker.tracked = true;
  tracker.last = tag;
  return result;
}

SignalObs Observer::measureSignal(std::size_t satellite, Channel& channel, const GpsTime& tag,
                                  const Geometry& g, const EpochTruth& epoch, SatelliteTruth& truth,
                                  double step) {
  const SimulatedSatellite& source = m_sky.satellites()[satellite];
  const char system = truth.sat[0];
  const double seconds = tag - m_sky.options().start;
  const double wavelength = kSpeedOfLight / channel.frequency;

  wander(channel.codeError, m_options.codeMultipath, m_options.codeMultipathTime, step,
         channel.random.normal());
  wander(channel.phaseError, m_options.phaseMultipath, m_options.phaseMultipathTime, step,
         channel.random.normal());
  const double factor = noiseFactor(truth.elevation);
  const double codeNoise = factor * (channel.codeError + m_options.codeSigma * channel.random.normal());
  double phaseNoise = factor * (channel.phaseError + m_options.phaseSigma * channel.random.normal());
  if (m_options.scintillation > 0.0) {
    constexpr double kReference = 1575.42e6;  // Hz
    phaseNoise += m_options.scintillation * kReference / channel.frequency * wavelength / (2.0 * kPi) *
                  channel.scintillation.normal();
  }
  const Reflection reflected = reflectionOf(truth.sight, wavelength);

  const double toAntenna = dot(offsetOf(source, channel.signal, g.axes), g.lineOfSight);
  const double common = truth.range + truth.shapiro + epoch.clock * kSpeedOfLight - truth.clock -
                        truth.relativity + interSystemBias(system) + truth.troposphere - toAntenna;
  const double ionosphere = truth.slantContent * Ionosphere::delayPerTecu(channel.frequency);
  const double ambiguity =
      channel.ambiguity + std::round(m_faults.slippedCycles(truth.sat, channel.signal, seconds));
  truth.ambiguity[channel.signal] = ambiguity;

  SignalObs o;
  o.code = {channel.signal[0], channel.signal[1], '\0'};
  o.range = common + ionosphere - source.codeBias.at(channel.signal) +
            receiverCodeBias(system, channel.signal) + codeNoise + reflected.code +
            m_faults.size(Fault::Kind::code, truth.sat, channel.signal, seconds);
  const double phase = common - ionosphere - source.phaseBias.at(channel.signal) +
                       receiverPhaseBias(system, channel.signal) + phaseNoise + reflected.phase;
  o.phase = phase / wavelength + truth.windupCycles + ambiguity +
            m_faults.size(Fault::Kind::phase, truth.sat, channel.signal, seconds) +
            m_faults.biasChange(truth.sat, channel.signal, seconds) * channel.biasChange;
  const double rangeRate = dot(g.lineOfSight, minus(g.antennaVelocity, g.state.velocity)) +
                           kSpeedOfLight * (m_clock.driftRate() - source.clockDrift);
  o.doppler = -rangeRate / wavelength;
  o.snr = signalStrength(truth.elevation) - (truth.sight.direct ? 0.0 : 10.0);
  return o;
}

}  // namespace gnx
