// Flies noon and midnight turns second by second, each block by its own law.

#include "simulate/attitude.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "geometry/astronomy.h"

namespace gnx {

namespace {

constexpr double kRadians = std::numbers::pi / 180.0;
/// No law reaches farther from noon or midnight: a block IIF needs 14 degrees behind noon to catch up.
constexpr double kPassageDepth = 20.0;
constexpr double kSearchStep = 60.0;  // s
constexpr double kShadowDepth = 13.25;
constexpr double kSecmBeta = 3.0;

double wrapped(double degrees) { return std::remainder(degrees, 360.0); }
double arcTangent(double y, double x) { return std::atan2(y, x) / kRadians; }
double sunwardsYaw(double beta, double mu) {
  return arcTangent(-std::tan(beta * kRadians), std::sin(mu * kRadians));
}

using Seconds = std::vector<SunGeometry>;

/// The body turns after nominal yaw as fast as it can.
std::vector<double> follow(const Seconds& seconds, double rate) {
  std::vector<double> yaw;
  for (const SunGeometry& g : seconds) {
    const double aim = nominalYaw(g);
    yaw.push_back(yaw.empty() ? aim : yaw.back() + std::clamp(wrapped(aim - yaw.back()), -rate, rate));
  }
  return yaw;
}

/// First and last second that a condition holds; last < first: never.
template <class Condition>
std::pair<std::size_t, std::size_t> spanOf(const Seconds& seconds, Condition&& holds) {
  const auto first = std::ranges::find_if(seconds, holds);
  if (first == seconds.end()) return {1, 0};
  const auto last = std::find_if(seconds.rbegin(), seconds.rend(), holds);
  return {static_cast<std::size_t>(first - seconds.begin()),
          static_cast<std::size_t>(seconds.rend() - last) - 1};
}

std::vector<double> nominalYaws(const Seconds& seconds) {
  std::vector<double> yaw;
  for (const SunGeometry& g : seconds) yaw.push_back(nominalYaw(g));
  return yaw;
}

std::vector<double> throughShadow(const Seconds& seconds) {
  std::vector<double> yaw = nominalYaws(seconds);
  const auto [in, out] = spanOf(seconds, [](const SunGeometry& g) { return g.depth < kShadowDepth; });
  if (in >= out) return yaw;
  const double entry = yaw[in], swing = wrapped(yaw[out] - entry);
  for (std::size_t k = in; k <= out; ++k)
    yaw[k] = entry + swing * static_cast<double>(k - in) / static_cast<double>(out - in);
  return yaw;
}

template <class Condition>
std::vector<double> cosineTurn(const Seconds& seconds, double period, Condition&& turning) {
  std::vector<double> yaw = nominalYaws(seconds);
  const auto [in, out] = spanOf(seconds, turning);
  if (in > out) return yaw;
  const double entry = yaw[in], middle = std::copysign(90.0, entry);
  for (std::size_t k = in; k <= out; ++k)
    yaw[k] =
        middle + (entry - middle) * std::cos(2.0 * std::numbers::pi * static_cast<double>(k - in) / period);
  return yaw;
}

std::vector<double> smoothedSun(const Seconds& seconds) {
  const double along = std::sin(15.0 * kRadians), across = std::sin(2.0 * kRadians);
  std::vector<double> yaw;
  for (const SunGeometry& g : seconds) {
    const double x = std::cos(g.beta * kRadians) * std::sin(g.mu * kRadians),
                 y = -std::sin(g.beta * kRadians);
    if (std::abs(x) >= along || std::abs(y) >= across) {
      yaw.push_back(nominalYaw(g));
      continue;
    }
    const double border = std::copysign(across, y);
    const double bent =
        0.5 * (border + y) + 0.5 * (border - y) * std::cos(std::numbers::pi * std::abs(x) / along);
    yaw.push_back(arcTangent(bent, x));
  }
  return yaw;
}

std::vector<double> yawOf(const std::string& block, const Seconds& seconds) {
  const bool night = seconds[seconds.size() / 2].night;
  if (block.starts_with("BLOCK IIR") || block == "BLOCK IIIA") return follow(seconds, 0.2);
  if (block == "BLOCK IIF") return night ? throughShadow(seconds) : follow(seconds, 0.11);
  if (block == "GALILEO-1") return smoothedSun(seconds);
  if (block == "GALILEO-2")
    return cosineTurn(seconds, 5656.0,
                      [](const SunGeometry& g) { return g.depth < 10.0 && std::abs(g.beta) < 4.1; });
  if (block == "BEIDOU-3M-CAST" || block.starts_with("BEIDOU-3I")) {
    const double period = block == "BEIDOU-3M-CAST" ? 3090.0 : 5740.0;
    return cosineTurn(seconds, period, [](const SunGeometry& g) {
      return std::abs(g.beta) < 3.0 && std::abs(std::remainder(g.mu, 180.0)) < 6.0;
    });
  }
  return {};
}

}  // namespace

SunGeometry sunGeometry(const SatelliteState& satellite, const Vector3& sun) {
  SunGeometry g;
  const Vector3 turning{0.0, 0.0, kEarthRotation};
  const Vector3 up = unit(satellite.position);
  const Vector3 velocity = plus(satellite.velocity, cross(turning, satellite.position));  // inertial
  g.down = scaled(up, -1.0);
  g.along = unit(minus(velocity, scaled(up, dot(up, velocity))));
  g.across = cross(g.down, g.along);
  const Vector3 toSun = unit(sun);
  const double above = -dot(g.across, toSun);  // e_y is opposite to the orbit normal
  g.beta = std::asin(std::clamp(above, -1.0, 1.0)) / kRadians;
  // The midnight point is opposite to the Sun's place in the plane.
  g.mu = arcTangent(dot(g.along, toSun), -dot(up, toSun));
  const double fromNoon = std::acos(std::clamp(dot(up, toSun), -1.0, 1.0)) / kRadians;
  g.night = fromNoon > 90.0;
  g.depth = g.night ? 180.0 - fromNoon : fromNoon;
  return g;
}

double nominalYaw(const SunGeometry& g) { return sunwardsYaw(g.beta, g.mu); }

BodyAxes nominalAxes(const Vector3& satellite, const Vector3& sun) {
  const Vector3 z = scaled(unit(satellite), -1.0);
  const Vector3 y = unit(cross(z, minus(sun, satellite)));
  return {cross(y, z), y, z};
}

BodyAxes turnedAboutZ(const BodyAxes& axes, double angle) {
  const double c = std::cos(angle * kRadians), s = std::sin(angle * kRadians);
  return {plus(scaled(axes.x, c), scaled(axes.y, s)), minus(scaled(axes.y, c), scaled(axes.x, s)), axes.z};
}

Attitude::Attitude(const std::string& block, const Orbit& orbit, const GpsTime& from, const GpsTime& to)
    : m_frozenBeta(block == "BEIDOU-3M-SECM") {
  const auto at = [&](const GpsTime& t) { return sunGeometry(orbit(t), sunEarthFixed(t)); };
  // A passage that the span cuts is flown from its beginning.
  GpsTime t = from;
  while (at(t).depth < kPassageDepth) t = t + -kSearchStep;
  while (to - t >= 0.0) {
    t = t + kSearchStep;
    if (at(t).depth >= kPassageDepth) continue;
    const GpsTime start = t;
    std::vector<SunGeometry> seconds;
    for (SunGeometry g = at(t); g.depth < kPassageDepth; t = t + 1.0, g = at(t)) seconds.push_back(g);
    addPassage(block, start, seconds);
  }
}

void Attitude::addPassage(const std::string& block, const GpsTime& start,
                          const std::vector<SunGeometry>& seconds) {
  std::vector<double> yaw = yawOf(block, seconds);
  if (yaw.empty()) return;
  for (std::size_t k = 0; k < yaw.size(); ++k) yaw[k] = wrapped(yaw[k] - nominalYaw(seconds[k]));
  m_passages.push_back({start, std::move(yaw)});
}

double Attitude::turned(const GpsTime& t, const SunGeometry& g) const {
  if (m_frozenBeta && std::abs(g.beta) < kSecmBeta)
    return wrapped(sunwardsYaw(std::copysign(kSecmBeta, g.beta), g.mu) - nominalYaw(g));
  for (const Passage& p : m_passages) {
    const double since = t - p.start;
    if (since < 0.0 || since >= static_cast<double>(p.turned.size() - 1)) continue;
    const auto k = static_cast<std::size_t>(since);
    return p.turned[k] + (since - std::floor(since)) * wrapped(p.turned[k + 1] - p.turned[k]);
  }
  return 0.0;
}

}  // namespace gnx
