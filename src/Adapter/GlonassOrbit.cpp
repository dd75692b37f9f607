// GLONASS messages: numerical integration of the equations of motion in the rotating PZ-90 frame.
// State: position (km), velocity (km/s). Reference: GLONASS ICD L1/L2, edition 5.1, appendix 3.

#include <cmath>
#include <cstring>

#include "Adapter/BroadcastEphUtils.h"
#include "Common/ComTime.h"
#include "Common/Fatal.h"
#include "Common/Logtrace.h"

namespace tarvio {

namespace {

constexpr double kStep_s = 60.0;

/// out = t + s R in, km.
struct Helmert {
  const char* type;
  double t[3];
  double r12, r13, r21, r23, r31, r32;
  double s;
};

/// PZ-90 to WGS 84 by source of the parameters.
constexpr Helmert kPz90[] = {
    {"MCC",
     {-0.00047, -0.00051, -0.00156},
     -1.728e-06,
     -1.7e-08,
     1.728e-06,
     7.6e-08,
     1.7e-08,
     -7.6e-08,
     1.000000022},
    {"RUS", {-0.0011, -0.0003, -0.0009}, -8.2e-07, 0.0, 8.2e-07, 0.0, 0.0, 0.0, 0.99999988},
    {"LMU", {0.0, 0.0, 0.0}, -1.6e-06, 0.0, 1.6e-06, 0.0, 0.0, 0.0, 1.0},
    {"MIT", {0.0, 0.0025, 0.0}, -1.9e-06, 0.0, 1.9e-06, 0.0, 0.0, 0.0, 1.0},
};
/// PZ-90.02, broadcast since 2007-09-20, agrees with WGS 84 but for the origin.
constexpr Helmert kPz9002 = {"", {8e-06, 1e-06, 1e-06}, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 1.0};

const Helmert& s_helmert(int mjd, double sod, const char* type) {
  if (timdif(mjd, sod, 54362, 86367.0) >= 0.0) return kPz9002;
  for (const Helmert& row : kPz90) {
    if (std::strcmp(row.type, type) == 0) return row;
  }
  Logtrace::m_logPrint("***ERROR(pz902wgs84): unknown transformation type %s!\n", type);
  s_exitByCode(__func__, __LINE__);
}

}  // namespace

void BroadcastEphUtils::m_reph2xyz(const GLSEPH* eph, const char* flag, int week, double sow, double* xv,
                                   double* clk) {
  *clk = eph->m_tau;
  if (std::strstr(flag, "ynn") != nullptr) return;

  int mjd = 0;
  double sod = 0.0;
  wksow2mjd(week, sow, &mjd, &sod);
  const double dt = timdif(mjd, sod, eph->m_mjd, eph->m_sod);
  const double wholeSteps = std::trunc(dt / kStep_s);
  const double remainder = dt - wholeSteps * kStep_s;

  double state[6];
  glsinit(state, *eph);
  if (remainder != 0.0) glsrkf4(remainder, state, *eph);
  const double step = dt < 0.0 ? -kStep_s : kStep_s;
  for (double left = std::fabs(wholeSteps); left >= 1.0; left -= 1.0) glsrkf4(step, state, *eph);

  double position[3];
  pz902wgs84(mjd, sod, state, position, "MCC");
  for (int i = 0; i < 3; ++i) {
    xv[i] = position[i] * 1000.0;
    xv[i + 3] = state[i + 3] * 1000.0;
  }
}

void BroadcastEphUtils::glsinit(double* state, const GLSEPH& eph) {
  for (int i = 0; i < 3; ++i) {
    state[i] = eph.m_pos[i];
    state[i + 3] = eph.m_vel[i];
  }
}

void BroadcastEphUtils::glsfright(const double* state, double* derivative, const GLSEPH& eph) {
  constexpr double kGm = 398600.4418;             // km^3/s^2
  constexpr double kJ2Term = 26332672512.753788;  // 3/2 J2 GM a^2, km^5/s^2
  constexpr double kOmega2 = 5.3174941173225e-09;
  constexpr double kTwoOmega = 0.0001458423;
  const double* x = state;
  const double* v = state + 3;
  const double r2 = x[0] * x[0] + x[1] * x[1] + x[2] * x[2];
  const double r = std::sqrt(r2);
  const double a = -kGm / (r2 * r);
  const double b = -kJ2Term / (r2 * r2 * r);
  const double z5 = 5.0 * x[2] * x[2] / r2;
  for (int i = 0; i < 3; ++i) derivative[i] = v[i];
  derivative[3] = a * x[0] + b * x[0] * (1.0 - z5) + kOmega2 * x[0] + kTwoOmega * v[1] + eph.m_acc[0];
  derivative[4] = a * x[1] + b * x[1] * (1.0 - z5) + kOmega2 * x[1] - kTwoOmega * v[0] + eph.m_acc[1];
  derivative[5] = a * x[2] + b * x[2] * (3.0 - z5) + eph.m_acc[2];
}

void BroadcastEphUtils::glsrkf4(double step, double* state, const GLSEPH& eph) {
  double k1[6], k2[6], k3[6], k4[6], at[6];
  glsfright(state, k1, eph);
  for (int i = 0; i < 6; ++i) at[i] = state[i] + 0.5 * step * k1[i];
  glsfright(at, k2, eph);
  for (int i = 0; i < 6; ++i) at[i] = state[i] + 0.5 * step * k2[i];
  glsfright(at, k3, eph);
  for (int i = 0; i < 6; ++i) at[i] = state[i] + step * k3[i];
  glsfright(at, k4, eph);
  for (int i = 0; i < 6; ++i) state[i] += step / 6.0 * (k1[i] + 2.0 * k2[i] + 2.0 * k3[i] + k4[i]);
}

void BroadcastEphUtils::pz902wgs84(int mjd, double sod, const double* in, double* out, const char* type) {
  const Helmert& h = s_helmert(mjd, sod, type);
  out[0] = h.t[0] + h.s * (in[0] + h.r12 * in[1] + h.r13 * in[2]);
  out[1] = h.t[1] + h.s * (h.r21 * in[0] + in[1] + h.r23 * in[2]);
  out[2] = h.t[2] + h.s * (h.r31 * in[0] + h.r32 * in[1] + in[2]);
}

}  // namespace tarvio
