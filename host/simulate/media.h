#pragma once
/// \file media.h
/// Troposphere and ionosphere over the simulated site.

#include <cstdint>
#include <optional>
#include <vector>

#include "geometry/vector3.h"
#include "gnx/records.h"

namespace gnx {

struct TroposphereOptions {
  bool on = true;
  double wetZenith = 0.12;    ///< mean zenith wet delay, m
  double wetWalk = 0.005;     ///< random walk of it, m per root hour
  double wetDiurnal = 0.005;  ///< amplitude of its daily wave, m
  /// Coefficients of the mapping functions; nothing = climatological means of the latitude.
  std::optional<double> hydrostaticCoefficient, wetCoefficient;
};

/// Zenith delays in metres.
struct ZenithDelay {
  double hydrostatic = 0.0, wet = 0.0;
};

/// Neutral atmosphere: Saastamoinen's hydrostatic zenith delay for standard pressure at the height of the
/// site, a wet zenith delay that wanders, no horizontal gradients.
///
/// Mapping: Marini-Herring continued fractions. Hydrostatic b, c as in the Vienna mapping functions
/// (Boehm et al. 2006) without the season, wet b, c and height correction as Niell (1996); the a
/// coefficients are zonal means of the GPT2 climatology (Lagler et al. 2013). Against a mapping with the
/// local, seasonal coefficients the slant delay differs by 5 mm at 15 degrees and 15 mm at 10 degrees.
class Troposphere {
 public:
  Troposphere(const TroposphereOptions& options, const Geodetic& site, const GpsTime& start, double hours,
              std::uint64_t seed);

  ZenithDelay zenith(const GpsTime& t) const;
  double hydrostaticMapping(double elevation) const;
  double wetMapping(double elevation) const;
  /// Slant delay, m.
  double delay(double elevation, const GpsTime& t) const;

 private:
  TroposphereOptions m_options;
  GpsTime m_start;
  double m_hydrostatic = 0.0, m_height = 0.0;
  double m_ah = 0.0, m_ch = 0.0, m_aw = 0.0;
  std::vector<double> m_walk;  // m, one node every kWalkStep seconds
};

struct IonosphereOptions {
  bool on = true;
  double nightTec = 5.0, dayTec = 25.0;  ///< vertical content at the equator, TECU
  double poleShare = 0.4;                ///< content at the poles as a share of that
  double waveTec = 0.0;                  ///< amplitude of a travelling wave of the vertical content, TECU
  double wavePeriod = 900.0;             ///< s, at a fixed place
  double waveSpeed = 150.0;              ///< m/s over the ground at 450 km
};

/// Single layer at 450 km: vertical content with a daily wave (largest at 14 h local time) that falls from
/// the equator to the poles, mapped by the cosine at the pierce point. First order only.
///
/// A storm is a plane wave that travels over the site in a direction of the seed: every pierce point has its
/// own phase. Medium-scale travelling disturbances have periods of 10 to 30 min, 50 to 400 m/s, 0.5 to 3 TECU
/// (Hernandez-Pajares et al. 2006, J. Geophys. Res. 111, A07S11); those of storms reach 10 TECU and more.
class Ionosphere {
 public:
  Ionosphere(const IonosphereOptions& options, const Geodetic& site, const GpsTime& start,
             std::uint64_t seed);

  /// Vertical content at a place, TECU.
  double verticalContent(double latitude, double longitude, const GpsTime& t) const;
  /// Slant content from a receiver, TECU; angles in radians.
  double slantContent(const Geodetic& receiver, double azimuth, double elevation, const GpsTime& t) const;
  /// Group delay of one TECU at a frequency, m.
  static double delayPerTecu(double frequency) { return 40.308193e16 / (frequency * frequency); }

 private:
  double wave(double latitude, double longitude, const GpsTime& t) const;

  IonosphereOptions m_options;
  Geodetic m_site;
  GpsTime m_start;
  double m_waveAzimuth = 0.0, m_wavePhase = 0.0;  // rad
};

}  // namespace gnx
