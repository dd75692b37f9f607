// Keeps the positions of a run in bounded memory.

#include "live/position_history.h"

#include "text/printed.h"

namespace gnx {

std::string trackPointJson(const TrackPoint& p) {
  const double t = static_cast<double>(p.time.seconds) + p.time.fraction;
  if (p.state == SolutionState::none) return printed("[%.3f,0]", t);
  return printed("[%.3f,%d,%.5f,%.5f,%.5f]", t, static_cast<int>(p.state), p.east_m, p.north_m, p.up_m);
}

TrackPoint PositionHistory::add(const Solution& solution) {
  TrackPoint point{solution.time, solution.state, 0.0, 0.0, 0.0};
  if (solution.solved()) {
    const Geodetic place = toGeodetic(solution.position);
    if (!m_origin) m_origin = place, m_first = solution.position;
    const Vector3& p = solution.position;
    const Vector3 enu = toEastNorthUp({p[0] - m_first[0], p[1] - m_first[1], p[2] - m_first[2]}, *m_origin);
    point.east_m = enu[0], point.north_m = enu[1], point.up_m = place.height - m_origin->height;
  }
  m_recent.push_back(point);
  if (m_recent.size() <= m_most) return point;
  if (m_count++ % m_stride == 0) m_old.push_back(m_recent.front());
  m_recent.pop_front();
  if (m_old.size() > m_most) {
    for (std::size_t i = 1; 2 * i < m_old.size(); ++i) m_old[i] = m_old[2 * i];
    m_old.resize((m_old.size() + 1) / 2);
    m_stride *= 2;
  }
  return point;
}

std::vector<TrackPoint> PositionHistory::points() const {
  std::vector<TrackPoint> all = m_old;
  all.insert(all.end(), m_recent.begin(), m_recent.end());
  return all;
}

}  // namespace gnx
