// Interpolates precise orbits by polynomials through their differences to a broadcast orbit.

#include "corrections/orbit_interpolation.h"

#include <algorithm>
#include <cmath>

namespace gnx {

namespace {
constexpr std::size_t kPoints = 7, kFewest = 5, kExtrapolated = 5;
constexpr double kSameTime = 1e-3;  ///< s
}  // namespace

OrbitInterpolator::OrbitInterpolator(std::vector<OrbitPoint> points, double interval, const GpsTime& first,
                                     const GpsTime& last, double extrapolation)
    : m_points(std::move(points)),
      m_segment(m_points.size(), 0),
      m_interval(interval),
      m_extrapolation(extrapolation),
      m_first(first),
      m_last(last) {
  for (std::size_t i = 1; i < m_points.size(); ++i) {
    const bool gap = m_points[i].time - m_points[i - 1].time > 1.01 * m_interval;
    m_segment[i] = gap ? i : m_segment[i - 1];
  }
}

std::optional<OrbitInterpolator::Window> OrbitInterpolator::windowAt(const GpsTime& t) const {
  if (m_points.empty()) return std::nullopt;
  // `right` is the first point not before t.
  const auto found = std::lower_bound(m_points.begin(), m_points.end(), t + -kSameTime,
                                      [](const OrbitPoint& p, const GpsTime& time) { return p.time < time; });
  std::size_t right = static_cast<std::size_t>(found - m_points.begin());
  bool beyondEnd = false, beforeStart = false;
  const bool onPoint = found != m_points.end() && std::fabs(found->time - t) <= kSameTime;
  if (right == m_points.size()) {
    // Behind the end: only when the product itself ends here, otherwise it has dropped the satellite.
    const double beyond = t - m_points.back().time;
    if (m_last - m_points.back().time > kSameTime || beyond > m_extrapolation) return std::nullopt;
    --right;
    beyondEnd = true;
  } else if (right == 0 && !onPoint) {
    const double before = m_points.front().time - t;
    if (m_points.front().time - m_first > kSameTime || before > m_extrapolation) return std::nullopt;
    beforeStart = true;
  } else if (!onPoint && m_segment[right] != m_segment[right - 1]) {
    return std::nullopt;
  }
  const std::size_t begin = m_segment[right];
  std::size_t end = right + 1;
  while (end < m_points.size() && end < right + kPoints && m_segment[end] == begin) ++end;
  const std::size_t count = std::min(kPoints, end - begin);
  if (count < kFewest) return std::nullopt;
  if (beyondEnd) return Window{end - kExtrapolated, kExtrapolated};
  if (beforeStart) return Window{begin, kExtrapolated};
  // As many points on both sides as the row allows.
  const std::size_t half = count / 2;
  const std::size_t first = std::min(right > begin + half ? right - half : begin, end - count);
  return Window{first, count};
}

void OrbitInterpolator::load(const BroadcastEph& eph, const Window& window) {
  if (m_eph == &eph && m_window == window) return;
  m_eph = &eph;
  m_window = window;
  m_origin = m_points[window.first].time;
  m_time.clear();
  m_difference.clear();
  for (std::size_t i = window.first; i < window.first + window.count; ++i) {
    const OrbitPoint& p = m_points[i];
    const SatState state = evaluateBroadcast(eph, p.time);
    Vector3 d{};
    for (std::size_t k = 0; k < 3; ++k) d[k] = state.position[k] - p.position[k];
    m_time.push_back(p.time - m_origin);
    m_difference.push_back(toAxes(orbitAxes(state), d));
  }
  m_scale.assign(m_time.size(), 1.0);
  for (std::size_t i = 0; i < m_time.size(); ++i) {
    for (std::size_t j = 0; j < m_time.size(); ++j) {
      if (j != i) m_scale[i] /= m_time[i] - m_time[j];
    }
  }
}

/// Lagrange polynomial through the window, the denominators kept.
Vector3 OrbitInterpolator::evaluate(double t) const {
  Vector3 sum{};
  for (std::size_t i = 0; i < m_time.size(); ++i) {
    double weight = m_scale[i];
    for (std::size_t j = 0; j < m_time.size(); ++j) {
      if (j != i) weight *= t - m_time[j];
    }
    for (std::size_t k = 0; k < 3; ++k) sum[k] += weight * m_difference[i][k];
  }
  return sum;
}

std::optional<OrbitInterpolator::Delta> OrbitInterpolator::difference(const BroadcastEph& eph,
                                                                      const GpsTime& t) {
  const auto window = windowAt(t);
  if (!window) return std::nullopt;
  load(eph, *window);
  const double at = t - m_origin;
  Delta delta;
  delta.value = evaluate(at);
  constexpr double kStep = 1.0;  // s
  const Vector3 ahead = evaluate(at + kStep);
  for (std::size_t k = 0; k < 3; ++k) delta.rate[k] = (ahead[k] - delta.value[k]) / kStep;
  return delta;
}

}  // namespace gnx
