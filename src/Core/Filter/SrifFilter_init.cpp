/// Sizing of the arrays for the worst case, once, and the reset that rebuilds the ordinary parameters.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "Common/Com.h"
#include "Common/Logtrace.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"
#include "Core/Model/GnssModelWithout.h"

namespace tarvio {

namespace {

constexpr double kLeastSigma = 1.0e-9;     ///< for configured sigmas and noises that are not positive
constexpr double kForever = 9.0e9;         ///< s, interval of static coordinates
constexpr double kDatumBiasSigma = 10.0;   ///< m
constexpr double kDefaultXyzNoise = 0.05;  ///< m/sqrt(s)

double s_positive(double value) { return value > 0.0 ? value : kLeastSigma; }

bool s_hasCoordinates(const Station& sta) { return std::strchr("KSD", sta.m_skd) && sta.m_skd != '\0'; }
bool s_hasClock(const Station& sta) { return s_has(sta.m_clkmodel, "CLK"); }

/// Largest number of satellites that a station sees at once.
int s_visibleSatellites(int nsys, const std::string& systems) {
  if (nsys == 1) return 32;
  int count = 0;
  bool beidou = false;
  for (const char letter : systems) {
    if (letter == 'G' || letter == 'E') count += 12;
    if (letter == 'R') count += 10;
    if (letter == 'J') count += 4;
    if (letter == 'C' || letter == 'B') beidou = true;
  }
  return count + (beidou ? 30 : 0);
}

/// Frequencies that have rows of their own.
int s_rowFrequencies(const Deploy& config) {
  if (s_has(config.m_obscomb, "RAW")) {
    int most = 0;
    for (int isys = 0; isys < kSys; ++isys)
      most = std::max({most, config.m_nfreqUsed[isys], config.m_nfreqObs[isys]});
    return most;
  }
  return s_has(config.m_obscomb, "AFIF") ? 2 : 1;
}

/// Slot of a datum frequency of a system, -1 when it is not used.
int s_datumSlot(int isys, int i) {
  const Deploy& config = s_config();
  const char* name = config.m_freqDatum[isys][i];
  return *name ? pointer_charstr(config.m_nfreqUsed[isys], 4, config.m_freqUsed[isys][0], name) : -1;
}

SrifPamt s_newRecord() {
  SrifPamt record;
  record.phi = 1.0;
  record.lam = 1.0;
  record.iupd = 1;
  return record;
}

template <typename... Args>
void s_setName(SrifPamt& record, const char* format, Args... args) {
  std::snprintf(record.pname, sizeof record.pname, format, args...);
}

}  // namespace

/// Asked when the filter is made, so that no epoch meets it.
void SrifFilter::m_checkDatum() const {
  if (!validConfig(s_config().m_p1p2Dcb)) return;
  s_forEachSystem([&](int isys) {
    const int first = s_datumSlot(isys, 0), second = s_datumSlot(isys, 1);
    if (first < 0 || second < 0)
      s_fatal("v_srif_reset", __LINE__, "satclk combination dautm: fq1 = %d fq2 = %d\n", first, second);
  });
}

void SrifFilter::v_onFilterInit() {
  if (!infs) {
    m_sizeArrays();
    m_allocateArrays();
    m_leaveTermsOut();
  }
  v_srif_reset();
  // The interval of periodic resets starts with the first epoch's own time.
  treset = -1;
  m_isinit = 1;
}

/// Development runs name terms of the model that they leave out. A host sets its options behind the
/// construction.
void SrifFilter::m_leaveTermsOut() {
  for (Station& sta : m_stations)
    if (auto model = GnssModelWithout::s_asked(s_config().m_pams, this, &sta)) {
      delete sta.m_model;
      sta.m_model = model.release();
    }
}

void SrifFilter::m_sizeArrays() {
  const Deploy& config = s_config();
  const int nsta = static_cast<int>(m_stations.size()), nsys = config.m_nsys;
  const bool raw = s_has(config.m_obscomb, "RAW");

  nsatclk = nstap = nrecclk = nztd = nstadcb = ntfdcb = 0;
  for (const Station& sta : m_stations) {
    if (sta.m_skd != 'F' && sta.m_skd != 'R') nstap += 3;
    if (s_hasClock(sta)) nrecclk += nsys;
    if (!s_has(config.m_ztdmodel, "NONE")) ++nztd;
    if (s_has(config.m_p1p2Dcb, "DCB_EST")) ++nstadcb;
    if (raw && validConfig(config.m_icbDcb))
      s_forEachSystem([&](int isys) { ntfdcb += config.m_nfreqUsed[isys] >= 3 ? 1 : 0; });
  }

  const int nfreq = s_rowFrequencies(config);
  m_maxSatEpoch = s_visibleSatellites(nsys, m_prosys);
  const int visible = m_maxSatEpoch * nsta;
  nhk = visible * nfreq * 2;
  int base = nztd + nsatclk + nrecclk + nsys * nstadcb + nstap + nhk + 5;
  if (nfreq > 2) base += ntfdcb;
  // Every satellite with a row has an ionosphere column, whatever the combination.
  if (raw || validConfig(config.m_ionmodel)) base += visible;
  ntmx = base;
  if (s_has(config.m_diaType, "search")) ntmx += nsta * config.m_nsat * nfreq;
  ldinfs = base + nhk + 2;
  Logtrace::m_logStat(true, "infs(%d,%d),Hk(%d,%d)", ldinfs, ntmx, nhk, ntmx);

  // Bias parameters are created by other tests than those that count them here: room for the rest.
  const int sized = nztd + nsatclk + nrecclk + nsys * nstadcb + nstap + (nfreq > 2 ? ntfdcb : 0);
  const int excess = std::max(0, m_resetAllOrdinary() - sized);
  ntmx += excess;
  ldinfs += excess;
}

void SrifFilter::m_allocateArrays() {
  const auto doubles = [](int rows, int columns) {
    return static_cast<double*>(std::calloc(
        static_cast<std::size_t>(rows) * static_cast<std::size_t>(std::max(columns, 1)), sizeof(double)));
  };
  const auto starts = [&](int ld) {
    int* start = new (std::nothrow) int[static_cast<std::size_t>(ntmx)];
    for (int column = 0; start && column < ntmx; ++column) start[column] = column * ld;
    return start;
  };
  infs = doubles(ldinfs, ntmx);
  if (!infs)
    s_fatal(__func__, __LINE__, "row = %d,ncol = %d,can't allocate memory for Infs Filter!\n", ldinfs, ntmx);
  iptx = starts(ldinfs);
  if (!iptx) s_fatal(__func__, __LINE__, "nrow = %d,can't allocate memory for iptx Filter!\n", ntmx);
  Hk = doubles(std::max(nhk, 1), ntmx);
  if (!Hk)
    s_fatal(__func__, __LINE__, "row = %d,ncol = %d,can't allocate memory for Hk Filter!\n", nhk, ntmx);
  iphk = starts(nhk);
  if (!iphk) s_fatal(__func__, __LINE__, "nrow = %d,can't allocate memory for iphk Filter!\n", ntmx);
  m_pmtab = new SrifPamt* [m_stations.size() * kMaxSat * kParameterSlots] {};
}

void SrifFilter::v_srif_reset() {
  if (!infs) return;
  const Deploy& config = s_config();
  std::fill_n(infs, static_cast<std::size_t>(ldinfs) * static_cast<std::size_t>(ntmx), 0.0);
  m_resetFraction = 0.0;
  treset = config.m_lpost ? mjd2time(mjd, sod) : static_cast<std::time_t>(s_wallClock());

  m_deleteArcs();
  std::fill_n(m_pmtab, m_stations.size() * kMaxSat * kParameterSlots, nullptr);
  m_ambreset.clear();
  m_sig0_smooth = 999.0;
  m_smooth.m_reset();

  for (Station& sta : m_stations)
    for (int isat = 0; isat < config.m_nsat; ++isat) {
      std::fill_n(sta.m_sat[isat].m_ambflag, kFreq, static_cast<int>(kArcNew));
      std::fill_n(sta.m_sat[isat].m_slip, kFreq, static_cast<int>(kSlipSingle));
    }

  np = npi = imtx = m_resetAllOrdinary();
  ni = nc = 0;
  Logtrace::m_logStat(true, "np(%d),ni(%d),npi(%d),nc(%d),imtx(%d)", np, ni, npi, nc, imtx);
}

/// Rebuilds the records of the ordinary block; before the arrays exist it only counts.
int SrifFilter::m_resetAllOrdinary() {
  m_pamt.clear();
  nstap = nsatclk = nrecclk = nztd = ntfdcb = nstadcb = 0;
  const int nsta = static_cast<int>(m_stations.size());
  for (int ista = 0; ista < nsta; ++ista) m_resetCoordinates(ista);
  for (int ista = 0; ista < nsta; ++ista) m_resetClocks(ista);
  for (int ista = 0; ista < nsta; ++ista) m_resetZenith(ista);
  for (int ista = 0; ista < nsta; ++ista) m_resetFrequencyBiases(ista);
  for (int ista = 0; ista < nsta; ++ista) m_resetDatumBiases(ista);
  return static_cast<int>(m_pamt.size());
}

void SrifFilter::m_appendPamt(SrifPamt record, double value, double sigma, double q, int* count) {
  record.qinv = 1.0 / s_positive(q);
  if (infs)
    m_initf(record, value, s_positive(sigma), static_cast<int>(m_pamt.size()), record.ista, record.isys,
            record.isat, record.ifreq);
  m_pamt.push_back(record);
  ++*count;
}

void SrifFilter::m_resetCoordinates(int ista) {
  const Deploy& config = s_config();
  const Station& sta = m_stations[static_cast<std::size_t>(ista)];
  if (!s_hasCoordinates(sta)) return;
  for (int i = 0; i < 3; ++i) {
    SrifPamt record = s_newRecord();
    record.ista = ista;
    if (sta.m_skd == 'S') record.tpiece = config.m_lpost ? 60.0 + config.m_seslen : kForever;
    s_setName(record, "STAP_%c_%03d", "XYZ"[i], ista);
    const double noise = sta.m_qXyz[i] == 0.0 ? kDefaultXyzNoise : sta.m_qXyz[i];
    m_appendPamt(record, sta.m_x[i], sta.m_sigXyz[i] * config.m_noiseCoef[0], noise * config.m_noiseCoef[1],
                 &nstap);
  }
}

void SrifFilter::m_resetClocks(int ista) {
  const Station& sta = m_stations[static_cast<std::size_t>(ista)];
  if (sta.m_skd == 'R' || !s_hasClock(sta)) return;
  s_forEachSystem([&](int isys) {
    SrifPamt record = s_newRecord();
    record.ista = ista;
    record.isys = isys;
    record.phi = 0.0;
    s_setName(record, "RECCLK_%c_%03d", SYS[isys], ista);
    m_appendPamt(record, 0.0, sta.m_sigClk[isys], sta.m_qClk[isys], &nrecclk);
  });
}

void SrifFilter::m_resetZenith(int ista) {
  const Deploy& config = s_config();
  if (!validConfig(config.m_ztdmodel)) return;
  const Station& sta = m_stations[static_cast<std::size_t>(ista)];
  SrifPamt record = s_newRecord();
  record.ista = ista;
  record.tpiece = s_numberBehindColon(config.m_ztdmodel);
  s_setName(record, "%.40s_%03d", config.m_ztdmodel, ista);
  m_appendPamt(record, 0.0, sta.m_sigZtd, sta.m_qZtd, &nztd);
}

void SrifFilter::m_resetFrequencyBiases(int ista) {
  const Deploy& config = s_config();
  if (m_stations[static_cast<std::size_t>(ista)].m_skd == 'R' || !validConfig(config.m_icbDcb)) return;
  s_forEachSystem([&](int isys) {
    const auto extra = config.m_freqExtra.find(SYS[isys]);
    if (extra == config.m_freqExtra.end()) return;
    for (const std::string& name : extra->second) {
      SrifPamt record = s_newRecord();
      record.ista = ista;
      record.isys = isys;
      record.ifreq = pointer_charstr(config.m_nfreqUsed[isys], 4, config.m_freqUsed[isys][0], name.c_str());
      record.iupd = 0;
      record.tpiece = s_numberBehindColon(config.m_icbDcb);
      s_setName(record, "TFDCB_%03d_%c_%s", ista, SYS[isys], name.c_str());
      m_appendPamt(record, 0.0, config.m_icbSig[0], config.m_icbSig[1], &ntfdcb);
    }
  });
}

void SrifFilter::m_resetDatumBiases(int ista) {
  const Deploy& config = s_config();
  if (m_stations[static_cast<std::size_t>(ista)].m_skd == 'R' || !validConfig(config.m_p1p2Dcb)) return;
  s_forEachSystem([&](int isys) {
    SrifPamt record = s_newRecord();
    record.ista = ista;
    record.isys = isys;
    record.ifreq = s_datumSlot(isys, 0);
    record.ifreq2 = s_datumSlot(isys, 1);
    record.iupd = 0;
    record.tpiece = s_numberBehindColon(config.m_p1p2Dcb);
    s_setName(record, "STADCB_%03d_%c_%s%s", ista, SYS[isys], config.m_freqDatum[isys][0],
              config.m_freqDatum[isys][1]);
    m_appendPamt(record, 0.0, kDatumBiasSigma, config.m_p1p2Sig[1], &nstadcb);
  });
}

}  // namespace tarvio
