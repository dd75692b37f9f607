/// References
///   Wu, Wu, Hajj, Bertiger, Lichten: Effects of antenna orientation on GPS carrier phase,
///     Manuscripta Geodaetica 18, 1993.
///   Wanninger, Beer: BeiDou satellite-induced code pseudorange variations: diagnosis and therapy,
///     GPS Solutions 19, 2015.

#include "Core/Model/PhaseWindup.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Common/Com.h"
#include "Common/Logtrace.h"
#include "Config/Configuration.h"

namespace tarvio {

namespace {

constexpr int kNodes = 10;  ///< elevations 0, 10, ..., 90 degrees

/// Code bias of BDS-2 by orbit class (inclined, medium) and band (B1I, B2I, B3I), metres.
constexpr double kBdsCodeBias[2][3][kNodes] = {
    {{-0.11, -0.11, -0.09, -0.07, -0.02, -0.08, 0.13, 0.24, 0.25, 0.33},
     {-0.06, -0.11, -0.07, -0.05, -0.01, 0.06, 0.11, 0.19, 0.26, 0.28},
     {-0.27, -0.23, -0.21, -0.15, -0.11, -0.04, 0.05, 0.14, 0.19, 0.32}},
    {{-0.13, -0.2, -0.17, -0.12, -0.04, 0.1, 0.32, 0.61, 0.82, 0.92},
     {-0.12, -0.16, -0.12, -0.09, -0.01, 0.1, 0.25, 0.42, 0.56, 0.64},
     {-0.22, -0.15, -0.13, -0.1, -0.04, 0.05, 0.14, 0.27, 0.36, 0.47}}};

double interpolateNodes(const double* nodes, double elevDeg) {
  if (elevDeg <= 0.0) return nodes[0];
  if (elevDeg >= 90.0) return nodes[kNodes - 1];
  const int i = static_cast<int>(elevDeg / 10.0);
  return nodes[i] + (nodes[i + 1] - nodes[i]) / 10.0 * (elevDeg - 10.0 * i);
}

/// Effective dipole of a crossed-dipole antenna with axes x, y for propagation along k:
/// x - k (k.x) + sign k x y, unit length (Wu et al. 1993, eqs. 15 and 16).
void effectiveDipole(const double* x, const double* y, const double* k, double sign, double* d) {
  double kxy[3];
  cross(k, y, kxy);
  const double kx = dot(3, k, x);
  for (int i = 0; i < 3; ++i) d[i] = x[i] - k[i] * kx + sign * kxy[i];
  unit_vector(3, d, d, nullptr);
}

/// Receiver axes north and west in the frame of the line of sight.
void receiverAxes(const double rot[3][3], double* north, double* west) {
  for (int i = 0; i < 3; ++i) {
    north[i] = rot[i][1];
    west[i] = -rot[i][0];
  }
}

void windupOfAxes(int* first, const double* north, const double* west, const double* xs, const double* ys,
                  const double* los, double* prev, double* wu) {
  double k[3];
  unit_vector(3, los, k, nullptr);
  for (double& component : k) component = -component;

  double receiver[3], satellite[3], perpendicular[3];
  effectiveDipole(north, west, k, 1.0, receiver);
  effectiveDipole(xs, ys, k, -1.0, satellite);
  const double cosine = std::clamp(dot(3, satellite, receiver), -1.0, 1.0);
  double phi = std::acos(cosine) / (2.0 * kPi);
  cross(satellite, receiver, perpendicular);
  if (!(dot(3, k, perpendicular) > 0.0)) phi = -phi;

  double cycles = 0.0;
  if (*first != 0) {
    *first = 0;
  } else {
    const double d = *prev - phi;
    cycles = d > 0.0 ? std::trunc(d + 0.5) : std::trunc(d - 0.5);
  }
  *wu = *prev = phi + cycles;
}

}  // namespace

void phase_windup_itrs(int* first, const double[3][3], const double rot[3][3], const double* xs,
                       const double* ys, const double*, const double* los, double* prev, double* wu) {
  double north[3], west[3];
  receiverAxes(rot, north, west);
  windupOfAxes(first, north, west, xs, ys, los, prev, wu);
}

void phase_windup(int* first, const double R[3][3], const double rot[3][3], const double* xs,
                  const double* ys, const double*, const double* los, double* prev, double* wu) {
  double north[3], west[3], northInertial[3], westInertial[3];
  receiverAxes(rot, north, west);
  matmpy(&R[0][0], north, northInertial, 3, 3, 1);
  matmpy(&R[0][0], west, westInertial, 3, 3, 1);
  windupOfAxes(first, northInertial, westInertial, xs, ys, los, prev, wu);
}

void bds_code_cor(const char* block, int nfreq, const char (*tags)[4], double elevDeg, double* out) {
  if (nfreq > 3) {
    Logtrace::m_logTrace(4, "[%s,%d]: the number of frequency is more than 3\n", __func__, __LINE__);
    std::puts("***ERROR(bds_code_cor):the number of frequency is more than 3!");
    s_exitByCode(__func__, __LINE__);
  }
  int orbit = -1;
  if (s_contains(block, "BEIDOU-2I")) orbit = 0;
  if (s_contains(block, "BEIDOU-2M")) orbit = 1;
  if (orbit < 0) return;
  for (int f = 0; f < nfreq; ++f) {
    const int band = s_contains(tags[f], "L7") ? 1 : s_contains(tags[f], "L6") ? 2 : 0;
    out[f] = interpolateNodes(kBdsCodeBias[orbit][band], elevDeg);
  }
}

void cor_BDScodebias(int isat, double* obs, double elev) {
  const Deploy& deploy = s_config();
  const std::string& name = deploy.m_cprn[isat];
  if (name.empty() || (name[0] != 'C' && std::atoi(name.c_str() + 1) >= 19)) return;
  const int isys = deploy.m_sysOfRow(isat);
  if (isys < 0) return;
  double correction[kSys] = {};
  bds_code_cor(deploy.m_satellites[static_cast<std::size_t>(isat)].m_block.c_str(), deploy.m_nfreqObs[isys],
               deploy.m_freqObs[isys], elev * kRadToDeg, correction);
  const int n = std::min(deploy.m_nfreqObs[isys], kFreq);
  for (int f = 0; f < n; ++f) {
    if (obs[4 + f] != 0.0 && correction[f] != 0.0) obs[4 + f] += correction[f];
  }
}

void bdsCodeCorbyElv(int type, double elev, double* out) {
  static constexpr double kPolynomial[3][9] = {
      {1.0211, -0.6213, 0.2708, 1.2526, -0.0896, -0.179, 1.32, -1.1985, 0.5211},
      {2.0465, -2.2363, 0.9862, 0.5262, 0.2255, -0.1576, -0.2278, 1.3401, -0.6411},
      {1.2494, -1.0582, 0.5139, 1.1609, -0.7834, 0.2694, 1.4482, -1.2945, 0.39}};
  if (type < 1 || type > 3) return;
  const double* c = kPolynomial[type - 1];
  for (int k = 0; k < 3; ++k) out[k] = ((c[3 * k + 2] * elev + c[3 * k + 1]) * elev + c[3 * k]) * elev;
}

}  // namespace tarvio
