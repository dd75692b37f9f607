#pragma once
/// \file earth_rotation.h
/// Earth rotation parameters: files of the IGS (.erp, version 2) and "finals2000A" of the IERS.

#include <string>
#include <vector>

namespace gnx {

/// Pole and UT1 at an epoch of UTC.
struct EarthRotation {
  double mjd = 0.0;
  double x = 0.0, y = 0.0;   ///< pole, arcsec
  double ut1MinusUtc = 0.0;  ///< s, with the zonal tides
};

/// Records in order of time, plain or gzip'ed file; predictions count, days without values are passed over.
/// \throws InputError: neither of the two forms, damaged numbers, dates that do not ascend, no record
std::vector<EarthRotation> readEarthRotation(const std::string& path);

}  // namespace gnx
