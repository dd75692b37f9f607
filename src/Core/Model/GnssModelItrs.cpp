// Observed minus computed of code and phase, with every effect the precise position needs.

#include "Core/Model/GnssModelItrs.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "Common/Com.h"
#include "Common/ElevationWeight.h"
#include "Common/Logtrace.h"
#include "Config/Configuration.h"
#include "Config/SatelliteTable.h"
#include "Config/SiteInfo.h"
#include "Core/Model/PhaseWindup.h"
#include "Core/Model/Tides.h"
#include "Core/Model/Tropo_vmf1.h"
#include "Core/Qc/Qc.h"
#include "Records/Rnxobs.h"

namespace tarvio {
namespace {

constexpr int kPasses = 11;
constexpr double kSameTide_s = 1.0e-3;
/// Variance of a phase at 0 dB-Hz by frequency (a fourth slot takes the last value).
constexpr double SNRCONST_FREQ1[3] = {0.000161, 0.000161, 0.000161};
constexpr double kSnrScale = 5590.0;
constexpr double kOceanLoadRange_m = 1000.0;

double s_snrSigma(int slot, double snr_dbhz) {
  return std::sqrt(SNRCONST_FREQ1[std::min(slot, 2)] * std::pow(10.0, -snr_dbhz / 10.0) * kSnrScale);
}

void s_zeroRow(double (&row)[kObs]) { std::fill(std::begin(row), std::end(row), 0.0); }

void s_setReason(Ssat_t& sat, int reason) {
  for (int& flag : sat.m_flag)
    if (flag == kFlagGood) flag = reason;
}

}  // namespace

/// Tables of one call; on the stack but for the debug record, which exists under m_ldebug only.
struct GnssModelItrs::Pass {
  explicit Pass(const ModelInput& input) : in(input) {}
  ModelInput in;
  Tropo_vmf1* tropo = nullptr;
  double ah = 0.0, aw = 0.0;
  int capacity = 0;  ///< entries that the flat lists hold
  int rej[kMaxSat] = {};
  double rclk[kSys] = {};     ///< s
  PointTable point = {};      ///< receiver antennas
  PointTable tidePoint = {};  ///< with the tides
  SystemFrame frame[kSys];
  TideEntry tides[kSys * kFreq];  ///< displacements of this pass by argument
  int ntides = 0;
  double lastDisp[3] = {};  ///< of slot 0, last system
  std::unique_ptr<SatGeometry[]> record;
};

void GnssModelItrs::gnssModel(bool lcheck) {
  Pass pass(v_input());
  const Deploy& deploy = pass.in.deploy;
  Station& sta = *m_sta;
  pass.tropo = &Tropo_vmf1::s_getInstance();
  pass.capacity = s_resetSlots(deploy, sta);
  sta.m_nobs = 0;
  s_allocateLists(sta, pass.capacity);
  if (!std::all_of(sta.m_x, sta.m_x + 3, [](double v) { return std::isfinite(v); })) return;

  xyzblh(sta.m_x, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0, sta.m_blh);
  rot_enu2xyz(sta.m_blh[0], sta.m_blh[1], sta.m_rot);
  m_oceanLoading();
  v_receiverPoints(pass.point);
  pass.tropo->tropvmf1(sta.m_mjd, sta.m_sod, &pass.ah, &pass.aw, sta.m_blh, &sta.m_zhd, &sta.m_zwd);
  for (double& clock : sta.m_rclk)
    if (!(std::fabs(clock) < kLight)) clock = 0.0;  // not finite, or beyond a second: no clock
  s_clockSeconds(deploy, sta, pass.rclk);
  if (deploy.m_ldebug) pass.record = std::make_unique<SatGeometry[]>(kMaxSat);

  if (pass.in.orbits != nullptr) {
    int left = kPasses;
    do {
      m_runPass(pass);
    } while (--left > 0 && m_checkrange(lcheck, pass.rej, pass.rclk));
  }
  if (deploy.m_ldebug) m_writeCorrections(pass);
}

/// The table of a site holds for its surroundings; a moving station looks again after a kilometre.
void GnssModelItrs::m_oceanLoading() {
  Station& sta = *m_sta;
  if (sta.m_olcValid && distance(sta.m_x, sta.m_olcXyz) <= kOceanLoadRange_m) return;
  oceanload_coef(sta.m_blh[0], sta.m_blh[1], sta.m_olc);
  std::copy(sta.m_x, sta.m_x + 3, sta.m_olcXyz);
  sta.m_olcValid = true;
}

void GnssModelItrs::m_runPass(Pass& pass) {
  const Deploy& deploy = pass.in.deploy;
  m_sta->m_nobs = 0;
  pass.ntides = 0;
  for (const char* c = deploy.m_syslist; *c; ++c) {
    const int isys = s_systemIndex(*c);
    if (isys >= 0) m_systemFrame(pass, isys);
  }
  const int rows = std::min(deploy.m_nsat, kMaxSat);
  for (int isat = 0; isat < rows; ++isat)
    if (pass.rej[isat] == 0 && s_hasObservation(deploy, m_sta->m_sat[isat], isat))
      m_modelSatellite(pass, isat);
}

/// Rotation, Sun, Moon and the displaced receiver points of a system.
void GnssModelItrs::m_systemFrame(Pass& pass, int isys) {
  SystemFrame& frame = pass.frame[isys];
  s_systemTime(*m_sta, pass.rclk[isys], frame);
  s_sunMoon(frame);
  for (int f = 0; f < pass.in.deploy.m_nfreqUsed[isys]; ++f) {
    double disp[3];
    m_displace(pass, frame, pass.point[isys][f], disp);
    for (int k = 0; k < 3; ++k) pass.tidePoint[isys][f][k] = pass.point[isys][f][k] + disp[k];
    if (f == 0) std::copy(disp, disp + 3, pass.lastDisp);
  }
}

/// Tides are by far the dearest part of a frame: slots and systems of the same antenna point share one
/// evaluation. The clocks of systems differ by less than a millisecond, in which no tide moves by 1e-7 m.
void GnssModelItrs::m_displace(Pass& pass, const SystemFrame& frame, const double* point, double* out) {
  for (int i = 0; i < pass.ntides; ++i) {
    const TideEntry& t = pass.tides[i];
    if (t.mjd == frame.mjd && std::fabs(t.sod - frame.sod) < kSameTide_s &&
        std::equal(t.point, t.point + 3, point)) {
      std::copy(t.disp, t.disp + 3, out);
      return;
    }
  }
  TideEntry& entry = pass.tides[pass.ntides++];
  entry.mjd = frame.mjd;
  entry.sod = frame.sod;
  std::copy(point, point + 3, entry.point);
  v_tides(frame, point, entry.disp);
  std::copy(entry.disp, entry.disp + 3, out);
}

ModelInput GnssModelItrs::v_input() const { return s_modelInput(m_filter, m_sta); }

void GnssModelItrs::v_receiverPoints(PointTable& point) const {
  s_receiverPoints(s_config(), *m_sta, m_sta->m_antenu, point);
}

void GnssModelItrs::v_tides(const SystemFrame& frame, const double* point, double* disp) const {
  tide_displace_itrs(frame.mjd, frame.sod, point, frame.sun, frame.moon, frame.R, m_sta->m_rot,
                     m_sta->m_blh[0], m_sta->m_blh[1], frame.xp, frame.yp, m_sta->m_olc, disp,
                     frame.poleKnown ? PoleTide::known : PoleTide::zeroPole);
}

void GnssModelItrs::v_troposphere(Tropo_vmf1& tropo, double ah, double aw, Ssat_t& sat) const {
  s_troposphere(*m_sta, tropo, m_sta->m_mjd, m_sta->m_sod, ah, aw, sat);
}

void GnssModelItrs::v_windup(const SystemFrame& frame, const Satellite& satellite, const double* d,
                             Ssat_t& sat) const {
  phase_windup_itrs(&sat.m_wuinit, frame.R, m_sta->m_rot, satellite.m_xscf, satellite.m_yscf,
                    satellite.m_zscf, d, &sat.m_wuprev, &sat.m_windup);
}

double GnssModelItrs::v_relativity(const double* xv, const double* receiver, double range) const {
  return s_relativity(xv, receiver, range);
}

void GnssModelItrs::v_antennaPatterns(const ModelInput& in, int isat, int isys, SatGeometry& geo) const {
  s_antennaPatterns(in, isat, isys, geo);
}

void GnssModelItrs::m_modelSatellite(Pass& pass, int isat) {
  const Deploy& deploy = pass.in.deploy;
  Ssat_t& sat = m_sta->m_sat[isat];
  const int isys = deploy.m_sysOfRow(isat);
  const SystemFrame& frame = pass.frame[isys];
  SatGeometry geo;

  if (!s_emission(pass.in, isat, frame, pass.rclk[isys], pass.tidePoint[isys], geo)) {
    s_setReason(sat, kFlagNoOrbit);
    s_zeroRow(sat.m_obs);
    s_zeroRow(sat.m_xx);
    return;
  }
  s_lineOfSight(*m_sta, geo.d[0], &sat.m_azim, &sat.m_elev);
  if (!(sat.m_elev >= m_sta->m_cutoff)) {
    s_zeroRow(sat.m_obs);
    s_zeroRow(sat.m_xx);
    return;
  }
  v_troposphere(*pass.tropo, pass.ah, pass.aw, sat);
  v_windup(frame, deploy.m_satellites[static_cast<std::size_t>(isat)], geo.d[0], sat);
  for (int f = 0; f < deploy.m_nfreqUsed[isys]; ++f)
    geo.rel[f] = v_relativity(geo.xv[f], pass.tidePoint[isys][f], geo.range[f]);
  v_antennaPatterns(pass.in, isat, isys, geo);
  m_residuals(pass, isat, isys, geo);
  m_appendRows(pass, isat, isys);
  if (pass.record) pass.record[static_cast<std::size_t>(isat)] = geo;
}

void GnssModelItrs::m_residuals(Pass& pass, int isat, int isys, SatGeometry& geo) {
  const Deploy& deploy = pass.in.deploy;
  const Satellite& satellite = deploy.m_satellites[static_cast<std::size_t>(isat)];
  Ssat_t& sat = m_sta->m_sat[isat];
  for (int f = 0; f < deploy.m_nfreqUsed[isys]; ++f) {
    const double code = s_codeModel(pass.in, isat, isys, f, pass.rclk[isys], geo);
    if (!std::isfinite(code)) continue;
    const double lambda = kLight / satellite.m_freq[f];
    const double phase =
        sat.m_windup * lambda + code - 2.0 * stec2m(sat.m_stec, isat, deploy.m_freqUsed[isys][f]);
    if (sat.m_obs[f] != 0.0) sat.m_xx[f] = sat.m_obs[f] * lambda - phase;
    if (sat.m_obs[4 + f] != 0.0) sat.m_xx[4 + f] = sat.m_obs[4 + f] - code;
  }
  cor_BDScodebias(isat, sat.m_xx, sat.m_elev);
}

void GnssModelItrs::m_appendRows(Pass& pass, int isat, int isys) {
  const Deploy& deploy = pass.in.deploy;
  Station& sta = *m_sta;
  Ssat_t& sat = sta.m_sat[isat];
  const double g = s_elevationFactor(sat.m_elev);
  const double sigPhase = sta.m_sigPhase[isys], sigCode = sta.m_sigCode[isys];
  for (int f = 0; f < deploy.m_nfreqUsed[isys]; ++f) {
    const double bySnr = deploy.m_lsnr ? s_snrSigma(f, sat.m_snr[f]) : 0.0;
    if (sat.m_xx[f] != 0.0) {
      const double sigma = deploy.m_lsnr ? bySnr : sigPhase / g;
      sat.m_wgt[f] = 1.0 / sigma;
      s_append(sta, pass.capacity, sat.m_xx[f], sat.m_wgt[f], isat, f, kRowPhase);
    }
    if (sat.m_xx[4 + f] != 0.0) {
      const double sigma = deploy.m_lsnr ? sigCode / sigPhase * bySnr : sigCode / g;
      sat.m_wgt[4 + f] = 1.0 / sigma / s_noiseFactor(deploy, isys, f);
      s_append(sta, pass.capacity, sat.m_xx[4 + f], sat.m_wgt[4 + f], isat, f, kRowCode);
    }
  }
}

bool GnssModelItrs::m_checkrange(bool lcheck, int* rej, double* rclk) {
  if (!lcheck) return m_meanClock(rclk);
  Station& sta = *m_sta;
  const Deploy& deploy = s_config();
  int flags[kMaxSat] = {};
  if (Qc::Qc_detectRangeOmc(&sta, flags) == 0) return false;

  double clocks[kSys];
  s_clockSeconds(deploy, sta, clocks);
  const int rows = std::min(deploy.m_nsat, kMaxSat);
  for (const char* c = deploy.m_syslist; *c; ++c) {
    const int isys = s_systemIndex(*c);
    if (isys < 0) continue;
    rclk[isys] = clocks[isys];
    if (!std::isnan(rclk[isys])) continue;
    Logtrace::m_logPrint("[%s,%d]:[%d %8.1lf] Nan rclock for Station %s Constellation %c\n", __func__,
                         __LINE__, sta.m_mjd, sta.m_sod, sta.m_name.c_str(), *c);
    for (int isat = 0; isat < rows; ++isat) {
      if (deploy.m_sysOfRow(isat) != isys) continue;
      rej[isat] = 1;
      s_zeroRow(sta.m_sat[isat].m_xx);
    }
    rclk[isys] = sta.m_rclk[isys] = 0.0;
  }
  for (int isat = 0; isat < rows; ++isat) {
    if (flags[isat] == 0) continue;
    s_setReason(sta.m_sat[isat], kFlagRange);
    Logtrace::m_logPrint("[%s,%d]:[%d %8.1lf] Remove observation for Station %s Satellite %s\n", __func__,
                         __LINE__, sta.m_mjd, sta.m_sod, sta.m_name.c_str(), deploy.m_cprn[isat].c_str());
    s_zeroRow(sta.m_sat[isat].m_xx);
    rej[isat] = 1;
  }
  return true;
}

/// Carries the mean code residual of the reference system into its clock.
bool GnssModelItrs::m_meanClock(double* rclk) {
  constexpr double kClockTolerance_s = 1.0e-7;
  Station& sta = *m_sta;
  const Deploy& deploy = s_config();
  const int isys = deploy.m_refsys;
  if (isys < 0 || std::strchr(deploy.m_syslist, SYS[isys]) == nullptr) return false;
  const bool single = s_contains(deploy.m_obscomb, "SF");
  double sum = 0.0;
  int n = 0;
  for (int isat = 0; isat < std::min(deploy.m_nsat, kMaxSat); ++isat) {
    const Ssat_t& sat = sta.m_sat[isat];
    if (deploy.m_sysOfRow(isat) != isys || sat.m_elev < sta.m_cutoff) continue;
    const double* code = sat.m_xx + 4;
    int i, j;
    if (single) {
      if (code[0] == 0.0) continue;
      sum += code[0];
    } else {
      if (!getTwoIndexOfValidObs(code, deploy.m_nfreqUsed[isys], &i, &j)) continue;
      const double* freq = deploy.m_satellites[static_cast<std::size_t>(isat)].m_freq;
      const double a2 = freq[i] * freq[i] / (freq[j] * freq[j]);
      sum += a2 / (a2 - 1.0) * code[i] - 1.0 / (a2 - 1.0) * code[j];
    }
    ++n;
  }
  if (n == 0) return false;
  const double mean = sum / n;
  if (std::fabs(mean / kLight) <= kClockTolerance_s && sta.m_rclk[isys] != 0.0) return false;
  sta.m_rclk[isys] += mean;
  double clocks[kSys];
  s_clockSeconds(deploy, sta, clocks);
  std::copy(clocks, clocks + kSys, rclk);
  return true;
}

void GnssModelItrs::m_writeCorrections(Pass& pass) {
  static constexpr char kTag[] = "correction.cor";
  const Deploy& deploy = pass.in.deploy;
  Station& sta = *m_sta;
  Log& log = Logtrace::s_defaultlogger;
  if (!log.m_lexist(kTag)) log.m_openLog(kTag);
  log.m_wtMsg("@%s TIM: %s %s %13.3lf %13.3lf %13.3lf %6.3lf %6.3lf %6.3lf\n", kTag,
              run_timefmt(sta.m_mjd, sta.m_sod).c_str(), sta.m_name.c_str(), sta.m_x[0], sta.m_x[1],
              sta.m_x[2], pass.lastDisp[0], pass.lastDisp[1], pass.lastDisp[2]);
  for (int isat = 0; isat < std::min(deploy.m_nsat, kMaxSat); ++isat) {
    Ssat_t& sat = sta.m_sat[isat];
    if (sat.m_xx[0] == 0.0) continue;
    const int isys = deploy.m_sysOfRow(isat);
    const Satellite& satellite = deploy.m_satellites[static_cast<std::size_t>(isat)];
    const SatGeometry& geo = pass.record[static_cast<std::size_t>(isat)];
    cor_BDScodebias(isat, sat.m_obs, sat.m_elev);  // the printed code carries what its residual carries
    for (int f = 0; f < deploy.m_nfreqUsed[isys]; ++f) {
      const char* tag = deploy.m_freqUsed[isys][f];
      log.m_wtMsg(
          "@%s %s %s %s %13.3lf %13.3lf(obs)  %13.3lf %13.3lf(omc) %13.3lf %13.3lf %13.3lf(sxyz) %7.4lf "
          "%7.4lf "
          "%7.4lf(PCO) %13.3lf(sclk) %7.3lf(trp) %7.3lf(reldel) %7.4lf(pcv) %7.4lf(phwp) %7.4lf(ion) "
          "%7.4lf(rclk)  %7.2lf(elev)\n",
          kTag, deploy.m_cprn[isat].c_str(), tag, sat.m_type[4 + f], sat.m_obs[f], sat.m_obs[4 + f],
          sat.m_xx[f], sat.m_xx[4 + f], geo.xv[f][0], geo.xv[f][1], geo.xv[f][2], satellite.m_pco[f][0],
          satellite.m_pco[f][1], satellite.m_pco[f][2], satellite.m_clk * kLight, sat.m_trop, geo.rel[f],
          geo.pcv[f], sat.m_windup * kLight / satellite.m_freq[f], stec2m(sat.m_stec, isat, tag),
          sta.m_rclk[isys], sat.m_elev * kRadToDeg);
    }
  }
}

}  // namespace tarvio
