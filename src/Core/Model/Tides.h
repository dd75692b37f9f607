#pragma once
/// \file Tides.h
/// Periodic displacement of a site: solid Earth tide, pole tide, ocean loading.

namespace tarvio {

/// What the pole tide is the tide of.
enum class PoleTide {
  /// A pole at the origin, taken for that of deployments without records: the displacement is the constant
  /// one
  /// of minus the mean pole of 2010, and its north component has the sign that such deployments have always
  /// had.
  zeroPole,
  /// A pole from records, against the secular pole.
  known
};

/// \param xsta  site, m, terrestrial
/// \param sun, moon  inertial, m
/// \param R  terrestrial to inertial; \param rot  ENU to terrestrial
/// \param xp, yp  polar motion, arcseconds
/// \param olc  ocean loading: amplitudes (m), phases (rad)
/// \param disp  displacement, m, terrestrial
void tide_displace_itrs(int mjd, double sod, const double* xsta, const double* sun, const double* moon,
                        const double R[3][3], const double rot[3][3], double lat, double lon, double xp,
                        double yp, const double olc[6][11], double* disp, PoleTide tide = PoleTide::zeroPole);

/// The same for an inertial site; the displacement comes inertial too. `rot` stays ENU to terrestrial.
void tide_displace(int mjd, double sod, const double* xsta, const double* sun, const double* moon,
                   const double R[3][3], const double rot[3][3], double lat, double lon, double xp, double yp,
                   const double olc[6][11], double* disp);

/// Conventional mean pole, arcseconds. \param conv  "IERS2003", "IERS2010" or "IERS2018", the linear secular
/// pole of the update of 2018; anything else ends the process
void mean_pole(const char* conv, double mjd, double* xpm, double* ypm);

}  // namespace tarvio
