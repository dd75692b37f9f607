#pragma once
/// \file fitted_messages.h
/// Broadcast messages made of precise orbits, for runs without a navigation file.
///
/// The engine corrects broadcast messages. Corrections are differences to whatever messages it holds, so the
/// messages themselves may be decimetres off and the corrected orbit is exact all the same. They only have to
/// be near enough for differences to be smooth and for an approximate position.

#include <map>
#include <vector>

#include "gnx/read.h"

namespace gnx {

/// One message every two hours and satellite, fitted to the positions within two hours of it: Kepler
/// elements, their rates and the six harmonic terms, by least squares. Clocks: offset and drift of the
/// product there. Satellites with fewer than nine positions in that time, GLONASS, and geostationary BeiDou
/// satellites, whose messages have a frame of their own, are left out. All messages are there from the
/// beginning on.
NavData fitMessages(const Sp3Product& product, const std::map<SatName, std::vector<ClockPoint>>& clocks);

}  // namespace gnx
