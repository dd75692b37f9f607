// Evaluates messages by the engine's own steps, so that corrections meet what it evaluates.

#include <algorithm>
#include <cmath>

#include "gnx/corrections.h"
#include "gnx/signal.h"
#include "gnx/time.h"

namespace gnx {

namespace {

constexpr double kPi = 3.14159265358979323846;

struct SystemConstants {
  double gm;     ///< m^3/s^2
  double omega;  ///< rotation of the Earth, rad/s
};

SystemConstants constantsOf(char system) {
  switch (system) {
    case 'G':
      return {3.986005e14, 7.2921151467e-5};
    case 'C':
      return {3.986004418e14, 7.292115e-5};
    case 'E':
      return {3.986004418e14, 7.2921151467e-5};
    case 'J':
      return {3.986005e14, 7.2921151467e-5};
    default:
      return {3.986004415e14, 7.2921151467e-5};
  }
}

/// The satellites whose elements refer to an inclined frame; by name, as the engine does.
bool isGeostationary(const SatName& sat) { return sat >= "C01" && sat <= "C05" && sat[0] == 'C'; }

/// BeiDou clocks refer to B3I; the engine moves them to the ionosphere-free pair B1I/B3I.
double beidouClockTerm(double tgd1) {
  constexpr double f2 = 1561.098e6, f6 = 1268.52e6;
  return f2 * f2 / (f2 * f2 - f6 * f6) * tgd1;
}

double trueAnomaly(double e, double sinE, double cosE) {
  const double denominator = 1.0 - e * cosE;
  const double sine = std::sqrt(1.0 - e * e) * sinE / denominator;
  const double cosine = (cosE - e) / denominator;
  const double v = std::asin(std::min(std::fabs(sine), 1.0));
  if (sine >= 0.0) return cosine >= 0.0 ? v : kPi - v;
  return cosine >= 0.0 ? 2.0 * kPi - v : kPi + v;
}

/// BDS-SIS-ICD: by -5 degrees about X, then by the rotation of the Earth since toe about Z.
void turnGeostationary(SatState& s, double angle, double omega) {
  constexpr double cs = 0.9961946980917455, sn = 0.08715574274765817;
  const auto [x, y, z] = s.position;
  const auto [vx, vy, vz] = s.velocity;
  const double y1 = cs * y - sn * z, vy1 = cs * vy - sn * vz;
  const double c = std::cos(angle), d = std::sin(angle);
  s.position = {x * c + y1 * d, y1 * c - x * d, sn * y + cs * z};
  s.velocity = {vx * c + vy1 * d + omega * (y1 * c - x * d), vy1 * c - vx * d - omega * (y1 * d + x * c),
                sn * vy + cs * vz};
}

Vector3 cross(const Vector3& a, const Vector3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vector3 unit(const Vector3& v) {
  const double norm = std::hypot(v[0], v[1], v[2]);
  return {v[0] / norm, v[1] / norm, v[2] / norm};
}

}  // namespace

double broadcastClock(const BroadcastEph& eph, const GpsTime& t) {
  const double sinceToc = t - eph.toc;
  const double clock = eph.af[0] + sinceToc * (eph.af[1] + eph.af[2] * sinceToc);
  return eph.sat.front() == 'C' ? clock - beidouClockTerm(eph.tgd[0]) : clock;
}

SatState evaluateBroadcast(const BroadcastEph& eph, const GpsTime& t) {
  const char system = eph.sat.front();
  const bool geo = isGeostationary(eph.sat);
  const auto [gm, omegaEarth] = constantsOf(system);
  SatState s;

  s.clock = broadcastClock(eph, t);

  const double tk = t - eph.toe;
  const double a = eph.sqrtA * eph.sqrtA;
  const double n = std::sqrt(gm / (a * a * a)) + eph.deltaN;
  const double meanAnomaly = eph.m0 + n * tk;
  double eccentric = meanAnomaly;
  for (int i = 0; i < 12; ++i) eccentric = meanAnomaly + eph.e * std::sin(eccentric);
  const double sinE = std::sin(eccentric), cosE = std::cos(eccentric);
  const double v = trueAnomaly(eph.e, sinE, cosE);

  const double u0 = v + eph.omega;
  const double s2 = std::sin(2.0 * u0), c2 = std::cos(2.0 * u0);
  const double u = u0 + eph.cuc * c2 + eph.cus * s2;
  const double r = a * (1.0 - eph.e * cosE) + eph.crc * c2 + eph.crs * s2;
  const double inc = eph.i0 + eph.idot * tk + eph.cic * c2 + eph.cis * s2;
  const double xp = r * std::cos(u), yp = r * std::sin(u);

  // BeiDou counts toe in its own week: the seconds are those of BDT.
  const double toe = secondsOfWeek(system == 'C' ? eph.toe + -kBdtOffset : eph.toe, nullptr);
  const double nodeRate = geo ? eph.omegaDot : eph.omegaDot - omegaEarth;
  const double node = eph.omega0 + nodeRate * tk - omegaEarth * toe;
  const double sn = std::sin(node), cn = std::cos(node), si = std::sin(inc), ci = std::cos(inc);
  s.position = {xp * cn - yp * ci * sn, xp * sn + yp * ci * cn, yp * si};

  const double eRate = n / (1.0 - eph.e * cosE);
  const double halfRatio = std::cos(0.5 * v) / std::cos(0.5 * eccentric);
  const double vRate = std::sqrt((1.0 + eph.e) / (1.0 - eph.e)) * halfRatio * halfRatio * eRate;
  const double rRate = 2.0 * (eph.crs * c2 - eph.crc * s2) * vRate + a * eph.e * sinE * eRate;
  const double uRate = (1.0 + 2.0 * eph.cus * c2 - 2.0 * eph.cuc * s2) * vRate;
  const double iRate = 2.0 * (eph.cic * c2 - eph.cis * s2) * vRate + eph.idot;
  const double xpRate = rRate * std::cos(u) - yp * uRate, ypRate = rRate * std::sin(u) + xp * uRate;
  s.velocity = {xpRate * cn - ypRate * ci * sn + yp * si * sn * iRate - nodeRate * s.position[1],
                xpRate * sn + ypRate * ci * cn - yp * si * cn * iRate + nodeRate * s.position[0],
                ypRate * si + yp * ci * iRate};
  if (geo) turnGeostationary(s, omegaEarth * tk, omegaEarth);
  return s;
}

int issueOfData(const BroadcastEph& eph) {
  if (eph.sat.front() != 'C') return eph.iode;
  const double toe = secondsOfWeek(eph.toe + -kBdtOffset, nullptr);
  return static_cast<int>(std::lround(std::fmod(toe, 86400.0) / 1800.0)) + 1;
}

std::array<Vector3, 3> orbitAxes(const SatState& state) {
  const Vector3 along = unit(state.velocity);
  const Vector3 normal = unit(cross(unit(state.position), along));
  return {unit(cross(along, normal)), along, normal};
}

Vector3 toAxes(const std::array<Vector3, 3>& axes, const Vector3& v) {
  Vector3 out{};
  for (std::size_t i = 0; i < 3; ++i) out[i] = axes[i][0] * v[0] + axes[i][1] * v[1] + axes[i][2] * v[2];
  return out;
}

SatState applyCorrection(const SatState& broadcast, const OrbitClockCorrection& c, double age) {
  const std::array<Vector3, 3> axes = orbitAxes(broadcast);
  SatState s = broadcast;
  for (std::size_t k = 0; k < 3; ++k) {
    for (std::size_t i = 0; i < 3; ++i) {
      s.position[i] -= axes[k][i] * c.deph[k];
      s.velocity[i] -= axes[k][i] * c.ddeph[k];
    }
  }
  s.clock += ((c.dclk[2] * age + c.dclk[1]) * age + c.dclk[0]) / kLightSpeed;
  return s;
}

}  // namespace gnx
