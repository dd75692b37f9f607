#pragma once
/// \file antenna_patterns.h
/// Phase-centre patterns of receiver and satellite antennas, taken off the observations.
///
/// The engine applies phase-centre offsets and no patterns. A pattern left out costs 2 to 3 cm of height
/// with a choke ring antenna, so this host removes it from phases and codes before the engine sees them.
/// Elevation and nadir angle come from broadcast orbits and a position good to a kilometre.
///
/// Reference: Rothacher, Schmid: ANTEX, the antenna exchange format, version 1.4, 2010: an observed
/// distance is longer than the one to the mean phase centre by the pattern's value.

#include <array>
#include <map>
#include <string>
#include <vector>

#include "corrections/ephemeris_timeline.h"
#include "deployment/antex_file.h"
#include "formats/records.h"

namespace gnx {

/// Pattern of one frequency: the mean over all azimuths, and rows by azimuth where the file has them.
struct AntennaPattern {
  double first = 0.0, step = 5.0;         ///< zenith or nadir angle, degrees
  std::vector<double> values;             ///< m
  double azimuthStep = 0.0;               ///< degrees; 0: no rows
  std::vector<std::vector<double>> rows;  ///< m, from north clockwise, 360 degrees included

  /// Mean over the azimuths: linear between the nodes, the end value outside; 0 without nodes.
  double at(double degrees) const;
  /// Linear in both angles; the mean without rows.
  double at(double degrees, double azimuthDeg) const;
};

class AntennaPatterns {
 public:
  /// \param receiver  20-character type with radome; \param date  of the data
  AntennaPatterns(const std::vector<AntexBlock>& blocks, const std::string& receiver, const GpsTime& date);

  /// What the pattern adds to a distance, m; 0 where the file has none. A frequency that the file does not
  /// have takes the pattern of the nearest one that it has.
  double receiver(char system, char band, double zenithDeg, double azimuthDeg) const;
  double satellite(const SatName& sat, char band, double nadirDeg) const;

 private:
  using Patterns = std::map<std::string, AntennaPattern>;  ///< by ANTEX frequency code, "G01"
  static const AntennaPattern* find(const Patterns& patterns, char system, char band);

  Patterns m_receiver;
  std::map<SatName, Patterns> m_satellites;
};

/// Takes the patterns off the observations of a run.
class PatternCorrector {
 public:
  /// Without a position (all zero) nothing is corrected.
  PatternCorrector(AntennaPatterns patterns, const EphemerisTimeline& timeline,
                   const std::array<double, 3>& position);
  void apply(ObsEpoch& epoch) const;
  bool active() const { return m_active; }

 private:
  AntennaPatterns m_patterns;
  const EphemerisTimeline& m_timeline;
  std::array<double, 3> m_position, m_up{}, m_east{}, m_north{};
  bool m_active;
};

}  // namespace gnx
