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
///   -outclk       CLK system what value_m                    what: "clock", or "offset" from that one
///   -outfix       FIX level satellites_fixed ratio           level: ewl, wl, n1
///   -outint       INT sat reference level slots value_cycles integer
///   -outobsstat   OBS sat slot elev_deg verdict              every signal that came in
///   -outflag      OBS the same, only signals that were not used
///   -outaccount   ACC system in=n used=n reason=n ...        code and phase values since the start
///
/// sat      satellite name; slot: frequency name ("L1") or "-" when the row is none of a single frequency
/// kind     "code" or "phase", "afif" for the three-frequency wide-lane
/// resi     residuals of the float solution and of the solution of the epoch with integers; "-" for
///          the latter when no fixing stage ran
/// slant    ionospheric delay on the first slot; sigma: formal sigma, 0 unless "-gensig" is set
/// initial, estimate   ambiguity in cycles (metres when the wavelength is 1)
/// state    how the arc began: 1 new, 2 gap, 3 or 4 slip, 5 restart, 6 outlier treatment, 7 the
///          same, withdrawn
/// rows     observations that used the parameter, of this epoch (ION) or of the arc (AMB)
/// value    of INT: ambiguity between the two satellites before the level's fixes, biases removed; integer:
///          what it was fixed to, "-" when it stays open; slots: "L1-L2" for the difference of the two
///          frequencies, "L1" for the ambiguity of one
/// verdict  "used", or why not, of the code where the phase is used: partner (too few signals of the
///          satellite), codes (codes disagree), nobias, nophasebias, system (not processed), ifpb (no
///          third-frequency bias), unused (frequency is observed, not used), nocorrection (none within
///          reach of the epoch), noorbit (no orbit correction or attitude), noclock, nomessage (no
///          current broadcast message), noissue (none of the correction's issue of data), noposition
///          (receiver position unknown), lowelev, range (code residual), noroom, epoch (too few satellites),
///          norow (left out by the combination)
/// system   G R E C J S; reasons of ACC: the verdicts, and notconfigured (satellite), noslot (band is not
///          observed), impossible (not a number or out of range), replaced (by a later signal of the
///          band), notick (epoch is none of the interval). in = used + reasons, always. Lines come about
///          every minute and at the end.

#include <cstdio>
#include <string>
#include <utility>

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
    char head[96], body[640];
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

const char* s_kind(int kind) { return kind == kRowCode ? "code" : kind == kRowPhase ? "phase" : "afif"; }

const char* s_slotName(int isys, int slot) {
  const Deploy& config = s_config();
  if (s_has(config.m_obscomb, "IF") || slot < 0 || slot >= kFreq) return "-";
  return config.m_freqUsed[isys][slot];
}

bool s_wants(const char* option) { return s_has(s_config().m_pams, option); }

}  // namespace

/// A host may hand its record to the filter alone; then the account begins here.
void SrifFilter::m_noteArrivals(const Rnxobs* obs) {
  if (m_account.m_isOf(obs) || !s_wantsAccount(s_config().m_pams)) return;
  m_account.m_begin(true);
  if (obs) m_account.m_arrive(*obs, true);
}

void SrifFilter::m_writeDiagnostics() {
  if (s_config().m_pams[0] == '\0') return;
  if (s_wants("-outres")) m_writeResiduals();
  if (s_wants("-oution") || s_wants("-outztd")) m_writeAtmosphere();
  if (s_wants("-outclk")) m_writeClocks();
  if (s_wants("-outfix")) m_writeFixes();
  if (s_wants("-outint")) m_writeCandidates();
  if (s_wants("-outambstat")) m_writeAmbiguities();
  if (!m_account.m_isOpen()) return;
  m_accountRows();
  m_accountModel();
  if (s_wants("-outobsstat") || s_wants("-outflag")) m_writeObservations();
  m_closeAccount(Fate::noRow);
}

