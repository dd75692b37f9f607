#pragma once
/// \file receiver.h
/// The simulated receiver: where it is and how its clock runs.

#include <cstdint>
#include <string>

#include "geometry/vector3.h"
#include "gnx/records.h"
#include "simulate/random.h"

namespace gnx {

struct PathOptions {
  std::string kind = "static";     ///< "static", "circle", "figure8"
  double radius = 200.0;           ///< m; half the length of a figure of eight
  double speed = 10.0;             ///< m/s: exact on the circle, the largest on the figure of eight
  double verticalAmplitude = 0.0;  ///< m, a slow wave of 10 minutes
};

/// A smooth path in the local axes of the site. At rest for "static".
class ReceiverPath {
 public:
  /// \throws UsageError for an unknown kind or a radius or speed that is not positive.
  ReceiverPath(const PathOptions& options, const Vector3& site, const GpsTime& start);

  bool moving() const { return m_options.kind != "static"; }
  Vector3 position(const GpsTime& t) const;
  Vector3 velocity(const GpsTime& t) const;

 private:
  Vector3 local(double seconds) const;

  PathOptions m_options;
  Vector3 m_site;
  Geodetic m_place;
  GpsTime m_start;
};

struct ReceiverClockOptions {
  /// "steered": kept at zero within white noise; "free": a line and a random walk; "jumping": drifts and
  /// is set back by 1 ms whenever it leaves +-0.5 ms, in ranges and phases alike.
  std::string kind = "free";
  double whiteNoise = 1e-8;    ///< s, steered
  double offset = 3e-6;        ///< s, free and jumping, at the start
  double drift = 2e-9;         ///< s/s, free
  double jumpingDrift = 3e-7;  ///< s/s, jumping
  double walk = 1e-10;         ///< s per root second, free and jumping
};

/// Clock error at the epochs, in order of time: reading minus GPS time, s.
class ReceiverClock {
 public:
  /// \throws UsageError for an unknown kind.
  ReceiverClock(const ReceiverClockOptions& options, const GpsTime& start, std::uint64_t seed);
  double next(const GpsTime& t);
  double driftRate() const;

 private:
  ReceiverClockOptions m_options;
  GpsTime m_start, m_last;
  Random m_random;
  double m_walk = 0.0;
};

}  // namespace gnx
