/// Life of the filter: construction, destruction, look-ups, end of an epoch.

#include "Core/Filter/SrifFilter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "Common/ComTime.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/HMWfilter.h"
#include "Core/Model/GnssModelItrs.h"

namespace tarvio {

SrifFilter::SrifFilter(const std::vector<Station>& stations, double intv)
    : dintv(intv), m_intv(intv), m_stations(stations) {
  for (Station& sta : m_stations) {
    sta.m_model = new GnssModelItrs(this, &sta);
    for (const LevelTraits& level : kLevels)
      for (const char* tag : {level.tag, level.smoothedTag})
        if (tag) m_fixmap[sta.m_name][tag];
  }
  m_checkDatum();
  m_afifccf = m_get_AFIF_ccf();
  tstart = s_wallClock();
  m_prosys = s_config().m_syslist;
  m_createWidelaneFilters();
  if (s_has(s_config().m_obscomb, "AFIF")) {
    const std::size_t rows = m_stations.size() * kMaxSat;
    m_ewlint = new int[rows]{};
    m_ewlflag = new int[rows]{};
  }
}

SrifFilter::~SrifFilter() {
  m_account.m_end();
  for (Station& sta : m_stations) {
    sta.m_freeLists();
    delete sta.m_model;
  }
  m_deleteArcs();
  for (SrifPamt* record : m_ambdel) delete record;
  std::free(infs);
  std::free(Hk);
  delete[] iptx;
  delete[] iphk;
  delete[] m_pmtab;
  delete[] m_ewlint;
  delete[] m_ewlflag;
}

void SrifFilter::m_deleteArcs() {
  for (SrifPamt* record : m_ionlist) delete record;
  for (SrifPamt* record : m_amblist) delete record;
  m_ionlist.clear();
  m_amblist.clear();
}

int SrifFilter::v_isInit() { return m_isinit; }
void SrifFilter::v_onEpochFinish() {}
void SrifFilter::v_onTerminate() {}
void SrifFilter::v_onTickInterval() {}
void SrifFilter::v_resolve_raw() {}
void SrifFilter::v_resolve_if() {}
void SrifFilter::m_set_prosys(const char* systems) { m_prosys = systems; }

/// Noise of a slant delay over a time, m: a walk goes at least as fast as the phases show the ionosphere to
/// go.
double SrifFilter::v_get_ion_wgt(const SrifPamt& record, double dt) {
  const double noise = std::sqrt(dt) / record.qinv;
  if (!s_config().m_ionWalk.on || !m_noise.m_isOn()) return noise;
  return std::max(noise, std::sqrt(dt) * m_noise.m_ionosphereChange(record.isat));
}

namespace {

/// First column within [first, first + count) whose record passes, else -1.
template <typename Match>
int s_findColumn(const std::vector<SrifPamt>& records, int first, int count, Match match) {
  for (int column = first; column < first + count; ++column)
    if (match(records[static_cast<std::size_t>(column)])) return column;
  return -1;
}

}  // namespace

int SrifFilter::i_ip(int ista) const {
  return s_findColumn(m_pamt, 0, nstap, [&](const SrifPamt& r) { return r.ista == ista; });
}

int SrifFilter::i_is(int isat) const {
  return s_findColumn(m_pamt, nstap, nsatclk, [&](const SrifPamt& r) { return r.isat == isat; });
}

int SrifFilter::i_ic(int ista, int isys) const {
  return s_findColumn(m_pamt, nstap + nsatclk, nrecclk,
                      [&](const SrifPamt& r) { return r.ista == ista && r.isys == isys; });
}

int SrifFilter::i_it(int ista) const {
  return s_findColumn(m_pamt, nstap + nsatclk + nrecclk, nztd,
                      [&](const SrifPamt& r) { return r.ista == ista; });
}

int SrifFilter::i_id(int ista, int isys, int ifreq) const {
  return s_findColumn(m_pamt, nstap + nsatclk + nrecclk + nztd, ntfdcb, [&](const SrifPamt& r) {
    return r.ista == ista && r.isys == isys && r.ifreq == ifreq;
  });
}

int SrifFilter::i_id2(int ista, int isys) const {
  return s_findColumn(m_pamt, nstap + nsatclk + nrecclk + nztd + ntfdcb, nstadcb,
                      [&](const SrifPamt& r) { return r.ista == ista && r.isys == isys; });
}

void SrifFilter::m_initf(SrifPamt& record, double value, double sigma, int ipar, int ista, int isys, int isat,
                         int ifreq) {
  record.ista = ista;
  record.isat = isat;
  record.ifreq = ifreq;
  record.ipar = ipar;
  record.isys = isys;
  record.xini = record.xest = value;
  record.dx = 0.0;
  record.ptime0 = record.ptime1 = 0.0;
  infs[iptx[ipar] + ipar] = 1.0 / sigma;
}

void SrifFilter::v_onFinish() {
  if (!infs) return;
  const Deploy& config = s_config();
  for (Station& sta : m_stations) {
    for (int isat = 0; isat < config.m_nsat; ++isat) {
      Ssat_t& sat = sta.m_sat[isat];
      const int nused = std::min(config.m_nfreqUsed[config.m_sysOfRow(isat)], kFreq);
      for (int f = 0; f < nused; ++f)
        if (sat.m_newamb[f]) sat.m_ambflag[f] = kArcGoesOn;
      // Slots that are not in use carry the flags of a reset too and would restart arcs for ever.
      std::fill_n(sat.m_slip, kFreq, static_cast<int>(kSlipNone));
    }
    sta.m_freeLists();
    sta.m_nobs = 0;
  }

  for (const std::vector<int>& reset : m_ambreset) {
    const int ista = reset[0], isat = reset[1], ifreq = reset[2];
    if (config.m_diaReset) m_endArc(ista, isat, ifreq);
    else if (m_ewlint) m_ewlint[ista * kMaxSat + isat] = 0;
  }
  m_ambreset.clear();

  // The rows live in storage that is kept; a null pointer says that there is no epoch in it.
  amat = tres = resi = resi_fix = obswgt = nullptr;
  namat = obsrec = nullptr;
  for (SrifPamt* record : m_ambdel) delete record;
  m_ambdel.clear();
}

}  // namespace tarvio
