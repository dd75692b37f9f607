#pragma once
/// \file simulated_vehicles.h
/// What the built-in satellite table says about the vehicles of the simulated sky.

#include <set>

#include "formats/records.h"

namespace gnx {

/// Satellites whose maker's frame has x and y opposite to the common one: GPS blocks IIR and III. The
/// engine works in that frame, so a simulation for it must, or wind-up is off by half a cycle.
std::set<SatName> reversedSatellites(const GpsTime& date);

}  // namespace gnx
