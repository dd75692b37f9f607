/// Observation rows of the configured combination, written in place over the station's lists.
///
/// "RAW" keeps the model's rows. "IF" forms the ionosphere-free pair a*x1 - b*x2 with
/// a = f1^2/(f1^2-f2^2), b = f2^2/(f1^2-f2^2); "AFIF" adds a three-frequency phase row that keeps the
/// geometry, removes the first-order ionosphere and has zero net wavelength, held by the integer
/// extra-wide-lane. "SF" is one frequency, with the half-sum of phase and code ("GRAPHIC", Yunck 1993)
/// as a variant.

#include <algorithm>
#include <cmath>

#include "Common/CMat.h"
#include "Common/Com.h"
#include "Config/SatelliteTable.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

struct Combined {
  double value = 0.0;  ///< m
  double wgt = 0.0;    ///< 1/m, 0 = nothing known
};

/// a*x1 + b*x2 with its weight. A value of 0 is an absent observation: its weight may be 0 too, and the
/// row then carries nothing.
Combined s_combine(const Ssat_t& sat, double a, int slot1, double b, int slot2) {
  if (sat.m_xx[slot1] == 0.0 || sat.m_xx[slot2] == 0.0 || sat.m_wgt[slot1] <= 0.0 || sat.m_wgt[slot2] <= 0.0)
    return {};
  return {a * sat.m_xx[slot1] + b * sat.m_xx[slot2],
          1.0 / std::hypot(a / sat.m_wgt[slot1], b / sat.m_wgt[slot2])};
}

void s_writeRow(Station& sta, double* wgt, int row, const Combined& combined, int isat, int slot, int kind) {
  sta.m_omcList[row] = combined.value;
  wgt[row] = combined.wgt;
  sta.m_setIndex(row, {isat, slot, kind, -1});
}

}  // namespace

void SrifFilter::v_formcomb_obs() {
  const Deploy& config = s_config();
  if (s_has(config.m_obscomb, "AFIF")) m_ewl_amb_holder();
  const bool pair = s_has(config.m_obscomb, "IF"), single = s_has(config.m_obscomb, "SF");

  for (int ista = 0; ista < static_cast<int>(m_stations.size()); ++ista) {
    Station& sta = m_stations[static_cast<std::size_t>(ista)];
    // A slip that is not handed on now is lost: the detector's records have already moved past it.
    for (int isat = 0; isat < config.m_nsat; ++isat) m_transferSlips(ista, isat);
    if (sta.m_nobs < 1 || (!pair && !single)) continue;

    m_formedWgt.assign(static_cast<std::size_t>(config.m_nsat) * 4, 0.0);
    int row = 0;
    for (int isat = 0; isat < config.m_nsat; ++isat)
      row = pair ? m_formIf(ista, isat, m_formedWgt.data(), row)
                 : m_formSf(ista, isat, m_formedWgt.data(), row);
    std::copy_n(m_formedWgt.begin(), row, sta.m_wgtList);
    sta.m_nobs = row;
  }
}

void SrifFilter::m_transferSlips(int ista, int isat) {
  const Deploy& config = s_config();
  Ssat_t& sat = m_stations[static_cast<std::size_t>(ista)].m_sat[isat];
  const int isys = config.m_sysOfRow(isat);
  if (s_has(config.m_obscomb, "IF")) {
    int fq1 = 0, fq2 = 1;
    s_ifSlots(isys, &fq1, &fq2);
    if (fq1 < 0 || fq2 < 0) return;
    if (const int slip = std::max(sat.m_slip[fq1], sat.m_slip[fq2]); slip != kSlipNone)
      sat.m_ambflag[0] = slip;
    if (s_has(config.m_obscomb, "AFIF"))
      if (const int slip = *std::max_element(sat.m_slip, sat.m_slip + 3); slip != kSlipNone)
        sat.m_ambflag[1] = slip;
  } else if (s_has(config.m_obscomb, "SF")) {
    if (sat.m_slip[0] != kSlipNone) sat.m_ambflag[0] = sat.m_slip[0];
  } else {
    for (int f = 0; f < std::min(config.m_nfreqUsed[isys], kFreq); ++f)
      if (sat.m_slip[f] != kSlipNone) sat.m_ambflag[f] = sat.m_slip[f];
  }
}

