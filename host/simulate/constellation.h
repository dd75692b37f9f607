#pragma once
/// \file constellation.h
/// The simulated sky: true orbits and clocks, the broadcast messages that approximate them, the
/// corrections that close the gap, and the signal biases.
///
/// Truth. A satellite flies a perturbed Kepler orbit: the element set of one broadcast message, held for
/// the whole simulation. Its clock is a line plus a random walk, without the periodic relativity. The
/// orbit gives the position of the antenna phase centre, one point for all frequencies, or on request that of
/// the centre of mass, with the built-in antenna offsets of the satellite's block.
///
/// Attitude. The Sun stands as far as can be from all orbital planes, and every satellite keeps nominal yaw
/// attitude; or it stands near the first plane of every shell, and satellites turn at noon and midnight as
/// their blocks do (attitude.h).
///
/// Messages. Each has the true elements moved to its own reference time plus errors of a metre, the true
/// clock plus errors of a nanosecond, rounded to the digits of a RINEX file. Reference times: GPS and
/// QZSS every 2 h, sent 2 h ahead; BeiDou every hour of its own time; Galileo F/NAV every 10 min.
/// Issue of data: 8 bits counted by two hours (G, J), 10 bits by ten minutes (E), half hours of the day
/// of toe plus one (C).
///
/// Corrections have the signs of RTCM SSR (records.h). They refer to the newest message sent at least
/// two minutes before.
///
/// Biases: measured range = clean range - code bias, measured phase = clean phase - phase bias, so that
/// adding them cleans. The code biases of a system's first two signals cancel in their ionosphere-free
/// combination, which is what the broadcast clocks of GPS, Galileo and QZSS refer to; the group delay in
/// the message (zero for BeiDou) is consistent with them. All are multiples of 0.1 mm, constant.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "gnx/records.h"
#include "simulate/attitude.h"
#include "simulate/kepler.h"
#include "simulate/random.h"
#include "simulate/signals.h"

namespace gnx {

struct SkyOptions {
  std::string systems = "GEC";  ///< letters of G E C J
  GpsTime start;
  double hours = 2.0;
  std::uint64_t seed = 1;
  SignalTable signals = defaultSignals();
  double broadcastErrorScale = 1.0;  ///< 0 = messages equal the truth
  double clockWalk = 1e-12;          ///< random walk of the satellite clocks, s per root second
  double codeBiasSigma = 1.0;        ///< m
  double phaseBiasSigma = 0.5;       ///< m
  /// The Sun above the first plane of every shell at the start, degrees; nothing: far from all planes.
  std::optional<double> sunAbovePlane{};
  bool turns = true;        ///< near the Sun's plane satellites turn as their blocks do; false: nominal yaw
  bool massCentre = false;  ///< orbits and corrections refer to the centre of mass
};

/// One satellite with all that is known about it.
struct SimulatedSatellite {
  SatName name;
  BroadcastEph truth;                                 ///< elements of the true orbit, reference time = start
  double clockOffset = 0.0, clockDrift = 0.0;         ///< s, s/s at the start
  std::vector<double> clockWalk;                      ///< s, at the walk's nodes
  std::map<std::string, double> codeBias, phaseBias;  ///< m, by signal
  std::vector<BroadcastEph> messages;                 ///< in order of transmission
  std::string block;                                  ///< "BLOCK IIF"
  std::map<std::string, Vector3> antenna;  ///< against the orbit, body axes, m, by signal; absent = zero
  Attitude attitude;
};

class Constellation {
 public:
  /// \throws UsageError for an unknown system, no system, or a span out of (0, 14 days].
  explicit Constellation(const SkyOptions& options);

  const std::vector<SimulatedSatellite>& satellites() const { return m_satellites; }
  const SkyOptions& options() const { return m_options; }

  /// True state of the antenna phase centre.
  SatelliteState state(std::size_t satellite, const GpsTime& t) const;
  /// True clock without periodic relativity, s.
  double clock(std::size_t satellite, const GpsTime& t) const;
  /// Yaw against nominal yaw, deg. \param g  geometry at `t`
  double turned(std::size_t satellite, const GpsTime& t, const SunGeometry& g) const {
    return m_satellites[satellite].attitude.turned(t, g);
  }
  /// What the signal carries beyond it: -2 r.v/c^2, s.
  static double periodicRelativity(const SatelliteState& state);

  /// The message to which corrections of time `t` refer.
  const BroadcastEph& message(std::size_t satellite, const GpsTime& t) const;
  /// Broadcast minus truth along the axes of the broadcast orbit; `reference` picks the message.
  SsrOrbit orbitCorrection(std::size_t satellite, const GpsTime& t, const GpsTime& reference) const;
  SsrClock clockCorrection(std::size_t satellite, const GpsTime& t, const GpsTime& reference) const;

 private:
  void addSystem(char system);
  void makeBody(SimulatedSatellite& satellite) const;
  void makeClock(SimulatedSatellite& satellite) const;
  void makeBiases(SimulatedSatellite& satellite) const;
  void makeMessages(SimulatedSatellite& satellite) const;
  BroadcastEph makeMessage(const SimulatedSatellite& satellite, const GpsTime& toe, Random& random) const;
  double trueClock(const SimulatedSatellite& satellite, const GpsTime& t) const;

  SkyOptions m_options;
  GpsTime m_walkStart;
  std::vector<SimulatedSatellite> m_satellites;
};

}  // namespace gnx
