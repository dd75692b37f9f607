// Position, reason, clocks, zenith delay, ages, integers and account of an epoch.

#include "Interface/EpochRecord.h"

#include <algorithm>
#include <cmath>

#include "Common/ComTime.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/FixRecord.h"
#include "Core/Filter/SatelliteCount.h"
#include "Core/Filter/SrifFilter.h"
#include "Interface/Controller.h"

namespace tarvio {

namespace {

Reason s_integerReason(const SrifFilter& filter) {
  const Deploy& config = s_config();
  if (filter.m_solstat == kStateFixed) return Reason::none;
  if (filter.m_solstat == kStateCode) return Reason::codesOnly;
  if (!config.m_liar || !config.m_settingsOf(Level::last).m_resolution || s_has(config.m_pams, "-float"))
    return Reason::integersOff;
  if (filter.m_reason != Reason::none) return filter.m_reason;
  return filter.m_candidates[s_place(Level::last)].empty() ? Reason::noCandidate : Reason::uncertain;
}

const char* s_sentence(Reason reason) {
  switch (reason) {
    case Reason::codesOnly:
      return "the configuration uses codes alone";
    case Reason::integersOff:
      return "no integers are asked for";
    case Reason::oldBiases:
      return "phase biases have ceased to arrive";
    case Reason::noCandidate:
      return "no ambiguity may enter the last level: arcs are young, satellites low or without phase bias";
    case Reason::uncertain:
      return "the integers of the last level are not certain enough";
    case Reason::undetermined:
      return "the integers that are certain do not determine the position";
    default:
      return "";
  }
}

/// Name of a slot, "" when the rows are those of a combination.
const char* s_bandName(int isys, int slot) {
  const Deploy& config = s_config();
  return s_has(config.m_obscomb, "IF") || slot < 0 || slot >= kFreq ? "" : config.m_freqUsed[isys][slot];
}

}  // namespace

EpochRecord::EpochRecord(Controller& controller, GNX_EXT::Result& result)
    : m_controller(controller), m_filter(*controller.m_filter), m_result(result) {}

void EpochRecord::m_fill() {
  m_setSolution();
  m_setReason();
  m_setClocks();
  m_setZenith();
  m_setAges();
  m_setLevels();
  m_setIntegers();
  m_setSatellites();
  m_setAccount();
}

/// Formal sigma of a column that is no ambiguity, 0 without an estimate.
double EpochRecord::m_sigma(int column) const {
  const auto place = static_cast<std::size_t>(column);
  const bool estimated = m_filter.m_solstat != kStateNone && place < m_filter.m_solutionSigma.size();
  return estimated ? m_filter.m_solutionSigma[place] : 0.0;
}

void EpochRecord::m_setSolution() {
  m_result.time = {static_cast<std::int64_t>(mjd2time(m_filter.mjd, m_filter.sod)),
                   m_filter.sod - std::floor(m_filter.sod)};
  m_result.state = m_filter.m_solstat;
  m_result.fixed = m_filter.m_nfix;
  m_result.ratio = m_filter.m_ratio;
  m_result.sigma0 = m_filter.m_sig0;
  m_result.dop = {};
  std::fill_n(m_result.position, 3, 0.0);
  std::fill_n(m_result.covariance, 9, 0.0);
  m_result.counts.fill(0);
  const int first = m_filter.i_ip(0);
  if (first < 0 || m_filter.m_solstat == kStateNone) return;
  for (int i = 0; i < 3; ++i)
    m_result.position[i] = m_filter.m_pamt[static_cast<std::size_t>(first + i)].xest;
  std::copy_n(m_filter.m_solutionCovariance, 9, m_result.covariance);
  const Station& sta = m_filter.m_stations[0];
  m_result.dop = {sta.m_gdop, sta.m_pdop, sta.m_hdop, sta.m_vdop};
  std::copy_n(s_countSatellites(sta).perSystem, kSys, m_result.counts.begin());
}

void EpochRecord::m_setReason() {
  if (m_filter.m_solstat == kStateNone) {
    m_result.reason = m_filter.m_noSolution.m_reason(m_filter);
    m_result.why = m_filter.m_noSolution.m_sentence(m_filter);
    return;
  }
  m_result.reason = s_integerReason(m_filter);
  m_result.why = s_sentence(m_result.reason);
}

void EpochRecord::m_setClocks() {
  m_result.clocks.clear();
  if (m_filter.m_solstat == kStateNone) return;
  const int reference = s_config().m_refsys;
  s_forEachSystem([&](int isys) {
    const int ic = m_filter.i_ic(0, isys);
    if (ic < 0) return;
    const auto at = isys == reference ? m_result.clocks.begin() : m_result.clocks.end();
    m_result.clocks.insert(
        at, {SYS[isys], isys != reference, m_filter.m_pamt[static_cast<std::size_t>(ic)].xest, m_sigma(ic)});
  });
}

void EpochRecord::m_setZenith() {
  m_result.zenith = {};
  if (m_filter.m_solstat == kStateNone) return;
  const Station& sta = m_filter.m_stations[0];
  m_result.zenith.aprioriHydrostatic_m = sta.m_zhd;
  m_result.zenith.aprioriWet_m = sta.m_zwd;
  const int it = m_filter.i_it(0);
  if (it < 0) return;
  m_result.zenith.correction_m = m_filter.m_pamt[static_cast<std::size_t>(it)].xest;
  m_result.zenith.sigma_m = m_sigma(it);
}

void EpochRecord::m_setAges() {
  const int mjd = m_filter.mjd;
  const double sod = m_filter.sod;
  const LevelTraits& last = s_traits(Level::last);
  if (m_controller.m_orbclk) m_result.ages.orbitClock_s = m_controller.m_orbclk->v_correctionAge(mjd, sod);
  m_result.ages.codeBias_s = m_controller.m_codebias.m_age(mjd, sod);
  m_result.ages.phaseBias_s =
      m_controller.m_upd.m_age(mjd, sod, s_config().m_settingsOf(last.level), last.tag);
}

void EpochRecord::m_setLevels() {
  m_result.levels = {};
  if (m_filter.m_solstat == kStateNone) return;
  for (const LevelTraits& level : kLevels) {
    GNX_EXT::LevelResult& out = m_result.levels[static_cast<std::size_t>(s_place(level.level))];
    out.fixed = Fixes(m_filter.m_fixmap, m_filter.m_stations[0].m_name, level.tag).m_count();
    out.ratio = m_filter.*SrifFilter::s_ratioOf(level.level);
  }
}

void EpochRecord::m_setIntegers() {
  const Deploy& config = s_config();
  m_result.integers.clear();
  if (m_filter.m_solstat == kStateNone) return;
  for (const LevelTraits& level : kLevels) {
    const Upd_ambconfig& cfg = config.m_settingsOf(level.level);
    const bool last = level.level == Level::last;
    for (const SrifFilter::LevelCandidate& c : m_filter.m_candidates[s_place(level.level)]) {
      const int isys = config.m_sysOfRow(c.isat);
      const int* pair = cfg.ambfreq[isys];
      GNX_EXT::IntegerResult& out = m_result.integers.emplace_back();
      out.level = level.level;
      s_name(out.satellite, config.m_cprn[c.isat].c_str());
      s_name(out.reference, config.m_cprn[c.iref].c_str());
      s_name(out.bands[0], s_bandName(isys, last && s_has(cfg.m_ambType, "raw") ? 0 : pair[0]));
      if (!last) s_name(out.bands[1], s_bandName(isys, pair[1]));
      out.value = c.value;
      out.fixed = c.fixed;
      out.integer = c.integer;
    }
  }
}

void EpochRecord::m_setAccount() {
  m_result.account.clear();
  const ObservationAccount& account = m_filter.m_account;
  for (int system = 0; system < ObservationAccount::kSystems; ++system) {
    GNX_EXT::AccountResult row;
    row.system = ObservationAccount::kLetters[system];
    for (std::size_t i = 0; i < GNX_EXT::kFates; ++i) {
      row.count[i] = static_cast<int>(account.m_inEpoch(system, static_cast<Fate>(i)));
      row.values += row.count[i];
    }
    if (row.values > 0) m_result.account.push_back(row);
  }
}

}  // namespace tarvio
