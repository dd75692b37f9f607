#pragma once
/// \file zonal_tides.h
/// What the zonal tides of the solid Earth and the oceans do to its rotation.

namespace gnx {

/// What the tides of five days to 18.6 years add to UT1, s (IERS Conventions 2010, table 8.1).
/// \param mjd  UTC
double zonalTides_s(double mjd);
/// The same of the tides up to 35 days alone, which UT1R is without.
double shortZonalTides_s(double mjd);

}  // namespace gnx
