#pragma once
/// \file ionosphere.h
/// Maps of the vertical electron content, and what they say along a line of sight.

#include <cstddef>
#include <map>
#include <optional>
#include <vector>

#include "gnx/geodesy.h"
#include "gnx/satellite.h"
#include "gnx/time.h"

namespace gnx {

/// Equally spaced nodes of a coordinate, degrees.
struct MapAxis {
  double first = 0.0, step = 0.0;
  std::size_t count = 0;

  double last() const { return first + step * static_cast<double>(count - 1); }
};

/// Vertical electron content of one epoch.
struct IonosphereMap {
  GpsTime time;
  std::vector<double> content;  ///< TECU (1e16 electrons/m^2), latitude by latitude; NaN where there is none
};

/// Maps on one layer and one grid, in order of time.
struct IonosphereMaps {
  double baseRadius_m = 6371e3, height_m = 450e3;  ///< of the layer above that sphere
  MapAxis latitude, longitude;                     ///< geocentric, degrees
  std::vector<IonosphereMap> maps;
  /// Differential code biases of satellites, first minus second signal of the pair to which clocks refer, s.
  std::map<SatName, double> codeBiases;

  /// TECU: bilinear on the grid, linear in time between maps that are turned with the Sun, 15 degrees an
  /// hour. Before the first and behind the last map that one is turned on. Beyond the last row of latitudes
  /// the row; nothing beyond a grid that does not go round, and at nodes without a value. \param
  /// latitude_deg, longitude_deg  geocentric
  std::optional<double> vertical(double latitude_deg, double longitude_deg, const GpsTime& t) const;
};

/// Electron content between two Earth-fixed points, TECU: the vertical one where the line crosses the layer,
/// over the cosine of the zenith angle there (single layer). Nothing below the horizon and where the maps
/// have nothing.
std::optional<double> slantContent(const IonosphereMaps& maps, const Vector3& receiver,
                                   const Vector3& satellite, const GpsTime& t);

/// Delay of a code, m, by a content in TECU; the phase is advanced by the same.
inline double ionosphereDelay(double content, double hz) { return 40.3e16 / (hz * hz) * content; }

}  // namespace gnx
