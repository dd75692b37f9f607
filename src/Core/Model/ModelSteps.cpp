/// \file ModelSteps.cpp
/// References
/// - Ashby, Living Rev. Relativity 6, 2003: Sagnac term and periodic clock term.
/// - IERS Technical Note 36, chapter 11: path delay of a signal near the Earth.

#include "Core/Model/ModelSteps.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Adapter/ProductStores.h"
#include "Common/Com.h"
#include "Common/Logtrace.h"
#include "Config/Configuration.h"
#include "Config/SatelliteTable.h"
#include "Core/Model/Eclipse.h"
#include "Core/Model/Itrs2gcrs.h"
#include "Core/Model/PoleTable.h"
#include "Core/Model/SunMoon.h"
#include "Core/Model/Tropo_vmf1.h"

namespace tarvio {
namespace {

constexpr double kOmegaOverC = 2.4323877909897254e-13;  // 7.2921151467e-5 rad/s over c, 1/m
constexpr double kPathDelay_m = 0.008870056071559442;   // 2 GM/c^2
constexpr double kTravelTime_s = 0.075;
constexpr double kTravelTolerance_s = 1.0e-9;
constexpr double kEvenTime_s = 1.0e-5;  ///< in which a satellite leaves its straight way by less than 1e-10 m
constexpr int kEmissionRounds = 30;
constexpr double kGpsToTt_s = 51.184;

double s_norm(const double* v) { return std::sqrt(dot(3, v, v)); }

void s_rotate(const double R[3][3], const double* v, double* out) {
  for (int i = 0; i < 3; ++i) out[i] = R[i][0] * v[0] + R[i][1] * v[1] + R[i][2] * v[2];
}

void s_rotateBack(const double R[3][3], const double* v, double* out) {
  for (int i = 0; i < 3; ++i) out[i] = R[0][i] * v[0] + R[1][i] * v[1] + R[2][i] * v[2];
}

/// Body axes in the terrestrial frame. The attitude is evaluated at the epoch of the station, the same
/// in every round and pass: a time that steps to and fro by the change of the travel time would look
/// like processing backwards to the manoeuvre models.
bool s_bodyAxes(const ModelInput& in, int isat, const SystemFrame& frame, const double* xv) {
  Satellite& sat = s_epochSatellite(isat);
  const char* cprn = in.deploy.m_cprn[isat].c_str();
  if (!s_contains(in.deploy.m_yawmodel, "MODEL")) {
    if (YawAttitudeAdapter::m_quater2rot(in.sta.m_mjd, in.sta.m_sod, cprn, sat.m_xscf, sat.m_yscf,
                                         sat.m_zscf))
      return true;
    Logtrace::m_logPrint("[%s,%d]:cprn = %s, no attitude defined in the record file\n", __func__, __LINE__,
                         cprn);
    Logtrace::m_logStatInfo("cprn = %s, no attitude defined in the record file\n", cprn);
    return false;
  }
  double inertial[6], turned[3];
  s_rotate(frame.R, xv, inertial);
  s_rotate(frame.R, xv + 3, inertial + 3);
  s_rotate(frame.Rdot, xv, turned);
  for (int k = 0; k < 3; ++k) inertial[3 + k] += turned[k];

  double* const axes[3] = {sat.m_xscf, sat.m_yscf, sat.m_zscf};
  double axesInertial[3][3];  // on entry those of the last epoch, for a Sun on the z axis
  for (int a = 0; a < 3; ++a) s_rotate(frame.R, axes[a], axesInertial[a]);
  Eclipse::s_getInstance().rot_scfix2j2000(in.sta.m_mjd, in.sta.m_sod, cprn, sat.m_block.c_str(), inertial,
                                           frame.sun, axesInertial[0], axesInertial[1], axesInertial[2]);
  for (int a = 0; a < 3; ++a) s_rotateBack(frame.R, axesInertial[a], axes[a]);
  return true;
}

void s_moveToAntennas(const Satellite& sat, int nfreq, SatGeometry& geo) {
  for (int f = 0; f < nfreq; ++f)
    for (int k = 0; k < 3; ++k)
      geo.xv[f][k] +=
          sat.m_pco[f][0] * sat.m_xscf[k] + sat.m_pco[f][1] * sat.m_yscf[k] + sat.m_pco[f][2] * sat.m_zscf[k];
}

/// Travel time by the state that the epoch has brought for the satellite, which moves evenly for so short a
/// time: good to some metres, the antenna's distance from it.
double s_expectedTravel(const Satellite& satellite, double rclk, const double* point) {
  const double* state = satellite.m_xyz;
  double travel = kTravelTime_s;
  if (dot(3, state, state) == 0.0) return travel;
  for (int round = 0; round < 2; ++round) {
    double x[3], d[3];
    for (int k = 0; k < 3; ++k) {
      x[k] = state[k] - state[3 + k] * (rclk + travel);
      d[k] = x[k] - point[k];
    }
    travel = s_range(d, x) / kLight;
  }
  return std::fabs(travel) < kDay ? travel : kTravelTime_s;
}

/// Lines of sight from the receiver's points to the satellite's.
void s_setRanges(const double (*point)[3], int nfreq, SatGeometry& geo) {
  for (int f = 0; f < nfreq; ++f) {
    for (int k = 0; k < 3; ++k) geo.d[f][k] = geo.xv[f][k] - point[f][k];
    geo.range[f] = s_range(geo.d[f], geo.xv[f]);
  }
}

/// Moves the satellite back along its way by the time by which the signal has left it earlier.
void s_moveBack(double earlier, int nfreq, SatGeometry& geo) {
  for (int f = 0; f < nfreq; ++f)
    for (int k = 0; k < 3; ++k) geo.xv[f][k] -= geo.xv[f][3 + k] * earlier;
}

void s_designRow(const Deploy& deploy, const SystemFrame& frame, const SatGeometry& geo, Ssat_t& sat) {
  double d[3] = {geo.d[0][0], geo.d[0][1], geo.d[0][2]};
  if (!deploy.m_litrs) s_rotateBack(frame.R, geo.d[0], d);
  for (int k = 0; k < 3; ++k) sat.m_los[k] = -d[k] / geo.range[0];
}

}  // namespace

ModelInput s_modelInput(const ProductStores* stores, Station* sta) {
  OrbitAdapter* orbits =
      stores == nullptr || stores->m_orbAdapters.empty() ? nullptr : stores->m_orbAdapters.front();
  return {s_config(), *sta, orbits, s_contains(s_config().m_refpoint, "CoM_ITRF")};
}

bool s_hasObservation(const Deploy& deploy, const Ssat_t& sat, int isat) {
  const int isys = deploy.m_sysOfRow(isat);
  if (isys < 0 || isat >= static_cast<int>(deploy.m_satellites.size())) return false;
  for (int f = 0; f < deploy.m_nfreqUsed[isys]; ++f)
    if (validSatObs(deploy.m_obsused, deploy.m_obscomb, sat.m_obs, isat, f)) return true;
  return false;
}

int s_resetSlots(const Deploy& deploy, Station& sta) {
  const auto zero = [](auto& array) { std::fill(std::begin(array), std::end(array), 0.0); };
  int count = 0;
  for (int i = 0; i < kMaxSat; ++i) {
    Ssat_t& sat = sta.m_sat[i];
    zero(sat.m_wgt);
    zero(sat.m_xx);
    zero(sat.m_los);
    sat.m_azim = sat.m_elev = sat.m_windup = 0.0;
    sat.m_mapdry = sat.m_mapwet = sat.m_trop = sat.m_stec = 0.0;
    if (i >= deploy.m_nsat || i >= static_cast<int>(deploy.m_satellites.size())) continue;
    if (deploy.m_satellites[static_cast<std::size_t>(i)].m_clk == 0.0) zero(sat.m_obs);
    const int isys = deploy.m_sysOfRow(i);
    // A slot with phase alone takes part as well, so every slot of an observed satellite is provided for.
    if (isys >= 0 &&
        std::any_of(std::begin(sat.m_obs), std::end(sat.m_obs), [](double v) { return v != 0.0; }))
      count += 2 * deploy.m_nfreqUsed[isys];
  }
  return count;
}

void s_allocateLists(Station& sta, int count) {
  sta.m_freeLists();
  const std::size_t n = static_cast<std::size_t>(std::max(count, 1));
  sta.m_omcList = static_cast<double*>(std::calloc(n, sizeof(double)));
  sta.m_wgtList = static_cast<double*>(std::calloc(n, sizeof(double)));
  sta.m_idxList = static_cast<int*>(std::calloc(4 * n, sizeof(int)));
}

void s_append(Station& sta, int capacity, double omc, double weight, int isat, int slot, int kind) {
  if (sta.m_nobs >= capacity) return;
  sta.m_omcList[sta.m_nobs] = omc;
  sta.m_wgtList[sta.m_nobs] = weight;
  sta.m_setIndex(sta.m_nobs, {isat, slot, kind, -1});
  ++sta.m_nobs;
}

void s_receiverPoints(const Deploy& deploy, const Station& sta, const PointTable& offsets,
                      PointTable& point) {
  for (const char* c = deploy.m_syslist; *c; ++c) {
    const int s = s_systemIndex(*c);
    if (s < 0) continue;
    for (int f = 0; f < deploy.m_nfreqUsed[s]; ++f) {
      double enu[3];
      for (int k = 0; k < 3; ++k) enu[k] = sta.m_enu[k] + offsets[s][f][k];
      s_rotate(sta.m_rot, enu, point[s][f]);
      for (int k = 0; k < 3; ++k) point[s][f][k] += sta.m_x[k];
    }
  }
}

void s_clockSeconds(const Deploy& deploy, const Station& sta, double (&rclk)[kSys]) {
  const int ref = deploy.m_refsys;
  for (int s = 0; s < kSys; ++s) {
    const double reference = ref >= 0 ? sta.m_rclk[ref] : 0.0;
    rclk[s] = s == ref ? reference / kLight : (sta.m_rclk[s] + reference) / kLight;
  }
}

void s_systemTime(const Station& sta, double rclk, SystemFrame& frame) {
  timinc(sta.m_mjd, sta.m_sod, -rclk, &frame.mjd, &frame.sod);
  const double mjd = frame.mjd + frame.sod / kDay;  // UTC would be 18 s away, nothing for a pole
  double eop[3];
  PoleTable& pole = PoleTable::s_getInstance();
  pole.v_polut1(mjd, eop);
  frame.poleKnown = pole.m_covers(mjd);
  Itrs2gcrs::s_getInstance().itrs2gcrs("IERS2010", 0, frame.mjd, frame.sod, eop, frame.R, frame.Rdot, 0.0,
                                       0.0, nullptr, nullptr, nullptr, &frame.xp, &frame.yp);
}

void s_sunMoon(SystemFrame& frame) {
  const GNX_IO::gtime_t gps{mjd2time(frame.mjd, frame.sod), std::fmod(frame.sod, 1.0)};
  sunmoonpos_eci(GNX_IO::gpst2utc(gps), frame.sun, frame.moon);
  // Precession since 2000 has grown to a third of a degree, more than noon and midnight turns can bear.
  const double mjdTt = frame.mjd + (frame.sod + kGpsToTt_s) / kDay;
  s_dateToInertial(mjdTt, frame.sun);
  s_dateToInertial(mjdTt, frame.moon);
}

double s_range(const double* d, const double* satellite) {
  return s_norm(d) + kOmegaOverC * (d[0] * satellite[1] - d[1] * satellite[0]);
}

bool s_emission(const ModelInput& in, int isat, const SystemFrame& frame, double rclk,
                const double (*point)[3], SatGeometry& geo) {
  const Deploy& deploy = in.deploy;
  const Satellite& satellite = deploy.m_satellites[static_cast<std::size_t>(isat)];
  const int nfreq = deploy.m_nfreqUsed[deploy.m_sysOfRow(isat)];

  double travel = s_expectedTravel(satellite, rclk, point[0]);
  for (int round = 0; round < kEmissionRounds; ++round) {
    int mjd;
    double sod, xv[6];
    timinc(in.sta.m_mjd, in.sta.m_sod, -rclk - travel, &mjd, &sod);
    if (!in.orbits->v_readOrbit(deploy.m_cprn[isat].c_str(), mjd, sod, xv)) return false;
    for (int f = 0; f < nfreq; ++f) std::copy(xv, xv + 6, geo.xv[f]);
    if (!s_bodyAxes(in, isat, frame, xv)) return false;
    if (in.centreOfMass) s_moveToAntennas(satellite, nfreq, geo);
    s_setRanges(point, nfreq, geo);
    const double found = geo.range[0] / kLight;
    if (!(std::fabs(found) < kDay)) return false;  // not finite, or no orbit of a navigation satellite
    const double earlier = found - travel;
    const bool even = std::fabs(earlier) <= kEvenTime_s && dot(3, xv + 3, xv + 3) > 0.0;
    if (even && std::fabs(earlier) > kTravelTolerance_s) {
      s_moveBack(earlier, nfreq, geo);
      s_setRanges(point, nfreq, geo);
    }
    s_designRow(deploy, frame, geo, in.sta.m_sat[isat]);
    if (even || std::fabs(earlier) <= kTravelTolerance_s) return true;
    travel = found;
  }
  return true;
}

void s_lineOfSight(const Station& sta, const double* d, double* azim, double* elev) {
  double enu[3];
  s_rotateBack(sta.m_rot, d, enu);
  *azim = std::atan2(enu[0], enu[1]);
  *elev = std::atan(enu[2] / std::sqrt(enu[0] * enu[0] + enu[1] * enu[1]));
}

void s_troposphere(const Station& sta, Tropo_vmf1& tropo, int mjd, double sod, double ah, double aw,
                   Ssat_t& sat) {
  double blh[3] = {sta.m_blh[0], sta.m_blh[1], sta.m_blh[2]};
  sat.m_mapwet = tropo.tropmf(mjd, sod, ah, aw, blh, sat.m_elev, &sat.m_mapdry);
  sat.m_ionmap = 1.0;
  sat.m_stec = 0.0;
  sat.m_trop = sat.m_mapdry * sta.m_zhd + sat.m_mapwet * sta.m_zwd;
}

double s_relativity(const double* xv, const double* receiver, double range) {
  const double sum = s_norm(receiver) + s_norm(xv);
  return 2.0 * dot(3, xv, xv + 3) / kLight + kPathDelay_m * std::log((sum + range) / (sum - range));
}

void s_antennaPatterns(const ModelInput& in, int isat, int isys, SatGeometry& geo) {
  const Ssat_t& sat = in.sta.m_sat[isat];
  const Satellite& satellite = in.deploy.m_satellites[static_cast<std::size_t>(isat)];
  const double* x = geo.xv[0];
  const double* d = geo.d[0];
  const double nadir = std::acos(std::clamp(dot(3, x, d) / (s_norm(x) * s_norm(d)), -1.0, 1.0));
  double pcv[kSys][kFreq] = {};
  static const Antatx kNoAntenna;
  const auto found = in.deploy.m_antennas.find(in.sta.m_antType);
  const Antatx& receiver = found == in.deploy.m_antennas.end() ? kNoAntenna : found->second;
  const double zenith = kPi / 2.0 - sat.m_elev;
  Antatx::s_getAntPcv(receiver, satellite, zenith, sat.m_azim, nadir, pcv);
  std::copy(std::begin(pcv[isys]), std::end(pcv[isys]), std::begin(geo.pcv));
  if (!s_contains(in.deploy.m_pcv, "PCV_APPLY")) return;
  for (int f = 0; f < in.deploy.m_nfreqUsed[isys]; ++f)
    geo.pcv[f] += receiver.m_patternAt(isys, f, zenith * kRadToDeg, sat.m_azim * kRadToDeg) +
                  satellite.m_patternAt(isys, f, nadir * kRadToDeg);
}

double s_codeModel(const ModelInput& in, int isat, int isys, int slot, double rclk, const SatGeometry& geo) {
  const Ssat_t& sat = in.sta.m_sat[isat];
  const double clk = in.deploy.m_satellites[static_cast<std::size_t>(isat)].m_clk;
  return stec2m(sat.m_stec, isat, in.deploy.m_freqUsed[isys][slot]) + (rclk - clk) * kLight +
         geo.range[slot] + sat.m_trop + geo.rel[slot] + geo.pcv[slot];
}

double s_noiseFactor(const Deploy& deploy, int isys, int slot) {
  if (deploy.m_noiseByFreq.empty()) return 1.0;
  const auto factor = deploy.m_noiseByFreq.find(std::string(1, SYS[isys]) + deploy.m_freqUsed[isys][slot]);
  return factor == deploy.m_noiseByFreq.end() ? 1.0 : factor->second;
}

}  // namespace tarvio
