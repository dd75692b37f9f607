// Adds up solid, pole and ocean tides in terrestrial axes.

#include "Core/Model/Tides.h"

#include <cmath>
#include <cstring>

#include "Common/Com.h"
#include "Common/Taiutc.h"
#include "Core/Model/OceanLoading.h"
#include "Core/Model/SolidTides.h"

namespace tarvio {

namespace {

/// Adds a local displacement (east, north, up, mm).
void addLocal(const double* enu_mm, const double rot[3][3], double* disp) {
  double xyz[3];
  matmpy(&rot[0][0], enu_mm, xyz, 3, 3, 1);
  for (int i = 0; i < 3; ++i) disp[i] += xyz[i] * 1e-3;
}

void addSolidTide(int mjd, double sod, const double* xsta, const double* sun, const double* moon,
                  double* disp) {
  const int leap = Taiutc::s_getInstance().m_getTaiutc(mjd);
  int day = 0, year = 0, month = 0, dayOfMonth = 0;
  double second = 0.0, part[3];
  timinc(mjd, sod, 19.0 - leap, &day, &second);
  mjd2date(day, second, &year, &month, &dayOfMonth, nullptr, nullptr, nullptr);
  dehanttideinel(xsta, year, month, dayOfMonth, second / 3600.0, sun, moon, part);
  for (int i = 0; i < 3; ++i) disp[i] += part[i];
}

/// Rotational deformation by polar motion against the mean pole (IERS Conventions 2010, eq. 7.26).
void addPoleTide(int mjd, double sod, const double rot[3][3], double lat, double lon, double xp, double yp,
                 PoleTide tide, double* disp) {
  const bool known = tide == PoleTide::known;
  double xMean = 0.0, yMean = 0.0;
  mean_pole(known ? "IERS2018" : "IERS2010", (sod + 51.184) / kDay + mjd, &xMean, &yMean);
  const double m1 = xp - xMean, m2 = -(yp - yMean);
  const double colatitude = kPi / 2.0 - lat;
  const double along = m1 * std::cos(lon) + m2 * std::sin(lon);
  const double enu[3] = {9.0 * std::cos(colatitude) * (m1 * std::sin(lon) - m2 * std::cos(lon)),
                         (known ? 9.0 : -9.0) * std::cos(2.0 * colatitude) * along,
                         -33.0 * std::sin(2.0 * colatitude) * along};
  addLocal(enu, rot, disp);
}

}  // namespace

void mean_pole(const char* conv, double mjd, double* xpm, double* ypm) {
  if (std::strcmp(conv, "IERS2003") == 0) {
    const double years = (mjd - 51545.0) / 365.25;
    *xpm = 0.054 + 0.00083 * years;
    *ypm = 0.357 + 0.00395 * years;
    return;
  }
  if (std::strcmp(conv, "IERS2018") == 0) {
    const double years = (mjd - 51544.5) / 365.25;
    *xpm = (55.0 + 1.677 * years) * 1e-3;
    *ypm = (320.5 + 3.460 * years) * 1e-3;
    return;
  }
  if (std::strcmp(conv, "IERS2010") != 0) {
    s_fatal(__func__, __LINE__, "ERROR(mean_pole):unknown conventions!\n");
  }
  const double t = (mjd - 51544.0) / 365.25;
  if (mjd < 55197.0) {
    *xpm = (55.974 + 1.8243 * t + 0.18413 * t * t + 0.007024 * t * t * t) * 1e-3;
    *ypm = (346.345 + 1.7896 * t - 0.10729 * t * t - 0.000908 * t * t * t) * 1e-3;
  } else {
    *xpm = (23.513 + 7.6141 * t) * 1e-3;
    *ypm = (358.891 - 0.6287 * t) * 1e-3;
  }
}

void tide_displace_itrs(int mjd, double sod, const double* xsta, const double* sun, const double* moon,
                        const double R[3][3], const double rot[3][3], double lat, double lon, double xp,
                        double yp, const double olc[6][11], double* disp, PoleTide tide) {
  disp[0] = disp[1] = disp[2] = 0.0;
  double sunFixed[3], moonFixed[3];  // a row vector times R takes inertial to terrestrial
  matmpy(sun, &R[0][0], sunFixed, 1, 3, 3);
  matmpy(moon, &R[0][0], moonFixed, 1, 3, 3);
  addSolidTide(mjd, sod, xsta, sunFixed, moonFixed, disp);
  addPoleTide(mjd, sod, rot, lat, lon, xp, yp, tide, disp);
  double ocean[3];
  hardisp(mjd, sod, olc, 1, 0.0, ocean);
  addLocal(ocean, rot, disp);
}

void tide_displace(int mjd, double sod, const double* xsta, const double* sun, const double* moon,
                   const double R[3][3], const double rot[3][3], double lat, double lon, double xp, double yp,
                   const double olc[6][11], double* disp) {
  double fixed[3], shift[3];
  matmpy(xsta, &R[0][0], fixed, 1, 3, 3);
  tide_displace_itrs(mjd, sod, fixed, sun, moon, R, rot, lat, lon, xp, yp, olc, shift);
  matmpy(&R[0][0], shift, disp, 3, 3, 1);
}

}  // namespace tarvio
