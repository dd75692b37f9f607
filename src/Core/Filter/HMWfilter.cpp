// Smoothed wide-lanes: arcs, weights, the ionosphere from codes, rounding.

#include "Core/Filter/HMWfilter.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "Adapter/UpdAdapter.h"
#include "Common/ComFreq.h"
#include "Common/ComTime.h"
#include "Common/ElevationWeight.h"
#include "Common/Fatal.h"
#include "Common/Logtrace.h"
#include "Common/TextScan.h"
#include "Config/ConfigInput.h"
#include "Config/SatelliteTable.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Model/ModelSteps.h"
#include "Core/Qc/Qc.h"
#include "Records/Station.h"

namespace tarvio {

namespace {

constexpr double kWeightBelowLimit = 1.0e-6;  ///< keeps an arc going without a say in its average
constexpr double kArcAge = 1200.0;            ///< s, an arc without observations goes
constexpr double kLargestValue = 1.0e9;       ///< cycles, what an int can count; also no NaN
constexpr double kLeastShare = 0.5;           ///< of the satellites of a system must agree in the fraction
constexpr double kLargestSpread = 0.25;       ///< cycles, of the fractions that agree

/// Carrier of an observed slot, Hz.
double s_carrier(const Deploy& config, int isat, int slot) {
  return freqbytp(isat, config.m_freqObs[config.m_sysOfRow(isat)][slot]);
}

/// Observed slot of a frequency name, -1 when the system has none.
int s_observedSlot(const Deploy& config, int isys, const std::string& name) {
  if (name.empty()) return -1;
  return pointer_charstr(std::min(config.m_nfreqObs[isys], kFreq), 4, config.m_freqObs[isys][0],
                         name.c_str());
}

/// Whether every observation that a combination asks for is there.
bool s_complete(const double* coef, const double* obs) {
  for (int i = 0; i < kObs; ++i)
    if (coef[i] != 0.0 && obs[i] == 0.0) return false;
  return true;
}

const std::string& s_valueOf(const std::map<char, std::string>& values, int isys) {
  static const std::string kEmpty;
  const auto found = values.find(SYS[isys]);
  return found == values.end() ? kEmpty : found->second;
}

}  // namespace

HMWfilter::HMWfilter(std::string tag, const Upd_ambconfig* config) : m_tag(std::move(tag)), m_cfg(config) {}

void HMWfilter::m_process(Station* sta) {
  m_mjd = sta->m_mjd;
  m_sod = sta->m_sod;
  m_wl_resetAmbs(sta);
  m_wl_azel(sta);
  m_wl_smoothObs(sta);
  if ((m_cfg && m_cfg->m_mwFix) || s_has(s_config().m_pams, "-mwfix")) m_wl_ambiguity_fix(sta);
  m_wl_delete_ambs();
}

bool HMWfilter::m_wl_setcoef(int isat, const std::string& text, double* out) {
  const Deploy& config = s_config();
  const int isys = config.m_sysOfRow(isat);
  const char* cprn = config.m_cprn[isat].c_str();
  for (const std::string& token : s_fields(text, '_')) {
    const auto part = [&](std::size_t first) { return std::string(s_columns(token, first, 2)); };
    if (token.starts_with("PIF")) {
      const std::string a = part(4), b = part(7);
      const int slotA = s_observedSlot(config, isys, a), slotB = s_observedSlot(config, isys, b);
      if (slotA < 0 || slotB < 0) {
        s_note(__func__, __LINE__, "upd_comb_freq = %s %s, is not consistent with freq_obs for %s\n",
               a.c_str(), b.c_str(), cprn);
        return false;
      }
      out[kFreq + slotA] = s_carrier(config, isat, slotA);
      out[kFreq + slotB] = -s_carrier(config, isat, slotB);
      continue;
    }
    const std::string name = part(1);
    const int slot = s_observedSlot(config, isys, name);
    if (slot < 0) {
      s_note(__func__, __LINE__, "upd_comb_freq = %s, is not consistent with freq_obs for %s\n", name.c_str(),
             cprn);
      return false;
    }
    double value = 0.0;
    s_scanNumbers(s_columns(token, 4, token.size()), &value, 1);
    out[token[0] == 'P' ? kFreq + slot : slot] = value;
  }
  return true;
}

bool HMWfilter::m_init_amb(SrifSatAmbd& record, int isat) {
  record = SrifSatAmbd();
  record.tag = m_tag;
  record.isat = isat;
  record.ptime0 = record.ptime1 = m_mjd + m_sod / kDay;
  if (!m_cfg) return false;
  record.lsmooth = m_cfg->m_smooth;
  const int isys = s_config().m_sysOfRow(isat);
  if (!m_wl_setcoef(isat, s_valueOf(m_cfg->m_smoothValue, isys), record.coef)) return false;
  return !m_cfg->m_ionSwitch || m_wl_setcoef(isat, s_valueOf(m_cfg->m_ionValue, isys), record.ioncoef);
}

void HMWfilter::m_wl_resetAmbs(Station* sta) {
  if (!m_cfg) return;
  const Deploy& config = s_config();
  for (int isat = 0; isat < config.m_nsat; ++isat) {
    const int isys = config.m_sysOfRow(isat);
    if (m_sys.find(SYS[isys]) == std::string::npos || s_valueOf(m_cfg->m_smoothValue, isys).empty()) continue;
    const auto [place, fresh] = m_ambs.try_emplace(config.m_cprn[isat]);
    SrifSatAmbd& record = place->second;
    bool restart = fresh;
    const Ssat_t& sat = sta->m_sat[isat];
    for (int f = 0; f < std::min(config.m_nfreqObs[isys], kFreq); ++f)
      restart = restart || (record.coef[f] != 0.0 && sat.m_slip[f] != 0 && sat.m_obs[f] != 0.0);
    if (restart) m_init_amb(record, isat);
  }
}

void HMWfilter::m_wl_azel(Station* sta) {
  std::fill_n(m_elev, kMaxSat, 0.0);
  std::fill_n(m_azim, kMaxSat, 0.0);
  const double* here = sta->m_x;
  if (here[0] == 0.0 && here[1] == 0.0 && here[2] == 0.0) return;
  const Deploy& config = s_config();
  const int rows = std::min(config.m_nsat, static_cast<int>(config.m_satellites.size()));
  for (int isat = 0; isat < rows; ++isat) {
    const double* there = config.m_satellites[static_cast<std::size_t>(isat)].m_xyz;
    if (there[0] == 0.0 || there[1] == 0.0 || there[2] == 0.0) continue;
    const double d[3] = {there[0] - here[0], there[1] - here[1], there[2] - here[2]};
    s_lineOfSight(*sta, d, &m_azim[isat], &m_elev[isat]);
  }
}

void HMWfilter::m_wl_smoothObs(Station* sta) {
  for (auto& [cprn, record] : m_ambs) m_wl_smamb(sta, record);
}

void HMWfilter::m_wl_smamb(Station* sta, SrifSatAmbd& record) {
  record.ifix = record.lnew = 0;
  record.xlast = record.xsm = record.xfloat = kNone;
  double x = 0.0;
  if (!s_complete(record.coef, sta->m_sat[record.isat].m_obs) || !m_combination(*sta, record, &x)) return;

  const double elev = m_elev[record.isat], w = m_weight(elev), dx = x - record.x0;
  record.sumw += w;
  record.sumwx += w * dx;
  record.sumwxx += w * dx * dx;
  record.ptime1 = m_mjd + m_sod / kDay;
  record.lnew = 1;
  record.wlast = w;
  record.xlast = x;
  if (elev != 0.0 && elev > m_cfg->m_cutoff) {
    record.sumelev += elev;
    ++record.nobs;
  }
  if (!(record.nobs * s_config().m_intv > m_cfg->m_minCommon)) return;
  record.ifix = 1;
  record.xsm = record.lsmooth ? record.x0 + record.sumwx / record.sumw : x;
}

/// The combination of one epoch, cycles of its own wavelength. False when there is none.
bool HMWfilter::m_combination(const Station& sta, const SrifSatAmbd& record, double* cycles) const {
  const Deploy& config = s_config();
  const int isat = record.isat, isys = config.m_sysOfRow(isat);
  const double* obs = sta.m_sat[isat].m_obs;
  const double up = std::sin(m_elev[isat]);
  // Orbits of the antenna: the ambiguities of the filter carry what the frequencies' offsets differ by, and
  // the biases that come with such orbits do, too.
  const bool antennaOrbits = s_has(config.m_refpoint, "APC_ITRF");
  double F = 0.0, A = 0.0, B = 0.0;  // Hz, Hz m, m
  double dispersion = 0.0;           // sum of c/f
  for (int f = 0; f < kFreq; ++f) {
    const double c = record.coef[f], d = record.coef[kFreq + f];
    if (c == 0.0 && d == 0.0) continue;
    const double freq = s_carrier(config, isat, f);
    const double pco = antennaOrbits ? 0.0 : config.m_satellites[static_cast<std::size_t>(isat)].m_pco[f][2];
    if (pco == 0.0 && !antennaOrbits)
      Logtrace::m_logPrint("[%s,%d]:[%d %8.1lf] %s %s no pco correction for satellite frequency!\n",
                           "m_wl_smamb", __LINE__, m_mjd, m_sod, config.m_cprn[isat].c_str(),
                           config.m_freqObs[isys][f]);
    const double antennas = pco - up * sta.m_antenu[isys][f][2];
    F += c * freq;
    A += (kLight / freq * obs[f] + antennas) * c * freq;
    B += (obs[kFreq + f] + antennas) * d;
    dispersion += c / freq;
  }
  // Phase coefficients that cancel have no wavelength in which the rest could be counted.
  if (F == 0.0) return false;
  const double wavelength = kLight / F;
  double x = (A / F - B) / wavelength;
  if (m_cfg->m_ionSwitch) {
    double ion = 0.0;
    if (!m_wl_l1ionget(&sta, record, &ion)) return false;
    const double f1 = s_carrier(config, isat, 0);
    x -= f1 * f1 * dispersion / F * ion / wavelength;
  }
  *cycles = x;
  return std::fabs(x) < kLargestValue;
}

double HMWfilter::m_weight(double elev) const {
  if (elev == 0.0 || elev >= kFullWeightElevation_rad) return 1.0;
  if (elev < m_cfg->m_cutoff) return kWeightBelowLimit;
  const double s = s_elevationFactor(elev);
  return s * s;
}

bool HMWfilter::m_wl_l1ionget(const Station* sta, const SrifSatAmbd& record, double* ion) const {
  const Deploy& config = s_config();
  const double* obs = sta->m_sat[record.isat].m_obs;
  if (!s_complete(record.ioncoef, obs)) return false;
  int slots[kFreq] = {}, count = 0;
  for (int f = 0; f < kFreq; ++f)
    if (record.ioncoef[kFreq + f] != 0.0) slots[count++] = f;
  if (count != 2) return false;  // settings that did not come through the loader
  const double fa = s_carrier(config, record.isat, slots[0]), fb = s_carrier(config, record.isat, slots[1]);
  const double f1 = s_carrier(config, record.isat, 0);
  *ion = fb * fb / (fa * fa - fb * fb) * fa * fa / f1 / f1 * (obs[kFreq + slots[0]] - obs[kFreq + slots[1]]);
  return true;
}

bool HMWfilter::m_hasProduct(const Updc* product, const SrifSatAmbd& record) const {
  if (!product) return true;
  const Deploy& config = s_config();
  const char* cprn = config.m_cprn[record.isat].c_str();
  const auto& names = config.m_freqObs[config.m_sysOfRow(record.isat)];
  for (int i = 0; i < kObs; ++i)
    if (record.coef[i] != 0.0 && !product->v_checkSatellite(cprn, names[i % kFreq])) return false;
  return true;
}

void HMWfilter::m_wl_ambiguity_fix(Station*) {
  if (!m_cfg) return;
  const std::unique_ptr<Updc> product =
      m_upd == nullptr ? nullptr : m_upd->m_inquireLevel(m_mjd, m_sod, *m_cfg, m_tag.c_str());
  s_forEachSystem([&](int isys) { m_fixSystem(isys, product.get()); });
}

void HMWfilter::m_fixSystem(int isys, const Updc* product) {
  const auto* combined = dynamic_cast<const Upd_comb*>(product);
  const auto correction = [&](int isat) { return combined ? combined->m_value[isat] : 0.0; };
  std::vector<SrifSatAmbd*> records;
  std::vector<double> values, weights;
  for (auto& [cprn, record] : m_ambs) {
    if (s_config().m_sysOfRow(record.isat) != isys || record.ifix < 1 || !m_hasProduct(product, record))
      continue;
    const double elev = record.nobs > 0 ? record.sumelev / record.nobs : kFullWeightElevation_rad;
    const double s = s_elevationFactor(elev);
    records.push_back(&record);
    values.push_back(record.xsm - correction(record.isat));
    weights.push_back(s * s);
  }
  const int n = static_cast<int>(records.size());
  if (n < 1) return;

  std::vector<int> flags(records.size(), 0);
  int rejected = 0;
  double mean = 0.0, sigmaOfMean = 0.0, spread = 0.0;
  Qc::Qc_proxEstFrc(1.0, values.data(), flags.data(), weights.data(), n, &rejected, &mean, &sigmaOfMean,
                    &spread);
  const double base = m_frac[isys] == kNone ? mean : m_frac[isys];
  m_frac[isys] = mean - std::round(mean - base);
  if (!(static_cast<double>(n - rejected) / n > kLeastShare && spread < kLargestSpread)) return;

  for (std::size_t i = 0; i < records.size(); ++i) {
    if (flags[i] != 0) continue;
    SrifSatAmbd& record = *records[i];
    record.xsm = record.sumwx / record.sumw + record.x0 - m_frac[isys] - correction(record.isat);
    const double integer = std::round(record.xsm);
    if (!(std::fabs(record.xsm - integer) < m_cfg->m_decision[0])) continue;
    record.xfloat = record.xsm;
    record.xsm = integer;
    record.ifix = s_traits(s_levelOf(m_tag)).fixedState;
  }
}

void HMWfilter::m_wl_delete_ambs() {
  std::erase_if(m_ambs,
                [this](const auto& entry) { return (m_mjd - entry.second.ptime1) * kDay + m_sod > kArcAge; });
}

void HMWfilter::m_wl_output(Station* sta) {
  const std::string name = "ambfix_status_" + m_tag;
  Log& log = Logtrace::s_defaultlogger;
  if (!log.m_lexist(name)) log.m_openLog(name);
  int year = 0, month = 0, day = 0, hour = 0, minute = 0;
  double second = 0.0;
  mjd2date(m_mjd, m_sod, &year, &month, &day, &hour, &minute, &second);
  log.m_wtMsg("@%s TIM %04d %02d %02d %02d %02d %02d %d %8.1lf\n", name.c_str(), year, month, day, hour,
              minute, static_cast<int>(second), m_mjd, m_sod);
  for (const auto& [cprn, record] : m_ambs) {
    if (record.xlast == kNone) continue;
    log.m_wtMsg("@%s %9.1lf %s %s %9.3lf %9.3lf\n", name.c_str(), m_sod, sta->m_name.c_str(), cprn.c_str(),
                record.xlast, m_elev[record.isat] * kRadToDeg);
  }
}

}  // namespace tarvio
