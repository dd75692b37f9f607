#pragma once
/// \file mass_centre.h
/// From the antenna of a satellite, to which most streams refer, to its centre of mass, to which orbit
/// files refer.
///
/// The offset is that of the ionosphere-free combination of the pair to which the clocks refer,
///     (f1^2 o1 - f2^2 o2)/(f1^2 - f2^2),
/// in body axes of nominal yaw: z to the Earth, y along the panels, x on the Sun's side;
/// geostationary satellites keep y normal to the orbit. Turns at noon and midnight are not followed: they
/// matter for offsets along x and y alone, some decimetres on some blocks.
///
/// Reference: Montenbruck et al., GNSS satellite geometry and attitude models, Adv. Space Res. 56, 2015.

#include <map>
#include <optional>
#include <vector>

#include "deployment/antex_file.h"
#include "gnx/corrections.h"
#include "gnx/signal.h"

namespace gnx {

class MassCentre {
 public:
  /// \param date  of the data: blocks valid then are taken
  MassCentre(const std::vector<AntexBlock>& blocks, const GpsTime& date);

  /// Antenna minus centre of mass, Earth-fixed, m; nothing for a satellite without offsets of both
  /// frequencies. \param position  of the satellite, Earth-fixed, m
  std::optional<Vector3> offset(const SatName& sat, const Vector3& position, const GpsTime& t) const;

 private:
  std::map<SatName, Vector3> m_offsets;  ///< ionosphere-free, body axes, m
};

}  // namespace gnx
