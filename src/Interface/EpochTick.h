#pragma once
/// \file EpochTick.h
/// Which epochs the filter processes: those at the multiples of its interval within the day.

namespace tarvio {

class EpochTick {
 public:
  /// How far a tag may lie off a multiple: clocks of receivers that are steered, and tags that were rounded.
  static constexpr double kTolerance_s = 1.0e-3;

  /// \param interval_s  1.0 takes every epoch, of whatever fraction
  explicit EpochTick(double interval_s) : m_interval(interval_s) {}

  /// Whether an epoch is the tick of its interval; the second epoch of a tick is none.
  bool m_accept(int mjd, double sod);
  /// Whether an epoch lies at a multiple of an interval, without rounding that grows through the day.
  static bool s_isMultiple(double sod, double interval_s);

 private:
  double m_interval;
  double m_last = -1.0;  ///< the last tick, s on the scale of MJD
};

}  // namespace tarvio
