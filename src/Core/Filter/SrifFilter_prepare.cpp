/// The epoch before its rows: observations into the stations, position and model, slip detection,
/// periodic reset.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "Common/Com.h"
#include "Common/Logtrace.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"
#include "Core/Model/Model.h"
#include "Core/Model/SppLsq.h"

namespace tarvio {

namespace {

constexpr double kLeastResidual = 0.01;  ///< m, a model value that counts as present

bool s_isPosition(const double* xyz) { return xyz[0] * xyz[1] * xyz[2] != 0.0; }

void s_clearResiduals(Station& sta, int nsat) {
  for (int isat = 0; isat < nsat; ++isat) std::fill_n(sta.m_sat[isat].m_xx, kObs, 0.0);
}

void s_clearObservations(Ssat_t& sat) {
  std::fill_n(sat.m_obs, kObs, 0.0);
  std::fill_n(sat.m_dop, kFreq, 0.0);
  std::fill_n(sat.m_snr, kFreq, 0.0);
  std::memset(sat.m_type, 0, sizeof sat.m_type);
  std::fill_n(sat.m_flag, kFreq, static_cast<int>(kFlagGood));
}

void s_copyObservations(Ssat_t& sat, const Rnxobs& obs, int isat) {
  std::copy_n(obs.m_obs[isat], kObs, sat.m_obs);
  std::copy_n(obs.m_dop[isat], kFreq, sat.m_dop);
  std::copy_n(obs.m_snr[isat], kFreq, sat.m_snr);
  std::memcpy(sat.m_type, obs.m_type[isat], sizeof sat.m_type);
  std::copy_n(obs.m_flag[isat], kFreq, sat.m_flag);
}

/// Residuals of the kind on which an epoch stands: phases, without them codes.
const double* s_leadingResiduals(const Ssat_t& sat) { return s_usesPhase() ? sat.m_xx : sat.m_xx + kFreq; }

bool s_hasModel(const Ssat_t& sat, int nused) {
  const double* xx = s_leadingResiduals(sat);
  return std::any_of(xx, xx + std::min(nused, kFreq), [](double v) { return v != 0.0; });
}

bool s_isFinite(const Ssat_t& sat) {
  const auto finite = [](double v) { return std::isfinite(v); };
  return std::all_of(sat.m_xx, sat.m_xx + kObs, finite) && std::all_of(sat.m_wgt, sat.m_wgt + kObs, finite) &&
         std::all_of(sat.m_los, sat.m_los + 3, finite) && finite(sat.m_mapwet) && finite(sat.m_elev);
}

/// Removes the rows and residuals of all other satellites.
void s_keepSatellites(Station& sta, const bool* present) {
  int kept = 0;
  for (int row = 0; row < sta.m_nobs; ++row) {
    const int isat = sta.m_index(row).isat;
    if (!present[isat]) {
      std::fill_n(sta.m_sat[isat].m_xx, kObs, 0.0);
      continue;
    }
    sta.m_omcList[kept] = sta.m_omcList[row];
    sta.m_wgtList[kept] = sta.m_wgtList[row];
    sta.m_setIndex(kept, sta.m_index(row));
    ++kept;
  }
  sta.m_nobs = kept;
}

}  // namespace

void SrifFilter::v_setobs(std::map<std::string, Rnxobs*> obs) {
  const Deploy& config = s_config();
  for (std::size_t ista = 0; ista < m_stations.size(); ++ista) {
    Station& sta = m_stations[ista];
    for (int isat = 0; isat < config.m_nsat; ++isat) s_clearObservations(sta.m_sat[isat]);
    const auto found = obs.find(sta.m_name);
    const Rnxobs* record = found == obs.end() ? nullptr : found->second;
    if (ista == 0) m_account.m_noteArrivals(record);
    if (!record) continue;

    for (int isat = 0; isat < config.m_nsat; ++isat) {
      const int isys = config.m_sysOfRow(isat);
      if (m_prosys.find(SYS[isys]) == std::string::npos) continue;
      s_copyObservations(sta.m_sat[isat], *record, isat);
      const int nobserved = std::min(config.m_nfreqObs[isys], kFreq);
      for (int f = 0; f < nobserved; ++f)
        if (sta.m_attr[isys][f] == '\0' && sta.m_sat[isat].m_obs[kFreq + f] != 0.0)
          sta.m_attr[isys][f] = sta.m_sat[isat].m_type[kFreq + f][2];
    }
    sta.m_mjd = mjd = record->m_mjd;
    sta.m_sod = sod = record->m_sod;
  }
}

void SrifFilter::v_onObsUpdate() {
  m_account.m_settleSystems();
  m_corrifpb();
  m_account.m_settleInput(Fate::ifpb);
  m_noSolution.m_noteInput(*this);
  for (std::size_t ista = 0; ista < m_stations.size(); ++ista) {
    m_positionAndModel(static_cast<int>(ista));
    m_account.m_settleModel();
    m_limitSatellites(m_stations[ista]);
    m_account.m_settleResiduals(Fate::noRoom);
    m_checkUseful(m_stations[ista]);
    m_account.m_settleResiduals(Fate::epoch);
  }
}

void SrifFilter::m_positionAndModel(int ista) {
  Station& sta = m_stations[static_cast<std::size_t>(ista)];
  const int nsat = s_config().m_nsat;
  s_clearResiduals(sta, nsat);
  if (sta.m_skd == 'D') std::fill_n(sta.m_x, 3, 0.0);
  if (!s_isPosition(sta.m_x)) {
    Logtrace::m_logPrint("[%s,%d]:stan = %s,estimating spp coordinates...\n", __func__, __LINE__,
                         sta.m_name.c_str());
    SppLsq::s_spp(this, &sta, 10);
    // The single-point model leaves its residuals and rows in the station.
    s_clearResiduals(sta, nsat);
    if (!s_isPosition(sta.m_xyz)) std::copy_n(sta.m_x, 3, sta.m_xyz);
    if (!s_isPosition(sta.m_x)) sta.m_nobs = 0;
  }
  m_noSolution.m_notePosition(s_isPosition(sta.m_x));
  if (sta.m_model && s_isPosition(sta.m_x)) sta.m_model->gnssModel(true);
}

/// Leaves out satellites that the array must not take: numbers that are not finite would stay in it for
/// ever, and the row storage is sized for so many satellites in view; beyond, the lowest go.
void SrifFilter::m_limitSatellites(Station& sta) {
  if (!infs || sta.m_nobs < 1) return;
  bool present[kMaxSat] = {};
  for (int row = 0; row < sta.m_nobs; ++row) present[sta.m_index(row).isat] = true;
  std::vector<int> seen;
  int dropped = 0;
  for (int isat = 0; isat < s_config().m_nsat; ++isat) {
    if (!present[isat]) continue;
    present[isat] = s_isFinite(sta.m_sat[isat]);
    if (present[isat]) seen.push_back(isat);
    else ++dropped;
  }
  const auto limit = static_cast<std::size_t>(std::max(m_maxSatEpoch, 0));
  if (seen.size() > limit) {
    std::stable_sort(seen.begin(), seen.end(),
                     [&](int a, int b) { return sta.m_sat[a].m_elev > sta.m_sat[b].m_elev; });
    for (std::size_t i = limit; i < seen.size(); ++i, ++dropped) present[seen[i]] = false;
  }
  if (dropped > 0) s_keepSatellites(sta, present);
  switch (m_satellitesLeftOut.m_update(dropped > 0)) {
    case StatusCondition::Change::begins:
      Logtrace::m_logStatInfo("[%d %8.1lf] sta = %s, %d satellites are left out of the epoch\n", mjd, sod,
                              sta.m_name.c_str(), dropped);
      break;
    case StatusCondition::Change::ends:
      Logtrace::m_logStatInfo("[%d %8.1lf] sta = %s, no satellite is left out of the epoch any more\n", mjd,
                              sod, sta.m_name.c_str());
      break;
    default:
      break;
  }
}

void SrifFilter::m_checkUseful(Station& sta) {
  const Deploy& config = s_config();
  int count[kSys] = {};
  for (int isat = 0; isat < config.m_nsat; ++isat) {
    const int isys = config.m_sysOfRow(isat);
    if (s_hasModel(sta.m_sat[isat], config.m_nfreqUsed[isys])) ++count[isys];
  }
  m_noSolution.m_noteUseful(count);
  if (*std::max_element(count, count + kSys) >= NoSolution::kLeastSatellites) return;

  sta.m_nobs = 0;
  for (int isat = 0; isat < config.m_nsat; ++isat)
    for (int f = 0; f < kFreq; ++f)
      if (std::fabs(s_leadingResiduals(sta.m_sat[isat])[f]) > kLeastResidual)
        sta.m_sat[isat].m_flag[f] = kFlagEpoch;
  s_clearResiduals(sta, config.m_nsat);
}

void SrifFilter::v_onDataQC() {
  const Deploy& config = s_config();
  const bool single = s_has(config.m_obscomb, "SF");
  for (Station& sta : m_stations)
    for (int isat = 0; isat < config.m_nsat; ++isat) {
      Ssat_t& sat = sta.m_sat[isat];
      const char* name = sta.m_name.c_str();
      if (single) m_qcDetectSlip_Sf_sat(mjd, sod, isat, name, sat.m_obs, sat.m_elev, sat.m_sm, sat.m_slip);
      else
        m_qcDetectSlip_Df_sat(mjd, sod, isat, name, sat.m_obs, sat.m_elev, sat.m_sm, sat.m_slip,
                              m_noise.m_slipExpectation(isat, mjd * kDay + sod, sat.m_elev));
    }
}

void SrifFilter::v_onPrepare() {
  const Deploy& config = s_config();
  if (s_has(config.m_ambmode, "INST")) {
    constexpr double kTagTolerance_s = 1.0e-3;
    const std::time_t now = mjd2time(mjd, sod);
    const double fraction = sod - std::floor(sod), limit = s_numberBehindColon(config.m_ambmode);
    const double since = static_cast<double>(now - treset) + fraction - m_resetFraction;
    const bool first = treset == -1;
    if (!first && since >= limit - kTagTolerance_s) v_srif_reset();
    if (first || since >= limit - kTagTolerance_s) {
      treset = now;
      m_resetFraction = fraction;
    }
  }

  if (m_noise.m_isOn())
    for (Station& sta : m_stations)
      if (sta.m_nobs > 0) m_noise.m_weigh(sta, mjd, sod, m_intv);
  m_smoothWidelanes();
  tlast = mjd + sod / kDay;
}

}  // namespace tarvio
