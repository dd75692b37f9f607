// Compares an epoch with the one before and evokes what has changed.

#include "Interface/EventWatch.h"

#include <cstdio>
#include <string>

#include "Common/CallBackCenter.h"
#include "Common/ComTime.h"
#include "Common/Logtrace.h"
#include "Config/Configuration.h"
#include "Config/Deploy.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

constexpr int kFixedStatus = 5;

/// Raises an event; `fill` adds to its content and runs only when somebody listens.
template <class Fill>
void s_raise(const char* name, int mjd, double sod, Fill fill) {
  if (CallBackCenter::m_task.empty() || !CallBackCenter::m_task.contains(name)) return;
  char second[32];
  std::snprintf(second, sizeof second, "%.3f", sod);
  KvContainer content = {{"mjd", std::to_string(mjd)}, {"sod", second}};
  fill(content);
  CallBackCenter::m_evoke(name, content);
}

std::string s_number(double value, int decimals) {
  char text[48];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

/// Why no value of a satellite was used; "" when the account is not kept.
std::string s_reason(const SrifFilter& filter, int isat) {
  if (!s_wantsAccount(s_config().m_pams)) return "";
  for (int place = 0; place < kObs; ++place) {
    const Fate fate = filter.m_account.m_fate(isat, place);
    if (fate != Fate::absent && fate != Fate::used)
      return s_fateName(fate == Fate::open ? Fate::noRow : fate);
  }
  return "unobserved";
}

}  // namespace

void EventWatch::m_loaded(const Deploy& deploy) {
  int mjd = 0;
  double sod = 0.0;
  cur_time(&mjd, &sod);
  s_raise(event::kConfiguration, mjd, sod, [&](KvContainer& content) {
    content["file"] = deploy.m_cfgFile;
    content["satellites"] = std::to_string(deploy.m_nsat);
    content["systems"] = deploy.m_syslist;
    content["interval"] = s_number(deploy.m_intv, 3);
  });
}

void EventWatch::m_restarted(const SrifFilter& filter) {
  m_requested = true;
  m_reset = filter.treset;
  int mjd = filter.mjd;
  double sod = filter.sod;
  if (mjd == 0) cur_time(&mjd, &sod);
  s_raise(event::kRestart, mjd, sod, [](KvContainer& content) { content["reason"] = "request"; });
}

void EventWatch::m_resumed(const SrifFilter& filter, const ResumeTrial::Verdict& verdict) {
  std::string broken;
  for (const int isat : verdict.broken) broken += (broken.empty() ? "" : " ") + s_config().m_cprn[isat];
  Logtrace::m_logStatInfo("[%d %8.1lf] the saved state: %d satellites go on, %s begin anew; %s\n", filter.mjd,
                          filter.sod, verdict.held, broken.empty() ? "none" : broken.c_str(),
                          verdict.anew.empty() ? "it goes on" : verdict.anew.c_str());
  s_raise(event::kResumed, filter.mjd, filter.sod, [&](KvContainer& content) {
    content["held"] = std::to_string(verdict.held);
    content["broken"] = broken;
    if (!verdict.anew.empty()) content["why"] = verdict.anew;
  });
}

void EventWatch::m_epoch(const SrifFilter& filter) {
  const bool periodic = m_reset != -1 && filter.treset != m_reset;
  m_reset = filter.treset;
  if (periodic)
    s_raise(event::kRestart, filter.mjd, filter.sod,
            [](KvContainer& content) { content["reason"] = "interval"; });
  m_compareSatellites(filter);
  m_compareFix(filter, periodic || m_requested);
  m_requested = false;
}

void EventWatch::m_compareFix(const SrifFilter& filter, bool restarted) {
  const bool fixed = filter.m_solstat == kFixedStatus;
  if (fixed == m_fixed) return;
  m_fixed = fixed;
  if (fixed) {
    s_raise(event::kFixGained, filter.mjd, filter.sod, [&](KvContainer& content) {
      content["fixed"] = std::to_string(filter.m_nfix);
      content["ratio"] = s_number(filter.m_ratio, 2);
    });
    return;
  }
  s_raise(event::kFixLost, filter.mjd, filter.sod, [&](KvContainer& content) {
    content["reason"] = restarted ? "restart" : filter.nobs < 1 ? "norows" : "unresolved";
    content["status"] = std::to_string(filter.m_solstat);
  });
}

void EventWatch::m_compareSatellites(const SrifFilter& filter) {
  std::bitset<kMaxSat> inside;
  for (int row = 0; row < filter.nobs && filter.obsrec != nullptr; ++row) {
    const int* origin = filter.obsrec + 5 * row;
    if (origin[3] == 0 && filter.obswgt[row] > 0.0) inside.set(static_cast<std::size_t>(origin[0]));
  }
  const std::bitset<kMaxSat> changed = inside ^ m_inside;
  m_inside = inside;
  if (changed.none()) return;
  const Deploy& deploy = s_config();
  for (int isat = 0; isat < deploy.m_nsat; ++isat) {
    if (!changed.test(static_cast<std::size_t>(isat))) continue;
    const bool enters = inside.test(static_cast<std::size_t>(isat));
    s_raise(enters ? event::kSatelliteIn : event::kSatelliteOut, filter.mjd, filter.sod,
            [&](KvContainer& content) {
              content["satellite"] = deploy.m_cprn[isat];
              content["elevation"] = s_number(filter.m_stations[0].m_sat[isat].m_elev * kRadToDeg, 2);
              const std::string reason = enters ? "" : s_reason(filter, isat);
              if (!reason.empty()) content["reason"] = reason;
            });
  }
}

}  // namespace tarvio
