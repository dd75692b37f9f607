#pragma once
/// \file pole_table.h
/// The pole of a deployment: records of a file around the date, the secular pole outside of them.

#include <iosfwd>
#include <vector>

#include "gnx/read.h"

namespace gnx {

/// The linear secular pole of the IERS Conventions (2010), update of 2018, at an MJD; no UT1.
EarthRotation secularPole(double mjd);

/// Writes the engine's table: records from 40 days before `mjd` on, without the zonal tides in UT1, led over
/// to the secular pole within 30 days at both ends. The table has no end that a running engine could reach.
/// \return the records that were taken, none when the file ends earlier
std::vector<EarthRotation> writePoleTable(std::ostream& out, const std::vector<EarthRotation>& records,
                                          double mjd);

}  // namespace gnx
