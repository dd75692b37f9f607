#pragma once
/// \file antenna.h
/// Antennas of satellites as they are known without any file.

#include <optional>

#include "gnx/geodesy.h"
#include "gnx/satellite.h"

namespace gnx {

/// Offset of a satellite's phase centre from its centre of mass in body axes, m, nominal for its block, to
/// 0.05 to 0.3 m; a band without one of its own has that of the nearest. Nothing for an unlisted block or
/// band.
std::optional<Vector3> nominalOffset(const SatelliteRecord& satellite, char band);

}  // namespace gnx
