/// Triple-frequency support: the inter-frequency bias of the third GPS frequency, and
/// one consistent set of extra-wide-lane integers per system across epochs and reference satellites.

#include <algorithm>
#include <cmath>

#include "Common/Com.h"
#include "Common/Logtrace.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

constexpr double kBiasAge = 300.0;  ///< s
constexpr int kThird = 2;           ///< slot of the third frequency

/// Fixed extra-wide-lanes of one system: satellite rows and values.
class FixedSet {
 public:
  FixedSet(const Fixes& fixes, int isys) {
    const Deploy& config = s_config();
    for (int isat = 0; isat < config.m_nsat; ++isat) {
      if (config.m_sysOfRow(isat) != isys || !fixes.m_isFixed(isat)) continue;
      m_rows.push_back(isat);
      m_value[isat] = *fixes.m_value(isat);
    }
  }
  const std::vector<int>& m_satellites() const { return m_rows; }
  double m_of(int isat) const { return m_value[isat]; }
  /// The highest of those that pass, -1 when there is none.
  template <typename Pass>
  int m_highest(const Station& sta, Pass pass) const {
    int best = -1;
    double elevation = 0.0;
    for (const int isat : m_rows)
      if (pass(isat) && sta.m_sat[isat].m_elev > elevation) {
        elevation = sta.m_sat[isat].m_elev;
        best = isat;
      }
    return best;
  }

 private:
  std::vector<int> m_rows;
  double m_value[kMaxSat] = {};
};

}  // namespace

void SrifFilter::m_corrifpb() {
  const Deploy& config = s_config();
  if (m_ifpb == nullptr || !s_has(config.m_ifpbcor, "IFPB_COR")) return;
  for (int isat = 0; isat < config.m_nsat; ++isat) {
    const std::string& cprn = config.m_cprn[isat];
    if (cprn.empty() || cprn[0] != 'G') continue;
    t_ifpb fresh;
    if (!m_ifpb->m_inquireIfpb(cprn, fresh)) fresh = t_ifpb();
    t_ifpb& record = m_ifpbrec[cprn];
    if (config.m_nfreqUsed[config.m_sysOfRow(isat)] != 3) continue;
    if (fresh.m_valid) {
      if (fresh.m_iod != record.m_iod) {
        for (Station& sta : m_stations) sta.m_sat[isat].m_ifpbreset = 1;
        fresh.m_count = (record.m_count + 1) % 16;
      }
      record = fresh;
    }
    m_applyIfpb(isat, record);
  }
}

/// A bias of the last five minutes corrects the third phase; without one the third frequency goes.
void SrifFilter::m_applyIfpb(int isat, const t_ifpb& record) {
  const Deploy& config = s_config();
  const double age = std::fabs(static_cast<double>(mjd2time(mjd, sod) - record.m_t0));
  const bool usable = record.m_valid && age < kBiasAge;
  const double* freq = config.m_satellites[static_cast<std::size_t>(isat)].m_freq;
  const double lam3 = kLight / freq[kThird], ratio = freq[0] / freq[kThird];
  for (Station& sta : m_stations) {
    Ssat_t& sat = sta.m_sat[isat];
    if (sat.m_obs[kThird] == 0.0) continue;
    if (usable) {
      sat.m_obs[kThird] += (ratio * ratio - 1.0) * record.m_value / lam3;
      continue;
    }
    sat.m_obs[kThird] = sat.m_obs[kFreq + kThird] = 0.0;
    if (sat.m_flag[kThird] == kFlagGood) sat.m_flag[kThird] = kFlagNoIfpb;
    Rnxobs::s_checkObs(isat, sat.m_obs, sat.m_dop, sat.m_snr, sat.m_flag);
    Logtrace::m_logPrint("[%s,%d]:[%d %9.1lf] remove observations for %s\n", "m_corrifpb", __LINE__, mjd, sod,
                         config.m_cprn[isat].c_str());
  }
}

void SrifFilter::m_ewl_amb_holder() {
  if (!m_ewlint) return;
  const Deploy& config = s_config();
  for (int ista = 0; ista < static_cast<int>(m_stations.size()); ++ista) {
    const Station& sta = m_stations[static_cast<std::size_t>(ista)];
    for (int isat = 0; isat < config.m_nsat; ++isat) {
      const int* pair = config.m_settingsOf(Level::extraWideLane).ambfreq[config.m_sysOfRow(isat)];
      const auto slipped = [&](int slot) {
        return slot >= 0 && slot < kFreq && sta.m_sat[isat].m_slip[slot] != kSlipNone;
      };
      if (slipped(pair[0]) || slipped(pair[1])) m_ewlflag[ista * kMaxSat + isat] = 0;
    }
    if (sta.m_skd != 'R') s_forEachSystem([&](int isys) { m_holdSystem(ista, isys); });
  }
}

void SrifFilter::m_holdSystem(int ista, int isys) {
  const Deploy& config = s_config();
  Station& sta = m_stations[static_cast<std::size_t>(ista)];
  int* held = m_ewlflag + ista * kMaxSat;
  int* integer = m_ewlint + ista * kMaxSat;
  const FixedSet fixed(Fixes(m_fixmap, sta.m_name, Level::extraWideLane), isys);
  if (fixed.m_satellites().empty()) return;
  const char* first = m_stations[0].m_name.c_str();
  const char* second = m_stations.size() > 1 ? m_stations[1].m_name.c_str() : "";
  const auto both = [](const char* format, auto... args) {
    Logtrace::m_logPrint(format, args...);
    Logtrace::m_logStatInfo(format, args...);
  };

  bool any = false;
  for (int isat = 0; isat < config.m_nsat; ++isat)
    any = any || (config.m_sysOfRow(isat) == isys && held[isat]);
  if (!any) {
    const int datum = fixed.m_highest(sta, [](int) { return true; });
    if (datum < 0) return;
    held[datum] = 1;
    integer[datum] = static_cast<int>(std::trunc(fixed.m_of(datum)));
    both("[%d %9.1lf] %s-%s %c datum realigned for ewl !\n", mjd, sod, first, second, SYS[isys]);
    for (const int isat : fixed.m_satellites()) {
      if (isat == datum) continue;
      integer[isat] = static_cast<int>(std::round(fixed.m_of(isat) - fixed.m_of(datum))) + integer[datum];
      held[isat] = 1;
    }
    return;
  }

  const int common = fixed.m_highest(sta, [&](int isat) { return held[isat] != 0; });
  if (common < 0) {
    both("[%d %9.1lf] %s-%s %c datum realigned for ewl since no common satellites!\n", mjd, sod, first,
         second, SYS[isys]);
    for (int isat = 0; isat < config.m_nsat; ++isat) {
      if (config.m_sysOfRow(isat) != isys) continue;
      held[isat] = 0;
      sta.m_sat[isat].m_ambstate = kArcRestart;
    }
    return;
  }
  for (const int isat : fixed.m_satellites()) {
    const int fresh = static_cast<int>(std::round(fixed.m_of(isat) - fixed.m_of(common))) + integer[common];
    if (held[isat] && integer[isat] != fresh) {
      both("[%d %9.1lf] %s %s - %s different for EWL %d-%d\n", mjd, sod, config.m_cprn[isat].c_str(), first,
           config.m_promode > 1 ? second : "", integer[isat], fresh);
      sta.m_sat[isat].m_ambstate = kArcRestart;
    }
    integer[isat] = fresh;
    held[isat] = 1;
  }
}

}  // namespace tarvio
