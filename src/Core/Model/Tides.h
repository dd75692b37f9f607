#pragma once
/// \file Tides.h
/// Periodic displacement of a site: solid Earth tide, pole tide, ocean loading.

namespace tarvio {

/// \param xsta  site, m, terrestrial
/// \param sun, moon  inertial, m
/// \param R  terrestrial to inertial; \param rot  ENU to terrestrial
/// \param xp, yp  polar motion, arcseconds
/// \param olc  ocean loading: amplitudes (m), phases (rad)
/// \param disp  displacement, m, terrestrial
void tide_displace_itrs(int mjd, double sod, const double* xsta, const double* sun, const double* moon,
                        const double R[3][3], const double rot[3][3], double lat, double lon, double xp,
                        double yp, const double olc[6][11], double* disp);

/// The same for an inertial site; the displacement comes inertial too. `rot` stays ENU to terrestrial.
void tide_displace(int mjd, double sod, const double* xsta, const double* sun, const double* moon,
                   const double R[3][3], const double rot[3][3], double lat, double lon, double xp, double yp,
                   const double olc[6][11], double* disp);

/// Conventional mean pole, arcseconds. \param conv  "IERS2003" or "IERS2010"; anything else ends the process
void mean_pole(const char* conv, double mjd, double* xpm, double* ypm);

}  // namespace tarvio
