// Delays of neutral and ionised air along a line of sight, and the mapping functions behind them.

#include "simulate/media.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "simulate/random.h"

namespace gnx {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kDegrees = 180.0 / kPi;
constexpr double kWalkStep = 60.0;  // s
constexpr double kSecondsPerDay = 86400.0;
constexpr double kEarthRadius = 6371e3, kLayerHeight = 450e3;  // m, of the ionosphere

/// Zonal means over places below 500 m, at latitudes -90, -75 ... 90 degrees, in 1e-3.
constexpr std::array<double, 13> kHydrostaticByLatitude = {1.160, 1.173, 1.200,  1.235,  1.264,  1.280, 1.282,
                                                           1.282, 1.269, 1.2415, 1.2175, 1.1975, 1.187};
constexpr std::array<double, 13> kWetByLatitude = {0.580, 0.563, 0.539, 0.557, 0.5545, 0.570, 0.615,
                                                   0.593, 0.574, 0.572, 0.562, 0.573,  0.580};

double byLatitude(const std::array<double, 13>& table, double latitude) {
  const double place = std::clamp((latitude * kDegrees + 90.0) / 15.0, 0.0, 11.999999);
  const auto i = static_cast<std::size_t>(place);
  return table[i] + (place - static_cast<double>(i)) * (table[i + 1] - table[i]);
}

double continuedFraction(double a, double b, double c, double sinElevation) {
  const double s = sinElevation;
  return (1.0 + a / (1.0 + b / (1.0 + c))) / (s + a / (s + b / (s + c)));
}

}  // namespace

Troposphere::Troposphere(const TroposphereOptions& options, const Geodetic& site, const GpsTime& start,
                         double hours, std::uint64_t seed)
    : m_options(options), m_start(start), m_height(site.height) {
  const double pressure = 1013.25 * std::pow(std::max(0.0, 1.0 - 2.2557e-5 * site.height), 5.2568);
  m_hydrostatic =
      0.0022768 * pressure / (1.0 - 0.00266 * std::cos(2.0 * site.latitude) - 0.28e-6 * site.height);
  m_ah = options.hydrostaticCoefficient.value_or(1e-3 * byLatitude(kHydrostaticByLatitude, site.latitude));
  m_aw = options.wetCoefficient.value_or(1e-3 * byLatitude(kWetByLatitude, site.latitude));
  const bool north = site.latitude >= 0.0;
  m_ch = 0.062 + ((north ? 0.0025 : 0.0035) + (north ? 0.001 : 0.002)) * (1.0 - std::cos(site.latitude));
  Random random(seed, "wet delay");
  double value = 0.0;
  for (double t = 0.0; t <= hours * 3600.0 + 2.0 * kWalkStep; t += kWalkStep) {
    m_walk.push_back(value);
    value += options.wetWalk * std::sqrt(kWalkStep / 3600.0) * random.normal();
  }
}

ZenithDelay Troposphere::zenith(const GpsTime& t) const {
  if (!m_options.on) return {};
  const double place =
      std::clamp((t - m_start) / kWalkStep, 0.0, static_cast<double>(m_walk.size()) - 1.000001);
  const auto node = static_cast<std::size_t>(place);
  const double walk = m_walk[node] + (place - static_cast<double>(node)) * (m_walk[node + 1] - m_walk[node]);
  const double wave = m_options.wetDiurnal * std::sin(2.0 * kPi * secondsOfDay(t) / kSecondsPerDay);
  return {m_hydrostatic, std::max(0.0, m_options.wetZenith + wave + walk)};
}

double Troposphere::hydrostaticMapping(double elevation) const {
  const double s = std::sin(elevation);
  const double heightTerm = 1.0 / s - continuedFraction(2.53e-5, 5.49e-3, 1.14e-3, s);
  return continuedFraction(m_ah, 0.0029, m_ch, s) + heightTerm * m_height * 1e-3;
}

double Troposphere::wetMapping(double elevation) const {
  return continuedFraction(m_aw, 1.46e-3, 4.391e-2, std::sin(elevation));
}

double Troposphere::delay(double elevation, const GpsTime& t) const {
  const ZenithDelay z = zenith(t);
  return z.hydrostatic * hydrostaticMapping(elevation) + z.wet * wetMapping(elevation);
}

Ionosphere::Ionosphere(const IonosphereOptions& options, const Geodetic& site, const GpsTime& start,
                       std::uint64_t seed)
    : m_options(options), m_site(site), m_start(start) {
  Random random(seed, "ionospheric wave");
  m_waveAzimuth = random.uniform(0.0, 2.0 * kPi);
  m_wavePhase = random.uniform(0.0, 2.0 * kPi);
}

double Ionosphere::wave(double latitude, double longitude, const GpsTime& t) const {
  const double radius = kEarthRadius + kLayerHeight;
  const double north = radius * (latitude - m_site.latitude);
  const double east = radius * std::cos(m_site.latitude) * (longitude - m_site.longitude);
  const double along = north * std::cos(m_waveAzimuth) + east * std::sin(m_waveAzimuth);
  const double cycles = (t - m_start - along / m_options.waveSpeed) / m_options.wavePeriod;
  return m_options.waveTec * std::cos(2.0 * kPi * cycles + m_wavePhase);
}

double Ionosphere::verticalContent(double latitude, double longitude, const GpsTime& t) const {
  if (!m_options.on) return 0.0;
  const double localHours = secondsOfDay(t) / 3600.0 + longitude * kDegrees / 15.0;
  const double day = 0.5 * (1.0 + std::cos(2.0 * kPi * (localHours - 14.0) / 24.0));
  const double atEquator = m_options.nightTec + (m_options.dayTec - m_options.nightTec) * day * day;
  const double c = std::cos(latitude);
  const double content = atEquator * (m_options.poleShare + (1.0 - m_options.poleShare) * c * c);
  return std::max(0.0, content + wave(latitude, longitude, t));
}

double Ionosphere::slantContent(const Geodetic& receiver, double azimuth, double elevation,
                                const GpsTime& t) const {
  const double sinZenith = kEarthRadius / (kEarthRadius + kLayerHeight) * std::cos(elevation);
  const double arc = kPi / 2.0 - elevation - std::asin(sinZenith);
  const double latitude = std::asin(std::sin(receiver.latitude) * std::cos(arc) +
                                    std::cos(receiver.latitude) * std::sin(arc) * std::cos(azimuth));
  const double longitude =
      receiver.longitude + std::atan2(std::sin(arc) * std::sin(azimuth) * std::cos(receiver.latitude),
                                      std::cos(arc) - std::sin(receiver.latitude) * std::sin(latitude));
  return verticalContent(latitude, longitude, t) / std::sqrt(1.0 - sinZenith * sinZenith);
}

}  // namespace gnx
