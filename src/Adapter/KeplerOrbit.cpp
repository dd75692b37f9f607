// Position, velocity and clock from a Keplerian message of GPS, Galileo, BeiDou or QZSS.
//
// References: IS-GPS-200 (20.3.3.4.3), Galileo OS SIS ICD (5.1.1), BDS-SIS-ICD B1I (5.2.4.12),
// IS-QZSS-PNT (5.6). Velocities after Remondi (2004), GPS Solutions 8(3).

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "Adapter/BroadcastEphUtils.h"
#include "Common/ComFreq.h"
#include "Common/ComString.h"

namespace tarvio {

namespace {

constexpr int kBds3 = 3;  ///< system index of letter C; frequencies are those of BDS-2 too

struct EarthModel {
  double gm;     ///< m^3/s^2
  double omega;  ///< rotation rate, rad/s
};

EarthModel s_earth(char letter) {
  switch (letter) {
    case 'G':
      return {3.986005e14, 7.2921151467e-5};
    case 'C':
      return {3.986004418e14, 7.292115e-5};
    case 'E':
      return {3.986004418e14, 7.2921151467e-5};
    case 'J':
      return {3.986005e14, 7.292115e-5};
    default:
      return {3.986004415e14, 7.2921151467e-5};
  }
}

/// The satellites whose elements refer to a frame tilted by -5 degrees. Later geostationary
/// satellites (C59 to C63) are evaluated like medium orbits.
bool s_tiltedGeo(const char* cprn) {
  return cprn[0] == 'C' && cprn[1] == '0' && cprn[2] >= '1' && cprn[2] <= '5';
}

/// Size and motion of the orbit at tk.
struct MeanMotion {
  double a;     ///< semi-major axis, m
  double n;     ///< rad/s
  double mean;  ///< mean anomaly, rad
};

MeanMotion s_meanMotion(const GPSEPH& eph, double gm, double tk) {
  if (eph.m_cprn[0] == 'C' && eph.m_msgtype > 6.0) {
    const int number = std::atoi(eph.m_cprn + 1);
    const bool high = (number >= 38 && number <= 40) || (number >= 59 && number <= 63);
    const double a0 = (high ? 42162200.0 : 27906100.0) + eph.m_deltaA;
    const double n = std::sqrt(gm / (a0 * a0 * a0)) + eph.m_dn + 0.5 * eph.m_deltaNdot * tk;
    return {a0 + eph.m_Adot * tk, n, eph.m_M0 + n * tk};
  }
  const double a = eph.m_roota * eph.m_roota;
  const double n = std::sqrt(gm / (a * a * a)) + eph.m_dn;
  return {a, n, eph.m_M0 + n * tk};
}

/// The clock polynomial. For C it is moved from B3I, to which the message refers, to the
/// ionosphere-free pair B1I/B3I.
double s_clock(const GPSEPH& eph, int week, double sow) {
  const double dt = (week * 7 + 44244 - eph.m_mjd) * kDay + sow - eph.m_sod;
  double clk = eph.m_a0 + dt * (eph.m_a1 + eph.m_a2 * dt);
  if (eph.m_cprn[0] == 'C') {
    const double f2 = freqbysys(kBds3, 0, "L2");
    const double f6 = freqbysys(kBds3, 0, "L6");
    clk -= f2 * f2 / (f2 * f2 - f6 * f6) * eph.m_tgd;
  }
  return clk;
}

/// From the tilted inertial-like frame of the geostationary satellites to the terrestrial one:
/// -5 degrees about X, then omega*tk about Z. With `velocity` the state's second half too.
void s_rotateGeo(double omega, double tk, bool velocity, double* xv) {
  constexpr double kCos5 = 0.9961946980917455;
  constexpr double kSin5 = 0.08715574274765817;
  const double c = std::cos(omega * tk);
  const double s = std::sin(omega * tk);
  const double x = xv[0];
  const double y = kCos5 * xv[1] - kSin5 * xv[2];
  const double z = kSin5 * xv[1] + kCos5 * xv[2];
  xv[0] = x * c + y * s;
  xv[1] = y * c - x * s;
  xv[2] = z;
  if (!velocity) return;
  const double vx = xv[3];
  const double vy = kCos5 * xv[4] - kSin5 * xv[5];
  const double vz = kSin5 * xv[4] + kCos5 * xv[5];
  xv[3] = vx * c + vy * s + omega * (y * c - x * s);
  xv[4] = vy * c - vx * s - omega * (y * s + x * c);
  xv[5] = vz;
}

}  // namespace

void BroadcastEphUtils::m_geph2xyz(const GPSEPH* eph, const char* flag, int week, double sow, double* xv,
                                   double* clk) {
  *clk = s_clock(*eph, week, sow);
  if (s_contains(flag, "ynn")) return;

  const EarthModel earth = s_earth(eph->m_cprn[0]);
  const double tk = (week - eph->m_week) * 604800.0 + sow - eph->m_toe;
  const MeanMotion motion = s_meanMotion(*eph, earth.gm, tk);

  const double e = eph->m_e;
  double eccentric = motion.mean;
  for (int round = 0; round < 12; ++round) {
    const double before = eccentric;
    eccentric = motion.mean + e * std::sin(eccentric);
    if (eccentric == before) break;  // and so it would stay
  }
  const double sinE = std::sin(eccentric);
  const double cosE = std::cos(eccentric);
  const double root = std::sqrt(1.0 - e * e);
  const double ratio = 1.0 - e * cosE;  // r / A
  // atan2 keeps full precision where the sine of the true anomaly is near one.
  const double anomaly = std::atan2(root * sinE, cosE - e);

  const double u0 = anomaly + eph->m_omega;
  const double s2 = std::sin(2.0 * u0);
  const double c2 = std::cos(2.0 * u0);
  const double u = u0 + eph->m_cuc * c2 + eph->m_cus * s2;
  const double r = motion.a * ratio + eph->m_crc * c2 + eph->m_crs * s2;
  const double inclination = eph->m_i0 + eph->m_idot * tk + eph->m_cic * c2 + eph->m_cis * s2;

  const bool geo = s_tiltedGeo(eph->m_cprn);
  const double nodeRate = geo ? eph->m_OMEGADOT : eph->m_OMEGADOT - earth.omega;
  const double node = eph->m_OMEGA0 + nodeRate * tk - earth.omega * eph->m_toe;

  const double cosU = std::cos(u), sinU = std::sin(u);
  const double cosI = std::cos(inclination), sinI = std::sin(inclination);
  const double cosO = std::cos(node), sinO = std::sin(node);
  const double px = r * cosU, py = r * sinU;
  xv[0] = px * cosO - py * cosI * sinO;
  xv[1] = px * sinO + py * cosI * cosO;
  xv[2] = py * sinI;
  const bool velocity = !s_contains(flag, "yyn");
  if (velocity) {
    const double eRate = motion.n / ratio;
    // Equal to sqrt((1+e)/(1-e)) cos^2(v/2)/cos^2(E/2) eRate, without its 0/0 at apogee.
    const double vRate = root / ratio * eRate;
    const double rRate = 2.0 * (eph->m_crs * c2 - eph->m_crc * s2) * vRate + motion.a * e * sinE * eRate;
    const double uRate = (1.0 + 2.0 * eph->m_cus * c2 - 2.0 * eph->m_cuc * s2) * vRate;
    // The harmonics enter with cic on the cosine and cis on the sine: corrections are made against
    // orbits evaluated like this. The velocity differs from the strict one by less than 1 mm/s.
    const double iRate = 2.0 * (eph->m_cic * c2 - eph->m_cis * s2) * vRate + eph->m_idot;
    const double vx = rRate * cosU - r * uRate * sinU;
    const double vy = rRate * sinU + r * uRate * cosU;
    xv[3] = vx * cosO - vy * cosI * sinO + py * sinI * iRate * sinO - xv[1] * nodeRate;
    xv[4] = vx * sinO + vy * cosI * cosO - py * sinI * iRate * cosO + xv[0] * nodeRate;
    xv[5] = vy * sinI + py * cosI * iRate;
  }
  if (geo) s_rotateGeo(earth.omega, tk, velocity, xv);
}

}  // namespace tarvio