int SrifFilter::m_formIf(int ista, int isat, double* wgt, int row) {
  const Deploy& config = s_config();
  Station& sta = m_stations[static_cast<std::size_t>(ista)];
  const Ssat_t& sat = sta.m_sat[isat];
  int fq1 = 0, fq2 = 1;
  s_ifSlots(config.m_sysOfRow(isat), &fq1, &fq2);
  if (fq1 < 0 || fq2 < 0) return row;

  const double* factor = config.m_satellites[static_cast<std::size_t>(isat)].m_ifc;
  const bool phases = sat.m_xx[fq1] != 0.0 && sat.m_xx[fq2] != 0.0;
  const bool codes = sat.m_xx[kFreq + fq1] != 0.0 && sat.m_xx[kFreq + fq2] != 0.0;
  if (phases)
    s_writeRow(sta, wgt, row++, s_combine(sat, factor[0], fq1, -factor[1], fq2), isat, 0, kRowPhase);
  if (phases || (codes && !s_usesPhase())) {
    s_writeRow(sta, wgt, row++, s_combine(sat, factor[0], kFreq + fq1, -factor[1], kFreq + fq2), isat, 0,
               kRowCode);
  }
  if (s_has(config.m_obscomb, "AFIF")) row = m_formAfif(ista, isat, fq1, fq2, wgt, row);
  return row;
}

int SrifFilter::m_formAfif(int ista, int isat, int fq1, int fq2, double* wgt, int row) {
  const Deploy& config = s_config();
  Station& sta = m_stations[static_cast<std::size_t>(ista)];
  const Ssat_t& sat = sta.m_sat[isat];
  const int isys = config.m_sysOfRow(isat);
  if (!m_ewlflag || !m_ewlflag[ista * kMaxSat + isat] || !m_afifccf.contains(SYS[isys])) return row;
  if (!Fixes(m_fixmap, sta.m_name, Level::extraWideLane).m_isFixed(isat)) return row;
  if (sat.m_xx[0] == 0.0 || sat.m_xx[1] == 0.0 || sat.m_xx[2] == 0.0) return row;

  Combined phase;
  phase.value = v_form_AFIF(sta, isat, &phase.wgt);
  s_writeRow(sta, wgt, row++, phase, isat, 1, kRowAfifPhase);

  const Satellite& satellite = config.m_satellites[static_cast<std::size_t>(isat)];
  const auto extra = config.m_freqExtra.find(SYS[isys]);
  int fq3 = -1;
  if (extra != config.m_freqExtra.end() && !extra->second.empty())
    fq3 = pointer_charstr(config.m_nfreqUsed[isys], 4, config.m_freqUsed[isys][0], extra->second[0].c_str());
  if (fq3 >= 0) {
    const double f1 = satellite.m_freq[fq1] * satellite.m_freq[fq1];
    const double f3 = satellite.m_freq[fq3] * satellite.m_freq[fq3];
    s_writeRow(sta, wgt, row++, s_combine(sat, f1 / (f1 - f3), kFreq + fq1, -f3 / (f1 - f3), kFreq + fq3),
               isat, fq3, kRowAfifCode);
  } else {
    const double* factor = satellite.m_ifc;
    s_writeRow(sta, wgt, row++, s_combine(sat, factor[0], kFreq + fq1, -factor[1], kFreq + fq2), isat, fq2,
               kRowAfifCode);
  }
  return row;
}

