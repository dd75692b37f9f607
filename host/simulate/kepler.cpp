// Evaluates broadcast messages by the interface documents, apart from the engine's own code.

#include "simulate/kepler.h"

#include <cmath>

#include "gnx/time.h"

namespace gnx {

namespace {

double eccentricAnomaly(double meanAnomaly, double e) {
  double anomaly = meanAnomaly;
  for (int round = 0; round < 20; ++round) {
    const double step = (anomaly - e * std::sin(anomaly) - meanAnomaly) / (1.0 - e * std::cos(anomaly));
    anomaly -= step;
    if (std::abs(step) < 1e-15) break;
  }
  return anomaly;
}

}  // namespace

double gravityParameter(char system) { return system == 'G' || system == 'J' ? 3.986005e14 : 3.986004418e14; }

double earthRotation(char system) { return system == 'C' ? 7.2921150e-5 : kEarthRotation; }

double ephemerisSeconds(const BroadcastEph& eph) {
  return secondsOfWeek(eph.sat[0] == 'C' ? eph.toe + -kBdtOffset : eph.toe, nullptr);
}

SatelliteState evaluateOrbit(const BroadcastEph& eph, const GpsTime& t) {
  const char system = eph.sat[0];
  const double a = eph.sqrtA * eph.sqrtA;
  const double rate = earthRotation(system);
  const double tk = t - eph.toe;
  const double n = std::sqrt(gravityParameter(system) / (a * a * a)) + eph.deltaN;
  const double anomaly = eccentricAnomaly(eph.m0 + n * tk, eph.e);
  const double sinE = std::sin(anomaly), cosE = std::cos(anomaly);
  const double anomalyRate = n / (1.0 - eph.e * cosE);
  const double root = std::sqrt(1.0 - eph.e * eph.e);
  const double phi = std::atan2(root * sinE, cosE - eph.e) + eph.omega;
  const double phiRate = root * anomalyRate / (1.0 - eph.e * cosE);
  const double s2 = std::sin(2.0 * phi), c2 = std::cos(2.0 * phi);

  const double u = phi + eph.cus * s2 + eph.cuc * c2;
  const double r = a * (1.0 - eph.e * cosE) + eph.crs * s2 + eph.crc * c2;
  const double i = eph.i0 + eph.idot * tk + eph.cis * s2 + eph.cic * c2;
  const double uRate = phiRate * (1.0 + 2.0 * (eph.cus * c2 - eph.cuc * s2));
  const double rRate = a * eph.e * sinE * anomalyRate + 2.0 * phiRate * (eph.crs * c2 - eph.crc * s2);
  const double iRate = eph.idot + 2.0 * phiRate * (eph.cis * c2 - eph.cic * s2);

  const double node = eph.omega0 + (eph.omegaDot - rate) * tk - rate * ephemerisSeconds(eph);
  const double nodeRate = eph.omegaDot - rate;
  const double x = r * std::cos(u), y = r * std::sin(u);
  const double xRate = rRate * std::cos(u) - y * uRate, yRate = rRate * std::sin(u) + x * uRate;
  const double co = std::cos(node), so = std::sin(node), ci = std::cos(i), si = std::sin(i);

  SatelliteState state;
  state.position = {x * co - y * ci * so, x * so + y * ci * co, y * si};
  const double across = yRate * ci - y * si * iRate;
  state.velocity = {xRate * co - across * so - state.position[1] * nodeRate,
                    xRate * so + across * co + state.position[0] * nodeRate, yRate * si + y * ci * iRate};
  return state;
}

}  // namespace gnx
