#pragma once
/// \file satellite_body.h
/// Blocks and antenna offsets of the simulated satellites: those that a deployment without an antenna file
/// has built in.

#include <map>
#include <string>
#include <vector>

#include "geometry/vector3.h"
#include "gnx/records.h"

namespace gnx {

struct SatelliteBody {
  std::string block;                       ///< "BLOCK IIF"; "" for a satellite that is not in the table
  std::map<std::string, Vector3> antenna;  ///< against the centre of mass, body axes, m, by signal
};

SatelliteBody builtInBody(const SatName& sat, const GpsTime& date, const std::vector<std::string>& signals);

}  // namespace gnx