int SrifFilter::m_formSf(int ista, int isat, double* wgt, int row) {
  Station& sta = m_stations[static_cast<std::size_t>(ista)];
  const Ssat_t& sat = sta.m_sat[isat];
  const double phase = sat.m_xx[0], code = sat.m_xx[kFreq];
  if (code == 0.0 || (phase == 0.0 && s_usesPhase())) return row;
  const double phaseWgt = sat.m_wgt[0], codeWgt = sat.m_wgt[kFreq];
  if (s_has(s_config().m_obsused, "GRAPHIC")) {
    s_writeRow(sta, wgt, row++, {(phase + code) * 0.5, 2.0 / std::hypot(1.0 / codeWgt, 1.0 / phaseWgt)}, isat,
               0, kRowPhase);
    // The half-sum already holds the code: the row only keeps the clock and the ambiguity apart.
    s_writeRow(sta, wgt, row++, {code, codeWgt / 100.0}, isat, 0, kRowCode);
  } else {
    if (phase != 0.0) s_writeRow(sta, wgt, row++, {phase, phaseWgt}, isat, 0, kRowPhase);
    s_writeRow(sta, wgt, row++, {code, codeWgt}, isat, 0, kRowCode);
  }
  return row;
}

std::map<char, std::vector<double>> SrifFilter::m_get_AFIF_ccf() {
  const Deploy& config = s_config();
  std::map<char, std::vector<double>> coefficients;
  s_forEachSystem([&](int isys) {
    if (config.m_nfreqUsed[isys] < 3) return;
    double f[3];
    for (int i = 0; i < 3; ++i) f[i] = freqbysys(isys, 0, config.m_freqUsed[isys][i]);
    double a[9];  // rows: geometry, ionosphere, wavelength
    for (int i = 0; i < 3; ++i) {
      a[3 * i] = 1.0;
      a[3 * i + 1] = f[0] * f[0] / (f[i] * f[i]);
      a[3 * i + 2] = kLight / f[i];
    }
    if (CMat::CMat_Inverse(a, 3, 3) < 0) return;
    const double unit[3] = {1.0, 0.0, 0.0};
    std::vector<double> c(3);
    CMat::CMat_Matmul("NN", 3, 1, 3, 1.0, a, 3, unit, 3, 0.0, c.data(), 3);
    coefficients[SYS[isys]] = c;
  });
  return coefficients;
}

double SrifFilter::v_form_AFIF(Station& sta, int isat, double* wgt) {
  const Deploy& config = s_config();
  const int isys = config.m_sysOfRow(isat);
  const std::vector<double>& c = m_afifccf.at(SYS[isys]);
  const Ssat_t& sat = sta.m_sat[isat];
  const Satellite& satellite = config.m_satellites[static_cast<std::size_t>(isat)];

  double value = 0.0, variance = 0.0;
  for (int f = 0; f < 3; ++f) {
    const double coefficient = c[static_cast<std::size_t>(f)];
    value += coefficient * sat.m_xx[f];
    variance += coefficient * coefficient / (sat.m_wgt[f] * sat.m_wgt[f]);
  }
  *wgt = 1.0 / std::sqrt(variance);

  // The held integer takes the frequency out that the wide-lane pair does not use.
  const auto ista = static_cast<std::ptrdiff_t>(&sta - m_stations.data());
  const double integer = m_ewlint[ista * kMaxSat + isat];
  if (config.m_settingsOf(Level::wideLane).ambfreq[isys][1] != 2)
    return value + kLight / satellite.m_freq[2] * c[2] * integer;
  return value - kLight / satellite.m_freq[1] * c[1] * integer;
}

double SrifFilter::v_setAFIF_lam(int isat, int* slot1, int* slot2) {
  const Deploy& config = s_config();
  const int isys = config.m_sysOfRow(isat);
  const int* pair = config.m_settingsOf(Level::wideLane).ambfreq[isys];
  if (slot1) *slot1 = pair[0];
  if (slot2) *slot2 = pair[1];
  const auto coefficients = m_afifccf.find(SYS[isys]);
  if (coefficients == m_afifccf.end()) return 0.0;
  return kLight * coefficients->second[0] / config.m_satellites[static_cast<std::size_t>(isat)].m_freq[0];
}

}  // namespace tarvio
