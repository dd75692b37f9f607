// Tells whether an epoch is the one of its tick.

#include "Interface/EpochTick.h"

#include <cmath>

#include "Common/Constants.h"

namespace tarvio {

namespace {

/// The multiple of an interval that lies nearest, s of day.
double s_nearest(double sod, double interval_s) { return std::round(sod / interval_s) * interval_s; }

}  // namespace

bool EpochTick::s_isMultiple(double sod, double interval_s) {
  constexpr double kRounding_s = 1.0e-9;  // a tag one millisecond off counts
  return std::fabs(sod - s_nearest(sod, interval_s)) <= kTolerance_s + kRounding_s;
}

bool EpochTick::m_accept(int mjd, double sod) {
  if (m_interval == 1.0) return true;
  if (!s_isMultiple(sod, m_interval)) return false;
  const double tick = mjd * kDay + s_nearest(sod, m_interval);
  if (std::fabs(tick - m_last) <= kTolerance_s) return false;
  m_last = tick;
  return true;
}

}  // namespace tarvio
