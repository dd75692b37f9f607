// The satellites of an epoch: directions, values with residuals and fates, ionosphere, ambiguities.

#include <algorithm>

#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"
#include "Interface/EpochRecord.h"

namespace tarvio {

namespace {

/// Whether any value of a satellite came in.
bool s_observed(const ObservationAccount& account, int isat) {
  for (int place = 0; place < kObs; ++place)
    if (account.m_fate(isat, place) != Fate::absent) return true;
  return false;
}

/// Directions are those of an earlier epoch where the model had no orbit or no position.
bool s_hasDirection(const Station& sta, int isat) {
  const Satellite& satellite = s_config().m_satellites[static_cast<std::size_t>(isat)];
  return satellite.m_clk != 0.0 && satellite.m_xyz[0] != 0.0 && sta.m_x[0] != 0.0;
}

}  // namespace

void EpochRecord::m_setSatellites() {
  const int nsat = s_config().m_nsat;
  std::size_t count = 0;
  auto& list = m_result.satellites;
  for (int isat = 0; isat < nsat; ++isat) {
    if (!s_observed(m_filter.m_account, isat)) continue;
    if (count == list.size()) list.emplace_back();
    m_setSatellite(isat, list[count++]);
  }
  list.resize(count);
  m_setRows();
}

void EpochRecord::m_setSatellite(int isat, GNX_EXT::SatelliteResult& out) const {
  const Deploy& config = s_config();
  const Station& sta = m_filter.m_stations[0];
  const Ssat_t& sat = sta.m_sat[isat];
  s_name(out.name, config.m_cprn[isat].c_str());
  const bool seen = s_hasDirection(sta, isat);
  out.azimuth_deg = seen ? sat.m_azim * kRadToDeg : 0.0;
  out.elevation_deg = seen ? sat.m_elev * kRadToDeg : 0.0;
  const int isys = config.m_sysOfRow(isat);
  out.bands = std::min(config.m_nfreqObs[isys], kFreq);
  for (int slot = 0; slot < out.bands; ++slot) m_setBand(isat, isys, slot, out.band[slot]);
  std::fill(out.band + out.bands, std::end(out.band), GNX_EXT::BandResult{});
  const SrifPamt* delay = m_filter.m_pmtab ? m_filter.m_pm(0, isat, kSlotIon) : nullptr;
  out.hasIonosphere = delay != nullptr && m_filter.m_solstat != kStateNone;
  out.ionosphere_m = out.hasIonosphere ? delay->xest : 0.0;
  out.ionosphereSigma_m = out.hasIonosphere ? m_sigma(delay->ipar) : 0.0;
}

void EpochRecord::m_setBand(int isat, int isys, int slot, GNX_EXT::BandResult& out) const {
  out = GNX_EXT::BandResult{};
  const Ssat_t& sat = m_filter.m_stations[0].m_sat[isat];
  const ObservationAccount& account = m_filter.m_account;
  s_name(out.band, s_config().m_freqObs[isys][slot]);
  const char* type = sat.m_type[kFreq + slot];  // "C1C"
  if (type[0] != '\0') s_name(out.signal, type + 1);
  out.snr_dBHz = sat.m_snr[slot];
  out.phase.fate = account.m_fate(isat, slot);
  out.code.fate = account.m_fate(isat, kFreq + slot);
  const SrifPamt* ambiguity = m_filter.m_pmtab ? m_filter.m_pm(0, isat, slot) : nullptr;
  out.hasAmbiguity = ambiguity != nullptr && m_filter.m_solstat != kStateNone;
  if (!out.hasAmbiguity) return;
  out.wavelength_m = ambiguity->lam;
  out.ambiguity = ambiguity->xest;
  out.arc_s = (m_filter.mjd + m_filter.sod / kDay - ambiguity->ptime0) * kDay;
  out.arcStart = ambiguity->iflag;
}

/// Residuals and sigmas of the epoch's rows.
void EpochRecord::m_setRows() {
  const Deploy& config = s_config();
  GNX_EXT::SatelliteResult* ofRow[kMaxSat] = {};
  for (GNX_EXT::SatelliteResult& satellite : m_result.satellites)
    if (const int isat = config.m_satRow(satellite.name); isat >= 0) ofRow[isat] = &satellite;
  for (int row = 0; row < m_filter.nobs && m_filter.resi; ++row) {
    const RowOrigin origin = m_filter.m_origin(row);
    if (origin.ista != 0 || ofRow[origin.isat] == nullptr || m_filter.obswgt[row] <= 0.0) continue;
    if (origin.kind != kRowCode && origin.kind != kRowPhase) continue;
    GNX_EXT::BandResult& band = ofRow[origin.isat]->band[origin.slot];
    GNX_EXT::ValueResult& value = origin.kind == kRowCode ? band.code : band.phase;
    value.floatResidual_m = m_filter.resi[row];
    value.residual_m = m_filter.resi_fix ? m_filter.resi_fix[row] : m_filter.resi[row];
    value.sigma_m = 1.0 / m_filter.obswgt[row];
  }
}

}  // namespace tarvio
