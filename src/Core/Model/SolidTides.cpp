// Displacement of a site by Sun and Moon: in-phase, out-of-phase and frequency-dependent parts.

#include "Core/Model/SolidTides.h"

#include <cmath>

#include "Common/Com.h"
#include "Common/Taiutc.h"
#include "Core/Model/TideTables.h"

namespace tarvio {

namespace {

constexpr double kH20 = 0.6078, kL20 = 0.0847, kH3 = 0.292, kL3 = 0.015;  ///< Love and Shida numbers
constexpr double kMassRatioSun = 332946.0482, kMassRatioMoon = 0.0123000371;
constexpr double kEarthRadius = 6378136.6;  ///< m

/// Geocentric direction of a site.
struct Site {
  double sinPhi, cosPhi, sinLambda, cosLambda;
  double cos2Phi() const { return cosPhi * cosPhi - sinPhi * sinPhi; }
};

Site siteOf(const double* x) {
  const double r = std::sqrt(dot(3, x, x));
  Site s{};
  s.sinPhi = x[2] / r;
  s.cosPhi = std::hypot(x[0], x[1]) / r;
  s.sinLambda = x[1] / s.cosPhi / r;
  s.cosLambda = x[0] / s.cosPhi / r;
  return s;
}

/// Adds up, north, east to x, y, z.
void addLocal(const Site& s, double up, double north, double east, double* d) {
  d[0] += up * s.cosLambda * s.cosPhi - east * s.sinLambda - north * s.sinPhi * s.cosLambda;
  d[1] += up * s.sinLambda * s.cosPhi + east * s.cosLambda - north * s.sinPhi * s.sinLambda;
  d[2] += up * s.sinPhi + north * s.cosPhi;
}

/// Products of a body's direction with the longitude of the site: diurnal a1, b1, semi-diurnal a2, b2.
struct BodyTerms {
  double a1, b1, a2, b2;
};

BodyTerms termsOf(const Site& s, const double* body) {
  const double r2 = dot(3, body, body);
  const double x = body[0], y = body[1], z = body[2];
  const double sin2 = 2.0 * s.sinLambda * s.cosLambda,
               cos2 = s.cosLambda * s.cosLambda - s.sinLambda * s.sinLambda;
  return {z * (x * s.sinLambda - y * s.cosLambda) / r2, z * (x * s.cosLambda + y * s.sinLambda) / r2,
          ((x * x - y * y) * sin2 - 2.0 * x * y * cos2) / r2,
          ((x * x - y * y) * cos2 + 2.0 * x * y * sin2) / r2};
}

/// Sums a correction over Sun and Moon; `add(factor, terms)` returns nothing and adds to up, north, east.
template <typename Correction>
void sumBodies(const double* xsta, const double* xsun, const double* xmon, double fac2sun, double fac2mon,
               double* xcorsta, Correction correction) {
  const Site site = siteOf(xsta);
  double local[3] = {};  // up, north, east
  correction(site, fac2sun, termsOf(site, xsun), local);
  correction(site, fac2mon, termsOf(site, xmon), local);
  xcorsta[0] = xcorsta[1] = xcorsta[2] = 0.0;
  addLocal(site, local[0], local[1], local[2], xcorsta);
}

/// Arguments of the second step, degrees.
struct TideAngles {
  double tau, s, h, p, np, ps;
};

TideAngles anglesAt(double fhr, double t) {
  const auto horner = [t](double a, double b, double c, double d, double e) {
    return (((e * t + d) * t + c) * t + b) * t + a;
  };
  TideAngles a{};
  a.s = horner(218.31664563, 481267.88194, -0.0014663889, 0.00000185139, 0.0);
  a.tau = fhr * 15.0 + horner(280.4606184, 36000.7700536, 0.00038793, -0.0000000258, 0.0) - a.s;
  a.s += horner(0.0, 1.396971278, 0.000308889, 0.000000021, 0.000000007);
  a.h = horner(280.46645, 36000.7697489, 0.00030322222, 0.000000020, -0.00000000654);
  a.p = horner(83.35324312, 4069.01363525, -0.01032172222, -0.0000124991, 0.00000005263);
  a.np = horner(234.95544499, 1934.13626197, -0.00207561111, -0.00000213944, 0.00000001650);
  a.ps = horner(282.93734098, 1.71945766667, 0.00045688889, -0.00000001778, -0.00000000334);
  for (double* angle : {&a.s, &a.tau, &a.h, &a.p, &a.np, &a.ps}) *angle = std::fmod(*angle, 360.0);
  return a;
}

double argumentOf(const SolidTideTerm& term, const TideAngles& a) {
  return term.n[0] * a.s + term.n[1] * a.h + term.n[2] * a.p + term.n[3] * a.np + term.n[4] * a.ps;
}

/// In-phase displacement of degrees 2 and 3 by one body (eqs. 7.5, 7.6). \return degree-2 factor, m
double addInPhase(const double* xsta, const double* body, double massRatio, double h2, double l2, double* d) {
  double station[3], direction[3], distance = 0.0;
  unit_vector(3, xsta, station, nullptr);
  unit_vector(3, body, direction, &distance);
  const double s = dot(3, station, direction);
  const double ratio = kEarthRadius / distance;
  const double f2 = massRatio * kEarthRadius * ratio * ratio * ratio, f3 = f2 * ratio;
  const double p2 = 3.0 * (h2 / 2.0 - l2) * s * s - h2 / 2.0, x2 = 3.0 * l2 * s;
  const double p3 = 2.5 * (kH3 - 3.0 * kL3) * s * s * s + 1.5 * (kL3 - kH3) * s;
  const double x3 = 1.5 * kL3 * (5.0 * s * s - 1.0);
  for (int i = 0; i < 3; ++i) {
    d[i] += f2 * (x2 * direction[i] + p2 * station[i]) + f3 * (x3 * direction[i] + p3 * station[i]);
  }
  return f2;
}

}  // namespace

void ST1IDIU(const double* xsta, const double* xsun, const double* xmon, double fac2sun, double fac2mon,
             double* xcorsta) {
  constexpr double kDh = -0.0025, kDl = -0.0007;
  sumBodies(xsta, xsun, xmon, fac2sun, fac2mon, xcorsta,
            [](const Site& s, double f2, const BodyTerms& b, double* d) {
              d[0] += -3.0 * kDh * s.sinPhi * s.cosPhi * f2 * b.a1;
              d[1] += -3.0 * kDl * s.cos2Phi() * f2 * b.a1;
              d[2] += -3.0 * kDl * s.sinPhi * f2 * b.b1;
            });
}

void ST1ISEM(const double* xsta, const double* xsun, const double* xmon, double fac2sun, double fac2mon,
             double* xcorsta) {
  constexpr double kDh = -0.0022, kDl = -0.0007;
  sumBodies(xsta, xsun, xmon, fac2sun, fac2mon, xcorsta,
            [](const Site& s, double f2, const BodyTerms& b, double* d) {
              d[0] += -0.75 * kDh * s.cosPhi * s.cosPhi * f2 * b.a2;
              d[1] += 1.5 * kDl * s.sinPhi * s.cosPhi * f2 * b.a2;
              d[2] += -1.5 * kDl * s.cosPhi * f2 * b.b2;
            });
}

void ST1L1(const double* xsta, const double* xsun, const double* xmon, double fac2sun, double fac2mon,
           double* xcorsta) {
  constexpr double kL1Diurnal = 0.0012, kL1SemiDiurnal = 0.0024;
  sumBodies(xsta, xsun, xmon, fac2sun, fac2mon, xcorsta,
            [](const Site& s, double f2, const BodyTerms& b, double* d) {
              d[1] += -3.0 * kL1Diurnal * s.sinPhi * s.sinPhi * f2 * b.b1;
              d[2] += 3.0 * kL1Diurnal * s.sinPhi * s.cos2Phi() * f2 * b.a1;
              d[1] += -1.5 * kL1SemiDiurnal * s.sinPhi * s.cosPhi * f2 * b.b2;
              d[2] += -1.5 * kL1SemiDiurnal * s.sinPhi * s.sinPhi * s.cosPhi * f2 * b.a2;
            });
}

void STEP2DIU(const double* xsta, double fhr, double t, double* xcorsta) {
  const Site site = siteOf(xsta);
  const TideAngles angles = anglesAt(fhr, t);
  const double longitude = std::atan2(site.sinLambda, site.cosLambda);
  double up = 0.0, north = 0.0, east = 0.0;
  for (const SolidTideTerm& term : kSolidDiurnal) {
    const double theta = (angles.tau + argumentOf(term, angles)) * kDegToRad + longitude;
    const double sine = std::sin(theta), cosine = std::cos(theta);
    up += 2.0 * site.sinPhi * site.cosPhi * (term.radialIn * sine + term.radialOut * cosine);
    north += site.cos2Phi() * (term.transverseIn * sine + term.transverseOut * cosine);
    east += site.sinPhi * (term.transverseIn * cosine - term.transverseOut * sine);
  }
  xcorsta[0] = xcorsta[1] = xcorsta[2] = 0.0;
  addLocal(site, up * 1e-3, north * 1e-3, east * 1e-3, xcorsta);
}

void STEP2LON(const double* xsta, double t, double* xcorsta) {
  const Site site = siteOf(xsta);
  const TideAngles angles = anglesAt(0.0, t);
  double up = 0.0, north = 0.0;
  for (const SolidTideTerm& term : kSolidLongPeriod) {
    const double theta = argumentOf(term, angles) * kDegToRad;
    const double sine = std::sin(theta), cosine = std::cos(theta);
    up += (3.0 * site.sinPhi * site.sinPhi - 1.0) / 2.0 * (term.radialIn * cosine + term.radialOut * sine);
    north += 2.0 * site.cosPhi * site.sinPhi * (term.transverseIn * cosine + term.transverseOut * sine);
  }
  xcorsta[0] = xcorsta[1] = xcorsta[2] = 0.0;
  addLocal(site, up * 1e-3, north * 1e-3, 0.0, xcorsta);
}

void dehanttideinel(const double* xsta, int year, int month, int day, double fhr, const double* xsun,
                    const double* xmon, double* dxtide) {
  const Site site = siteOf(xsta);
  const double latitudeTerm = 1.0 - 1.5 * site.cosPhi * site.cosPhi;
  const double h2 = kH20 - 0.0006 * latitudeTerm, l2 = kL20 + 0.0002 * latitudeTerm;
  dxtide[0] = dxtide[1] = dxtide[2] = 0.0;
  const double fac2sun = addInPhase(xsta, xsun, kMassRatioSun, h2, l2, dxtide);
  const double fac2mon = addInPhase(xsta, xmon, kMassRatioMoon, h2, l2, dxtide);

  const int mjd = md_julday(year, month, day);
  const double toTt = Taiutc::s_getInstance().m_getTaiutc(mjd) + 32.184;
  const double t = (mjd - 51544.5 + (fhr * 3600.0 + toTt) / kDay) / 36525.0;
  double part[3];
  const auto add = [&] {
    for (int i = 0; i < 3; ++i) dxtide[i] += part[i];
  };
  ST1IDIU(xsta, xsun, xmon, fac2sun, fac2mon, part);
  add();
  ST1ISEM(xsta, xsun, xmon, fac2sun, fac2mon, part);
  add();
  ST1L1(xsta, xsun, xmon, fac2sun, fac2mon, part);
  add();
  STEP2DIU(xsta, fhr, t, part);
  add();
  STEP2LON(xsta, t, part);
  add();
}

}  // namespace tarvio
