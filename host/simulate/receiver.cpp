// Paths and clocks of the simulated receiver.

#include "simulate/receiver.h"

#include <cmath>
#include <numbers>

#include "gnx/error.h"

namespace gnx {

namespace {
constexpr double kTurn = 2.0 * std::numbers::pi;
constexpr double kMillisecond = 1e-3;
constexpr double kWavePeriod = 600.0;  // s
}  // namespace

ReceiverPath::ReceiverPath(const PathOptions& options, const Vector3& site, const GpsTime& start)
    : m_options(options), m_site(site), m_place(toGeodetic(site)), m_start(start) {
  if (options.kind != "static" && options.kind != "circle" && options.kind != "figure8")
    throw UsageError("unknown path '" + options.kind + "'; choose static, circle or figure8");
  if (!(options.radius > 0.0) || !(options.speed > 0.0))
    throw UsageError("radius and speed of the path are positive numbers");
}

Vector3 ReceiverPath::local(double seconds) const {
  Vector3 p{};
  const double r = m_options.radius;
  if (m_options.kind == "circle") {
    const double angle = seconds * m_options.speed / r;
    p = {r * std::sin(angle), r * (1.0 - std::cos(angle)), 0.0};
  } else {
    // Lissajous curve 1:2; at the crossing the speed is radius * rate * sqrt(2), its largest value.
    const double angle = seconds * m_options.speed / (r * std::numbers::sqrt2);
    p = {r * std::sin(angle), 0.5 * r * std::sin(2.0 * angle), 0.0};
  }
  p[2] = m_options.verticalAmplitude * std::sin(kTurn * seconds / kWavePeriod);
  return p;
}

Vector3 ReceiverPath::position(const GpsTime& t) const {
  if (!moving()) return m_site;
  return plus(m_site, fromEastNorthUp(local(t - m_start), m_place));
}

Vector3 ReceiverPath::velocity(const GpsTime& t) const {
  if (!moving()) return {};
  constexpr double kStep = 0.01;
  const double s = t - m_start;
  return fromEastNorthUp(scaled(minus(local(s + kStep), local(s - kStep)), 0.5 / kStep), m_place);
}

ReceiverClock::ReceiverClock(const ReceiverClockOptions& options, const GpsTime& start, std::uint64_t seed)
    : m_options(options), m_start(start), m_last(start), m_random(seed, "receiver clock") {
  if (options.kind != "steered" && options.kind != "free" && options.kind != "jumping")
    throw UsageError("unknown receiver clock '" + options.kind + "'; choose steered, free or jumping");
}

double ReceiverClock::driftRate() const {
  if (m_options.kind == "steered") return 0.0;
  return m_options.kind == "free" ? m_options.drift : m_options.jumpingDrift;
}

double ReceiverClock::next(const GpsTime& t) {
  if (m_options.kind == "steered") return m_options.whiteNoise * m_random.normal();
  m_walk += m_options.walk * std::sqrt(std::max(0.0, t - m_last)) * m_random.normal();
  m_last = t;
  const double value = m_options.offset + driftRate() * (t - m_start) + m_walk;
  return m_options.kind == "free" ? value : std::remainder(value, kMillisecond);
}

}  // namespace gnx
