/// Diagnostics: tagged lines in the file "diagnostics.log" of the working directory, one line a row,
/// fields separated by blanks. Nothing is written unless the option string (Deploy::m_pams) asks.
/// Every line starts with
///
///   TAG mjd sod station
///
/// and goes on, by option:
///
///   -outres       RES sat slot kind elev_deg azim_deg resi_m resi_fixed_m weight_per_m
///   -oution       ION sat elev_deg azim_deg slant_m sigma_m rows
///   -outztd       ZTD apriori_dry_m apriori_wet_m correction_m total_m
///   -outambstat   AMB sat slot elev_deg wavelength_m initial estimate first_mjd last_mjd state rows
///   -outobsstat   OBS sat slot elev_deg verdict              every signal that came in
///   -outflag      OBS the same, only signals that were not used
///
/// sat      satellite name; slot: frequency name ("L1") or "-" when the row is none of a single frequency
/// kind     "code" or "phase", "afif" for the three-frequency wide-lane
/// resi     residuals of the float solution and of the solution of the epoch with integers; "-" for
///          the latter when no fixing stage ran
/// slant    ionospheric delay on the first slot; sigma: formal sigma, 0 unless "-gensig" is set
/// initial, estimate   ambiguity in cycles (metres when the wavelength is 1)
/// state    how the arc began: 1 new, 2 gap, 3 or 4 slip, 5 restart, 6 outlier treatment
/// rows     observations that used the parameter, of this epoch (ION) or of the arc (AMB)
/// verdict  "used", or why not: partner (too few signals), epoch (too few satellites), ifpb (no
///          third-frequency bias), range (code residual), codes (codes disagree), nobias (no code bias),
///          noorbit (no orbit, clock or attitude), lowelev, system (not processed), unused (frequency
///          is observed, not used), norow (left out by the combination or for lack of room)

#include <cstdio>
#include <cstring>

#include "Common/Logtrace.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

constexpr char kFile[] = "diagnostics.log";

/// Gathers the lines of an epoch: one write, one flush for as many as the log takes at once.
class LineWriter {
 public:
  LineWriter(int mjd, double sod) : m_mjd(mjd), m_sod(sod) {}
  ~LineWriter() { m_flush(); }
  LineWriter(const LineWriter&) = delete;
  LineWriter& operator=(const LineWriter&) = delete;

  template <typename... Args>
  void m_add(const char* tag, const std::string& station, const char* format, Args... args) {
    char head[96], body[256];
    std::snprintf(head, sizeof head, "%s %d %.3f %.32s ", tag, m_mjd, m_sod, station.c_str());
    std::snprintf(body, sizeof body, format, args...);
    m_text.append(head).append(body).push_back('\n');
    if (m_text.size() > kChunk) m_flush();
  }

 private:
  static constexpr std::size_t kChunk = 30000;  ///< characters; the log formats into a bounded buffer

  void m_flush() {
    if (m_text.empty()) return;
    if (!Logtrace::s_defaultlogger.m_lexist(kFile)) Logtrace::s_defaultlogger.m_openLog(kFile);
    Logtrace::s_defaultlogger.m_wtText(("@" + std::string(kFile) + " " + m_text).c_str());
    m_text.clear();
  }

  int m_mjd;
  double m_sod;
  std::string m_text;
};

const char* s_reason(int flag) {
  switch (flag) {
    case kFlagPartner:
      return "partner";
    case kFlagEpoch:
      return "epoch";
    case 3:
      return "ifpb";
    case kFlagRange:
      return "range";
    case kFlagCodes:
      return "codes";
    case kFlagNoBias:
      return "nobias";
    case kFlagNoOrbit:
      return "noorbit";
    default:
      return nullptr;
  }
}

const char* s_kind(int kind) { return kind == kRowCode ? "code" : kind == kRowPhase ? "phase" : "afif"; }

const char* s_slotName(int isys, int slot) {
  const Deploy& config = s_config();
  if (s_has(config.m_obscomb, "IF") || slot < 0 || slot >= kFreq) return "-";
  return config.m_freqUsed[isys][slot];
}

bool s_wants(const char* option) { return s_has(s_config().m_pams, option); }

}  // namespace

/// Remembers what came in: later steps clear what they reject.
void SrifFilter::m_noteArrivals(int ista, const Rnxobs* obs) {
  if (!s_wants("-outobsstat") && !s_wants("-outflag")) return;
  m_arrived.resize(m_stations.size() * kMaxSat * kFreq, 0);
  unsigned char* arrived = m_arrived.data() + static_cast<std::ptrdiff_t>(ista) * kMaxSat * kFreq;
  for (int isat = 0; isat < kMaxSat; ++isat)
    for (int f = 0; f < kFreq; ++f)
      arrived[isat * kFreq + f] = obs && (obs->m_obs[isat][f] != 0.0 || obs->m_obs[isat][kFreq + f] != 0.0 ||
                                          obs->m_flag[isat][f] != 0);
}

void SrifFilter::m_writeDiagnostics() {
  if (s_config().m_pams[0] == '\0') return;
  if (s_wants("-outres")) m_writeResiduals();
  if (s_wants("-oution") || s_wants("-outztd")) m_writeAtmosphere();
  if (s_wants("-outambstat")) m_writeAmbiguities();
  if (s_wants("-outobsstat") || s_wants("-outflag")) m_writeObservations();
}

