// Observed minus computed of pseudoranges for a first position.

#include "Core/Model/SppModelItrs.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "Common/Com.h"
#include "Common/ElevationWeight.h"
#include "Common/Logtrace.h"
#include "Config/Configuration.h"
#include "Core/Model/De405.h"
#include "Core/Model/Tropo_vmf1.h"

namespace tarvio {

/// Tables of one call.
struct SppModelItrs::Epoch {
  ModelInput in;
  Tropo_vmf1& tropo;
  bool placed;  ///< m_blh is known
  double ah = 0.0, aw = 0.0;
  double rclk[kSys] = {};  ///< s
  PointTable point = {};
  SystemFrame frame[kSys] = {};
};

void SppModelItrs::gnssModel(bool /*lcheck*/) {
  Station& sta = *m_sta;
  Epoch epoch{s_modelInput(m_filter, m_sta), Tropo_vmf1::s_getInstance(),
              sta.m_blh[0] * sta.m_blh[1] * sta.m_blh[2] != 0.0};
  const Deploy& deploy = epoch.in.deploy;
  const int count = s_resetSlots(deploy, sta);
  s_receiverPoints(deploy, sta, sta.m_antenu, epoch.point);
  if (epoch.placed)
    epoch.tropo.tropvmf1(sta.m_mjd, sta.m_sod, &epoch.ah, &epoch.aw, sta.m_blh, &sta.m_zhd, &sta.m_zwd);
  s_clockSeconds(deploy, sta, epoch.rclk);
  sta.m_nobs = 0;
  if (count > m_capacity || sta.m_omcList == nullptr) {
    m_capacity = std::max(count, 1);
    s_allocateLists(sta, m_capacity);
  } else {
    std::fill(sta.m_omcList, sta.m_omcList + m_capacity, 0.0);
    std::fill(sta.m_wgtList, sta.m_wgtList + m_capacity, 0.0);
    std::fill(sta.m_idxList, sta.m_idxList + 4 * m_capacity, 0);
  }
  if (epoch.in.orbits == nullptr) {
    std::puts("orbAdapter == NULL !");
    return;
  }
  for (const char* c = deploy.m_syslist; *c; ++c) {
    const int isys = s_systemIndex(*c);
    if (isys < 0) continue;
    s_systemTime(sta, epoch.rclk[isys], epoch.frame[isys]);
    m_sun(epoch.frame[isys]);
  }
  for (int isat = 0; isat < std::min(deploy.m_nsat, kMaxSat); ++isat)
    if (s_hasObservation(deploy, sta.m_sat[isat], isat)) m_modelSatellite(epoch, isat);
}

/// The Sun only orients the satellites here, so the low-precision formulae stand in for a missing
/// ephemeris.
void SppModelItrs::m_sun(SystemFrame& frame) const {
  constexpr double kGpsToTt_s = 51.184, kTravelTime_s = 0.075;
  const double jd = frame.mjd + 2400000.5 + (frame.sod - kTravelTime_s + kGpsToTt_s) / kDay;
  double state[6];
  if (!De405::s_getInstance().pleph(jd, De405::kSun, De405::kEarth, state)) {
    s_sunMoon(frame);
    return;
  }
  for (int k = 0; k < 3; ++k) frame.sun[k] = state[k] * 1000.0;
}

void SppModelItrs::m_modelSatellite(const Epoch& epoch, int isat) {
  const Deploy& deploy = epoch.in.deploy;
  Station& sta = *m_sta;
  Ssat_t& sat = sta.m_sat[isat];
  const int isys = deploy.m_sysOfRow(isat);
  SatGeometry geo;
  const bool seen = s_emission(epoch.in, isat, epoch.frame[isys], epoch.rclk[isys], epoch.point[isys], geo);
  if (!seen || (epoch.placed && !m_placeCorrections(epoch, isat, geo))) {
    std::fill(std::begin(sat.m_obs), std::end(sat.m_obs), 0.0);
    std::fill(std::begin(sat.m_xx), std::end(sat.m_xx), 0.0);
    return;
  }
  const double g = epoch.placed ? s_elevationFactor(sat.m_elev) : 1.0;
  for (int f = 0; f < deploy.m_nfreqUsed[isys]; ++f) {
    if (sat.m_obs[4 + f] == 0.0) continue;
    const double omc = sat.m_obs[4 + f] - s_codeModel(epoch.in, isat, isys, f, epoch.rclk[isys], geo);
    if (omc == 0.0 || !std::isfinite(omc)) continue;
    sat.m_xx[4 + f] = omc;
    sat.m_wgt[4 + f] = 1.0 / sta.m_sigCode[isys] / s_noiseFactor(deploy, isys, f) * g;
    s_append(sta, m_capacity, omc, sat.m_wgt[4 + f], isat, f, kRowCode);
  }
}

/// Elevation mask and the corrections that need a place on the Earth. \return false below the mask
bool SppModelItrs::m_placeCorrections(const Epoch& epoch, int isat, SatGeometry& geo) {
  const Deploy& deploy = epoch.in.deploy;
  const Station& sta = *m_sta;
  Ssat_t& sat = m_sta->m_sat[isat];
  const int isys = deploy.m_sysOfRow(isat);
  s_lineOfSight(sta, geo.d[0], &sat.m_azim, &sat.m_elev);
  if (!(sat.m_elev >= sta.m_cutoff)) {
    const char* cprn = deploy.m_cprn[isat].c_str();
    const double elev_deg = sat.m_elev * kRadToDeg;
    Logtrace::m_logPrint("[%s,%d]:[%d %8.1lf] [%s %s] remove the low elevation measurements %7.2lf\n",
                         __func__, __LINE__, sta.m_mjd, sta.m_sod, sta.m_name.c_str(), cprn, elev_deg);
    Logtrace::m_logStatInfo("[%d %8.1lf] [%s %s] remove the low elevation measurements %7.2lf\n", sta.m_mjd,
                            sta.m_sod, sta.m_name.c_str(), cprn, elev_deg);
    return false;
  }
  s_troposphere(sta, epoch.tropo, sta.m_mjd, sta.m_sod, epoch.ah, epoch.aw, sat);
  for (int f = 0; f < deploy.m_nfreqUsed[isys]; ++f)
    geo.rel[f] = s_relativity(geo.xv[f], epoch.point[isys][f], geo.range[f]);
  s_antennaPatterns(epoch.in, isat, isys, geo);
  return true;
}

}  // namespace tarvio