void SrifFilter::m_writeResiduals() const {
  const Deploy& config = s_config();
  LineWriter out(mjd, sod);
  for (int row = 0; row < nobs && resi; ++row) {
    const auto [isat, kind, slot, ista, place] = m_origin(row);
    const Station& sta = m_stations[static_cast<std::size_t>(ista)];
    const Ssat_t& sat = sta.m_sat[isat];
    char fixed[32] = "-";
    if (resi_fix) std::snprintf(fixed, sizeof fixed, "%.4f", resi_fix[row]);
    out.m_add("RES", sta.m_name, "%s %s %s %.2f %.2f %.4f %s %.4f", config.m_cprn[isat].c_str(),
              s_slotName(config.m_sysOfRow(isat), slot), s_kind(kind), sat.m_elev * kRadToDeg,
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

void SrifFilter::m_writeClocks() const {
  const Deploy& config = s_config();
  LineWriter out(mjd, sod);
  for (int ista = 0; ista < static_cast<int>(m_stations.size()); ++ista)
    s_forEachSystem([&](int isys) {
      const int ic = i_ic(ista, isys);
      if (ic < 0) return;
      const SrifPamt& record = m_pamt[static_cast<std::size_t>(ic)];
      out.m_add("CLK", m_stations[static_cast<std::size_t>(ista)].m_name, "%c %s %.4f", SYS[isys],
                isys == config.m_refsys ? "clock" : "offset", record.xest);
    });
}

void SrifFilter::m_writeFixes() const {
  LineWriter out(mjd, sod);
  for (const Station& sta : m_stations)
    for (const LevelTraits& level : kLevels)
      out.m_add("FIX", sta.m_name, "%s %d %.3f", level.tag, Fixes(m_fixmap, sta.m_name, level.tag).m_count(),
                this->*s_ratioOf(level.level));
}

void SrifFilter::m_writeCandidates() const {
  const Deploy& config = s_config();
  const std::string& station = m_stations[0].m_name;
  LineWriter out(mjd, sod);
  for (const LevelTraits& level : kLevels) {
    const Upd_ambconfig& cfg = config.m_settingsOf(level.level);
    const bool last = level.level == Level::last;
    for (const LevelCandidate& c : m_candidates[s_place(level.level)]) {
      const int isys = config.m_sysOfRow(c.isat);
      const int* pair = cfg.ambfreq[isys];
      std::string slots = s_slotName(isys, last && s_has(cfg.m_ambType, "raw") ? 0 : pair[0]);
      if (!last) slots.append("-").append(s_slotName(isys, pair[1]));
      const std::string integer = c.fixed ? std::to_string(c.integer) : "-";
      out.m_add("INT", station, "%s %s %s %s %.4f %s", config.m_cprn[c.isat].c_str(),
                config.m_cprn[c.iref].c_str(), level.tag, slots.c_str(), c.value, integer.c_str());
    }
  }
}

void SrifFilter::m_writeObservations() const {
  const Deploy& config = s_config();
  const bool all = s_wants("-outobsstat");
  const Station& sta = m_stations[0];
  LineWriter out(mjd, sod);
  for (int isat = 0; isat < config.m_nsat; ++isat)
    for (int slot = 0; slot < kFreq; ++slot) {
      const Fate phase = m_account.m_fate(isat, slot), code = m_account.m_fate(isat, kFreq + slot);
      const bool byCode = phase == Fate::absent || (phase == Fate::used && code != Fate::absent);
      const Fate fate = byCode ? code : phase;
      if (fate == Fate::absent || (!all && fate == Fate::used)) continue;
      out.m_add("OBS", sta.m_name, "%s %s %.2f %s", config.m_cprn[isat].c_str(),
                config.m_freqObs[config.m_sysOfRow(isat)][slot], sta.m_sat[isat].m_elev * kRadToDeg,
                s_fateName(fate == Fate::open ? Fate::noRow : fate));
    }
}

void SrifFilter::m_writeAccount() const {
  LineWriter out(mjd, sod);
  for (int system = 0; system < ObservationAccount::kSystems; ++system) {
    const long in = m_account.m_in(system);
    if (in == 0) continue;
    std::string text = std::string(1, ObservationAccount::kLetters[system]) + " in=" + std::to_string(in);
    for (int i = static_cast<int>(Fate::used); i < ObservationAccount::kFates; ++i) {
      const Fate fate = static_cast<Fate>(i);
      const long n = m_account.m_total(system, fate);
      if (n != 0 || fate == Fate::used)
        text.append(" ").append(s_fateName(fate)).append("=").append(std::to_string(n));
    }
    out.m_add("ACC", m_stations[0].m_name, "%s", text.c_str());
  }
}

}  // namespace tarvio