void SrifFilter::m_writeResiduals() const {
  const Deploy& config = s_config();
  LineWriter out(mjd, sod);
  for (int row = 0; row < nobs && resi; ++row) {
    const int* origin = obsrec + 5 * row;
    const Station& sta = m_stations[static_cast<std::size_t>(origin[3])];
    const Ssat_t& sat = sta.m_sat[origin[0]];
    char fixed[32] = "-";
    if (resi_fix) std::snprintf(fixed, sizeof fixed, "%.4f", resi_fix[row]);
    out.m_add("RES", sta.m_name, "%s %s %s %.2f %.2f %.4f %s %.4f", config.m_cprn[origin[0]].c_str(),
              s_slotName(config.m_sysOfRow(origin[0]), origin[2]), s_kind(origin[1]), sat.m_elev * kRadToDeg,
              sat.m_azim * kRadToDeg, resi[row], fixed, obswgt[row]);
  }
}

void SrifFilter::m_writeAtmosphere() const {
  const Deploy& config = s_config();
  LineWriter out(mjd, sod);
  if (s_wants("-oution"))
    for (const SrifPamt* record : m_ionlist) {
      const Station& sta = m_stations[static_cast<std::size_t>(record->ista)];
      const Ssat_t& sat = sta.m_sat[record->isat];
      out.m_add("ION", sta.m_name, "%s %.2f %.2f %.4f %.4f %d", config.m_cprn[record->isat].c_str(),
                sat.m_elev * kRadToDeg, sat.m_azim * kRadToDeg, record->xest, record->xsig, record->nuse);
    }
  if (!s_wants("-outztd")) return;
  for (int ista = 0; ista < static_cast<int>(m_stations.size()); ++ista) {
    const Station& sta = m_stations[static_cast<std::size_t>(ista)];
    const int it = i_it(ista);
    const double correction = it < 0 ? 0.0 : m_pamt[static_cast<std::size_t>(it)].xest;
    out.m_add("ZTD", sta.m_name, "%.4f %.4f %.4f %.4f", sta.m_zhd, sta.m_zwd, correction,
              sta.m_zhd + sta.m_zwd + correction);
  }
}

void SrifFilter::m_writeAmbiguities() const {
  const Deploy& config = s_config();
  LineWriter out(mjd, sod);
  for (const SrifPamt* record : m_amblist) {
    const Station& sta = m_stations[static_cast<std::size_t>(record->ista)];
    out.m_add("AMB", sta.m_name, "%s %s %.2f %.6f %.4f %.4f %.6f %.6f %d %d",
              config.m_cprn[record->isat].c_str(), s_slotName(record->isys, record->ifreq),
              sta.m_sat[record->isat].m_elev * kRadToDeg, record->lam, record->xini, record->xest,
              record->ptime0, record->ptime1, record->iflag, record->nuse);
  }
}

/// The fate of one signal; null when none came in.
const char* SrifFilter::m_verdict(int ista, int isat, int slot,
                                  const std::vector<unsigned char>& rows) const {
  const Deploy& config = s_config();
  const auto key = static_cast<std::size_t>((ista * kMaxSat + isat) * kFreq + slot);
  if (m_arrived.size() <= key || !m_arrived[key]) return nullptr;
  const Station& sta = m_stations[static_cast<std::size_t>(ista)];
  const Ssat_t& sat = sta.m_sat[isat];
  const int isys = config.m_sysOfRow(isat);
  if (m_prosys.find(SYS[isys]) == std::string::npos) return "system";
  // A combined row stands on slot 0 for both frequencies of its pair.
  const bool modelled = sat.m_xx[slot] != 0.0 || sat.m_xx[kFreq + slot] != 0.0;
  const bool combined = s_has(config.m_obscomb, "IF") && rows[key - static_cast<std::size_t>(slot)];
  if (modelled && (rows[key] || combined)) return "used";
  if (const char* reason = s_reason(sat.m_flag[slot])) return reason;
  if (slot >= config.m_nfreqUsed[isys]) return "unused";
  const Satellite& satellite = config.m_satellites[static_cast<std::size_t>(isat)];
  if (satellite.m_clk == 0.0 || satellite.m_xyz[0] == 0.0) return "noorbit";
  if (sat.m_elev < sta.m_cutoff) return "lowelev";
  return "norow";
}

void SrifFilter::m_writeObservations() const {
  const Deploy& config = s_config();
  const bool all = s_wants("-outobsstat");
  std::vector<unsigned char> rows(m_stations.size() * kMaxSat * kFreq, 0);
  for (int row = 0; row < nobs && obsrec; ++row) {
    const int* origin = obsrec + 5 * row;
    rows[static_cast<std::size_t>((origin[3] * kMaxSat + origin[0]) * kFreq + origin[2])] = 1;
  }
  LineWriter out(mjd, sod);
  for (int ista = 0; ista < static_cast<int>(m_stations.size()); ++ista) {
    const Station& sta = m_stations[static_cast<std::size_t>(ista)];
    for (int isat = 0; isat < config.m_nsat; ++isat)
      for (int slot = 0; slot < kFreq; ++slot) {
        const char* verdict = m_verdict(ista, isat, slot, rows);
        if (!verdict || (!all && std::strcmp(verdict, "used") == 0)) continue;
        out.m_add("OBS", sta.m_name, "%s %s %.2f %s", config.m_cprn[isat].c_str(),
                  config.m_freqObs[config.m_sysOfRow(isat)][slot], sta.m_sat[isat].m_elev * kRadToDeg,
                  verdict);
      }
  }
}

}  // namespace tarvio
