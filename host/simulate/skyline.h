#pragma once
/// \file skyline.h
/// What a street hides from the simulated receiver, and what its walls reflect.
///
/// The street runs along the receiver's path, as straight as a ruler, with facades at equal distance on both
/// sides; a receiver at rest stands in one. Lots of 12 to 45 m have a height of their own, some are empty;
/// districts of 0.5 to 2.5 km are open, suburban or densely built. Vehicles pass or stand beside the receiver
/// for 3 to 60 s. Heights are above the antenna.
///
/// A facade hides a satellite whose ray passes below its top. The facade opposite, if it mirrors as
/// every third does, reflects a ray that meets it and has passed above the near one: the signal of an image
/// behind the wall, longer by 2 w |sin a| cos e (w: distance of the wall, a: azimuth from the street, e:
/// elevation).

#include <array>
#include <cstdint>
#include <vector>

#include "simulate/random.h"

namespace gnx {

/// How a satellite is seen.
struct Sight {
  bool direct = true;
  double detour = 0.0;  ///< of a reflected signal against the direct one, m; 0: none

  bool seen() const { return direct || detour > 0.0; }
};

class Skyline {
 public:
  /// Sides as seen in the direction of motion.
  enum Side { left, right };
  struct Lot {
    double from = 0.0;  ///< m along the street; it ends where the next one begins
    double height = 0.0;
    bool mirror = false;  ///< of glass or metal
  };
  struct Vehicle {
    double from = 0.0, to = 0.0;  ///< s
    Side side = left;
  };
  static constexpr double kWall = 12.0;  ///< m from the receiver to either facade

  /// A town for a receiver that moves at `speed` (m/s, 0 at rest) over some hours.
  Skyline(double hours, double speed, std::uint64_t seed);
  /// A street of given facades, lots in order.
  Skyline(std::vector<Lot> leftLots, std::vector<Lot> rightLots, std::vector<Vehicle> vehicles);

  /// Azimuth from the direction of motion, clockwise, and elevation, rad; place along the street, m; time, s.
  Sight look(double azimuth, double elevation, double along, double seconds) const;

 private:
  Lot lotAt(Side side, double along) const;
  bool behindVehicle(Side side, double sine, double cosine, double tangent, double seconds) const;
  void build(double length, Random& random);

  std::array<std::vector<Lot>, 2> m_lots;
  std::vector<Vehicle> m_vehicles;
};

}  // namespace gnx
