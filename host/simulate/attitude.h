#pragma once
/// \file attitude.h
/// How a simulated satellite points while the Sun is near its orbital plane.
///
/// Body axes are those of the IGS convention (Montenbruck et al. 2015, Adv. Space Res. 56): z to the Earth,
/// x of nominal yaw on the side of the Sun. Angles in degrees. Yaw is the angle from the along-track
/// direction to body x about body z. mu: orbit angle from the midnight point in the sense of motion; beta:
/// the Sun above the orbital plane; depth: angle between the satellite and the nearer one of the midnight and
/// the noon point of the sky.
///
/// The laws, one sample a second over a passage of noon or midnight:
///
/// | block                  | law                                                                        |
/// |------------------------|----------------------------------------------------------------------------|
/// | BLOCK IIR*, IIIA       | follows nominal yaw at no more than 0.2 deg/s                              |
/// | BLOCK IIF              | noon: the same at 0.11 deg/s; shadow (depth below 13.25): constant rate    |
/// |                        | from the yaw of its entry to that of its exit                              |
/// | GALILEO-1              | depth below 15, beta below 2: the Sun's component across the plane is      |
/// |                        | replaced by a smooth one                                                   |
/// | GALILEO-2              | depth below 10, beta below 4.1: cosine of 5656 s to +-90 deg               |
/// | BEIDOU-3M-CAST         | beta below 3, mu within 6 of the event: cosine of 3090 s to +-90 deg       |
/// | BEIDOU-3I*             | the same with 5740 s                                                       |
/// | BEIDOU-3M-SECM         | beta below 3: that of beta = +-3, all along the orbit                      |
/// | others                 | nominal                                                                    |
///
/// Left out: the bias in the yaw of IIF, which reverses its noon turns for beta from -0.9 to 0, and a change
/// of the sign of beta within a turn.
///
/// References: Kouba, GPS Solutions 13, 2009; Dilssner, Inside GNSS 9/2010 (IIF); European GNSS Service
/// Centre, Galileo satellite metadata; Wang et al., GPS Solutions 22, 2018 (CAST); China Satellite Navigation
/// Office, 2019 (SECM).

#include <functional>
#include <string>
#include <vector>

#include "geometry/vector3.h"
#include "gnx/attitude.h"
#include "gnx/records.h"
#include "simulate/kepler.h"

namespace gnx {

/// Where the Sun stands against an orbit.
struct SunGeometry {
  double beta = 0.0, mu = 0.0, depth = 0.0;
  bool night = false;
  Vector3 along{}, across{}, down{};  ///< orbital axes: e_x along track, e_y, e_z to the Earth
};

/// \param satellite  earth-fixed state; \param sun  in the same axes, m
SunGeometry sunGeometry(const SatelliteState& satellite, const Vector3& sun);
/// deg
double nominalYaw(const SunGeometry& g);

/// Axes of nominal yaw.
BodyAxes nominalAxes(const Vector3& satellite, const Vector3& sun);
/// Axes turned about z, deg.
BodyAxes turnedAboutZ(const BodyAxes& axes, double angle);

/// The turns of one satellite over a span of time.
class Attitude {
 public:
  using Orbit = std::function<SatelliteState(const GpsTime&)>;

  /// Nominal yaw at all times.
  Attitude() = default;
  /// Flies the turns of the block between two times.
  Attitude(const std::string& block, const Orbit& orbit, const GpsTime& from, const GpsTime& to);

  /// Yaw against nominal yaw at a time, deg; `g` is the geometry then.
  double turned(const GpsTime& t, const SunGeometry& g) const;

 private:
  struct Passage {
    GpsTime start;
    std::vector<double> turned;  ///< yaw against nominal, deg, every second
  };

  void addPassage(const std::string& block, const GpsTime& start, const std::vector<SunGeometry>& seconds);

  bool m_frozenBeta = false;
  std::vector<Passage> m_passages;
};

}  // namespace gnx
